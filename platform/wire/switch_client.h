// The client side of a switch in a process of its own: one connection of this process to morvaned,
// made when the first request needs it and made anew when it is gone. Needs the C library alone.
//
// No request is sent twice: what fails before a byte of it was sent may connect again, what fails
// behind that is reported, its outcome unknown.
#ifndef REMOTE_CLIENT_H
#define REMOTE_CLIENT_H

#include <stdint.h>

#include "messages.h"

namespace remote {

// How a request ends.
struct Outcome {
  int result;
  int error_number;  // where the result is negative
};

// Whether the switch is in another process: MORVANE_SWITCH or use_switch_at() names it.
bool is_remote();

// Connects to the service at this address, and sends all requests there from now on; null puts the
// switch back into this process. 0 or an errno; a failure leaves all as it was.
int use_switch_at(const char *address);

// A service call: the answer is left in the record.
Outcome call(uint32_t case_code, uint32_t driver_id, void *record, uint32_t length);

// Any other request, whose answer has the same length each time. 0 or an errno.
int control_request(Kind kind, const void *request, uint32_t length, void *answer,
                    uint32_t answer_length);

// 0 or an errno. The clients stay valid until the next request.
int list_clients(const vp_client **clients, uint32_t *count);

}  // namespace remote

#endif
