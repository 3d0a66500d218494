// Texts: formatted, in upper or lower case, split and joined, and the nearest to a word.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace mrvctl {

// printf into a string.
[[gnu::format(printf, 1, 2)]] std::string format(const char *pattern, ...);

// "1 word", "3 words".
std::string count_text(uint64_t count, const char *one, const char *more);

std::string upper_case(std::string text);
std::string lower_case(std::string text);

// A text that is safe on a terminal: control characters and bytes that are not UTF-8 become escapes
// like \x1b, except the characters in `kept`.
std::string printable(const std::string &text, const std::string &kept = "");

// A text of at most so many bytes, with "~" in place of its beginning, middle or end.
enum class Cut { kNever, kBegin, kMiddle, kEnd };
std::string cut_text(const std::string &text, size_t width, Cut cut);

// Lines that are cut at their ends; not for width 0.
std::string cut_lines(const std::string &text, size_t width);

// The parts of a text between separators, empty ones too.
std::vector<std::string> split(const std::string &text, char separator);

// The parts of a list with the separator between them.
std::string join(const std::vector<std::string> &parts, const std::string &separator);

// "; did you mean 'NAME'?" for the candidate that a word comes close to, or "".
std::string suggestion(const std::string &word, const std::vector<std::string> &candidates);

}  // namespace mrvctl
