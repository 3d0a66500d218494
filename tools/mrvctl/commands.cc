// What the commands share: the parser and the arguments that several of them take.
#include "commands.h"

#include <iterator>
#include <random>

#include "register_names.h"
#include "text.h"

namespace mrvctl {
namespace {

constexpr const char *kPortTypes[] = {"cif", "bif", "nif", "hif"};  // by cardcfg_port_type_t

std::string unknown_command(const CLI::App &app, const std::string &word) {
  std::vector<std::string> names;
  for (const CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; }))
    names.push_back(command->get_name());
  return "no command '" + word + "'; nearest: " + join(nearest(word, names), ", ");
}

// Holds back the objects of a command that has to fail.
class HeldJson {
 public:
  explicit HeldJson(Report &report) : report_(report), before_(report.hold_json(true)) {}
  ~HeldJson() { release(); }
  HeldJson(const HeldJson &) = delete;
  HeldJson &operator=(const HeldJson &) = delete;
  void release() const { report_.hold_json(before_); }

 private:
  Report &report_;
  bool before_;
};

// Runs a command that has to fail.
void run_expect_fail(Session &session, const std::vector<std::string> &words) {
  const Command command = parse_command(words);
  session.set_command(command.name);
  const HeldJson held(session.report);
  try {
    command.run(session);
  } catch (const OperationFailed &failure) {
    held.release();
    const std::string name = failure.code() ? result_name(*failure.code()) : "FAILED";
    session.report.result({{"command", "expect-fail"},
                           {"failed", command.name},
                           {"error", error_json(failure.code(), name, failure.what())}},
                          "failed as expected: " + join(words, " ") + ": " + failure.what() + "\n");
    return;
  }
  session.set_command("expect-fail");
  throw OperationFailed("the command succeeded, where a failure was expected");
}

void add_expect_fail(CLI::App &app, Command &chosen) {
  CLI::App *command = app.add_subcommand(
      "expect-fail",
      "Run the COMMAND behind it, which has to fail\n"
      "A failure succeeds, and a success fails: for scripts that show or check failures.");
  command->prefix_command();
  command->fallthrough(false);  // all words behind it are the command's
  command->callback([command, &chosen] {
    const std::vector<std::string> words = command->remaining();
    if (words.empty())
      throw CLI::ValidationError("COMMAND", "there is none");
    chosen = {"expect-fail", [words](Session &session) { run_expect_fail(session, words); }};
  });
}

}  // namespace

void add_commands(CLI::App &app, Command &chosen) {
  app.require_subcommand(0, 1);
  add_register_commands(app, chosen);
  add_table_commands(app, chosen);
  add_transaction_commands(app, chosen);
  add_program_commands(app, chosen);
  add_qos_commands(app, chosen);
  add_port_commands(app, chosen);
  add_platform_commands(app, chosen);
  add_expect_fail(app, chosen);
}

Command parse_command(const std::vector<std::string> &words) {
  Command chosen;
  CLI::App app;
  app.set_help_flag();  // before the commands, which inherit it
  add_commands(app, chosen);
  try {
    app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
  } catch (const CLI::ParseError &error) {
    throw UsageError(parse_error_text(app, error));
  }
  if (!chosen.run)
    throw UsageError("no command");
  return chosen;
}

std::string parse_error_text(const CLI::App &app, const CLI::ParseError &error) {
  const std::vector<std::string> extra = app.remaining();
  if (app.get_subcommands().empty() && !extra.empty() && extra[0][0] != '-')
    return unknown_command(app, extra[0]);
  const bool unexpected = dynamic_cast<const CLI::ExtrasError *>(&error) != nullptr;
  return unexpected ? "not expected: " + join(app.remaining(true), " ") : error.what();
}

CLI::Option *add_word(CLI::App *command, const std::string &name, std::string &word,
                      const std::string &help) {
  return command->add_option(name, word, help)->type_name("");
}

void add_register(CLI::App *command, RegisterArgs &args) {
  add_word(command, "BLOCK.INST", args.place, "Block and instance, like HI.2")->required();
  add_word(command, "REGISTER", args.name,
           "Name, with _OFFSET or without, in any case; or number (see regs)")
      ->required();
}

uint32_t parse_port_type(const std::string &text, uint32_t highest) {
  for (uint32_t type = 0; type < std::size(kPortTypes); ++type) {
    if (lower_case(text) == kPortTypes[type])
      return type;
  }
  try {
    return parse_number<uint32_t>(text, 0, highest);
  } catch (const UsageError &error) {
    throw UsageError(std::string(error.what()) + ", and none of hif, nif, cif, bif");
  }
}

std::string port_type_text(uint32_t port_type) {
  return port_type < std::size(kPortTypes) ? kPortTypes[port_type] : std::to_string(port_type);
}

void add_port(CLI::App *command, PortArgs &args, uint32_t highest_type) {
  const auto parse = [highest_type](const std::string &text) {
    return parse_port_type(text, highest_type);
  };
  add_parsed<uint32_t>(command, "TYPE", args.type, parse,
                       format("Port type: hif, nif, cif, bif, or a number (0 to %u)", highest_type))
      ->required();
  add_number<uint32_t>(command, "PORT", args.port, "Port number within its type", 0, 255)
      ->required();
}

Answer::Answer(size_t words) : untouched_(std::random_device()()), words_(words + 1, untouched_) {
}

Words Answer::words() const {
  Words read = {{words_.begin(), words_.end() - 1}, words_.size() - 1};
  while (read.answered > 0 && read.words[read.answered - 1] == untouched_)
    --read.answered;
  return read;
}

void expect_words(const std::vector<uint32_t> &expected, const Words &run, size_t per_entry) {
  if (expected.size() != run.words.size())
    throw UsageError(
        format("%zu words to read, but %zu expected", run.words.size(), expected.size()));
  for (size_t i = 0; i < expected.size(); ++i) {
    if (i < run.answered && run.words[i] == expected[i])
      continue;
    std::string text = per_entry == 0
                           ? format("word %zu is ", i)
                           : format("word %zu of entry %zu is ", i % per_entry, i / per_entry);
    text += i < run.answered ? format("0x%08x", run.words[i]) : "not answered";
    text += format(", expected 0x%08x", expected[i]);
    throw OperationFailed(text);
  }
}

std::string interruption_text(const Transaction &before) {
  return before.open() ? "  (transaction \"" + before.name() +
                             "\" was sent first: " + before.pending_text() + ")\n"
                       : "";
}

const char *written_text(const Session &session) {
  return session.transaction.open() ? "queued" : "written";
}

}  // namespace mrvctl
