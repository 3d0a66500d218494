// Lets ^C end what a command does instead of the tool.
#ifndef MRVCTL_INTERRUPT_H
#define MRVCTL_INTERRUPT_H

#include <csignal>
#include <utility>
#include <vector>

namespace mrvctl {

// Not 0 once a signal has come to the last Interrupt.
extern volatile std::sig_atomic_t interrupted;

// While it lives, the first of these signals is noted and ends nothing, not even a service call; a
// second one ends the tool, should what is done not come to its end. Signals that the tool was
// started to ignore stay ignored.
class Interrupt {
 public:
  explicit Interrupt(const std::vector<int> &signals = {SIGINT, SIGTERM, SIGHUP});
  ~Interrupt();
  Interrupt(const Interrupt &) = delete;
  Interrupt &operator=(const Interrupt &) = delete;

 private:
  std::vector<std::pair<int, struct sigaction>> before_;
};

// Waits, or until one of them comes.
void interruptible_sleep(double seconds);

}  // namespace mrvctl

#endif
