// The request buffer of all multi-word requests, and the rule by which it grows.
#ifndef REQUEST_BUFFER_H
#define REQUEST_BUFFER_H

#include "service_call.h"

#pragma GCC visibility push(hidden)

// The maximum number of words whose request size fits into 32 bits.
constexpr uint64_t max_request_words = (UINT32_MAX - request_header_size) / sizeof(uint32_t);

constexpr uint32_t request_size(uint32_t words) {
  return request_header_size + static_cast<uint32_t>(sizeof(uint32_t)) * words;
}

// Grows the buffer to the exact size of a request of that many words. If that fails, returns
// false, and the old buffer stays.
__attribute__((cold, noinline)) bool grow_request_buffer(const char *operation, uint32_t words);

// Provides space for a request of that many words, at most max_request_words. The buffer never
// shrinks.
inline bool reserve_request(const char *operation, uint32_t words) {
  return request_size(words) <= lib_ctx.buf_size || grow_request_buffer(operation, words);
}

#pragma GCC visibility pop

#endif
