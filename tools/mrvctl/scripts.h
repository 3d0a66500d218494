// Runs the steps of the tool, reports those that fail, and keeps the status of the first: a
// command, or a script with one command per line.
#pragma once

#include <functional>
#include <istream>
#include <string>
#include <vector>

#include "commands/arguments.h"
#include "commands/session.h"
#include "text/lines.h"

namespace mrvctl {

// module, help, and expect-fail for scripts that show or check failures.
void add_script_commands(Parser &parser);

struct ScriptLine {
  int number;         // 0 for the command of the command line
  std::string shown;  // the line, without comments
  Command command;
};

struct Script {
  std::string name;  // what messages call it
  std::vector<ScriptLine> lines;
};

class Runner {
 public:
  Runner(Session &session, Parser &parser) : session_(session), parser_(parser) {}

  bool failed() const { return status_ != Status::kDone; }
  int status() const { return static_cast<int>(status_); }

  // Runs one step of a command; a message shows its place and `shown`, which the step may change.
  // False if the step failed.
  bool run(const std::string &command, const Place &place, const std::string &shown,
           const std::function<void()> &step);

  // Reads and parses a script; "-" is standard input. Every invalid line is reported. From now on
  // relative paths in commands start at the script's directory.
  Script read_script(const std::string &path);

  // Runs the lines in order, up to the first that fails, or all of them.
  void run_script(const Script &script, bool keep_going);

  // Reads the next line; false at the end.
  using ReadLine = std::function<bool(LineReader &)>;

  // Runs each line of standard input before the next is read; a failure does not end it. At a
  // prompt, failures have no place.
  void run_each_line(const ReadLine &read, bool at_prompt);

  // Runs a command that needs no words.
  void run_typed(const std::string &command);

  // No further line is run.
  void quit() { quits_ = true; }

 private:
  using UseLine = std::function<void(const ScriptLine &)>;

  Place place(const std::string &name, const ScriptLine &line) const;
  void fail(Status status, const Place &place, const std::string &shown,
            const std::exception &error);
  void parse_lines(std::istream &input, const std::string &name, const ReadLine &read,
                   const UseLine &use);
  bool run_line(const std::string &name, const ScriptLine &line);

  Session &session_;
  Parser &parser_;
  Status status_ = Status::kDone;
  bool quits_ = false;
  bool at_prompt_ = false;
};

}  // namespace mrvctl
