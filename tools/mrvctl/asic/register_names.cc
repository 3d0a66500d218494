// Names of blocks, registers and command addresses.
#include "asic/register_names.h"

#include <algorithm>
#include <cctype>
#include <iterator>

#include "text/errors.h"
#include "text/numbers.h"
#include "text/text.h"

namespace mrvctl {
namespace {

struct CommandAddress {
  uint32_t address;
  const char *name;
};

#include "names.inc"

constexpr const char kSuffix[] = "_OFFSET";
constexpr size_t kSuffixLength = sizeof kSuffix - 1;

std::string without_suffix(std::string name) {
  if (name.size() > kSuffixLength &&
      name.compare(name.size() - kSuffixLength, kSuffixLength, kSuffix) == 0)
    name.resize(name.size() - kSuffixLength);
  return name;
}

[[noreturn]] void refuse_register_name(kel_asic_blk_t block, const std::string &word) {
  for (const RegisterName &other : kRegisters) {
    if (without_suffix(other.name) == word)
      throw UsageError("register " + word + " is one of block " + kel_asic_blk_names[other.block] +
                       ", not of " + kel_asic_blk_names[block]);
  }
  std::vector<std::string> names;
  for (const RegisterName &named : named_registers(block))
    names.push_back(without_suffix(named.name));
  const std::string numbers = format("a number from 0 to %u", kel_asic_blocks[block].registers - 1);
  if (names.empty())
    throw UsageError(
        format("no register of block %s has a name; give ", kel_asic_blk_names[block]) + numbers);
  throw UsageError("block " + std::string(kel_asic_blk_names[block]) + " has no register " + word +
                   "; nearest: " + join(nearest(word, names), ", ") + " (or give " + numbers + ")");
}

}  // namespace

std::vector<RegisterName> named_registers(kel_asic_blk_t block) {
  std::vector<RegisterName> names;
  std::copy_if(std::begin(kRegisters), std::end(kRegisters), std::back_inserter(names),
               [block](const RegisterName &named) { return named.block == block; });
  std::sort(names.begin(), names.end(),
            [](const RegisterName &a, const RegisterName &b) { return a.vreg < b.vreg; });
  return names;
}

kel_asic_blk_t parse_block(const std::string &text) {
  const std::string word = upper_case(text);
  std::vector<std::string> names;
  for (const kel_asic_block_t &info : kel_asic_blocks) {
    if (word == info.name || word == kel_asic_blk_names[info.block])
      return info.block;
    names.emplace_back(kel_asic_blk_names[info.block]);
  }
  throw UsageError("no block '" + text + "'; nearest: " + join(nearest(word, names), ", "));
}

Register parse_block_instance(const std::string &text) {
  const size_t dot = text.find('.');
  if (dot == std::string::npos)
    throw UsageError("'" + text + "' names no block instance; write it like HI.2");
  return {parse_block(text.substr(0, dot)), parse_number(text.substr(dot + 1)), 0};
}

Instances parse_instances(const std::string &text) {
  const size_t dot = text.find('.');
  if (dot != std::string::npos && text.substr(dot) == ".*")
    return {parse_block(text.substr(0, dot)), 0, true};
  const Register one = parse_block_instance(text);
  return {one.block, one.instance, false};
}

kel_asic_reg_t parse_vreg(kel_asic_blk_t block, const std::string &text) {
  if (!text.empty() && std::isdigit(static_cast<unsigned char>(text[0])) != 0)
    return parse_number(text);
  const std::string word = without_suffix(upper_case(text));
  for (const RegisterName &named : kRegisters) {
    if (named.block == block && without_suffix(named.name) == word)
      return named.vreg;
  }
  refuse_register_name(block, word);
}

Register parse_register(const std::string &place, const std::string &name) {
  Register reg = parse_block_instance(place);
  reg.vreg = parse_vreg(reg.block, name);
  return reg;
}

const char *register_name(kel_asic_blk_t block, kel_asic_reg_t vreg) {
  for (const RegisterName &named : kRegisters) {
    if (named.block == block && named.vreg == vreg)
      return named.name;
  }
  return nullptr;
}

std::string register_text(const Register &reg) {
  const char *name = register_name(reg.block, reg.vreg);
  return format("%s.%u ", kel_asic_blk_names[reg.block], reg.instance) +
         (name == nullptr ? std::to_string(reg.vreg) : name);
}

std::string short_register_text(const Register &reg) {
  return without_suffix(register_text(reg));
}

const char *command_name(uint32_t address) {
  for (const auto &[command, name] : kCommandAddresses) {
    if (command == address)
      return name;
  }
  return nullptr;
}

}  // namespace mrvctl
