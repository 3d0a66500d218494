// The parser of the command line and of script lines.
#include "commands/arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

namespace mrvctl {
namespace {

std::string first_word(const std::string &name) {
  return name.substr(0, name.find(' '));
}

std::string last_word(const std::string &name) {
  return name.substr(name.rfind(' ') + 1);
}

bool is_option(const std::string &word) {
  return word.size() > 1 && word[0] == '-';
}

// An option of a command, or of the tool, that is followed by its value; null if it is not one.
const CLI::Option *option_with_value(const CLI::App *app, const std::string &name) {
  for (; app != nullptr; app = app->get_parent()) {
    if (const CLI::Option *option = app->get_option_no_throw(name))
      return option->get_items_expected_max() > 0 ? option : nullptr;
  }
  return nullptr;
}

const CLI::App *command_below(const CLI::App *command, const std::string &name) {
  const auto below =
      command->get_subcommands([&](const CLI::App *app) { return app->get_name() == name; });
  return below.empty() ? nullptr : below[0];
}

// Breaks the lines of a help that are longer than a terminal, and indents their rest like the
// descriptions of options.
std::string wrapped(const std::string &help) {
  constexpr size_t kColumns = 80;
  constexpr size_t kDescription = 30;
  std::istringstream lines(help);
  std::string text;
  for (std::string line; std::getline(lines, line);) {
    const size_t indent = line[0] == ' ' ? kDescription : 0;
    while (line.size() > kColumns) {
      const size_t blank = line.rfind(' ', kColumns);
      if (blank == std::string::npos || blank <= indent)
        break;
      text += line.substr(0, blank) + "\n";
      line = std::string(indent, ' ') + line.substr(blank + 1);
    }
    text += line + "\n";
  }
  return text;
}

using CommandsByTask = std::vector<std::pair<std::string, std::vector<const CLI::App *>>>;

// The commands that are listed, in the order of the first command of each task.
CommandsByTask commands_by_task(const CLI::App &app) {
  CommandsByTask tasks;
  for (const CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; })) {
    const std::string task = command->get_group();
    if (task.empty())
      continue;
    auto known = std::find_if(tasks.begin(), tasks.end(),
                              [&](const auto &listed) { return listed.first == task; });
    if (known == tasks.end())
      known = tasks.insert(known, {task, {}});
    known->second.push_back(command);
  }
  return tasks;
}

class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() { label("SUBCOMMAND", "COMMAND"); }

  std::string make_help(const CLI::App *app, std::string name,
                        CLI::AppFormatMode mode) const override {
    return wrapped(CLI::Formatter::make_help(app, std::move(name), mode));
  }

  // The first command of each task has the task before it.
  std::string make_subcommands(const CLI::App *app, CLI::AppFormatMode) const override {
    std::string text;
    for (const auto &[task, commands] : commands_by_task(*app)) {
      for (const CLI::App *command : commands) {
        const std::string help = command->get_description();
        text += format("  %-15s%-13s", command == commands[0] ? task.c_str() : "",
                       command->get_name().c_str()) +
                help.substr(0, help.find('\n')) + "\n";
      }
    }
    return text.empty() ? "" : "\nCommands:\n" + text;
  }

  std::string make_usage(const CLI::App *app, std::string name) const override {
    std::string usage = CLI::Formatter::make_usage(app, std::move(name));
    if (!app->get_prefix_command())
      return usage;
    return usage.substr(0, usage.find_last_not_of('\n') + 1) + " COMMAND\n";
  }
};

// The words of the command, as far as it was parsed.
std::string parsed_command(const CLI::App &app) {
  std::vector<std::string> names;
  for (const CLI::App *at = &app; !at->get_subcommands().empty();) {
    at = at->get_subcommands()[0];
    names.push_back(at->get_name());
  }
  return join(names, " ");
}

std::vector<const CLI::Option *> positionals(const CLI::App &app) {
  return app.get_options([](const CLI::Option *option) { return option->get_positional(); });
}

// What the help calls the value of an option, or the word.
std::string value_name(const CLI::Option *option) {
  const std::string type = option->get_type_name();
  return type.empty() && option->get_positional() ? option->get_name() : type;
}

