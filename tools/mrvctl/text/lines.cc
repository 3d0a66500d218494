// Lines of text.
#include "text/lines.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr const char kByteOrderMark[] = "\xEF\xBB\xBF";  // of UTF-8

bool is_blank(char c) {
  return c == ' ' || c == '\t';
}

[[noreturn]] void refuse_file(const std::string &path, const char *why) {
  throw OperationFailed("cannot open " + path + ": " + why);
}

// Does not wait for the writer of a FIFO to come, but later for what a writer that is there writes.
int open_text(const std::string &path) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (file < 0 || fcntl(file, F_SETFL, 0) != 0)
    refuse_file(path, std::strerror(errno));
  return file;
}

bool is_fifo(int file) {
  struct stat status = {};
  return fstat(file, &status) == 0 && S_ISFIFO(status.st_mode);
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

TextFile::TextFile(const std::string &path) : std::istream(std::cin.rdbuf()) {
  if (path == "-")
    return;
  buffer_ = decltype(buffer_)(open_text(path), std::ios::in);
  rdbuf(&buffer_);
  if (is_fifo(buffer_.fd()) && peek() == std::char_traits<char>::eof())
    refuse_file(path, "a FIFO that no process writes to");
}

bool LineReader::next() {
  if (!std::getline(input_, line_)) {
    if (input_.bad())
      throw OperationFailed("cannot read " + name_ + ": " + std::strerror(errno));
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

void write_atomically(const std::string &path, const std::string &text) {
  struct stat old = {};
  if (lstat(path.c_str(), &old) == 0 && !S_ISREG(old.st_mode))
    throw OperationFailed(path + ": is not a plain file");
  const std::string temporary = path + format(".%d", getpid());
  unlink(temporary.c_str());  // of a process that was killed and had the same number
  std::FILE *const file = std::fopen(temporary.c_str(), "wxe");
  const bool written = file != nullptr && std::fputs(text.c_str(), file) >= 0;
  const bool closed = file != nullptr && std::fclose(file) == 0;
  if (written && closed && std::rename(temporary.c_str(), path.c_str()) == 0)
    return;
  const int error_number = errno;
  unlink(temporary.c_str());
  throw OperationFailed(path + ": " + std::strerror(error_number));
}

}  // namespace mrvctl
