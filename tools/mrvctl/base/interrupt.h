// Lets ^C end what a command does instead of the tool.
#ifndef MRVCTL_INTERRUPT_H
#define MRVCTL_INTERRUPT_H

#include <array>
#include <csignal>

namespace mrvctl {

// Not 0 once SIGINT, SIGTERM or SIGHUP has come to the last Interrupt.
extern volatile std::sig_atomic_t interrupted;

// While it lives, these signals are noted and end nothing.
class Interrupt {
 public:
  Interrupt();
  ~Interrupt();
  Interrupt(const Interrupt &) = delete;
  Interrupt &operator=(const Interrupt &) = delete;

 private:
  static constexpr std::array<int, 3> kSignals = {SIGINT, SIGTERM, SIGHUP};
  std::array<struct sigaction, kSignals.size()> before_{};
};

}  // namespace mrvctl

#endif
