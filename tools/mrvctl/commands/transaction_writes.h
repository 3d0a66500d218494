// Writes that joined a transaction, from a recording.
#pragma once

#include <optional>

#include "asic/address_index.h"
#include "calls/decoded_call.h"
#include "reader.h"

namespace mrvctl {

// Adds the callers of its entries to a transaction that was sent.
void add_callers(const std::vector<recording::CallerPointer> &callers, DecodedCall &call);

// Finds the targets of writes in the register map of the index, which must outlive it; null if the
// index has no map.
recording::FindTarget target_finder(const AddressIndex &index);

// The transaction that a process had not sent when the recording was read, as a call that was not
// made; empty if it has no writes. Writes to unknown addresses are omitted.
std::optional<DecodedCall> uncommitted_call(const recording::OpenTransaction &open);

}  // namespace mrvctl
