// Every call of the tool, on any platform, passes through here and can be observed.
#pragma once

#include <functional>

#include "calls/decoded_call.h"

namespace mrvctl {

// Functions that get each call; either may be empty. They do not throw or call the library.
struct CallObserver {
  std::function<void(const DecodedCall &)> sent;      // before the call, without its result
  std::function<void(const DecodedCall &)> answered;  // after the call
};

// Adds an observer of all later calls. Observers are called in the order in which they were added.
void observe_calls(CallObserver observer);

}  // namespace mrvctl