std::vector<std::string> option_names(const CLI::App &app) {
  std::vector<std::string> names;
  for (const CLI::Option *option : app.get_options()) {
    for (const std::string &name : option->get_lnames())
      names.push_back("--" + name);
  }
  return names;
}

std::vector<std::string> command_names(const CLI::App &app) {
  std::vector<std::string> names;
  for (const CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; })) {
    if (!command->get_group().empty())
      names.push_back(command->get_name());
  }
  return names;
}

// Whether the words after this one are a command.
bool precedes_command(const CLI::App &app) {
  const std::vector<const CLI::Option *> words = positionals(app);
  return app.get_prefix_command() || (!words.empty() && value_name(words[0]) == "COMMAND");
}

void collect_words(const CLI::App &app, std::set<std::string> &words,
                   std::set<std::string> &values) {
  for (const std::vector<std::string> &names : {option_names(app), command_names(app)})
    words.insert(names.begin(), names.end());
  for (const CLI::Option *option : app.get_options())
    values.insert(value_name(option));
  for (const CLI::App *below : app.get_subcommands([](const CLI::App *) { return true; }))
    collect_words(*below, words, values);
}

// What the parser refuses, in our words.
std::string refusal_text(const CLI::App &app, const CLI::ParseError &error) {
  if (dynamic_cast<const CLI::ExtrasError *>(&error) != nullptr)
    return "unexpected argument: " + join(app.remaining(true), " ");
  std::string text = error.what();
  const size_t number = text.find("1 required ");  // and "... missing" at the end
  if (dynamic_cast<const CLI::ArgumentMismatch *>(&error) != nullptr && number != std::string::npos)
    return text.replace(number, 10, "missing").substr(0, text.rfind(' '));
  if (dynamic_cast<const CLI::RequiredError *>(&error) == nullptr)
    return text;
  const std::string name = text.substr(0, text.find(" is required"));
  return "missing " + (name == "A subcommand" ? "COMMAND" : name);
}

// The name without the brackets of a word or the value of an option, as the parser is to see it.
std::string bare_name(const std::string &name) {
  return name[0] == '[' ? name.substr(1, name.size() - 2) : first_word(name);
}

std::string example_text(const CommandText &text) {
  std::istringstream lines(text.example);
  std::string example = "Example:";
  for (std::string line; std::getline(lines, line);)
    example += "\n  " + line;
  return example;
}

void finish(CLI::Option *option, const std::string &name) {
  const size_t blank = name.find(' ');
  option->type_name(blank == std::string::npos ? "" : name.substr(blank + 1));
  option->required(name[0] != '-' && name[0] != '[');
}

}  // namespace

void Arguments::word(const std::string &name, std::string &value, const std::string &help) {
  const auto parse = [name, &value](const std::string &text) {
    if (text.empty() && name[0] == '-')  // most often an empty variable of a shell
      throw UsageError("value must not be empty");
    value = text;
  };
  option(name, parse, help);
}

void Arguments::words(const std::string &name, std::vector<std::string> &values,
                      const std::string &help) {
  finish(app_.add_option(bare_name(name), values, help), name);
}

void Arguments::rest(const std::string &name, std::vector<std::string> &values) {
  app_.prefix_command();
  app_.fallthrough(false);  // options too are part of the rest
  CLI::App *app = &app_;
  app_.parse_complete_callback([app, name, &values] {
    values = app->remaining();
    if (values.empty())
      throw CLI::ValidationError(name, "there is none");
  });
}

void Arguments::flag(const std::string &name, bool &value, const std::string &help) {
  app_.add_flag(name, value, help);
}

void Arguments::option(const std::string &name,
                       const std::function<void(const std::string &)> &parse_fn,
                       const std::string &help) {
  const std::string bare = bare_name(name);
  const auto parse = [bare, parse_fn](const std::string &text) {
    try {
      parse_fn(text);
    } catch (const UsageError &error) {
      throw CLI::ValidationError(bare.substr(bare.rfind(',') + 1), error.what());
    }
  };
  finish(app_.add_option_function<std::string>(bare, parse, help), name);
}

size_t Arguments::count_positionals() const {
  return positionals(app_).size();
}

