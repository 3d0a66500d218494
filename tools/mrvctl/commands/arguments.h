// What a person types, on the command line or in a line of a script, is parsed here, strictly. A
// command is described once, in the file of its noun, and each parse gives its arguments by value:
//
//     struct NodropArgs { uint32_t map = 0; };
//
//     void describe(Arguments &arguments, NodropArgs &args) {
//       arguments.number("MAP", args.map, "One bit per class", 0U, 255U);
//     }
//
//     parser.add<NodropArgs>({"nodrop", "Ports", "Set the no-drop class map", "mrvctl nodrop 8"},
//                            describe, run);
//
// Only arguments.cc includes the parser library: its headers take longer to compile than all
// commands together.
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "text/errors.h"
#include "text/numbers.h"
#include "text/text.h"

namespace CLI {
class App;
}  // namespace CLI

namespace mrvctl {

class Session;  // what a command acts in; nothing here looks inside

struct NoArgs {};

// What a command requires: the library initialised for the card; only the platform; only its
// register map, which exists also without a service; or nothing.
enum class Requires { kLibrary, kPlatform, kRegisterMap, kNone };

// A command that was parsed.
struct Command {
  std::string name;
  std::function<void()> check;  // to be called once, before run; throws UsageError
  std::function<void(Session &)> run;
  Requires setup = Requires::kLibrary;
};

// A command of the tool, as its help shows it.
struct CommandText {
  std::string name;     // all its words, as in "qos show"
  std::string group;    // the task it is listed under; empty if it is not listed
  std::string help;     // the first line is for the list of commands, all of it for its own help
  std::string example;  // command lines of a shell
  Requires setup = Requires::kLibrary;
};

// Describes the arguments of one command by names as the usage shows them: "--output FILE" is an
// option with a value, "NAME" a required word, "[NAME]" one that may be missing. Words come in the
// order in which they are described. FILE, REGISTER and others say what completion offers
// (commands/completion.cc). The values outlive the parser.
class Arguments {
 public:
  explicit Arguments(CLI::App &app) : app_(app) {}

  void word(const std::string &name, std::string &value, const std::string &help);

  // All words from here on that are not options.
  void words(const std::string &name, std::vector<std::string> &values, const std::string &help);

  // All words from here on, options too.
  void rest(const std::string &name, std::vector<std::string> &values);

  void flag(const std::string &name, bool &value, const std::string &help);

  // A word that a function reads, or refuses with a UsageError.
  void option(const std::string &name, const std::function<void(const std::string &)> &parse_fn,
              const std::string &help);

  template <typename T, typename Parse>
  void parsed(const std::string &name, T &value, Parse parse, const std::string &help) {
    option(
        name, [&value, parse](const std::string &text) { value = parse(text); }, help);
  }

  // One or more values, with commas and no blanks between them.
  template <typename Values, typename Parse>
  void list(const std::string &name, Values &values, Parse parse, const std::string &help) {
    const auto parse_parts = [&values, parse](const std::string &text) {
      for (const std::string &part : split(text, ','))
        values.insert(values.end(), parse(part));
    };
    option(name, parse_parts, help);
  }

  // One of several words, in any case: the value is the number of the word. The help shows
  // "--sort drops|pause|writes", "STATE on|off".
  template <typename T, size_t kCount>
  void choice(const std::string &name, T &value, const char *const (&names)[kCount],
              const std::string &help) {
    const std::vector<std::string> words(names, names + kCount);
    parsed(
        name + " " + join(words, "|"), value,
        [words](const std::string &text) { return static_cast<T>(chosen_word(text, words)); },
        help);
  }

  // A positional argument like HI.2:40 or hif:3, which is accepted as two words too if the first
  // may begin one: "HI.2 40". A command has one at most.
  template <typename T, typename Parse>
  void reference(const std::string &name, T &value, Parse parse,
                 bool (*may_begin)(const std::string &), const std::string &help) {
    parsed(name, value, parse, help);
    reference_ = {count_positionals() - 1, may_begin};
  }

  struct Reference {
    size_t position = 0;  // among the positional arguments
    bool (*may_begin)(const std::string &word) = nullptr;
  };
  const Reference &reference() const { return reference_; }

