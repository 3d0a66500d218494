// The commands: each file adds those of one noun to the parser.
#ifndef MRVCTL_COMMANDS_H
#define MRVCTL_COMMANDS_H

#include <CLI/CLI.hpp>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "errors.h"
#include "numbers.h"
#include "session.h"

namespace mrvctl {

struct NoArgs {};

// Words that one command reads at most: the tool holds them all.
constexpr uint32_t kMostWordsRead = 1U << 20;

// A command that was parsed, ready to run.
struct Command {
  std::string name;
  std::function<void(Session &)> run;
};

void add_register_commands(CLI::App &app, Command &chosen);
void add_table_commands(CLI::App &app, Command &chosen);
void add_transaction_commands(CLI::App &app, Command &chosen);
void add_program_commands(CLI::App &app, Command &chosen);
void add_qos_commands(CLI::App &app, Command &chosen);
void add_port_commands(CLI::App &app, Command &chosen);

#ifdef MRVCTL_VIRTUAL_PLATFORM
void add_platform_commands(CLI::App &app, Command &chosen);
void add_platform_options(CLI::App &app);
void watch_platform();

// Throws OperationFailed if a transaction that was sent since the last check has failed. The
// library tells nobody, but the virtual platform does; on another platform it stays unknown.
void check_sent();
#else
inline void add_platform_commands(CLI::App &, Command &) {
}
inline void add_platform_options(CLI::App &) {
}
inline void watch_platform() {
}
inline void check_sent() {
}
#endif

// All of the above.
void add_commands(CLI::App &app, Command &chosen);

// Parses one command of a script. Throws UsageError.
Command parse_command(const std::vector<std::string> &words);

// What the parser refuses, in our words.
std::string parse_error_text(const CLI::App &app, const CLI::ParseError &error);

// Adds a command whose arguments live in `args`; when it is parsed it becomes the chosen one.
// `name` has all its words, of which the last is added.
template <typename Args>
CLI::App *add_command(CLI::App &app, Command &chosen, const std::string &name,
                      const std::string &help, const std::shared_ptr<Args> &args,
                      void (*run)(Session &, const Args &)) {
  CLI::App *command = app.add_subcommand(name.substr(name.rfind(' ') + 1), help);
  command->callback([&chosen, name, args, run] {
    chosen = {name, [args, run](Session &session) { run(session, *args); }};
  });
  return command;
}

// A word of the command line that stands for itself.
CLI::Option *add_word(CLI::App *command, const std::string &name, std::string &word,
                      const std::string &help);

// An option or a positional argument that our strict parser reads.
template <typename T>
CLI::Option *add_parsed(CLI::App *command, const std::string &name, T &value,
                        const std::function<T(const std::string &)> &parse,
                        const std::string &help) {
  const auto read = [name, &value, parse](const std::string &text) {
    try {
      value = parse(text);
    } catch (const UsageError &error) {
      throw CLI::ValidationError(name, error.what());
    }
  };
  return command->add_option_function<std::string>(name, read, help)->type_name("");
}

// A number from low to high; the help text says so.
template <typename T>
CLI::Option *add_number(CLI::App *command, const std::string &name, T &value,
                        const std::string &help, T low = 0,
                        T high = std::numeric_limits<T>::max()) {
  const auto parse = [low, high](const std::string &text) {
    return parse_number<T>(text, low, high);
  };
  return add_parsed<T>(command, name, value, parse,
                       help + " (" + std::to_string(low) + " to " + std::to_string(high) + ")")
      ->type_name(name[0] == '-' ? "N" : "");
}

// The two words of a register.
struct RegisterArgs {
  std::string place;
  std::string name;
};

void add_register(CLI::App *command, RegisterArgs &args);
inline Register parse_register(const RegisterArgs &args) {
  return parse_register(args.place, args.name);
}

// A port type: hif, nif, cif, bif, or a number up to the highest.
uint32_t parse_port_type(const std::string &text, uint32_t highest);
std::string port_type_text(uint32_t port_type);

struct PortArgs {
  uint32_t type = 0;
  uint32_t port = 0;
};

void add_port(CLI::App *command, PortArgs &args, uint32_t highest_type);

// An array for words to be read that can tell how many the service answered: it begins with a value
// of chance in each, and words at its end that still have it were not answered. The library itself
// does not tell.
class Answer {
 public:
  explicit Answer(size_t words);
  uint32_t *data() { return words_.data(); }  // never null
  Words words() const;

 private:
  uint32_t untouched_;
  std::vector<uint32_t> words_;  // one more than asked for
};

// Throws OperationFailed unless the words read are the expected ones; `per_entry` is 0 where they
// are no table entries.
void expect_words(const std::vector<uint32_t> &expected, const Words &run, size_t per_entry);

// What a read says of a transaction that was open before it, and that it sent.
std::string interruption_text(const Transaction &before);

// "written", or "queued" where a transaction is open.
const char *written_text(const Session &session);

}  // namespace mrvctl

#endif
