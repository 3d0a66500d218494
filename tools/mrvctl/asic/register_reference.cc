// The parser and the text of a reference to registers.
#include "asic/register_reference.h"

#include "kel_asic_dhs_tables.h"
#include "text/errors.h"
#include "text/numbers.h"
#include "text/text.h"

namespace mrvctl {
namespace {

bool is_table(kel_asic_blk_t block, kel_asic_reg_t vreg) {
  return kel_asic_dhs_row(block, vreg) != KEL_ASIC_DHS_ROWS;
}

[[noreturn]] void refuse_register_name(kel_asic_blk_t block, const std::string &word) {
  for (const RegisterName &named : kel_asic_register_names) {
    if (named.name == word)
      throw UsageError("register " + word + " is in block " + kel_asic_blk_names[named.block] +
                       ", not in " + kel_asic_blk_names[block]);
  }
  std::vector<std::string> names;
  for (const RegisterName &named : named_registers(block))
    names.emplace_back(named.name);
  const std::string numbers = format("a number from 0 to %u", kel_asic_blocks[block].registers - 1);
  if (names.empty())
    throw UsageError(
        format("no register of block %s has a name; give ", kel_asic_blk_names[block]) + numbers);
  throw UsageError("block " + std::string(kel_asic_blk_names[block]) + " has no register " + word +
                   " (or give " + numbers + ")" + suggestion(word, names));
}

kel_asic_reg_t parse_vreg(kel_asic_blk_t block, const std::string &text) {
  if (begins_as_number(text))
    return parse_number(text);
  const std::string word = register_word(text);
  for (const RegisterName &named : named_registers(block)) {
    if (named.name == word)
      return named.vreg;
  }
  refuse_register_name(block, word);
}

// "A..B", or "A" for both.
template <typename Parse>
Range parse_range(const std::string &text, Parse parse) {
  const size_t dots = text.find("..");
  const uint32_t first = parse(text.substr(0, dots));
  const uint32_t last = dots == std::string::npos ? first : parse(text.substr(dots + 2));
  if (last < first)
    throw UsageError("'" + text + "' ends before it begins");
  return {first, last};
}

// "[I]", "[I..J]" or "[I].WORD".
void parse_entries(RegisterReference &reference, const std::string &text) {
  const size_t end = text.find(']');
  const bool has_word = end != std::string::npos && text.substr(end + 1, 1) == ".";
  if (end == std::string::npos || (!has_word && end + 1 != text.size()))
    throw UsageError("'" + reference.text + "' is not a table entry; use for example " +
                     "HI.2:HI_DHS_LVIF[5]");
  reference.entries = parse_range(text.substr(1, end - 1),
                                  [](const std::string &index) { return parse_number(index); });
  if (has_word)
    reference.word = parse_number(text.substr(end + 2));
  if (reference.registers->count() > 1 || (has_word && reference.entries->count() > 1))
    throw UsageError("'" + reference.text + "' has more than one range");
}

std::string register_part(kel_asic_blk_t block, kel_asic_reg_t vreg) {
  const char *name = kel_asic_register_name(block, vreg);
  return name == nullptr ? std::to_string(vreg) : name;
}

}  // namespace

RegisterReference parse_register_reference(const std::string &text) {
  RegisterReference reference;
  reference.text = text;
  const size_t colon = text.find(':');
  const std::string place = text.substr(0, colon);
  const size_t dot = place.find('.');
  reference.block = parse_block(place.substr(0, dot));
  if (dot == std::string::npos && colon != std::string::npos)
    throw UsageError("'" + text + "' has no instance; use for example HI.2:40, or HI.*:40 for all");
  if (dot != std::string::npos && place.substr(dot) != ".*")
    reference.instance = parse_number(place.substr(dot + 1));
  if (colon == std::string::npos)
    return reference;
  const std::string rest = text.substr(colon + 1);
  const size_t bracket = rest.find('[');
  const std::string name = rest.substr(0, bracket);
  reference.registers =
      parse_range(name, [&](const std::string &word) { return parse_vreg(reference.block, word); });
  if (bracket != std::string::npos)
    parse_entries(reference, rest.substr(bracket));
  reference.is_table =
      reference.entries || (!begins_as_number(name) && name.find("..") == std::string::npos &&
                            is_table(reference.block, reference.registers->first));
  return reference;
}

RegisterReference parse_register_or_address(const std::string &text) {
  if (!begins_as_number(text))
    return parse_register_reference(text);
  RegisterReference reference;
  reference.text = text;
  reference.address = parse_number(text);
  return reference;
}

Register RegisterReference::first() const {
  return {block, instance.value_or(0), registers ? registers->first : 0};
}

void require_registers(const RegisterReference &reference) {
  if (!reference.registers)
    throw UsageError("'" + reference.text + "' has no register; use for example HI.2:40");
}

void require_plain_registers(const RegisterReference &reference, const std::string &remedy) {
  require_registers(reference);
  if (reference.is_table)
    throw UsageError("'" + reference.text + "' is a table; " + remedy);
}

Register single_register(const RegisterReference &reference) {
  require_registers(reference);
  if (!reference.instance || reference.registers->count() > 1 || reference.entries)
    throw UsageError("'" + reference.text + "' is not a single register; use for example HI.2:40");
  return reference.first();
}

bool is_block_instance(const std::string &word) {
  return word.find('.') != std::string::npos && word.find(':') == std::string::npos;
}

std::string register_text(const Register &reg, uint64_t count) {
  std::string text = format("%s.%u:", kel_asic_blk_names[reg.block], reg.instance) +
                     register_part(reg.block, reg.vreg);
  if (count > 1)
    text += ".." + register_part(reg.block, reg.vreg + static_cast<uint32_t>(count - 1));
  return text;
}

std::string plain_register_text(const Register &reg, uint64_t count) {
  if (count <= 1 && is_table(reg.block, reg.vreg))
    return format("%s.%u:%u", kel_asic_blk_names[reg.block], reg.instance, reg.vreg);
  return register_text(reg, count);
}

std::string every_register_text(kel_asic_blk_t block, kel_asic_reg_t vreg) {
  return std::string(kel_asic_blk_names[block]) + ".*:" + register_part(block, vreg);
}

std::string entry_range_text(const Register &reg, uint32_t index, uint64_t count) {
  const std::string last =
      count > 1 ? format("..%llu", static_cast<unsigned long long>(index + count - 1)) : "";
  return register_text(reg) + format("[%u", index) + last + "]";
}

}  // namespace mrvctl
