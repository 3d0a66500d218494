// Values in the bytes of a recording.
#ifndef RECORDER_NOTE_VALUES_H
#define RECORDER_NOTE_VALUES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace recording {

// By value, so that no field is read where it is not aligned.
template <typename Value>
Value value_at(const uint8_t *bytes) {
  Value value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

// The first bytes of a text, up to its NUL. Characters that cannot be printed are replaced.
inline std::string printable_text(const char *bytes, std::size_t size) {
  std::string text(bytes, strnlen(bytes, size));
  std::replace_if(
      text.begin(), text.end(), [](char letter) { return letter < ' ' || letter > '~'; }, '?');
  return text;
}

template <std::size_t size>
std::string text_of(const char (&field)[size]) {
  return printable_text(field, size);
}

}  // namespace recording

#endif
