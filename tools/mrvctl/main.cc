// mrvctl: arguments, scripts and exit status.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>

#include "base/lines.h"
#include "base/text.h"
#include "commands/commands.h"
#include "platform/platform.h"

namespace mrvctl {
namespace {

constexpr const char kTraceHelp[] =
    "to switch it on, create /bootflash/kel_lib_debug and start the process again";

struct Options {
  std::string script;
  std::string platform;
  bool keep_going = false;
  bool calls = false;
  bool trace = false;
  bool json = false;
  uint32_t slot = 0;
  uint32_t module = 0;
  uint32_t asic = 0;
};

constexpr char kDescription[] =
    "Client of libmorvaneusd: registers, tables, transactions, programs, QoS and ports of a\n"
    "Morvane ASIC";

constexpr char kFooter[] =
    "Numbers are decimal, hexadecimal (0x) or binary (0b). The exit status is 0, 1 where a\n"
    "command failed, or 2 where it could not be understood; with --keep-going that of the first\n"
    "failure.";

void describe_options(Arguments &arguments, Options &options) {
  arguments
      .word("-f,--file", options.script,
            "Run the commands of a script, one a line; - for standard input")
      .type_name("FILE");
  arguments.flag("--keep-going", options.keep_going,
                 "Go on behind a command of a script that failed");
  arguments.flag("--json", options.json, "Print results as JSON, one object a line");
  arguments.flag("--trace", options.trace,
                 "Tell whether the library's trace is on, and how to switch it on");
  arguments.flag("--calls", options.calls,
                 "Show each service call, decoded, with its duration, on standard error");
  arguments
      .word("--platform", options.platform,
            "Take the platform from this library; if left out, the one that the tool was built for")
      .type_name("FILE");
  arguments.number<uint32_t>("--slot", options.slot, "Slot of the card; 0 if left out", 0, 255);
  arguments.number<uint32_t>("--module", options.module, "Module; 0 if left out", 0, 3);
  arguments.number<uint32_t>("--asic", options.asic, "ASIC number; 0 if left out", 0, 255);
}

void show_trace_state(Session &session) {
  const std::string log = "/tmp/kel_asic_log_" + std::to_string(getpid());
  session.report.result({{"command", "trace"},
                         {"enabled", session.trace_on},
                         {"log", session.trace_on ? Json(log) : Json()},
                         {"how", kTraceHelp}},
                        session.trace_on ? "the trace is on: standard error and " + log + "\n"
                                         : std::string("the trace is off; ") + kTraceHelp + "\n");
}

// Runs commands, reports their failures and keeps the status of the first.
class Runner {
 public:
  explicit Runner(Session &session) : session_(session) {}

  int status() const { return static_cast<int>(status_); }

  // Runs one step; a message shows its place and `shown`, which the step may improve. False if the
  // step failed.
  bool run(const Place &place, const std::string &shown, const std::function<void()> &step) {
    try {
      step();
      std::fflush(stdout);
      return true;
    } catch (const UsageError &error) {
      fail(Status::kUsage, place, shown, error_json(std::nullopt, "USAGE", error.what()));
    } catch (const OperationFailed &error) {
      const std::string name = error.code() ? result_name(*error.code()) : "FAILED";
      fail(Status::kFailed, place, shown, error_json(error.code(), name, error.what()));
    } catch (const std::exception &error) {
      fail(Status::kFailed, place, shown, error_json(std::nullopt, "FAILED", error.what()));
    }
    return false;
  }

 private:
  void fail(Status status, const Place &place, const std::string &shown, const Json &error) {
    if (status_ == Status::kDone)
      status_ = status;
    session_.report.failure(place, shown, session_.command(), error);
  }

