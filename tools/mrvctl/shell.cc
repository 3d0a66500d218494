// The shell at a terminal: a prompt, ^C, and a question before an open transaction is lost. rlwrap
// adds editing, history and completion.
#include "shell.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "commands/completion.h"
#include "commands/recorded_program.h"
#include "host/platform_library.h"
#include "output/signals.h"
#include "text/lines.h"
#include "text/text.h"
#include "view/terminal.h"

namespace mrvctl {
namespace {

struct ShellArgs {
  bool plain = false;
};

// A relative XDG_STATE_HOME is to be ignored.
std::string history_file() {
  const char *const state = std::getenv("XDG_STATE_HOME"), *const home = std::getenv("HOME");
  std::string folder = state != nullptr && state[0] == '/' ? state : "";
  if (folder.empty() && home != nullptr)
    folder = std::string(home) + "/.local/state";
  folder += "/mrvctl";
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  return error ? "/dev/null" : folder + "/history";
}

// A file without a name, so that no file remains, with the words to complete.
std::string word_list(const Parser &parser) {
  const std::string words = join(all_words(parser), "\n") + "\n";
  const int file = memfd_create("words", 0);
  if (file < 0 || write(file, words.data(), words.size()) != static_cast<ssize_t>(words.size()))
    throw OperationFailed(std::string("no list of words: ") + std::strerror(errno));
  return format("/proc/self/fd/%d", file);
}

// Runs this command line again in rlwrap, in place of the tool. A colon and a bracket separate the
// parts of a reference to a register.
[[noreturn]] void run_in_rlwrap(const Session &session, const Parser &parser,
                                const std::vector<std::string> &command_line) {
  const std::string tool = std::filesystem::read_symlink("/proc/self/exe");
  std::vector<std::string> words =
      split("rlwrap --no-warnings --case-insensitive -D 2 -b :[ -H", ' ');
  words.insert(words.end(), {history_file(), "-f", word_list(parser), tool});
  words.insert(words.end(), command_line.begin() + 1, command_line.end());
  words.emplace_back("--plain");
  std::vector<char *> arguments(words.size() + 1);
  std::transform(words.begin(), words.end(), arguments.begin(),
                 [](std::string &word) { return word.data(); });
  session.report.return_standard_output();
  execvp(arguments[0], arguments.data());
  throw OperationFailed(std::string("cannot run rlwrap: ") + std::strerror(errno));
}

// " bench" for the switch of a service at /run/user/1000/bench.sock; nothing for a private one, or
// a real one.
std::string switch_name() {
  const std::string address = switch_text();
  if (has_private_switch() || address == "-")
    return "";
  return " " + std::filesystem::path(address).stem().string();
}

std::string switch_line() {
  if (has_private_switch())
    return "private switch, lost when this shell ends";
  const std::string address = switch_text();
  return address == "-" ? "platform " + platform_file() : "switch " + address;
}

// What a person types.
class Prompt {
 public:
  Prompt(Session &session, Runner &runner) : session_(session), runner_(runner) {}

  void run() {
    print_error(switch_line() + "\nhelp lists the commands; quit or ^D ends the shell\n");
    do {
      runner_.run_each_line([this](LineReader &reader) { return next(reader); }, true);
    } while (!may_end());
  }

 private:
  std::string text() const {
    const Transaction &open = session_.transaction;
    const std::string state =
        open.open() ? " [" + open.name() + ": " + open.pending_text() + "]" : "";
    return printable("mrv" + switch_name() + state + "> ");
  }

  bool next(LineReader &reader) {
    std::cin.clear();  // of the ^D of a command, or before a question
    interrupt_.show_prompt(text());
    const bool more = reader.next();
    PromptInterrupt::run_command();
    if (!more)
      print_error("\n");
    return more;
  }

  // Asks what to do with an open transaction. The end of the input does not keep it.
  bool may_end() {
    const Transaction open = session_.transaction;
    while (session_.transaction.open()) {
      std::cin.clear();
      interrupt_.show_prompt(printable("transaction \"" + open.name() + "\" is open with " +
                                       open.pending_text() + ". Commit it? (yes, no, cancel) "));
      std::string answer;
      if (!std::getline(std::cin, answer))
        print_error("\n");
      PromptInterrupt::run_command();
      if (!std::cin || answer == "no" || answer == "n")
        return true;
      if (answer == "cancel" || answer == "c")
        return false;
      if (answer == "yes" || answer == "y")
        runner_.run_typed("commit");
    }
    return true;
  }

  Session &session_;
  Runner &runner_;
  PromptInterrupt interrupt_;
};

}  // namespace

void add_shell_commands(Parser &parser, Runner &runner,
                        const std::vector<std::string> &command_line) {
  const auto run = [&parser, &runner, command_line](Session &session, const ShellArgs &args) {
    if (session.in_script())
      throw UsageError("a shell does not run in a script or in another shell");
    const bool at_terminal = isatty(STDIN_FILENO) != 0;
    if (!args.plain && at_terminal && session.report.on_terminal() && Terminal::available() &&
        file_of_program("rlwrap") != "rlwrap")
      run_in_rlwrap(session, parser, command_line);
    session.open_platform();
    session.initialise();
    if (at_terminal)
      Prompt(session, runner).run();
    else
      runner.run_each_line(&LineReader::next, false);
  };
  parser.add<ShellArgs>(
      {"shell", "Scripts",
       "Run each line as you type it\n"
       "The prompt shows the switch and an open transaction. ^C ends a command. A failed command "
       "does not end the shell. If rlwrap is installed, lines can be edited and completed, and "
       "have a history. If standard input is not a terminal, no prompt is shown.",
       "echo 'read HI.2:40' | mrvctl shell", Requires::kNone},
      [](Arguments &arguments, ShellArgs &args) {
        arguments.flag("--plain", args.plain, "Do not use rlwrap");
      },
      run);
  parser.add({"quit", "Scripts", "End the shell, or the script", "mrvctl quit", Requires::kNone},
             [&runner](Session &) { runner.quit(); });
}

}  // namespace mrvctl
