// Every call of the tool, on any platform, passes through here and can be observed.
#pragma once

#include <functional>

#include "calls/decoded_call.h"

namespace mrvctl {

// Gets each call twice: before it is made, without a result, and after it. Does not throw or call
// the library.
using CallObserver = std::function<void(const DecodedCall &)>;

// Adds an observer of all later calls. Observers are called in the order in which they were added.
void observe_calls(CallObserver observer);

}  // namespace mrvctl
