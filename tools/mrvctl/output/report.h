// What the tool prints: results for people or as JSON, one object a line, and failures.
#ifndef MRVCTL_REPORT_H
#define MRVCTL_REPORT_H

#include <cstdio>
#include <exception>
#include <string>
#include <utility>

#include "kel_asic_syserr_def.h"
#include "output/json.h"

namespace mrvctl {

// Where a command stands: a line of a script, or no script.
struct Place {
  std::string file;
  int line = 0;
};

// Text with the tool's own sequences for colours. Nothing in it comes from outside the tool.
struct StyledText {
  std::string text;
};

// Everything that the tool prints leaves through here, and text, but not JSON, is made printable:
// arguments, files and recordings can contain sequences that control a terminal.
class Report {
 public:
  // Keeps the process's standard output for results alone: what the library prints from now on goes
  // to standard error.
  void take_standard_output();
  // Gives it back, to a program that takes the tool's place.
  void return_standard_output() const;
  // Discards what the library prints, or sends it to standard error again.
  static void discard_library_output(bool discard);

  void use_json() { json_ = true; }
  bool json() const { return json_; }
  // Whether people read along on a terminal and have not set NO_COLOR.
  bool colours() const;
  bool on_terminal() const;

  // Prints no objects, or prints them again; returns what was set before.
  bool suppress_json(bool suppress) { return std::exchange(json_suppressed_, suppress); }

  // Clears the terminal, if there is one, before the next text.
  void clear_screen() { clear_screen_ = on_terminal(); }

  // One command's result, in the form that was asked for.
  void result(const Json &object, const std::string &text);
  void result(const Json &object, const StyledText &text);

  // One command's failure: on standard error behind its place, "FILE:LINE: " or nothing; an object
  // is a result like the others.
  void failure(const Place &place, const std::string &command_line, const Json &command,
               const Json &error);

  // False where a result could not be written.
  bool close();

 private:
  void print(const std::string &text);

  std::FILE *out_ = stdout;
  bool json_ = false;
  bool json_suppressed_ = false;
  bool clear_screen_ = false;
  bool failed_ = false;
};

// Prints on standard error, after what the library has printed.
void print_error(const std::string &text);

// {"code":...,"name":...,"text":...}; the code is null if it was not the library that failed.
Json error_json(const std::exception &error);

// {"command":...,"file":...,"line":...,"error":...}; file and line are null outside a script.
std::string failure_json(const Place &place, const Json &command, const Json &error);

}  // namespace mrvctl

#endif
