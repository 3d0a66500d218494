// Notes about service calls, for clients that monitor the switch: each call as the recorder writes
// it.
#ifndef MORVANED_CALL_NOTES_H
#define MORVANED_CALL_NOTES_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "model/virtual_switch.h"
#include "recording_format.h"
#include "wire/messages.h"

namespace morvaned {

// Some bytes of a buffer.
struct Part {
  uint8_t *bytes;
  std::size_t count;
};

// The note of one call.
class CallNote {
 public:
  // Keeps the request, which the answer replaces.
  void begin(const ServiceCall &call, uint64_t number);
  void end(const ServiceCall &call, const VirtualSwitch::Outcome &outcome);

  const uint8_t *bytes() const { return bytes_; }
  uint32_t size() const { return call_.note.size; }

 private:
  mrec_call_t call_{};
  uint8_t bytes_[MREC_CALL_MAX] = {};
};

// The notes that wait for one monitor. The service never waits for it: from a note without space
// on, notes are left out until half of the queue is free, and a note of their number is sent
// instead.
class NoteQueue {
 public:
  // The sequence number is that of the request for the notes.
  explicit NoteQueue(uint32_t sequence) : sequence_(sequence) {}

  // Adds a note, or counts it as lost. Allocates nothing.
  void add(const vp_note &note, const uint8_t *call);

  // The next bytes to send; pop() says how many have gone.
  Part front() const;
  void pop(std::size_t count);
  bool empty() const { return used_ == 0; }

 private:
  static constexpr std::size_t kSize = 1 << 20;

  void put_note(const vp_note &note, const uint8_t *call);
  void put(const void *bytes, std::size_t count);

  const std::unique_ptr<uint8_t[]> ring_{new uint8_t[kSize]};
  std::size_t begin_ = 0, used_ = 0;
  uint64_t lost_ = 0;
  uint32_t sequence_;
};

}  // namespace morvaned

#endif
