// Scripts: one command per line.
#include "scripts.h"

#include <iostream>
#include <optional>

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
  session.report.set_command(command.name);
  try {
    command.run(session);
  } catch (const OperationFailed &failure) {
    return failure;
  }
  return std::nullopt;
}

void run_expect_fail(Session &session, const ExpectFailArgs &args) {
  const std::optional<OperationFailed> failure = failure_of(session, args.command);
  session.report.set_command("expect-fail");
  if (!failure)
    throw OperationFailed("the command succeeded, but a failure was expected");
  session.report.result(
      {{"failed", args.command.name}, {"error", error_json(*failure)}},
      "failed as expected: " + join(args.words, " ") + ": " + failure->what() + "\n");
}

}  // namespace

void add_script_commands(Parser &parser) {
  parser.add<uint32_t>(
      {"module", "Scripts", "Use another module from this line on",
       "printf 'module 1\\nread HI.2:40\\n' | mrvctl -f -"},
      [](Arguments &arguments, uint32_t &module) {
        arguments.number<uint32_t>("MODULE", module, "Module", 0, 3);
      },
      [](Session &session, uint32_t module) {
        session.module = module;
        session.report.result({{"module", module}}, format("module %u\n", module));
      });
  parser.add<HelpArgs>(
      {"help", "Help", "Show the help of mrvctl or of a command", "mrvctl help read",
       Requires::kNone},
      [](Arguments &arguments, HelpArgs &args) {
        arguments.words("[COMMAND]", args.words, "Words of the command");
      },
      [&parser](HelpArgs &args) { args.text = parser.help(args.words); },
      [&parser](Session &session, const HelpArgs &args) {
        const bool lists = session.in_script() && args.words.empty();
        const std::string text =
            lists ? parser.command_list() + "'help COMMAND' shows the help of a command.\n"
                  : args.text;
        session.report.result({{"text", text}}, text);
      });
  parser.add<ExpectFailArgs>(
      {"expect-fail", "Scripts", "Run COMMAND; succeed only if it fails",
       "mrvctl expect-fail read HI.2:1584"},
      [](Arguments &arguments, ExpectFailArgs &args) { arguments.rest("COMMAND", args.words); },
      [&parser](ExpectFailArgs &args) { args.command = parser.parse(args.words); },
      run_expect_fail);
}

bool Runner::run(const std::string &command, const Place &place, const std::string &shown,
                 const std::function<void()> &step) {
  session_.report.set_command(command);
  try {
    step();
    std::fflush(stdout);
    return true;
  } catch (const UsageError &error) {
    fail(Status::kUsage, place, shown, error);
  } catch (const OperationFailed &error) {
    fail(error.status(), place, shown, error);
  } catch (const std::exception &error) {
    fail(Status::kFailed, place, shown, error);
  }
  return false;
}

Place Runner::place(const std::string &name, const ScriptLine &line) const {
  return at_prompt_ ? Place() : Place{name, line.number};
}

void Runner::fail(Status status, const Place &place, const std::string &shown,
                  const std::exception &error) {
  if (!failed())
    status_ = status;
  session_.report.failure(place, shown, error);
}

// Uses each line that has a command and is valid.
void Runner::parse_lines(std::istream &input, const std::string &name, const ReadLine &read,
                         const UseLine &use) {
  LineReader reader(input, name);
  bool more = true;
  while (!quits_ && run("script", {}, name, [&] { more = read(reader); }) && more) {
    ScriptLine line = {reader.number(), reader.line(), {}};
    const bool valid = run("script", place(name, line), line.shown, [&] {
      const std::vector<std::string> words = split_words(reader.line());
      if (words.empty())
        return;
      line.shown = join(words, " ");
      session_.report.set_command(words[0]);
      line.command = parser_.parse(words);
    });
    if (valid && line.command.run)
      use(line);
  }
}

Script Runner::read_script(const std::string &path) {
  Script script = {path == "-" ? kStandardInput : path, {}};
  session_.folder = path.substr(0, path.rfind('/') + 1);
  std::optional<TextFile> input;
  if (run("script", {}, "mrvctl", [&] { input.emplace(path); }))
    parse_lines(*input, script.name, &LineReader::next,
                [&](const ScriptLine &line) { script.lines.push_back(line); });
  return script;
}

bool Runner::run_line(const std::string &name, const ScriptLine &line) {
  if (line.number > 0)
    session_.place = {name, line.number};
  return run(line.command.name, place(name, line), line.shown, [&] { line.command.run(session_); });
}

void Runner::run_script(const Script &script, bool keep_going) {
  for (const ScriptLine &line : script.lines) {
    if ((!run_line(script.name, line) && !keep_going) || quits_)
      return;
  }
}

void Runner::run_each_line(const ReadLine &read, bool at_prompt) {
  quits_ = false;
  at_prompt_ = at_prompt;
  parse_lines(std::cin, kStandardInput, read,
              [&](const ScriptLine &line) { run_line(kStandardInput, line); });
}

void Runner::run_typed(const std::string &command) {
  run_line("", {0, command, parser_.parse({command})});
}

}  // namespace mrvctl
