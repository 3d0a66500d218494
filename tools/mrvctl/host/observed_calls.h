// Every service call of the tool passes here, on every platform, for whoever wants to see it.
#ifndef MRVCTL_OBSERVED_CALLS_H
#define MRVCTL_OBSERVED_CALLS_H

#include <chrono>
#include <functional>

#include "calls/call_fields.h"

namespace mrvctl {

// A call that came back. The records are valid while the observer looks.
struct ObservedCall {
  ServiceCall request;  // as it was sent, with no result yet
  ServiceCall answer;   // as it came back, with result and errno
  std::chrono::nanoseconds duration;
};

// Either may be left out. Neither throws or calls the library.
struct CallObserver {
  std::function<void(const ServiceCall &)> sent;       // before the call
  std::function<void(const ObservedCall &)> answered;  // after it
};

// Tells an observer of each call from now on, until the tool ends, in the order in which observers
// came.
void observe_calls(CallObserver observer);

}  // namespace mrvctl

#endif