size_t Arguments::chosen_word(const std::string &text, const std::vector<std::string> &words) {
  for (size_t i = 0; i < words.size(); ++i) {
    if (lower_case(words[i]) == lower_case(text))
      return i;
  }
  throw UsageError("'" + text + "' is none of " + join(words, ", "));
}

// Some or all of the commands, and what the last parse chose of them.
struct Parser::AppInstance {
  // Parses words, of which a reference may be two.
  void parse(std::vector<std::string> words);

  CLI::App app;
  std::map<const CLI::App *, Arguments::Reference> references;  // of the commands that have one
  std::map<std::string, CLI::App *> prefixes;
  Command chosen;
};

void Parser::AppInstance::parse(std::vector<std::string> words) {
  const CLI::App *command = &app;
  size_t position = 0;
  for (size_t i = 0; i < words.size(); ++i) {
    const std::string &word = words[i];
    const CLI::App *const below = command_below(command, word);
    const Arguments::Reference reference = references[command];
    if (is_option(word)) {
      i += option_with_value(command, word) != nullptr ? 1 : 0;
    } else if (below != nullptr) {
      command = below;
    } else if (position++ == reference.position && reference.may_begin != nullptr &&
               reference.may_begin(word) && i + 1 < words.size() && !is_option(words[i + 1])) {
      words[i] += ":" + words[i + 1];
      words.erase(words.begin() + static_cast<std::ptrdiff_t>(i) + 1);
    }
  }
  std::reverse(words.begin(), words.end());
  app.parse(std::move(words));
}

void Parser::add_prefix(const CommandText &text) {
  prefixes_.push_back(text);
}

void Parser::attach(AppInstance &tree, const Definition &definition) const {
  const CommandText &text = definition.text;
  CLI::App *parent = &tree.app;
  for (const CommandText &prefix : prefixes_) {
    if ((text.name + " ").rfind(prefix.name + " ", 0) != 0)
      continue;
    CLI::App *&known = tree.prefixes[prefix.name];
    if (known == nullptr)
      known = parent->add_subcommand(last_word(prefix.name), prefix.help)
                  ->require_subcommand(1)
                  ->footer(example_text(prefix))
                  ->group(prefix.group);
    parent = known;
  }
  const bool is_prefix = tree.prefixes.count(text.name) != 0;
  CLI::App *command = is_prefix ? parent->require_subcommand(0, 1)
                                : parent->add_subcommand(last_word(text.name), text.help);
  command->group(text.group);
  command->footer(example_text(text));
  Arguments arguments(*command);
  const Command parsed = definition.attach(arguments);
  tree.references[command] = arguments.reference();
  command->callback([&tree, command, parsed] {
    if (command->get_subcommands().empty())
      tree.chosen = parsed;
  });
}

std::string Parser::no_command_text(const std::string &word) const {
  std::vector<std::string> names;
  for (const Definition &definition : definitions_) {
    const std::string name = first_word(definition.text.name);
    if (names.empty() || names.back() != name)
      names.push_back(name);
  }
  return "unknown command '" + word + "'" + suggestion(word, names);
}

void Parser::refuse_unknown_command(const CLI::App &app) const {
  const std::vector<std::string> extra = app.remaining();
  if (app.get_subcommands().empty() && !extra.empty() && extra[0][0] != '-')
    throw ArgumentsRefused(no_command_text(extra[0]), "");
}

Command Parser::parse(const std::vector<std::string> &typed) {
  if (typed.empty())
    throw UsageError("no command");
  std::vector<std::string> words = typed;
  if (words[0] == "?")
    words[0] = "help";
  if (words[0] == "exit")
    words[0] = "quit";
  AppInstance tree;
  tree.app.set_help_flag();  // before the commands, which inherit it
  for (const Definition &definition : definitions_) {
    if (first_word(definition.text.name) == words[0])
      attach(tree, definition);
  }
  if (tree.references.empty())
    throw UsageError(no_command_text(words[0]));
  try {
    tree.parse(words);
  } catch (const CLI::ParseError &error) {
    throw UsageError(refusal_text(tree.app, error));
  }
  tree.chosen.check();
  return tree.chosen;
}

