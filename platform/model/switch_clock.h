// The time of a switch, in nanoseconds: the monotonic clock, until it is stopped.
#ifndef SWITCH_CLOCK_H
#define SWITCH_CLOCK_H

#include <chrono>
#include <cstdint>

class SwitchClock {
 public:
  uint64_t now() const { return stopped_ ? time_ : time_ + real() - resumed_; }
  bool stopped() const { return stopped_; }

  void set(bool run, uint64_t advance) {
    time_ = now() + advance;
    resumed_ = real();
    stopped_ = !run;
  }

  static uint64_t real() {
    return static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch() /
                                 std::chrono::nanoseconds(1));
  }

 private:
  uint64_t time_ = 0;  // when it was stopped or resumed
  uint64_t resumed_ = real();
  bool stopped_ = false;
};

#endif
