// mrvctl: options, and what they ask for.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iostream>

#include "commands/commands.h"
#include "host/platform_library.h"
#include "output/signals.h"
#include "scripts.h"
#include "shell.h"
#include "text/text.h"

namespace mrvctl {
namespace {

struct Options {
  std::string script;
  bool keep_going = false;
  bool interactive = false;
  bool dry_run = false;
  bool calls = false;
};

constexpr char kDescription[] =
    "Read, write and monitor a Morvane switching ASIC\n"
    "Examples:\n"
    "  mrvctl read HI.2:40..47               # Read eight registers\n"
    "  mrvctl write HI.2:40 0x5              # Write a register\n"
    "  mrvctl qos show hif:3                 # Show the statistics of a port\n";

constexpr char kFooter[] =
    "Numbers: 10, 0xa, 0b1010. Exit status: 0 success, 1 failed, 2 never valid.";

void describe_options(Arguments &arguments, Options &options, Session &session) {
  arguments.word("-f,--file FILE", options.script, "Check and run a script (-: standard input)");
  arguments.flag("--keep-going", options.keep_going, "Continue after a failed command");
  arguments.flag("--interactive", options.interactive, "With -f -: run each line as it comes");
  arguments.flag("--dry-run", options.dry_run, "Check the syntax only");
  arguments.flag("--json", session.report.json, "Print results as JSON, one object per line");
  arguments.flag("--calls", options.calls, "Show each service call on standard error");
  arguments.parsed("--color auto|always|never", session.report.colour, parse_colour,
                   "Use colours (default: auto)");
  arguments.word("--platform FILE", session.platform,
                 "Platform library (default: $MORVANE_PLATFORM)");
  arguments.word("--switch PATH", session.service,
                 "morvaned socket or none (default: $MORVANE_SWITCH)");
  arguments.number<uint32_t>("--slot N", session.slot, "Card slot (default: 0)", 0, 255);
  arguments.number<uint32_t>("--module N", session.module, "Module (default: 0)", 0, 3);
  arguments.number<uint32_t>("--asic N", session.asic, "ASIC number (default: 0)", 0, 255);
}

// Whether each line runs as it is entered.
bool is_interactive(const Options &options) {
  return !options.dry_run && options.script == "-" &&
         (options.interactive || isatty(STDIN_FILENO) != 0);
}

// What the command line has from the command on.
std::string shown_command(const std::string &name, int argc, char **argv) {
  const std::vector<std::string> words(argv, argv + argc);
  const std::string first = name.substr(0, name.find(' '));
  return join({std::find(words.begin(), words.end(), first), words.end()}, " ");
}

void show_dry_run(Session &session, const Script &script) {
  const size_t count = script.lines.size();
  session.report.set_command("dry-run");
  session.report.result(
      {{"script", script.name}, {"commands", count}},
      script.name + ": " + count_text(count, "command", "commands") + ", nothing is run\n");
}

void initialise(Session &session, const Options &options, Requires setup) {
  watch_calls(options.calls);
  if (setup != Requires::kNone)
    open_platform(session.platform);
  if (setup == Requires::kLibrary || setup == Requires::kPlatform)
    connect_to_switch(session.service);
  if (setup == Requires::kLibrary)
    session.initialise();
}

// Runs the script once all that can be checked before is right.
void run(Runner &runner, Session &session, const Options &options, const Script &script,
         Requires setup) {
  if (runner.failed())
    return;
  if (options.dry_run)
    return show_dry_run(session, script);
  if (!runner.run("init", {}, "init", [&] { initialise(session, options, setup); }))
    return;
  runner.run_script(script, options.keep_going);
  runner.run("end", {}, "end", [&] {
    if (session.transaction.open())
      throw OperationFailed(session.transaction.loss_text());
  });
}

// A chosen command is a script of one line.
int run_and_close(Runner &runner, Session &session, const Options &options, const Command &chosen,
                  const std::string &shown) {
  session.report.take_standard_output();
  const SignalHandler ending({SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGPIPE}, end_by_signal);
  Script script = {shown, {{0, shown, chosen}}};
  if (chosen.run)
    runner.run(chosen.name, {}, shown, chosen.check);
  else
    script = runner.read_script(options.script);
  run(runner, session, options, script, chosen.setup);
  runner.run("output", {}, "output", [&] {
    if (!session.report.close())
      throw OperationFailed("the results could not be written");
  });
  return runner.status();
}

int refuse(Report &report, const std::string &text, const std::string &command) {
  report.set_command(command);
  report.failure({}, "mrvctl", UsageError(text));
  if (!report.json)
    print_error("Try 'mrvctl " + command + (command.empty() ? "" : " ") + "--help'.\n");
  return static_cast<int>(Status::kUsage);
}

int refuse_without_command(Report &report) {
  if (!report.json)
    print_error(std::string(kDescription) + "\nUsage: mrvctl [OPTIONS] COMMAND\n");
  return refuse(report, "no command", "");
}

int parse_and_run(int argc, char **argv) {
  std::ios::sync_with_stdio(false);  // so that std::cin tells an error from the end
  char help[] = "help";
  if (argc > 1 && std::string(argv[1]) == "?")
    argv[1] = help;
  Options options;
  Session session;
  Parser parser;
  Runner runner(session, parser);
  add_commands(parser);
  add_script_commands(parser);
  add_shell_commands(parser, runner, {argv, argv + argc});
  Command chosen;
  try {
    chosen = parser.parse_command_line(
        argc, argv,
        {[&](Arguments &arguments) { describe_options(arguments, options, session); }, kDescription,
         kFooter, "mrvctl " MRVCTL_VERSION});
  } catch (const HelpRequested &asked) {
    std::cout << asked.text << std::flush;
    return static_cast<int>(std::cout ? Status::kDone : Status::kFailed);
  } catch (const ArgumentsRefused &refusal) {
    // The parser may have stopped before it came to the option.
    session.report.json = std::find(argv, argv + argc, std::string("--json")) != argv + argc;
    return refuse(session.report, refusal.what(), refusal.command());
  }
  if (chosen.run && !options.script.empty())
    return refuse(session.report, "give either a command or a script", chosen.name);
  if (!chosen.run && options.script.empty())
    return refuse_without_command(session.report);
  if (options.interactive && options.script != "-")
    return refuse(session.report, "--interactive is for -f -", "");
  if (is_interactive(options))
    chosen = parser.parse({"shell", "--plain"});
  return run_and_close(runner, session, options, chosen, shown_command(chosen.name, argc, argv));
}

}  // namespace
}  // namespace mrvctl

int main(int argc, char **argv) {
  try {
    return mrvctl::parse_and_run(argc, argv);
  } catch (const std::exception &error) {
    mrvctl::print_error(std::string("mrvctl: ") + error.what() + "\n");
    return static_cast<int>(mrvctl::Status::kFailed);
  }
}
