// Names of blocks and registers.
#include "asic/register_names.h"

#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr const char kSuffix[] = "_OFFSET";
constexpr size_t kSuffixLength = sizeof kSuffix - 1;

}  // namespace

std::vector<RegisterName> named_registers(kel_asic_blk_t block) {
  std::vector<RegisterName> names;
  for (const RegisterName &named : kel_asic_register_names) {
    if (named.block == block)
      names.push_back(named);
  }
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
  throw UsageError("'" + text + "' is not a block; 'mrvctl info' lists all" +
                   suggestion(word, names));
}

std::string register_word(const std::string &text) {
  std::string name = upper_case(text);
  if (name.size() > kSuffixLength &&
      name.compare(name.size() - kSuffixLength, kSuffixLength, kSuffix) == 0)
    name.resize(name.size() - kSuffixLength);
  return name;
}

}  // namespace mrvctl
