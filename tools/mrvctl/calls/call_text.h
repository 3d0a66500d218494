// Decoded calls as texts for people: unprintable characters are replaced.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "asic/address_index.h"
#include "calls/decoded_call.h"

namespace mrvctl {

// As --calls prints it: "sse_call2(SYSSRV_REG_READ_CASE, 236, 196, {TYPE_READ, ...})"
std::string request_text(const DecodedCall &call);

// And behind it, once the call has returned: " = 0 {data=0x5}"
std::string answer_text(const DecodedCall &call);

// "0x00000005 mask 0x0000000f"; no mask if it has all bits.
std::string masked_text(uint32_t value, uint32_t mask);

// What the call is about: a register, a command, a port, the name of a transaction.
std::string target_text(const DecodedCall &call, const AddressIndex &index);

// "main src/client.c:10 context 7", brief "main client.c:10"; empty if it is not known.
std::string caller_text(const Caller &caller, bool brief = false);
std::string caller_text(const DecodedCall &call, bool brief = false);

// The columns of a table of calls: time, process, duration, operation, register, value, result and
// caller. A call that does not name its caller has the first entries of its transaction there, or
// those of the wanted register, or the sums of its statistics. `brief` is for a narrow table: times
// without dates, microseconds as numbers, callers without directory and context, and of a
// transaction the callers in place of the entries.
std::vector<std::string> call_cells(const DecodedCall &call, const AddressIndex &index,
                                    const std::optional<RegisterReference> &wanted, bool brief);

}  // namespace mrvctl