  Session &session_;
  Status status_ = Status::kDone;
};

void run_command(Session &session, const Command &command) {
  session.set_command(command.name);
  command.run(session);
}

// False if the line's command failed.
bool run_line(Runner &runner, Parser &parser, Session &session, const Place &place,
              const std::string &line) {
  std::string shown = line;
  return runner.run(place, shown, [&] {
    const std::vector<std::string> words = split_words(line);
    if (words.empty())
      return;
    shown = join(words, " ");
    session.set_command(words[0]);
    run_command(session, parser.parse(words));
  });
}

void run_script(Runner &runner, Parser &parser, Session &session, std::istream &input,
                const std::string &name, bool keep_going) {
  LineReader reader(input, name);
  session.in_script = true;
  bool more = true;
  while (true) {
    if (!runner.run({}, name, [&] { more = reader.next(); }) || !more)
      return;
    session.set_place(name, reader.number());
    if (!run_line(runner, parser, session, {name, reader.number()}, reader.line()) && !keep_going)
      return;
  }
}

void run_script_file(Runner &runner, Parser &parser, Session &session, const Options &options) {
  if (options.script == "-")
    return run_script(runner, parser, session, std::cin, "stdin", options.keep_going);
  session.set_command("script");
  const size_t slash = options.script.rfind('/');
  session.folder = slash == std::string::npos ? "" : options.script.substr(0, slash + 1);
  std::ifstream input(options.script);
  const bool opened = runner.run({}, options.script, [&] {
    if (!input)
      throw UsageError(std::string("cannot open: ") + std::strerror(errno));
  });
  if (opened)
    run_script(runner, parser, session, input, options.script, options.keep_going);
}

// What the command line has from the command on.
std::string shown_command(const std::string &name, int argc, char **argv) {
  const std::vector<std::string> words(argv, argv + argc);
  const std::string first = name.substr(0, name.find(' '));
  return join({std::find(words.begin(), words.end(), first), words.end()}, " ");
}

int run(Parser &parser, const Options &options, const Command &chosen, int argc, char **argv) {
  Session session;
  session.module = options.module;
  session.asic = options.asic;
  if (options.json)
    session.report.use_json();
  session.report.take_standard_output();
  watch_calls(options.calls);
  Runner runner(session);
  const bool ready = runner.run({}, "init", [&] {
    session.set_command("init");
    open_platform(options.platform);
    session.initialise(static_cast<uint8_t>(options.slot));
    if (options.trace)
      show_trace_state(session);
  });
  if (!ready)
    return runner.status();
  if (!options.script.empty())
    run_script_file(runner, parser, session, options);
  else if (chosen.run)
    runner.run({}, shown_command(chosen.name, argc, argv), [&] { run_command(session, chosen); });
  runner.run({}, "end", [&] {
    session.set_command("end");
    if (session.transaction.open())
      throw OperationFailed("transaction \"" + session.transaction.name() +
                            "\" was never committed: " + session.transaction.pending_text() +
                            " lost");
  });
  runner.run({}, "output", [&] {
    if (!session.report.close())
      throw OperationFailed("the results could not be written");
  });
  return runner.status();
}

int refuse(const std::string &text, const std::string &command, const std::string &help,
           bool json) {
  if (json)
    std::cout << failure_json({}, command.empty() ? Json() : Json(command),
                              error_json(std::nullopt, "USAGE", text));
  std::cerr << "mrvctl: " << text << "\n" << help;
  return static_cast<int>(Status::kUsage);
}

int parse_and_run(int argc, char **argv) {
  constexpr const char kMore[] = "(mrvctl --help and mrvctl COMMAND --help say more)\n";
  Options options;
  Parser parser;
  add_commands(parser);
  Command chosen;
  try {
    chosen = parser.parse_command_line(
        argc, argv, [&](Arguments &arguments) { describe_options(arguments, options); },
        kDescription, kFooter, "mrvctl " MRVCTL_VERSION);
  } catch (const TextAsked &asked) {
    std::cout << asked.text << std::flush;
    return static_cast<int>(std::cout ? Status::kDone : Status::kFailed);
  } catch (const ArgumentsRefused &refusal) {
    // The parser may have stopped before it came to the option.
    const bool json = std::find(argv, argv + argc, std::string("--json")) != argv + argc;
    return refuse(refusal.what(), refusal.command(), kMore, json);
  }
  if (chosen.run && !options.script.empty())
    return refuse("give either a command or a script", chosen.name, kMore, options.json);
  if (!chosen.run && options.script.empty() && !options.trace)
    return refuse("no command", "", parser.help(), options.json);
  return run(parser, options, chosen, argc, argv);
}

}  // namespace
}  // namespace mrvctl

int main(int argc, char **argv) {
  try {
    return mrvctl::parse_and_run(argc, argv);
  } catch (const std::exception &error) {
    std::fprintf(stderr, "mrvctl: %s\n", error.what());
    return static_cast<int>(mrvctl::Status::kFailed);
  }
}
