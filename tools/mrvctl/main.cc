// mrvctl: arguments, scripts and exit status.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>

#include "commands.h"
#include "script.h"
#include "text.h"

#if defined(__SANITIZE_ADDRESS__)
#define MRVCTL_ADDRESS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define MRVCTL_ADDRESS_SANITIZER
#endif
#endif

#ifdef MRVCTL_ADDRESS_SANITIZER
// An allocation that is too large fails as it does without the sanitizer: the library is asked for
// entry sizes by a run that no buffer can hold.
extern "C" const char *__asan_default_options() {
  return "allocator_may_return_null=1";
}
#endif

namespace mrvctl {
namespace {

constexpr const char kTraceHelp[] =
    "to switch it on, create /bootflash/kel_lib_debug and start the process again";

struct Options {
  std::string script;
  bool keep_going = false;
  bool trace = false;
  bool json = false;
  uint32_t slot = 0;
  uint32_t module = 0;
  uint32_t asic = 0;
};

// Descriptions have a first line for the list of commands, and more for a command's own help.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_subcommand(const CLI::App *command) const override {
    const std::string help = command->get_description();
    std::string text = format("  %-20s", command->get_name().c_str());
    return text + help.substr(0, help.find('\n')) + "\n";
  }

  std::string make_usage(const CLI::App *app, std::string name) const override {
    std::string usage = CLI::Formatter::make_usage(app, std::move(name));
    if (!app->get_prefix_command())
      return usage;
    return usage.substr(0, usage.find_last_not_of('\n') + 1) + " COMMAND\n";
  }
};

void add_options(CLI::App &app, Options &options) {
  app.description(
      "Client of libmorvaneusd: registers, tables, transactions, programs, QoS and ports of a\n"
      "Morvane ASIC");
  app.footer(
      "Numbers are decimal, hexadecimal (0x) or binary (0b). The exit status is 0, 1 where a\n"
      "command failed, or 2 where it could not be understood; with --keep-going that of the first\n"
      "failure.");
  app.formatter(std::make_shared<HelpFormatter>());
  app.fallthrough();
  app.set_version_flag("--version", std::string("mrvctl ") + MRVCTL_VERSION);
  add_word(&app, "-f,--file", options.script,
           "Run the commands of a script, one a line; - for standard input")
      ->type_name("FILE");
  app.add_flag("--keep-going", options.keep_going,
               "Go on behind a command of a script that failed");
  app.add_flag("--json", options.json, "Print results as JSON, one object a line");
  app.add_flag("--trace", options.trace,
               "Tell whether the library's trace is on, and how to "
               "switch it on");
  add_platform_options(app);
  add_number<uint32_t>(&app, "--slot", options.slot, "Slot of the card; 0 if left out", 0, 255);
  add_number<uint32_t>(&app, "--module", options.module, "Module; 0 if left out", 0, 3);
  add_number<uint32_t>(&app, "--asic", options.asic, "ASIC number; 0 if left out", 0, 255);
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
bool run_line(Runner &runner, Session &session, const Place &place, const std::string &line) {
  std::string shown = line;
  return runner.run(place, shown, [&] {
    const std::vector<std::string> words = split_words(line);
    if (words.empty())
      return;
    shown = join(words, " ");
    session.set_command(words[0]);
    run_command(session, parse_command(words));
  });
}

void run_script(Runner &runner, Session &session, std::istream &input, const std::string &name,
                bool keep_going) {
  LineReader reader(input, name);
  session.in_script = true;
  bool more = true;
  while (true) {
    if (!runner.run({}, name, [&] { more = reader.next(); }) || !more)
      return;
    session.set_place(name, reader.number());
    if (!run_line(runner, session, {name, reader.number()}, reader.line()) && !keep_going)
      return;
  }
}

void run_script_file(Runner &runner, Session &session, const Options &options) {
  if (options.script == "-")
    return run_script(runner, session, std::cin, "stdin", options.keep_going);
  session.set_command("script");
  const size_t slash = options.script.rfind('/');
  session.folder = slash == std::string::npos ? "" : options.script.substr(0, slash + 1);
  std::ifstream input(options.script);
  const bool opened = runner.run({}, options.script, [&] {
    if (!input)
      throw UsageError(std::string("cannot open: ") + std::strerror(errno));
  });
  if (opened)
    run_script(runner, session, input, options.script, options.keep_going);
}

// What the command line has from the command on.
std::string shown_command(const CLI::App &app, int argc, char **argv) {
  const std::vector<std::string> words(argv, argv + argc);
  const std::string first = app.get_subcommands().at(0)->get_name();
  return join({std::find(words.begin(), words.end(), first), words.end()}, " ");
}

int run(const CLI::App &app, const Options &options, const Command &chosen, int argc, char **argv) {
  Session session;
  session.module = options.module;
  session.asic = options.asic;
  if (options.json)
    session.report.use_json();
  session.report.take_standard_output();
  watch_platform();
  Runner runner(session);
  const bool ready = runner.run({}, "init", [&] {
    session.initialise(static_cast<uint8_t>(options.slot));
    if (options.trace)
      show_trace_state(session);
  });
  if (!ready)
    return runner.status();
  if (!options.script.empty())
    run_script_file(runner, session, options);
  else if (chosen.run)
    runner.run({}, shown_command(app, argc, argv), [&] { run_command(session, chosen); });
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

// The words of the command, as far as it was parsed; null without one.
Json parsed_command(const CLI::App &app) {
  std::vector<std::string> names;
  for (const CLI::App *at = &app; !at->get_subcommands().empty();) {
    at = at->get_subcommands()[0];
    names.push_back(at->get_name());
  }
  return names.empty() ? Json() : Json(join(names, " "));
}

int refuse(const CLI::App &app, const std::string &text, const std::string &help, bool json) {
  if (json)
    std::cout << failure_json({}, parsed_command(app), error_json(std::nullopt, "USAGE", text));
  std::cerr << "mrvctl: " << text << "\n" << help;
  return static_cast<int>(Status::kUsage);
}

int parse_and_run(int argc, char **argv) {
  constexpr const char kMore[] = "(mrvctl --help and mrvctl COMMAND --help say more)\n";
  Options options;
  Command chosen;
  CLI::App app;
  app.name("mrvctl");
  add_options(app, options);
  add_commands(app, chosen);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success &help) {
    return app.exit(help);
  } catch (const CLI::ParseError &error) {
    // The parser may have stopped before it came to the option.
    const bool json = std::find(argv, argv + argc, std::string("--json")) != argv + argc;
    return refuse(app, parse_error_text(app, error), kMore, json);
  }
  if (chosen.run && !options.script.empty())
    return refuse(app, "give either a command or a script", kMore, options.json);
  if (!chosen.run && options.script.empty() && !options.trace)
    return refuse(app, "no command", app.help(), options.json);
  return run(app, options, chosen, argc, argv);
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
