// The client side of a shared switch: one connection of this process to morvaned, made by the first
// request and made again after it is lost. Needs only the C library.
//
// No request is sent twice. If no byte of a request was sent, the client may connect again; a later
// failure is reported, and the outcome is unknown.
#ifndef REMOTE_CLIENT_H
#define REMOTE_CLIENT_H

#include <stdint.h>

#include "messages.h"

namespace remote {

// How a request ends.
struct Outcome {
  int result;
  int error_number;  // if the result is negative
};

// Whether the switch is in another process, which MORVANE_SWITCH or use_switch_at() names.
bool is_remote();

// Connects to the service at this address and sends all later requests to it; null returns to the
// switch in this process. 0 or an errno; a failure changes nothing.
int use_switch_at(const char *address);

// A service call: the answer is left in the record.
Outcome call(uint32_t case_code, uint32_t driver_id, void *record, uint32_t length);

// Any other request, whose answer has the same length each time. 0 or an errno.
int control_request(Kind kind, const void *request, uint32_t length, void *answer,
                    uint32_t answer_length);

// A request whose answer is a list. 0 or an errno. The entries stay valid until the next request.
int list_request(Kind kind, const void **entries, uint32_t *length);

// Sends a request on a separate connection, on which the caller receives the answers until it
// closes the descriptor. The deadline is for the first answer. 0 or an errno: ENOTCONN if the
// switch is in this process.
int open_stream(const Header &request, int *fd, int64_t *deadline);

// The address of the switch, as use_switch_at() takes it; null if it is in this process.
const char *switch_address();

}  // namespace remote

#endif
