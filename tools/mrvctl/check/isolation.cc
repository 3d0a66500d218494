// A check in a separate process.
#include "check/isolation.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <exception>

#include "platform/card_config.h"
#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {

std::vector<GuardRegion> guards;

namespace {

using Clock = std::chrono::steady_clock;

// What a child reports. It is not longer than PIPE_BUF: it arrives completely or not at all.
struct Message {
  Verdict verdict;
  char clause[8];
  char expected[1024];
  char seen[2048];
};
static_assert(sizeof(Message) <= PIPE_BUF);

int message_pipe = -1;

// Called by a signal handler too.
void send_message(Verdict verdict, const char *clause, const char *expected, const char *seen) {
  Message message = {};
  message.verdict = verdict;
  std::strncpy(message.clause, clause, sizeof message.clause - 1);
  std::strncpy(message.expected, expected, sizeof message.expected - 1);
  std::strncpy(message.seen, seen, sizeof message.seen - 1);
  [[maybe_unused]] const ssize_t written = write(message_pipe, &message, sizeof message);
}

void end_by_bad_address(int signal_number, siginfo_t *info, void * /*context*/) {
  const auto address = reinterpret_cast<uintptr_t>(info->si_addr);
  const auto memory = std::find_if(guards.rbegin(), guards.rend(), [&](const GuardRegion &guard) {
    return guard.begin <= address && address < guard.end;
  });
  if (memory != guards.rend()) {
    send_message(Verdict::kWrong, memory->clause, memory->expected, memory->seen);
    _exit(0);
  }
  signal(signal_number, SIG_DFL);
  raise(signal_number);  // ends the process as soon as this returns
}

void catch_bad_addresses() {
  struct sigaction action = {};
  action.sa_sigaction = end_by_bad_address;
  action.sa_flags = SA_SIGINFO;
  sigaction(SIGSEGV, &action, nullptr);
}

[[noreturn]] void run_child(const std::function<void()> &work) {
  const rlimit no_core = {};
  setrlimit(RLIMIT_CORE, &no_core);
  setpgid(0, 0);                     // the tool does it too: either may be first
  prctl(PR_SET_PDEATHSIG, SIGKILL);  // a check that hangs does not outlive the tool
  catch_bad_addresses();
  Outcome outcome = {Verdict::kRight, "", "", "", {}};
  try {
    work();
  } catch (const Outcome &thrown) {
    outcome = thrown;
  } catch (const std::exception &error) {
    outcome = violation("no failure", error.what());
  }
  send_message(outcome.verdict, outcome.clause.c_str(), outcome.expected.c_str(),
               outcome.seen.c_str());
  _exit(0);
}

// Above 0 once the pipe can be read, 0 at the deadline, below 0 once `stop` is set.
int wait_for_message(int pipe, Clock::time_point deadline, const volatile std::sig_atomic_t &stop) {
  int ready = -1;
  while (ready < 0 && stop == 0) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    pollfd readable = {pipe, POLLIN, 0};
    ready = left <= 0 ? 0 : poll(&readable, 1, static_cast<int>(left));
  }
  return ready;
}

// The outcome of a child that ended without a message, or did not end.
Outcome judge_end(bool ended, int status, std::chrono::seconds limit) {
  if (!ended)
    return violation(format("an answer within %lld s", static_cast<long long>(limit.count())),
                     "none");
  if (WIFSIGNALED(status))
    return violation(
        "the process to live on",
        format("it was ended by signal %d (%s)", WTERMSIG(status), strsignal(WTERMSIG(status))));
  return violation("the process to live on",
                   format("it ended itself with status %d", WEXITSTATUS(status)));
}

constexpr char kNoIdentifier[] = "no identifier within 0.5 s";
bool identifier_hangs = false;  // seen by one check, so that the next ones do not wait again

void end_without_identifier(int /*signal*/) {
  send_message(Verdict::kWrong, "P10", "the identifier within 1 ms", kNoIdentifier);
  _exit(0);
}

}  // namespace

Outcome run_isolated(const std::function<void()> &work, std::chrono::seconds limit,
                     const volatile std::sig_atomic_t &stop) {
  int ends[2];
  if (pipe(ends) != 0)
    throw OperationFailed(std::string("no pipe for a check: ") + std::strerror(errno));
  std::fflush(nullptr);  // or the child would write it again
  const Clock::time_point begin = Clock::now();
  const pid_t child = fork();
  if (child == 0) {
    message_pipe = ends[1];
    run_child(work);
  }
  if (child < 0)
    throw OperationFailed(std::string("no process for a check: ") + std::strerror(errno));
  close(ends[1]);
  setpgid(child, child);
  Message message = {};
  const bool readable = wait_for_message(ends[0], begin + limit, stop) > 0;
  const bool reported =
      readable && read(ends[0], &message, sizeof message) == ssize_t{sizeof message};
  close(ends[0]);
  kill(-child, SIGKILL);  // and the processes that it has started
  const int status = wait_for_end(child);
  Outcome outcome =
      reported ? Outcome{message.verdict, message.clause, message.expected, message.seen, {}}
               : judge_end(readable, status, limit);
  outcome.duration = Clock::now() - begin;
  identifier_hangs = identifier_hangs || outcome.seen == kNoIdentifier;
  return outcome;
}

int wait_for_end(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

Outcome violation(const std::string &expected, const std::string &seen, const std::string &clause) {
  return {Verdict::kWrong, clause, expected, seen, {}};
}

Outcome skipped(const std::string &why) {
  return {Verdict::kSkipped, "", "", why, {}};
}

void require(bool holds, const std::string &expected, const std::string &seen,
             const std::string &clause) {
  if (!holds)
    throw violation(expected, seen, clause);
}

int query_identifier(uint32_t slot, uint16_t *identifier) {
  if (identifier_hangs)
    end_without_identifier(0);
  signal(SIGALRM, end_without_identifier);
  const itimerval limit = {{}, {0, 500'000}};
  setitimer(ITIMER_REAL, &limit, nullptr);
  const int result = cardcfg_card_get_sw_card_id(slot, identifier);
  const itimerval never = {};
  setitimer(ITIMER_REAL, &never, nullptr);
  return result;
}

}  // namespace mrvctl
