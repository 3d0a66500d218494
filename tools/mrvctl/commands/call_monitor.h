// What the tool monitors of the service calls of its commands.
#pragma once

#include <cstddef>
#include <cstdint>

namespace mrvctl {

// From now on; with `show` each call is shown on standard error, as it goes and as it comes back.
void watch_calls(bool show);

// Throws OperationFailed if a transaction that was sent since the last check has failed, which the
// library reports to no caller.
void throw_if_lost();

// Forgets failures so far, which are not failures of the next command.
void clear_lost();

// How many calls there were so far.
uint64_t calls_so_far();

// How many words the service answered to the last read of a run, at most `wanted`. The library
// copies that many and does not report it.
size_t answered_words(size_t wanted);

}  // namespace mrvctl