// The parser of a command line: its options, and some commands or all.
std::unique_ptr<Parser::AppInstance> Parser::build_app(
    const std::function<bool(const Definition &)> &is_wanted) const {
  auto tree = std::make_unique<AppInstance>();
  CLI::App &app = tree->app;
  app.name("mrvctl");
  app.description(line_.description);
  app.footer(line_.footer);
  app.formatter(std::make_shared<HelpFormatter>());
  app.fallthrough();
  app.set_help_flag("-h,--help", "Show this help");
  app.set_version_flag("--version", line_.version, "Show the version");
  app.require_subcommand(0, 1);
  Arguments options(app);
  line_.describe_options(options);
  for (const Definition &definition : definitions_) {
    if (is_wanted(definition))
      attach(*tree, definition);
  }
  return tree;
}

Command Parser::parse_command_line(int argc, char **argv, const CommandLine &line) {
  line_ = line;
  const std::vector<std::string> words(argv + 1, argv + argc);
  const auto is_named = [&](const Definition &definition) {
    return std::find(words.begin(), words.end(), first_word(definition.text.name)) != words.end();
  };
  // Describing all commands takes longer than most of them run. Only help, an error and a missing
  // command need them all.
  try {
    const std::unique_ptr<AppInstance> tree = build_app(is_named);
    tree->parse(words);
    if (tree->chosen.run)
      return tree->chosen;
  } catch (const CLI::ParseError &) {
    // As all commands together report it.
  }
  const std::unique_ptr<AppInstance> tree = build_app([](const Definition &) { return true; });
  CLI::App &app = tree->app;
  try {
    tree->parse(words);
  } catch (const CLI::CallForVersion &) {
    throw HelpRequested{line.version + "\n"};
  } catch (const CLI::Success &) {
    refuse_unknown_command(app);  // of a word that is no command there is no help
    throw HelpRequested{app.help()};
  } catch (const CLI::ParseError &error) {
    refuse_unknown_command(app);
    throw ArgumentsRefused(refusal_text(app, error), parsed_command(app));
  }
  return tree->chosen;
}

std::string Parser::help(const std::vector<std::string> &words) {
  const std::unique_ptr<AppInstance> tree = build_app([](const Definition &) { return true; });
  const CLI::App *at = &tree->app;
  std::string before;
  for (const std::string &word : words) {
    before += (before.empty() ? "" : " ") + at->get_name();
    at = command_below(at, word);
    if (at == nullptr)
      throw UsageError(no_command_text(word));
  }
  return at->help(before);
}

std::string Parser::command_list() const {
  const std::unique_ptr<AppInstance> tree = build_app([](const Definition &) { return true; });
  std::string list;
  for (const auto &[task, commands] : commands_by_task(tree->app)) {
    list += format("  %-15s", task.c_str());
    for (const CLI::App *command : commands)
      list += " " + command->get_name();
    list += "\n";
  }
  return list;
}

Expected Parser::expected(const std::vector<std::string> &words) const {
  const std::unique_ptr<AppInstance> tree = build_app([](const Definition &) { return true; });
  const CLI::App *command = &tree->app;
  const CLI::Option *option = nullptr;  // whose value comes next
  size_t position = 0;
  for (size_t i = 0; i + 1 < words.size(); ++i) {
    const CLI::App *const below = command_below(command, words[i]);
    if (option != nullptr)
      option = nullptr;
    else if (is_option(words[i]))
      option = option_with_value(command, words[i]);
    else if (below != nullptr)
      command = precedes_command(*below) ? &tree->app : below;
    else
      ++position;
  }
  if (option != nullptr)
    return {{}, value_name(option)};
  if (!words.empty() && words.back()[0] == '-')
    return {option_names(*command), ""};
  Expected found = {position == 0 ? command_names(*command) : std::vector<std::string>(), ""};
  const std::vector<const CLI::Option *> arguments = positionals(*command);
  if (!arguments.empty() &&
      (position < arguments.size() || arguments.back()->get_expected_max() > 1))
    found.value = value_name(arguments[std::min(position, arguments.size() - 1)]);
  if (position >= arguments.size() && found.value == "PROGRAM")
    found.value = "FILE";  // as an argument of the program most often is
  return found;
}

Vocabulary Parser::vocabulary() const {
  Vocabulary all;
  collect_words(build_app([](const Definition &) { return true; })->app, all.words, all.values);
  return all;
}

}  // namespace mrvctl
