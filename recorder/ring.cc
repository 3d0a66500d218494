#include "ring.h"

namespace {

constexpr uint32_t note_step = sizeof(mrec_note_t);
constexpr uint32_t freed_ahead = 4096;

// The size of the oldest note; everything in use if that size is impossible, since others can write
// the file.
uint32_t oldest_size(const ring &from, const ring_position &at) {
  const uint32_t wrapped = at.head_at < at.used ? from.size : 0;
  mrec_note_t oldest;
  std::memcpy(&oldest, from.notes + at.head_at + wrapped - at.used, sizeof oldest);
  const bool sane = oldest.size != 0 && oldest.size % note_step == 0 && oldest.size <= at.used;
  return sane ? oldest.size : at.used;
}

// Gives up the oldest notes until `size` bytes are free, and shows that to readers before the notes
// are overwritten.
void free_bytes(ring *in, uint32_t size) {
  ring_position next = position(*in);
  if (in->size - next.used >= size)
    return;
  const uint64_t tail = next.head - next.used;
  while (next.used != 0 && in->size - next.used < size + freed_ahead)
    next.used -= oldest_size(*in, next);
  move_to(in, next);
  store_position(&in->header->tail, tail, next.head - next.used);
  __atomic_thread_fence(__ATOMIC_RELEASE);
}

}  // namespace

uint8_t *ring_make_space(ring *to, uint32_t size) {
  const uint32_t to_end = to->size - position(*to).head_at;
  if (size > to_end) {
    free_bytes(to, to_end);
    ring_publish(to, MREC_NOTE_FILLER, to_end);
  }
  free_bytes(to, size);
  return to->notes + position(*to).head_at;
}
