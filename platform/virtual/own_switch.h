// The virtual switch that this process uses: its own, or that of a morvaned.
#ifndef OWN_SWITCH_H
#define OWN_SWITCH_H

#include "model/virtual_switch.h"
#include "wire/switch_client.h"

// The switch of this process, for calls that do not go to another. Never destroyed, because calls
// may come until the process ends.
VirtualSwitch &own_switch();
CallingClient own_client();

// Sends a control to the switch. Its answer has the same length each time. 0 or an errno.
int request_control(remote::Kind kind, const void *body, uint32_t length, void *answer,
                    uint32_t answer_length);

// The same for a control whose answer is a list, valid until the next request.
int request_list(remote::Kind kind, const void **entries, uint32_t *length);

// The same for a control without an answer.
template <typename Body>
int send_control(remote::Kind kind, const Body &body) {
  return request_control(kind, &body, sizeof body, nullptr, 0);
}

#endif
