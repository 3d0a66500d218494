// The client side of a monitor: a separate connection on which the service sends a note about each
// call. Needs only the C library. virtual_platform.h documents the functions.
#ifndef REMOTE_MONITOR_CLIENT_H
#define REMOTE_MONITOR_CLIENT_H

#include "virtual_platform.h"

namespace remote {

int open_monitor(vp_monitor **opened);
int next_note(vp_monitor &monitor, int timeout, const vp_note **note);
void close_monitor(vp_monitor *monitor);

}  // namespace remote

#endif
