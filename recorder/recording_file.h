// The file of a recording: its place, its allocation, its header.
#ifndef RECORDER_RECORDING_FILE_H
#define RECORDER_RECORDING_FILE_H

#include <initializer_list>

#include "ring.h"

#pragma GCC visibility push(hidden)

struct recording_settings {
  char directory[4096];  // absolute; empty: no recording
  uint32_t ring_size;
};

// The process whose calls a recording has.
struct recorded_process {
  const char *program;
  uint32_t pid;
  uint32_t parent_pid;  // 0 if it is unknown
  uint32_t word_size;   // bytes of its pointers; 0 if it is unknown
};

// Messages go to descriptor 2 only while it is the file that it is now.
void remember_standard_error();

// Reads MORVANE_RECORD and MORVANE_RECORD_SIZE. Reports on standard error what is wrong with them.
void read_settings(recording_settings *settings);

// Creates the file of this process, allocates all of it and maps it. If that fails, reports it on
// standard error and returns false.
bool create_recording(const recording_settings &settings, ring *to);

// Creates and maps the file of a process in a directory. 0 or an error number.
int create_recording_of(const recorded_process &process, const char *directory, uint32_t ring_size,
                        ring *to);

void unmap_recording(const ring &of);

// The clock now, in nanoseconds.
uint64_t clock_ns(int clock);

// Writes one line of at most eight parts to standard error.
void log_error(std::initializer_list<const char *> parts);

#pragma GCC visibility pop

#endif
