// Runs a check in a separate process, so that a platform that crashes or hangs ends nothing else.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "morvaneusd.hpp"

namespace mrvctl {

enum class Verdict { kRight, kWrong, kSkipped, kNoService };

// What came of a check, which throws it unless all is right.
struct Outcome {
  Verdict verdict = Verdict::kWrong;
  std::string clause;    // of a violation; empty for the check's own
  std::string expected;  // of a violation
  std::string seen;      // of a violation; else why there was nothing to look at, or no service
  std::chrono::duration<double> duration{};
};

// The platform does not satisfy a clause.
Outcome violation(const std::string &expected, const std::string &seen,
                  const std::string &clause = {});

// The check has nothing to look at on this platform.
Outcome skipped(const std::string &why);

// Throws a violation unless the condition holds.
void require(bool holds, const std::string &expected, const std::string &seen,
             const std::string &clause = {});

// Runs the work in a child process and ends that at the limit, or as soon as `stop` is set.
Outcome run_isolated(const std::function<void()> &work, std::chrono::seconds limit,
                     const volatile std::sig_atomic_t &stop);

// Waits for a child to end; returns its status.
int wait_for_end(pid_t child);

// Memory that no code may access. An access ends the process and breaks the clause, that of the
// latest guard if there are several. The texts live as long as the process.
struct GuardRegion {
  uintptr_t begin;
  uintptr_t end;
  const char *clause;
  const char *expected;
  const char *seen;
};

extern std::vector<GuardRegion> guards;

// Who asks in the calls of a check.
inline constexpr morvane::caller kCaller = {"mrvctl", 0, "check"};

// Queries the identifier of a card. A query that hangs ends the process as a breach of its clause.
int query_identifier(uint32_t slot, uint16_t *identifier);

}  // namespace mrvctl
