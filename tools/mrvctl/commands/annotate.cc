// annotate: the names of registers in a text.
#include <cctype>
#include <cerrno>
#include <cstring>

#include "asic/address_index.h"
#include "commands/commands.h"
#include "text/lines.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr size_t kAddressSize = 10;  // 0x and eight digits

struct AnnotateArgs {
  std::string file = "-";
};

bool is_word_character(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

// Whether the 0x at this place begins an address, which is not part of a longer word.
bool is_address(const std::string &text, size_t at) {
  const size_t digits = at + 2;
  const size_t end =
      std::min(text.find_first_not_of("0123456789abcdefABCDEF", digits), text.size());
  return end - at == kAddressSize && (at == 0 || !is_word_character(text[at - 1])) &&
         (end == text.size() || !is_word_character(text[end]));
}

std::string annotated(const std::string &line, const AddressIndex &index) {
  std::string text;
  size_t copied = 0;
  for (size_t at = line.find("0x"); at != std::string::npos; at = line.find("0x", at + 2)) {
    if (!is_address(line, at))
      continue;
    const std::string name = index.name(parse_number<uint32_t>(line.substr(at, kAddressSize)));
    if (name.empty())
      continue;
    text += line.substr(copied, at + kAddressSize - copied) + " (" + name + ")";
    copied = at + kAddressSize;
  }
  return text + line.substr(copied);
}

void run_annotate(Session &session, const AnnotateArgs &args) {
  const AddressIndex index(session.map());
  const std::string path = session.resolve(args.file);
  TextFile input(path);
  for (std::string line; std::getline(input, line);) {
    if (!line.empty() && line.back() == '\r')
      line.pop_back();
    const std::string text = annotated(line, index);
    session.report.result({{"text", text}}, text + (input.eof() ? "" : "\n"));
  }
  if (input.bad())
    throw OperationFailed("cannot read " + path + ": " + std::strerror(errno));
}

void describe_annotate(Arguments &arguments, AnnotateArgs &args) {
  arguments.word("[FILE]", args.file, "A trace log or other text (default: standard input)");
}

}  // namespace

void add_annotate_command(Parser &parser) {
  parser.add<AnnotateArgs>(
      {"annotate", "Look",
       "Copy a log and add a register name to each address\n"
       "An address is 0x and exactly eight hexadecimal digits, without a letter, digit or "
       "underscore before or after it. It gets a name if it belongs to a register, a table entry "
       "or a command. Control characters become escapes like \\x1b, and lines end with LF. Other "
       "text is copied unchanged.",
       "echo 'rreg 0x04000000' | mrvctl annotate", Requires::kRegisterMap},
      describe_annotate, run_annotate);
}

}  // namespace mrvctl
