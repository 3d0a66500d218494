// Runs a check in a separate process, so that a platform that crashes or hangs ends nothing else.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <functional>
#include <string>

#include "morvaneusd.hpp"

namespace mrvctl {

// Thrown by a check: the platform does not keep its promise.
struct Violation {
  std::string expected;
  std::string seen;
  std::string clause{};  // where it is not the check's own that is broken
};

// Throws Violation unless the condition holds.
void require(bool holds, const std::string &expected, const std::string &seen,
             const std::string &clause = {});

// Thrown before the checks: calls find no service.
struct NoService {
  std::string why;
};

// Thrown by a check that has nothing to look at on this platform.
struct Skip {
  std::string why;
};

enum class Verdict { kRight, kWrong, kSkipped, kNoService };

struct Outcome {
  Verdict verdict = Verdict::kWrong;
  std::string clause;    // of a breach; empty for the check's own
  std::string expected;  // of a breach
  std::string seen;      // of a breach; else why the check was skipped
  std::chrono::duration<double> duration{};
};

// Runs the work in a child process and ends that at the limit, or as soon as `stop` is set.
Outcome run_isolated(const std::function<void()> &work, std::chrono::seconds limit,
                     const volatile std::sig_atomic_t &stop);

// Waits for a child to end; returns its status.
int wait_for_end(pid_t child);

// Memory that no code may access. An access ends the process and breaks the clause. The texts live
// as long as the process.
struct GuardRegion {
  uintptr_t begin;
  uintptr_t end;
  const char *clause;
  const char *expected;
  const char *seen;
};

void add_guard(const GuardRegion &memory);
void remove_latest_guard();

// Who asks in the calls of a check.
inline constexpr morvane::caller kCaller = {"mrvctl", 0, "check"};

// Queries the identifier of a card. A query that hangs ends the process as a breach of its clause.
int query_identifier(uint32_t slot, uint16_t *identifier);

}  // namespace mrvctl
