// Interruptions, noted.
#include "base/interrupt.h"

#include <cerrno>
#include <ctime>

namespace mrvctl {

volatile std::sig_atomic_t interrupted = 0;

Interrupt::Interrupt(const std::vector<int> &signals) {
  interrupted = 0;
  struct sigaction action = {};
  action.sa_handler = [](int /*signal*/) { interrupted = 1; };
  for (const int signal : signals) {
    before_.emplace_back(signal, action);
    sigaction(signal, &action, &before_.back().second);
  }
}

Interrupt::~Interrupt() {
  for (const auto &[signal, action] : before_)
    sigaction(signal, &action, nullptr);
}

void wait_uninterrupted(double seconds) {
  timespec left = {};
  left.tv_sec = static_cast<time_t>(seconds);
  left.tv_nsec = static_cast<long>((seconds - static_cast<double>(left.tv_sec)) * 1e9);
  while (interrupted == 0 && nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

}  // namespace mrvctl
