// Scripts: one command per line.
#include "scripts.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <optional>

#include "text/lines.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr const char kStandardInput[] = "stdin";

struct ExpectFailArgs {
  std::vector<std::string> words;
  Command command;
};

struct HelpArgs {
  std::vector<std::string> words;
  std::string text;
};

// A command that has to fail prints no object: the failure becomes the object of expect-fail.
class SuppressJson {
 public:
  explicit SuppressJson(Report &report) : report_(report), before_(report.suppress_json(true)) {}
  ~SuppressJson() { report_.suppress_json(before_); }
  SuppressJson(const SuppressJson &) = delete;
  SuppressJson &operator=(const SuppressJson &) = delete;

 private:
  Report &report_;
  bool before_;
};

std::optional<OperationFailed> failure_of(Session &session, const Command &command) {
  const SuppressJson suppressed(session.report);
  session.set_command(command.name);
  try {
    command.run(session);
  } catch (const OperationFailed &failure) {
    return failure;
  }
  return std::nullopt;
}

void run_expect_fail(Session &session, const ExpectFailArgs &args) {
  const std::optional<OperationFailed> failure = failure_of(session, args.command);
  if (!failure) {
    session.set_command("expect-fail");
    throw OperationFailed("the command succeeded, but a failure was expected");
  }
  session.report.result(
      {{"command", "expect-fail"}, {"failed", args.command.name}, {"error", error_json(*failure)}},
      "failed as expected: " + join(args.words, " ") + ": " + failure->what() + "\n");
}

// Parses the reader's current line; its command has no run if the line has none. False if it is
// not a valid command.
bool parse_line(Runner &runner, Parser &parser, Session &session, const LineReader &reader,
                const std::string &name, ScriptLine &line) {
  line = {reader.number(), reader.line(), {}};
  return runner.run({name, line.number}, line.shown, [&] {
    const std::vector<std::string> words = split_words(reader.line());
    if (words.empty())
      return;
    line.shown = join(words, " ");
    session.set_command(words[0]);
    line.command = parser.parse(words);
  });
}

bool run_line(Runner &runner, Session &session, const std::string &name, const ScriptLine &line) {
  if (line.number > 0)
    session.set_place(name, line.number);
  return runner.run({name, line.number}, line.shown, [&] {
    session.set_command(line.command.name);
    line.command.run(session);
  });
}

Script parse_lines(Runner &runner, Parser &parser, Session &session, std::istream &input,
                   const std::string &name) {
  LineReader reader(input, name);
  Script script = {name, {}};
  bool more = true;
  while (runner.run({}, name, [&] { more = reader.next(); }) && more) {
    ScriptLine line;
    if (parse_line(runner, parser, session, reader, name, line) && line.command.run)
      script.lines.push_back(std::move(line));
  }
  return script;
}

}  // namespace

void add_script_commands(Parser &parser) {
  parser.add<HelpArgs>(
      {"help", "", "Show the help of mrvctl or of a command", "mrvctl help read", Requires::kNone},
      [](Arguments &arguments, HelpArgs &args) {
        arguments.words("[COMMAND]", args.words, "Words of the command");
      },
      [&parser](HelpArgs &args) { args.text = parser.help(args.words); },
      [](Session &session, const HelpArgs &args) {
        session.report.result({{"command", "help"}, {"text", args.text}}, args.text);
      });
  parser.add<ExpectFailArgs>(
      {"expect-fail", "Scripts", "Run COMMAND; succeed only if it fails",
       "mrvctl expect-fail read HI.2:1584"},
      [](Arguments &arguments, ExpectFailArgs &args) { arguments.rest("COMMAND", args.words); },
      [&parser](ExpectFailArgs &args) { args.command = parser.parse(args.words); },
      run_expect_fail);
}

bool is_typed(const std::string &path) {
  return path == "-" && isatty(STDIN_FILENO) != 0;
}

Script read_script(Runner &runner, Parser &parser, Session &session, const std::string &path) {
  session.set_command("script");
  if (path == "-")
    return parse_lines(runner, parser, session, std::cin, kStandardInput);
  const size_t slash = path.rfind('/');
  session.folder = slash == std::string::npos ? "" : path.substr(0, slash + 1);
  std::optional<TextFile> input;
  const bool opened = runner.run({}, "mrvctl", [&] { input.emplace(path); });
  return opened ? parse_lines(runner, parser, session, *input, path) : Script{path, {}};
}

void run_script(Runner &runner, Session &session, const Script &script, bool keep_going) {
  for (const ScriptLine &line : script.lines) {
    if (!run_line(runner, session, script.name, line) && !keep_going)
      return;
  }
}

void run_typed_lines(Runner &runner, Parser &parser, Session &session) {
  LineReader reader(std::cin, kStandardInput);
  bool more = true;
  while (runner.run({}, kStandardInput, [&] { more = reader.next(); }) && more) {
    ScriptLine line;
    if (parse_line(runner, parser, session, reader, kStandardInput, line) && line.command.run)
      run_line(runner, session, kStandardInput, line);
  }
}

}  // namespace mrvctl
