// ^C and its kin while a command is at work.
#include "output/interrupt.h"

#include <sys/select.h>

#include <algorithm>

#include "output/last_words.h"
#include "text/times.h"

namespace mrvctl {

volatile std::sig_atomic_t interrupted = 0;

namespace {

void note(int signal_number) {
  if (interrupted != 0) {
    print_exit_notice();
    std::signal(signal_number, SIG_DFL);
    raise(signal_number);
  }
  interrupted = 1;
}

}  // namespace

Interrupt::Interrupt(const std::vector<int> &signals) {
  interrupted = 0;
  struct sigaction action = {};
  action.sa_handler = note;
  action.sa_flags = SA_RESTART;
  for (const int signal : signals) {
    struct sigaction before = {};
    sigaction(signal, nullptr, &before);
    if (before.sa_handler == SIG_IGN)
      continue;  // whoever started the tool wants it to live on: nohup, or a shell's &
    before_.emplace_back(signal, before);
    sigaction(signal, &action, nullptr);
  }
}

Interrupt::~Interrupt() {
  for (const auto &[signal, action] : before_)
    sigaction(signal, &action, nullptr);
}

// All signals wait but while the process does, so that none is missed between the look at what it
// sets and the wait.
void interruptible_sleep(double seconds) {
  const double end = monotonic_seconds() + seconds;
  sigset_t all, before;
  sigfillset(&all);
  sigprocmask(SIG_BLOCK, &all, &before);
  while (interrupted == 0 && monotonic_seconds() < end) {
    const timespec left = timespec_of(std::max(end - monotonic_seconds(), 0.0));
    pselect(0, nullptr, nullptr, nullptr, &left, &before);
  }
  sigprocmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace mrvctl
