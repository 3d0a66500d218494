// The ring of a recording, as its one process writes it.
#ifndef RECORDER_RING_H
#define RECORDER_RING_H

#include <cstdint>

#include "recording_format.h"

struct ring_position {
  uint64_t head;     // position after the newest note
  uint32_t head_at;  // its offset in notes
  uint32_t used;     // from the oldest note to head
};

// A mapped recording. The positions in the file are for readers: the writer never trusts them for
// where to write. Its own position changes in one store, so that a thread that never finishes a
// note leaves the ring consistent.
struct ring {
  mrec_header_t *header;
  uint8_t *notes;
  uint32_t size;
  uint32_t current;  // which of the positions is valid
  ring_position positions[2];
};

#pragma GCC visibility push(hidden)

// Reserves space for a note of that size (a multiple of 16), which overwrites the oldest notes.
// Readers do not see the note before it is published.
uint8_t *ring_reserve(ring *to, uint32_t size);

// Completes the note in the reserved space and shows it to readers.
void ring_publish(ring *to, uint32_t kind, uint32_t size);

#pragma GCC visibility pop

#endif
