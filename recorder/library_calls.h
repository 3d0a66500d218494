// The functions of libmorvaneusd that write registers: who calls them while a transaction is open.
#ifndef RECORDER_LIBRARY_CALLS_H
#define RECORDER_LIBRARY_CALLS_H

#include "compact_record.h"

#pragma GCC visibility push(hidden)

// Finds those that are loaded.
void find_library_functions();

// A new recording or transaction has begun, in which no calling function has a note.
void forget_sites();

// Each request before it is sent: it may be the open transaction, or a write that did not join it.
void observe_request(const call_payload &record);

#pragma GCC visibility pop

#endif
