#include "ring.h"

#include <cstring>

namespace {

constexpr uint32_t note_step = sizeof(mrec_note_t);

const ring_position &position(const ring &of) {
  return of.positions[of.current];
}

void move_to(ring *in, const ring_position &next) {
  const uint32_t other = 1 - in->current;
  in->positions[other] = next;
  __atomic_store_n(&in->current, other, __ATOMIC_RELEASE);
}

// The size of the oldest note; everything in use if that size is impossible, since others can write
// the file.
uint32_t oldest_size(const ring &from, const ring_position &at) {
  mrec_note_t oldest;
  std::memcpy(&oldest, from.notes + (at.head_at + from.size - at.used) % from.size, sizeof oldest);
  const bool sane = oldest.size != 0 && oldest.size % note_step == 0 && oldest.size <= at.used;
  return sane ? oldest.size : at.used;
}

// Gives up the oldest notes until `size` bytes are free, and shows that to readers before the notes
// are overwritten.
void free_bytes(ring *in, uint32_t size) {
  ring_position next = position(*in);
  while (in->size - next.used < size)
    next.used -= oldest_size(*in, next);
  move_to(in, next);
  __atomic_store_n(&in->header->tail, next.head - next.used, __ATOMIC_RELAXED);
  __atomic_thread_fence(__ATOMIC_RELEASE);
}

}  // namespace

uint8_t *ring_reserve(ring *to, uint32_t size) {
  const uint32_t to_end = to->size - position(*to).head_at;
  if (size > to_end) {
    free_bytes(to, to_end);
    ring_publish(to, MREC_NOTE_FILLER, to_end);
  }
  free_bytes(to, size);
  return to->notes + position(*to).head_at;
}

void ring_publish(ring *to, uint32_t kind, uint32_t size) {
  ring_position next = position(*to);
  const mrec_note_t note = {MREC_NOTE_MARK ^ static_cast<uint32_t>(next.head), size, kind, 0};
  std::memcpy(to->notes + next.head_at, &note, sizeof note);
  next.head += size;
  next.head_at = next.head_at + size == to->size ? 0 : next.head_at + size;
  next.used += size;
  move_to(to, next);
  __atomic_store_n(&to->header->head, next.head, __ATOMIC_RELEASE);
}