  // A number from low to high, which the help shows.
  template <typename T = uint32_t, typename Value>
  void number(const std::string &name, Value &value, const std::string &help, T low = 0,
              T high = std::numeric_limits<T>::max()) {
    const auto parse = [low, high](const std::string &text) {
      return parse_number<T>(text, low, high);
    };
    parsed(name, value, parse,
           help + " (" + std::to_string(low) + " to " + std::to_string(high) + ")");
  }

 private:
  size_t count_positionals() const;
  static size_t chosen_word(const std::string &text, const std::vector<std::string> &words);

  CLI::App &app_;
  Reference reference_;
};

// The command line asked for a text, and gets nothing else.
struct HelpRequested {
  std::string text;
};

// The command line could not be understood.
class ArgumentsRefused : public UsageError {
 public:
  ArgumentsRefused(const std::string &text, const std::string &command)
      : UsageError(text), command_(command) {}
  // The words of the command, as far as they were understood; empty without one.
  const std::string &command() const { return command_; }

 private:
  std::string command_;
};

// What the command line of the tool has in addition to commands.
struct CommandLine {
  std::function<void(Arguments &)> describe_options;
  std::string description;
  std::string footer;
  std::string version;
};

// What may come next on a command line.
struct Expected {
  std::vector<std::string> words;  // commands, or options after a "-"
  std::string value;               // what the help calls the value, like REGISTER or on|off
};

struct Vocabulary {
  std::set<std::string> words;   // commands and options
  std::set<std::string> values;  // what the help calls values
};

class Parser {
 public:
  Parser() = default;
  Parser(const Parser &) = delete;
  Parser &operator=(const Parser &) = delete;

  // Adds a word that comes before several commands, like qos.
  void add_prefix(const CommandText &text);

  // describe(Arguments &, Args &), check(Args &) and run(Session &, const Args &). The check sees
  // all arguments together, makes of them what run needs, and throws UsageError: what it finds
  // wrong in a line keeps the script from running.
  template <typename Args, typename Describe, typename Check, typename Run>
  void add(const CommandText &text, Describe describe, Check check, Run run) {
    const auto attach = [text, describe, check, run](Arguments &arguments) -> Command {
      const auto args = std::make_shared<Args>();
      describe(arguments, *args);
      return {text.name, [args, check] { check(*args); },
              [args, run](Session &session) { run(session, *args); }, text.setup};
    };
    definitions_.push_back({text, attach});
  }

  // A command whose arguments can be checked one by one.
  template <typename Args, typename Describe, typename Run>
  void add(const CommandText &text, Describe describe, Run run) {
    add<Args>(
        text, describe, [](const Args &) {}, run);
  }

  // A command without arguments.
  template <typename Run>
  void add(const CommandText &text, Run run) {
    add<NoArgs>(
        text, [](Arguments &, NoArgs &) {},
        [run](Session &session, const NoArgs &) { run(session); });
  }

  // Parses and checks one command of a script. Throws UsageError.
  Command parse(const std::vector<std::string> &typed);

  // Parses the command line of the tool: options, and perhaps a command, which is not checked and
  // has no run if there is none. Throws HelpRequested and ArgumentsRefused.
  Command parse_command_line(int argc, char **argv, const CommandLine &line);

  // The help of the tool, or of the command that the words name, once the command line was parsed.
  // Throws UsageError.
  std::string help(const std::vector<std::string> &words);

  // The commands of each task, in few lines.
  std::string command_list() const;

  // What may come in place of the last of the words, of which a part may be typed.
  Expected expected(const std::vector<std::string> &words) const;

  // All commands and options.
  Vocabulary vocabulary() const;

 private:
  struct Definition {
    CommandText text;
    std::function<Command(Arguments &)> attach;  // the parse fills in the command's arguments
  };
  struct AppInstance;

  void attach(AppInstance &tree, const Definition &definition) const;
  std::unique_ptr<AppInstance> build_app(
      const std::function<bool(const Definition &)> &is_wanted) const;
  std::string no_command_text(const std::string &word) const;
  void refuse_unknown_command(const CLI::App &app) const;

  CommandLine line_;
  std::vector<CommandText> prefixes_;
  std::vector<Definition> definitions_;
};

}  // namespace mrvctl
