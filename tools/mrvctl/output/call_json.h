// Recorded calls as objects.
#pragma once

#include "asic/address_index.h"
#include "calls/decoded_call.h"
#include "output/json.h"

namespace mrvctl {

// {"command":"calls","time":...}; a field that a call of its kind has not is absent, one that it
// has and that was not recorded is null.
Json call_json(const DecodedCall &call, const AddressIndex &index);

// Adds "context", "func", "file" and "line".
void add_caller(Json &object, const Caller &caller);

}  // namespace mrvctl
