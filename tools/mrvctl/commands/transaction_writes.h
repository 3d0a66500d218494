// Writes that joined a transaction, from a recording.
#pragma once

#include <optional>

#include "asic/address_index.h"
#include "calls/decoded_call.h"
#include "reader.h"

namespace mrvctl {

// Adds the callers of its entries to a transaction that was sent.
void add_callers(const std::vector<recording::CallerPointer> &callers, DecodedCall &call);

// The transaction that a process had not sent when the recording was read, as a call that was not
// made; empty if it has no writes. Registers that the index does not know are left out.
std::optional<DecodedCall> uncommitted_call(const recording::OpenTransaction &open,
                                            const AddressIndex &index);

}  // namespace mrvctl
