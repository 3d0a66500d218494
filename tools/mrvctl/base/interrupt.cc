// Interruptions, noted.
#include "base/interrupt.h"

namespace mrvctl {

volatile std::sig_atomic_t interrupted = 0;

Interrupt::Interrupt() {
  interrupted = 0;
  struct sigaction action = {};
  action.sa_handler = [](int /*signal*/) { interrupted = 1; };
  for (size_t i = 0; i < kSignals.size(); ++i)
    sigaction(kSignals[i], &action, &before_[i]);
}

Interrupt::~Interrupt() {
  for (size_t i = 0; i < kSignals.size(); ++i)
    sigaction(kSignals[i], &before_[i], nullptr);
}

}  // namespace mrvctl
