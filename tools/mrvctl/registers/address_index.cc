// From addresses back to registers.
#include "registers/address_index.h"

#include <algorithm>

#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
#include "registers/tables.h"

namespace mrvctl {
namespace {

// Bytes of a register; of a table as many as its entries need, where the map has room for them.
uint64_t bytes_of(const std::optional<Table> &table) {
  return table ? (uint64_t{table->highest_index} + 1) * table->entry_size * 4 : 4;
}

}  // namespace

std::string location_text(const Location &location) {
  std::string text = short_register_text(location.reg);
  if (location.entry)
    text += format(" [%u]", *location.entry);
  if (location.word != 0)
    text += format(".%u", location.word);
  return text;
}

RegisterChoice parse_register_choice(const std::string &place, const std::string &name) {
  const size_t bracket = name.find('[');
  RegisterChoice choice;
  choice.reg = parse_register(place, name.substr(0, bracket));
  if (bracket == std::string::npos)
    return choice;
  if (name.back() != ']')
    throw UsageError("'" + name + "' is no table entry; write it like HI_DHS_LVIF[5]");
  choice.entry = parse_number(name.substr(bracket + 1, name.size() - bracket - 2));
  return choice;
}

RegisterChoice parse_register_choice(const std::string &text) {
  const size_t colon = text.find(':');
  if (colon != std::string::npos)
    return parse_register_choice(text.substr(0, colon), text.substr(colon + 1));
  return {parse_block_instance(text), true, std::nullopt};
}

AddressIndex::AddressIndex(const RegisterMap &map) {
  for (uint32_t block = 0; block < KEL_ASIC_NUM_BLK; ++block)
    add_block(map, static_cast<kel_asic_blk_t>(block));
  // Of two names for one address the first in the enumeration counts.
  std::stable_sort(spans_.begin(), spans_.end(),
                   [](const Span &a, const Span &b) { return a.first < b.first; });
  spans_.erase(
      std::unique(spans_.begin(), spans_.end(),
                  [](const Span &kept, const Span &next) { return kept.first == next.first; }),
      spans_.end());
  end_before_the_next();
}

void AddressIndex::add_block(const RegisterMap &map, kel_asic_blk_t block) {
  const uint32_t instances = map.instances(block);
  for (uint32_t vreg = 0; instances > 0 && vreg < block_info(block).registers; ++vreg) {
    if (!map.missing({block, 0, vreg}).empty())
      continue;
    const std::optional<Table> table = find_table(map, block, vreg);
    for (uint32_t instance = 0; instance < instances; ++instance) {
      const Register reg = {block, instance, vreg};
      const uint64_t first = map.address(reg);
      const uint64_t last = std::min<uint64_t>(first + bytes_of(table) - 1, UINT32_MAX);
      spans_.push_back({static_cast<uint32_t>(first), static_cast<uint32_t>(last),
                        table ? table->entry_size : 0, reg});
    }
  }
}

void AddressIndex::end_before_the_next() {
  for (size_t i = 0; i + 1 < spans_.size(); ++i)
    spans_[i].last = std::min(spans_[i].last, spans_[i + 1].first - 1);
}

std::optional<Location> AddressIndex::find(uint32_t address) const {
  const auto behind =
      std::upper_bound(spans_.begin(), spans_.end(), address,
                       [](uint32_t wanted, const Span &span) { return wanted < span.first; });
  if (behind == spans_.begin())
    return std::nullopt;
  const Span &span = *(behind - 1);
  const uint32_t offset = address - span.first;
  if (address > span.last || offset % 4 != 0)
    return std::nullopt;
  if (span.entry_size == 0)
    return Location{span.reg, std::nullopt, 0};
  return Location{span.reg, offset / 4 / span.entry_size, offset / 4 % span.entry_size};
}

std::string AddressIndex::name(uint32_t address) const {
  if (const std::optional<Location> location = find(address))
    return location_text(*location);
  const char *const command = command_name(address);
  return command == nullptr ? "" : command;
}

std::string AddressIndex::text(uint32_t address) const {
  const std::string known = name(address);
  return known.empty() ? format("0x%08x", address) : known;
}

std::optional<uint32_t> AddressIndex::last_word_of(const RegisterChoice &choice, uint32_t address,
                                                   uint32_t words) const {
  const uint64_t end = address + uint64_t{words} * 4;
  auto span = std::lower_bound(spans_.begin(), spans_.end(), address,
                               [](const Span &one, uint32_t wanted) { return one.last < wanted; });
  std::optional<uint32_t> found;
  for (; span != spans_.end() && span->first < end; ++span) {
    if (span->reg.block != choice.reg.block || span->reg.instance != choice.reg.instance ||
        (!choice.whole_instance && span->reg.vreg != choice.reg.vreg))
      continue;
    const uint64_t entry_bytes = uint64_t{span->entry_size} * 4;
    const uint64_t first = span->first + (choice.entry ? *choice.entry * entry_bytes : 0);
    const uint64_t span_end = uint64_t{span->last} + 1;
    const uint64_t behind = choice.entry ? std::min(first + entry_bytes, span_end) : span_end;
    if (std::max<uint64_t>(first, address) < std::min(behind, end))
      found = static_cast<uint32_t>((std::min(behind, end) - 1 - address) / 4);
  }
  return found;
}

}  // namespace mrvctl
