// The ring of a recording, as its one process writes it.
#ifndef RECORDER_RING_H
#define RECORDER_RING_H

#include <cstdint>

#include "recording_format.h"

#pragma GCC visibility push(hidden)

// A mapped recording and the place in it. The positions in the file are for readers: what stands in
// the file is never trusted for where to write.
struct ring {
  mrec_header_t *header;
  uint8_t *notes;
  uint32_t size;
  uint64_t head;     // position behind the newest note
  uint32_t head_at;  // its place in notes
  uint32_t used;     // from the oldest note to head
};

// Room for a note of that size (a multiple of 16), which overwrites the oldest. Readers do not see
// it before it is published.
uint8_t *ring_reserve(ring *to, uint32_t size);

// Completes the note that stands in the reserved room and shows it to readers.
void ring_publish(ring *to, uint32_t kind, uint32_t size);

#pragma GCC visibility pop

#endif
