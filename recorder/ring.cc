#include "ring.h"

#include <cstring>

namespace {

constexpr uint32_t note_step = sizeof(mrec_note_t);

// The size of the oldest note; all that is used if that makes no sense, since others can write the
// file.
uint32_t oldest_size(const ring &from) {
  const uint32_t at = (from.head_at + from.size - from.used) % from.size;
  mrec_note_t oldest;
  std::memcpy(&oldest, from.notes + at, sizeof oldest);
  const bool sane = oldest.size != 0 && oldest.size % note_step == 0 && oldest.size <= from.used;
  return sane ? oldest.size : from.used;
}

// Gives up the oldest notes until `size` bytes are free, and tells readers before they are
// overwritten.
void make_room(ring *in, uint32_t size) {
  if (in->size - in->used >= size)
    return;
  while (in->size - in->used < size)
    in->used -= oldest_size(*in);
  __atomic_store_n(&in->header->tail, in->head - in->used, __ATOMIC_RELAXED);
  __atomic_thread_fence(__ATOMIC_RELEASE);
}

}  // namespace

uint8_t *ring_reserve(ring *to, uint32_t size) {
  const uint32_t to_end = to->size - to->head_at;
  if (size > to_end) {
    make_room(to, to_end);
    ring_publish(to, MREC_NOTE_FILLER, to_end);
  }
  make_room(to, size);
  return to->notes + to->head_at;
}

void ring_publish(ring *to, uint32_t kind, uint32_t size) {
  const mrec_note_t note = {MREC_NOTE_MARK ^ static_cast<uint32_t>(to->head), size, kind, 0};
  std::memcpy(to->notes + to->head_at, &note, sizeof note);
  to->head += size;
  to->head_at += size;
  if (to->head_at == to->size)
    to->head_at = 0;
  to->used += size;
  __atomic_store_n(&to->header->head, to->head, __ATOMIC_RELEASE);
}
