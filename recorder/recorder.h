// The recording of this process, for the functions that the recorder stands in for.
#ifndef RECORDER_RECORDER_H
#define RECORDER_RECORDER_H

#include "ring.h"

#pragma GCC visibility push(hidden)

// False if calls are only forwarded.
bool is_recording_wanted();

// Locks the recording for one note, for the function that has this frame. Returns null if there is
// no recording, or if another note is being written: then the note is given up.
ring *lock_notes(const void *frame);
void unlock_notes();

// Reports on standard error which of several libraries gets the calls of a function.
void report_choice(const char *name, const char *library);

#pragma GCC visibility pop

#endif
