// The ring of a recording, as its one process writes it.
#ifndef RECORDER_RING_H
#define RECORDER_RING_H

#include <cstdint>
#include <cstring>

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

inline const ring_position &position(const ring &of) {
  return of.positions[of.current];
}

inline void move_to(ring *in, const ring_position &next) {
  const uint32_t other = 1 - in->current;
  in->positions[other] = next;
  __atomic_store_n(&in->current, other, __ATOMIC_RELEASE);
}

// Moves a position of the header, after all earlier writes to the ring. A store of 64 bits in one
// piece is slow on 32-bit machines, and seldom needed: the upper half changes once in 4 GiB.
inline void store_position(mrec_u64_t *to, uint64_t from, uint64_t value) {
  using half __attribute__((may_alias)) = uint32_t;
  if (sizeof(void *) == 4 && from >> 32 == value >> 32)
    __atomic_store_n(reinterpret_cast<half *>(to), static_cast<uint32_t>(value), __ATOMIC_RELEASE);
  else
    __atomic_store_n(to, value, __ATOMIC_RELEASE);
}

// The rare part of ring_reserve(): overwrites the oldest notes, some more than it has to, so that
// the next notes find their space free.
uint8_t *ring_make_space(ring *to, uint32_t size);

// Reserves space for a note of that size (a multiple of 16), which overwrites the oldest notes.
// Readers do not see the note before it is published.
inline uint8_t *ring_reserve(ring *to, uint32_t size) {
  const ring_position &at = position(*to);
  const bool is_free = size <= to->size - at.head_at && size <= to->size - at.used;
  return is_free ? to->notes + at.head_at : ring_make_space(to, size);
}

// Completes the note in the reserved space and shows it to readers.
inline void ring_publish(ring *to, uint32_t kind, uint32_t size) {
  ring_position next = position(*to);
  const uint64_t head = next.head;
  const mrec_note_t note = {MREC_NOTE_MARK ^ static_cast<uint32_t>(head), size, kind, 0};
  std::memcpy(to->notes + next.head_at, &note, sizeof note);
  next.head += size;
  next.head_at = next.head_at + size == to->size ? 0 : next.head_at + size;
  next.used += size;
  move_to(to, next);
  store_position(&to->header->head, head, next.head);
}

#pragma GCC visibility pop

#endif
