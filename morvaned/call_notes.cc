#include "call_notes.h"

#include <algorithm>
#include <cstring>
#include <ctime>

#include "compact_record.h"

namespace morvaned {
namespace {

using remote::Header;

static_assert(remote::kMaxCallNote == MREC_CALL_MAX, "the client receives every call");

uint64_t clock_ns(clockid_t clock) {
  timespec now = {};
  clock_gettime(clock, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1000000000U + static_cast<uint64_t>(now.tv_nsec);
}

call_payload payload_of(const ServiceCall &call) {
  return {call.case_code, static_cast<const uint8_t *>(call.record), call.length};
}

}  // namespace

void CallNote::begin(const ServiceCall &call, uint64_t number) {
  const compact_record request = keep_request(payload_of(call), bytes_ + sizeof call_);
  call_ = {};
  call_.number = number;
  call_.wall_ns = clock_ns(CLOCK_REALTIME);
  call_.monotonic_ns = clock_ns(CLOCK_MONOTONIC);
  call_.case_code = call.case_code;
  call_.driver = call.driver_id;
  call_.length = call.length;
  call_.shape = request.shape;
  call_.flags = request.flags;
  call_.request_size = request.size;
}

void CallNote::end(const ServiceCall &call, const VirtualSwitch::Outcome &outcome) {
  call_.duration_ns =
      clock_ns(CLOCK_MONOTONIC) - call_.monotonic_ns + uint64_t{outcome.delay_us} * 1000;
  call_.result = outcome.result;
  call_.error_number = outcome.error_number;
  uint8_t *const request = bytes_ + sizeof call_;
  uint8_t *const answer = request + call_.request_size;
  if (outcome.result == 0) {
    const compact_record kept = measure_answer(payload_of(call), call_.shape, request);
    keep_answer(payload_of(call), kept, answer);
    call_.flags |= kept.flags;
    call_.answer_size = kept.size;
  }
  call_.note = {MREC_NOTE_MARK, note_size(call_), MREC_NOTE_CALL, 0};
  std::memcpy(bytes_, &call_, sizeof call_);
  std::fill(answer + call_.answer_size, bytes_ + call_.note.size, uint8_t{0});
}

void NoteQueue::add(const vp_note &note, const uint8_t *call) {
  if (lost_ != 0 || kSize - used_ < sizeof(Header) + sizeof note + note.size)
    ++lost_;
  else
    put_note(note, call);
}

void NoteQueue::put_note(const vp_note &note, const uint8_t *call) {
  const auto length = static_cast<uint32_t>(sizeof note + note.size);
  const Header header = {sequence_, remote::kMonitor, 0, 0, 0, 0, length};
  put(&header, sizeof header);
  put(&note, sizeof note);
  put(call, note.size);
}

void NoteQueue::put(const void *bytes, std::size_t count) {
  const auto *const from = static_cast<const uint8_t *>(bytes);
  const std::size_t at = (begin_ + used_) % kSize;
  const std::size_t first = std::min(count, kSize - at);
  std::copy_n(from, first, &ring_[at]);
  std::copy_n(from + first, count - first, &ring_[0]);
  used_ += count;
}

Part NoteQueue::front() const {
  return {&ring_[begin_], std::min(used_, kSize - begin_)};
}

void NoteQueue::pop(std::size_t count) {
  begin_ = (begin_ + count) % kSize;
  used_ -= count;
  if (lost_ == 0 || used_ > kSize / 2)
    return;
  vp_note note = {};
  note.lost = lost_;
  lost_ = 0;
  put_note(note, nullptr);
}

}  // namespace morvaned
