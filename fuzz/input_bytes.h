// What the fuzz targets share: the input as values, and the end of a run that breaks something.
#ifndef INPUT_BYTES_H
#define INPUT_BYTES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// The input, a value at a time; zeros when it has run out.
class input_bytes {
 public:
  explicit input_bytes(const uint8_t *data = nullptr, std::size_t size = 0)
      : data_(data), left_(size) {}
  bool empty() const { return left_ == 0; }
  template <typename Value>
  Value take() {
    Value value = {};
    const std::size_t count = std::min(left_, sizeof value);
    std::memcpy(&value, data_, count);
    data_ += count;
    left_ -= count;
    return value;
  }
  uint32_t below(uint32_t limit) { return take<uint16_t>() % limit; }
  bool flag() { return (take<uint8_t>() & 1) != 0; }
  // Mostly a small number, sometimes any.
  uint32_t number(uint32_t limit) {
    return take<uint8_t>() % 8 != 0 ? below(limit) : take<uint32_t>();
  }

 private:
  const uint8_t *data_;
  std::size_t left_;
};

inline void require(bool holds, const char *what = "what the trace below checks") {
  if (holds)
    return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

#endif
