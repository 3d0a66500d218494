// Lines of text.
#include "text/lines.h"

#include <cerrno>
#include <cstring>

#include "text/errors.h"

namespace mrvctl {
namespace {

constexpr const char kByteOrderMark[] = "\xEF\xBB\xBF";  // of UTF-8

bool is_blank(char c) {
  return c == ' ' || c == '\t';
}

// Takes one word from `line`, `at` standing on its first character.
std::string take_word(const std::string &line, size_t &at) {
  std::string word;
  char quote = '\0';
  for (; at < line.size() && (quote != '\0' || !is_blank(line[at])); ++at) {
    const char c = line[at];
    if (quote == '\0' && (c == '\'' || c == '"')) {
      quote = c;
    } else if (c == quote) {
      quote = '\0';
    } else if (quote == '"' && c == '\\' && at + 1 < line.size()) {
      word += line[++at];
    } else {
      word += c;
    }
  }
  if (quote != '\0')
    throw UsageError(std::string("a quote (") + quote + ") is not closed");
  return word;
}

}  // namespace

std::vector<std::string> split_words(const std::string &line) {
  std::vector<std::string> words;
  size_t at = 0;
  while (true) {
    while (at < line.size() && is_blank(line[at]))
      ++at;
    if (at == line.size() || line[at] == '#')
      return words;
    words.push_back(take_word(line, at));
  }
}

bool LineReader::next() {
  if (!std::getline(input_, line_)) {
    if (input_.bad())
      throw UsageError("cannot read " + name_ + ": " + std::strerror(errno));
    return false;
  }
  ++number_;
  if (number_ == 1 && line_.rfind(kByteOrderMark, 0) == 0)
    line_.erase(0, std::strlen(kByteOrderMark));
  if (!line_.empty() && line_.back() == '\r')
    line_.pop_back();
  return true;
}

std::string LineReader::position() const {
  return name_ + ":" + std::to_string(number_) + ": ";
}

}  // namespace mrvctl
