// Decoded calls as texts for people: unprintable characters are replaced.
#pragma once

#include <optional>
#include <string>

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

// "main client.c:10 context 7"; empty if it is not known.
std::string caller_text(const Caller &caller);
std::string caller_text(const DecodedCall &call);

// One line of a table that has these headings. Behind a call that does not tell its caller stand
// the first entries of its transaction, of those that touch a register where one is wanted, or the
// sums of its statistics.
std::string call_heading(size_t process_width);
std::string call_line(const DecodedCall &call, const AddressIndex &index, size_t process_width,
                      const std::optional<RegisterReference> &wanted);

}  // namespace mrvctl
