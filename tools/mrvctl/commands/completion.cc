// words: what completion offers, from the description of the commands that the parser has.
#include "commands/completion.h"

#include <algorithm>
#include <map>

#include "commands/commands.h"
#include "host/platform_library.h"
#include "kel_asic_record_kinds.h"
#include "output/call_table.h"
#include "text/text.h"

namespace mrvctl {
namespace {

using Words = std::vector<std::string>;

struct WordsArgs {
  Words typed;
};

// Whether the help lists the words themselves, as in on|off, and does not name a kind of value.
bool is_choice(const std::string &value) {
  return value.find('|') != std::string::npos || value != upper_case(value);
}

Words block_words(const std::string &end = "") {
  Words words;
  for (const kel_asic_block_t &info : kel_asic_blocks)
    words.push_back(kel_asic_blk_names[info.block] + end);
  return words;
}

Words port_words() {
  return {"hif:", "nif:", "cif:", "bif:"};
}

Words result_words() {
  Words words = errno_names();
  for (const syserr_t code : named_results())
    words.push_back(result_name(code));
  return words;
}

// The next part of a reference: "HI.", "HI.2:", "HI.2:HI_DHS_LVIF".
Words register_words(Session &session, const std::string &word, bool tables) {
  const size_t dot = word.find('.'), colon = word.find(':');
  if (dot == std::string::npos)
    return block_words(".");
  const kel_asic_blk_t block = parse_block(word.substr(0, dot));
  const std::string name = kel_asic_blk_names[block];
  Words words;
  if (colon != std::string::npos) {
    for (const RegisterName &named : named_registers(block)) {
      if (!tables || parse_register_reference(name + ".0:" + named.name).is_table)
        words.push_back(upper_case(word.substr(0, colon + 1)) + named.name);
    }
    return words;
  }
  open_platform("");
  for (uint32_t instance = 0; instance < session.map().instances(block); ++instance)
    words.push_back(format("%s.%u:", name.c_str(), instance));
  return words;
}

// Words in place of a value that the help calls "on|off" or REGISTER. The shell completes <file>,
// <directory> and <command>.
Words value_words(Session &session, const std::string &value, const std::string &word) {
  const std::string kind = value.substr(0, value.find(','));
  if (is_choice(kind))
    return split(kind, '|');
  if (kind == "REGISTER" || kind == "TABLE")
    return register_words(session, word, kind == "TABLE");
  const std::map<std::string, Words> words = {
      {"FILE", {"<file>"}},
      {"PATH", {"<file>"}},
      {"OUT", {"<file>"}},
      {"DIR", {"<directory>"}},
      {"PROGRAM", {"<command>"}},
      {"BLOCK", block_words()},
      {"PORT", port_words()},
      {"PORTS", port_words()},
      {"TARGET", {"hif:", "nif:", "asic"}},
      {"COLUMN", call_column_names()},
      {"CODE", result_words()},
      {"ERRNO", errno_names()},
      {"OPERATION", {std::begin(kel_asic_operations), std::end(kel_asic_operations)}}};
  const auto known = words.find(kind);
  return known == words.end() ? Words() : known->second;
}

Words words_for(Session &session, const Parser &parser, Words typed) {
  const size_t part = typed.back().find_last_of(",=") + 1;  // of a list, or of --option=value
  const std::string before = typed.back().substr(0, part), word = typed.back().substr(part);
  if (before.rfind("--", 0) == 0) {
    typed.back() = before.substr(0, before.find('='));
    typed.push_back(word);
  }
  const Expected expected = parser.expected(typed);
  Words words = expected.words;
  try {
    const Words values = value_words(session, expected.value, word);
    words.insert(words.end(), values.begin(), values.end());
  } catch (const UsageError &) {
    // An unknown block, or no platform: there are no values to offer.
  }
  const auto differs = [&](const std::string &offered) {
    return offered[0] != '<' && lower_case(offered).rfind(lower_case(word), 0) != 0;
  };
  words.erase(std::remove_if(words.begin(), words.end(), differs), words.end());
  for (std::string &offered : words)
    offered.insert(0, offered[0] == '<' ? "" : before);
  return words;
}

}  // namespace

std::vector<std::string> all_words(const Parser &parser) {
  const Vocabulary vocabulary = parser.vocabulary();
  std::set<std::string> words = vocabulary.words;
  const auto add = [&words](const Words &more) { words.insert(more.begin(), more.end()); };
  for (const std::string &value : vocabulary.values) {
    if (is_choice(value))
      add(split(value, '|'));
  }
  for (const kel_asic_block_t &info : kel_asic_blocks) {
    for (const RegisterName &named : named_registers(info.block))
      words.insert(named.name);
  }
  for (const Words &more : {block_words(), port_words(), result_words()})
    add(more);
  return {words.begin(), words.end()};
}

void add_completion_command(Parser &parser) {
  const auto run = [&parser](Session &session, const WordsArgs &args) {
    const Words words =
        args.typed.empty() ? all_words(parser) : words_for(session, parser, args.typed);
    std::string text;
    for (const std::string &word : words)
      text += word + "\n";
    session.report.result({{"words", words}}, text);
  };
  parser.add<WordsArgs>(
      {"words", "",
       "List the words that completion offers\n"
       "The last WORD may be incomplete. <file>, <directory> and <command> are names that the "
       "shell completes. Without a WORD, all words are listed.",
       "mrvctl words -- qos top --sort ''", Requires::kNone},
      [](Arguments &arguments, WordsArgs &args) {
        arguments.words("[WORD]", args.typed, "Words of a command line after mrvctl");
      },
      run);
}

}  // namespace mrvctl
