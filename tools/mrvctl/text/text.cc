// Texts: formatted, in upper or lower case, split and joined, and the nearest to a word.
#include "text/text.h"

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <numeric>

namespace mrvctl {
namespace {

// How many letters to add, drop or change to make one word of the other.
size_t edit_distance(const std::string &from, const std::string &to) {
  std::vector<size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 1; i <= from.size(); ++i) {
    size_t diagonal = row[0];
    row[0] = i;
    for (size_t j = 1; j <= to.size(); ++j) {
      const size_t changed = diagonal + (from[i - 1] == to[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({changed, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row.back();
}

unsigned byte_at(const std::string &text, size_t at) {
  return static_cast<unsigned char>(text[at]);
}

// Bytes of the printable UTF-8 character at this place; 0 if there is none.
size_t character_size(const std::string &text, size_t at) {
  const auto byte = [&](size_t i) { return i < text.size() ? byte_at(text, i) : 0U; };
  const unsigned lead = byte(at);
  if (lead < 0x80)
    return lead >= ' ' && lead != 0x7F ? 1 : 0;
  if (lead < 0xC2 || lead > 0xF4)
    return 0;
  // Lower second bytes: control characters after C2, longer forms of other characters after E0, F0.
  const unsigned min_second = lead == 0xC2 || lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const size_t size = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  for (size_t i = 1; i < size; ++i) {
    if ((byte(at + i) & 0xC0) != 0x80)
      return 0;
  }
  return byte(at + 1) >= min_second ? size : 0;
}

}  // namespace

std::string format(const char *pattern, ...) {
  va_list arguments;
  va_start(arguments, pattern);
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, pattern, arguments);
  va_end(arguments);
  std::string text(length < 0 ? 0 : static_cast<size_t>(length), '\0');
  std::vsnprintf(text.data(), text.size() + 1, pattern, again);
  va_end(again);
  return text;
}

std::string count_text(uint64_t count, const char *one, const char *more) {
  return format("%llu %s", static_cast<unsigned long long>(count), count == 1 ? one : more);
}

std::string upper_case(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

std::string lower_case(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

std::string printable(const std::string &text, const std::string &kept) {
  std::string safe;
  for (size_t at = 0; at < text.size();) {
    const size_t size = kept.find(text[at]) != std::string::npos ? 1 : character_size(text, at);
    safe += size > 0 ? text.substr(at, size) : format("\\x%02x", byte_at(text, at));
    at += std::max<size_t>(size, 1);
  }
  return safe;
}

std::string cut_text(const std::string &text, size_t width, Cut cut) {
  if (text.size() <= width || cut == Cut::kNever)
    return text;
  const size_t tail = cut == Cut::kEnd ? 0 : cut == Cut::kBegin ? width - 1 : (width - 1) / 2;
  std::string begin = text.substr(0, width - 1 - tail), end = text.substr(text.size() - tail);
  // No part of a character is left.
  const auto is_part = [](char c) { return (c & 0x80) != 0; };
  while (!begin.empty() && is_part(begin.back()))
    begin.pop_back();
  end.erase(end.begin(), std::find_if_not(end.begin(), end.end(), is_part));
  return begin + "~" + end;
}

std::string cut_lines(const std::string &text, size_t width) {
  std::vector<std::string> lines = split(text, '\n');
  for (std::string &line : lines)
    line = cut_text(line, width, width == 0 ? Cut::kNever : Cut::kEnd);
  return join(lines, "\n");
}

std::vector<std::string> split(const std::string &text, char separator) {
  std::vector<std::string> parts;
  size_t begin = 0;
  for (size_t end; (end = text.find(separator, begin)) != std::string::npos; begin = end + 1)
    parts.push_back(text.substr(begin, end - begin));
  parts.push_back(text.substr(begin));
  return parts;
}

std::string join(const std::vector<std::string> &parts, const std::string &separator) {
  std::string text;
  for (const std::string &part : parts)
    text += (text.empty() ? "" : separator) + part;
  return text;
}

std::string suggestion(const std::string &word, const std::vector<std::string> &candidates) {
  constexpr size_t kMaxDistance = 2;
  const auto best = std::min_element(candidates.begin(), candidates.end(),
                                     [&word](const std::string &a, const std::string &b) {
                                       return edit_distance(word, a) < edit_distance(word, b);
                                     });
  if (best == candidates.end())
    return "";
  const size_t distance = edit_distance(word, *best);
  const bool is_close = distance <= kMaxDistance && 2 * distance <= word.size();
  return is_close ? "; did you mean '" + *best + "'?" : "";
}

}  // namespace mrvctl
