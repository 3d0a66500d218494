// The file of a recording: where it stands, its allocation, its header.
#ifndef RECORDER_RECORDING_FILE_H
#define RECORDER_RECORDING_FILE_H

#include "ring.h"

#pragma GCC visibility push(hidden)

// What the environment asks for.
struct recording_settings {
  char directory[4096];  // absolute; empty: no recording
  uint32_t ring_size;
};

// Reads MORVANE_RECORD and MORVANE_RECORD_SIZE. Says on standard error what is wrong with them.
void read_settings(recording_settings *settings);

// Creates the file of this process, allocates all of it and maps it. False where that fails, which
// it says on standard error.
bool create_recording(const recording_settings &settings, ring *to);

void unmap_recording(const ring &of);

// The clock now, in nanoseconds.
uint64_t clock_ns(int clock);

// One line on standard error.
__attribute__((format(printf, 1, 2))) void log_error(const char *format, ...);

#pragma GCC visibility pop

#endif
