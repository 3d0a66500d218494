// What the tool prints: results as text or as JSON, one object per line, and failures.
#pragma once

#include <cstdio>
#include <exception>
#include <string>
#include <utility>

#include "kel_asic_syserr_def.h"
#include "output/json.h"

namespace mrvctl {

// The place of a command: a line of a script, or no script.
struct Place {
  std::string file;
  int line = 0;
};

// Whether to use colours; kAuto: at a terminal that has them, unless NO_COLOR is set.
enum class Colour { kAuto, kAlways, kNever };

// Throws UsageError.
Colour parse_colour(const std::string &text);

// Text with the tool's own sequences for colours. Nothing in it comes from outside the tool.
struct StyledText {
  std::string text;
};

// Everything that the tool prints leaves through here, and text, but not JSON, is made printable:
// arguments, files and recordings can contain sequences that control a terminal.
class Report {
 public:
  // Set before the first result.
  bool json = false;
  Colour colour = Colour::kAuto;

  // Keeps the process's standard output for results only: what the library prints from now on goes
  // to standard error.
  void take_standard_output();
  // Gives standard output back, to a program that replaces the tool.
  void return_standard_output() const;
  // Discards what the library prints, or sends it to standard error again.
  static void discard_library_output(bool discard);

  // Whether results have colours.
  bool colours() const { return has_colours(fileno(out_)); }
  bool on_terminal() const;
  // Columns of the terminal; 0 if standard output is not a terminal.
  size_t terminal_width() const;
  // Another stream of the results, for what is not text. The caller closes it. Throws
  // OperationFailed.
  std::FILE *output_copy() const;

  // Prints no objects, or prints them again; returns what was set before.
  bool suppress_json(bool suppress) { return std::exchange(json_suppressed_, suppress); }

  // Clears the terminal, if there is one, before the next text.
  void clear_screen() { clear_screen_ = on_terminal(); }

  // The command whose results and failures follow; empty before one is known.
  void set_command(const std::string &command) { command_ = command; }
  const std::string &command() const { return command_; }

  // One command's result, in the form that was asked for. The object also gets the command.
  void result(const Json &object, const std::string &text);
  void result(const Json &object, const StyledText &text);

  // One command's failure: on standard error after its place, "FILE:LINE: " or nothing; as JSON it
  // is an object {"command":...,"file":...,"line":...,"error":...}. At a terminal it is red. File
  // and line are null outside a script.
  void failure(const Place &place, const std::string &command_line, const std::exception &error);

  // False if a result could not be written.
  bool close();

 private:
  bool has_colours(int file) const;
  void print(const std::string &text);
  void print_object(const Json &members);

  std::string command_;
  std::FILE *out_ = stdout;
  bool json_suppressed_ = false;
  bool clear_screen_ = false;
  bool failed_ = false;
};

// Prints on standard error, after what the library has printed.
void print_error(const std::string &text);

// {"code":...,"name":...,"text":...}; the code is null if it was not the library that failed.
Json error_json(const std::exception &error);

}  // namespace mrvctl
