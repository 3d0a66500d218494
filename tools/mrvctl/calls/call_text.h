// A decoded call as one line, as --calls prints it: the request, and the answer that follows it.
#ifndef MRVCTL_CALL_TEXT_H
#define MRVCTL_CALL_TEXT_H

#include <string>

#include "calls/decoded_call.h"

namespace mrvctl {

// "sse_call2(SYSSRV_REG_READ_CASE, 236, 196, {TYPE_READ, ...})"
std::string request_text(const DecodedCall &call);

// " = 0 {data=0x5}", of a call that has returned
std::string answer_text(const DecodedCall &call);

}  // namespace mrvctl

#endif
