// The part of a record that a note keeps: the bytes that have a meaning.
#ifndef RECORDER_COMPACT_RECORD_H
#define RECORDER_COMPACT_RECORD_H

#include <cstdint>

#include "recording_format.h"

#pragma GCC visibility push(hidden)

// The record of a call.
struct call_payload {
  uint32_t case_code;
  const uint8_t *bytes;  // null: none
  uint32_t length;
};

struct compact_record {
  uint32_t shape;
  uint32_t flags;
  uint32_t size;
};

// Copies the kept part of a request, at most MREC_REQUEST_MAX bytes.
compact_record keep_request(const call_payload &record, uint8_t *to);

// How many bytes are kept of the answer to a kept request, and whether it is truncated.
compact_record measure_answer(const call_payload &record, uint32_t shape, const uint8_t *request);

// Bytes of the note of a call, a multiple of 16, from the sizes of its request and its answer.
inline uint32_t note_size(const mrec_call_t &call) {
  constexpr uint32_t step = sizeof(mrec_note_t);
  const uint32_t used = uint32_t{sizeof call} + call.request_size + call.answer_size;
  return (used + step - 1) / step * step;
}

// Copies them.
void keep_answer(const call_payload &record, const compact_record &answer, uint8_t *to);

#pragma GCC visibility pop

#endif
