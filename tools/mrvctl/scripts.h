// Scripts: one command per line.
#ifndef MRVCTL_SCRIPTS_H
#define MRVCTL_SCRIPTS_H

#include <string>
#include <vector>

#include "commands/arguments.h"
#include "runner.h"

namespace mrvctl {

// expect-fail, the command for scripts that show or check failures.
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

// Whether a person types the script: each line runs as it is entered.
bool is_typed(const std::string &path);

// Reads and parses a script; "-" is standard input. Every invalid line is reported. From now on
// relative paths in commands start at the script's directory.
Script read_script(Runner &runner, Parser &parser, Session &session, const std::string &path);

// Runs the lines in order, up to the first that fails, or all of them.
void run_script(Runner &runner, Session &session, const Script &script, bool keep_going);

// Reads lines from standard input and runs each before the next is read; a failure does not end the
// session.
void run_typed_lines(Runner &runner, Parser &parser, Session &session);

}  // namespace mrvctl

#endif
