// Lines of text: read and counted, and split into words, with # comments and quotes.
#pragma once

#include <ext/stdio_filebuf.h>

#include <istream>
#include <string>
#include <vector>

namespace mrvctl {

// Splits a line into words. Between single quotes every character is literal; between double quotes
// a backslash keeps the next character. A # at the beginning of a word starts a comment. Throws
// UsageError if a quote is not closed.
std::vector<std::string> split_words(const std::string &line);

// A text file that is open for reading, or standard input for "-". A FIFO that no process writes to
// is refused: its writer may never come.
class TextFile : public std::istream {
 public:
  // Throws UsageError if the file cannot be opened.
  explicit TextFile(const std::string &path);

 private:
  __gnu_cxx::stdio_filebuf<char> buffer_;
};

// Reads a text line by line and counts the lines. A byte-order mark at its beginning is skipped.
class LineReader {
 public:
  // `name` is what messages call the input.
  LineReader(std::istream &input, std::string name) : input_(input), name_(std::move(name)) {}

  // False at the end. Throws UsageError if the input cannot be read.
  bool next();

  const std::string &line() const { return line_; }
  int number() const { return number_; }
  // "FILE:LINE: ", for messages.
  std::string position() const;

 private:
  std::istream &input_;
  std::string name_;
  std::string line_;
  int number_ = 0;
};

// Replaces a file that others read: they find the old one or the new one, never a part. Throws
// OperationFailed; then the old one stays.
void write_atomically(const std::string &path, const std::string &text);

}  // namespace mrvctl
