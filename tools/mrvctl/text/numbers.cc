// Strict numbers.
#include "text/numbers.h"

#include <charconv>
#include <system_error>

#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {
namespace {

struct Digits {
  const char *first;
  const char *last;
  int base;
};

bool has_prefix(const std::string &text, char letter) {
  return text.size() > 2 && text[0] == '0' && (text[1] | 0x20) == letter;
}

Digits digits_of(const std::string &text) {
  const char *first = text.data();
  const char *last = first + text.size();
  if (has_prefix(text, 'x'))
    return {first + 2, last, 16};
  if (has_prefix(text, 'b'))
    return {first + 2, last, 2};
  return {first, last, 10};
}

template <typename T>
bool in_range(const Digits &digits, T low, T high, T &value) {
  const auto [end, error] = std::from_chars(digits.first, digits.last, value, digits.base);
  return error == std::errc() && end == digits.last && low <= value && value <= high;
}

std::string range_text(uint64_t low, uint64_t high) {
  std::string text = std::to_string(low) + " to " + std::to_string(high);
  if (high == UINT32_MAX)
    text += " (0xFFFFFFFF)";
  return text;
}

}  // namespace

uint64_t parse_u64(const std::string &text, uint64_t low, uint64_t high) {
  uint64_t value = 0;
  if (in_range(digits_of(text), low, high, value))
    return value;
  throw UsageError("'" + text + "' is not a number from " + range_text(low, high) +
                   ", in decimal, hexadecimal (0x) or binary (0b)");
}

uint32_t parse_word(const std::string &text) {
  if (text.size() > 1 && text[0] == '0' && digits_of(text).base == 10)
    throw UsageError("'" + text + "' begins with 0: hexadecimal is written 0x" + text);
  return parse_number(text);
}

double parse_seconds(const std::string &text, double low, double high) {
  double value = 0;
  const char *last = text.data() + text.size();
  const auto [end, error] = std::from_chars(text.data(), last, value, std::chars_format::fixed);
  if (error == std::errc() && end == last && low <= value && value <= high)
    return value;
  throw UsageError(format("'%s' is not a time from %g to %g seconds", text.c_str(), low, high));
}

}  // namespace mrvctl
