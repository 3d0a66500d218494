// Strict numbers.
#include "text/numbers.h"

#include <charconv>
#include <system_error>

#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {
namespace {

bool has_prefix(const std::string &text, char letter) {
  return text.size() > 2 && text[0] == '0' && (text[1] | 0x20) == letter;
}

int base_of(const std::string &text) {
  if (has_prefix(text, 'x'))
    return 16;
  return has_prefix(text, 'b') ? 2 : 10;
}

std::string range_text(uint64_t low, uint64_t high) {
  std::string text = std::to_string(low) + " to " + std::to_string(high);
  if (high == UINT32_MAX)
    text += " (0xFFFFFFFF)";
  return text;
}

}  // namespace

bool begins_as_number(const std::string &text) {
  return !text.empty() && text[0] >= '0' && text[0] <= '9';
}

uint64_t parse_u64(const std::string &text, uint64_t low, uint64_t high) {
  const int base = base_of(text);
  const char *first = text.data() + (base == 10 ? 0 : 2);
  const char *last = text.data() + text.size();
  uint64_t value = 0;
  const auto [end, error] = std::from_chars(first, last, value, base);
  if (error == std::errc() && end == last && low <= value && value <= high)
    return value;
  throw UsageError("'" + text + "' is not a number from " + range_text(low, high) +
                   ", in decimal, hexadecimal (0x) or binary (0b)");
}

uint32_t parse_word(const std::string &text) {
  if (text.size() > 1 && text[0] == '0' && base_of(text) == 10)
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
