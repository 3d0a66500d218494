// Strict numbers: a text is a number in range and nothing else, or it is refused.
#pragma once

#include <cstdint>
#include <limits>
#include <string>

namespace mrvctl {

// Whether a text is meant as a number, and not as a name.
bool begins_as_number(const std::string &text);

// Reads a number in decimal, hexadecimal (0x) or binary (0b), from low to high.
// Throws UsageError, which names the range.
uint64_t parse_u64(const std::string &text, uint64_t low, uint64_t high);

template <typename T = uint32_t>
T parse_number(const std::string &text, T low = 0, T high = std::numeric_limits<T>::max()) {
  return static_cast<T>(parse_u64(text, static_cast<uint64_t>(low), static_cast<uint64_t>(high)));
}

// Reads a word of data, on the command line and in files alike: a number, but not one that begins
// with a 0, as the words of a dump in hexadecimal do.
uint32_t parse_word(const std::string &text);

// Reads seconds with a fraction, from low to high.
double parse_seconds(const std::string &text, double low, double high);

}  // namespace mrvctl
