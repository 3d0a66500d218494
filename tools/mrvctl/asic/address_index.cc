// From registers to addresses and back.
#include "asic/address_index.h"

#include <algorithm>
#include <iterator>
#include <map>

#include "asic/table_shapes.h"
#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {
namespace {

// What a register has in every instance of its block.
struct Shape {
  uint64_t address;  // in instance 0
  kel_asic_reg_t vreg;
  uint32_t entry_size;
  uint64_t bytes;
};

std::vector<Shape> shapes_of(const RegisterMap &map, kel_asic_blk_t block) {
  std::vector<Shape> shapes;
  for (kel_asic_reg_t vreg = 0; vreg < kel_asic_blocks[block].registers; ++vreg) {
    const Register reg = {block, 0, vreg};
    if (!map.missing(reg).empty())
      continue;
    if (const std::optional<Table> table = find_table(map, block, vreg))
      shapes.push_back({map.whole_address(reg), vreg, table->entry_size,
                        4 * uint64_t{table->entry_size} * (uint64_t{table->highest_index} + 1)});
    else
      shapes.push_back({map.whole_address(reg), vreg, 0, 4});
  }
  std::stable_sort(shapes.begin(), shapes.end(),
                   [](const Shape &a, const Shape &b) { return a.address < b.address; });
  return shapes;
}

bool includes(const RegisterReference &reference, const Register &reg) {
  return reference.block == reg.block &&
         reference.instance.value_or(reg.instance) == reg.instance &&
         (!reference.registers || reference.registers->contains(reg.vreg));
}

// The addresses of a span that a reference includes; none of a register that has no entries if it
// names some.
std::pair<uint64_t, uint64_t> included_part(const RegisterReference &reference,
                                            const AddressSpan &span) {
  if (!reference.entries)
    return {span.begin, span.end};
  const uint64_t entry_bytes = uint64_t{span.entry_size} * 4;
  uint64_t begin = span.begin + reference.entries->first * entry_bytes;
  uint64_t end = begin + reference.entries->count() * entry_bytes;
  if (reference.word && *reference.word < span.entry_size) {
    begin += uint64_t{*reference.word} * 4;
    end = begin + 4;
  }
  return {begin, std::min(end, span.end)};
}

}  // namespace

std::vector<AddressSpan> address_spans(const RegisterMap &map) {
  std::vector<AddressSpan> spans;
  for (const kel_asic_block_t &info : kel_asic_blocks) {
    const std::vector<Shape> shapes = shapes_of(map, info.block);
    for (uint32_t instance = 0; instance < map.instances(info.block); ++instance) {
      for (const Shape &shape : shapes) {
        const Register reg = {info.block, instance, shape.vreg};
        const uint64_t begin = map.whole_address(reg);
        spans.push_back({begin, begin + shape.bytes, shape.entry_size, reg});
      }
    }
  }
  const auto before = [](const AddressSpan &a, const AddressSpan &b) { return a.begin < b.begin; };
  // Where the instances stand one behind the other, they are.
  if (!std::is_sorted(spans.begin(), spans.end(), before))
    std::stable_sort(spans.begin(), spans.end(), before);
  return spans;
}

std::string location_text(const Location &location) {
  if (!location.entry)
    return register_text(location.reg);
  const std::string text = entry_range_text(location.reg, *location.entry);
  return location.word == 0 ? text : text + format(".%u", location.word);
}

AddressIndex::AddressIndex(const RegisterMap &map) : map_(map), spans_(address_spans(map)) {
  const auto end = std::unique(
      spans_.begin(), spans_.end(),
      [](const AddressSpan &kept, const AddressSpan &next) { return kept.begin == next.begin; });
  spans_.erase(end, spans_.end());
  for (size_t i = 0; i + 1 < spans_.size(); ++i)
    spans_[i].end = std::min(spans_[i].end, spans_[i + 1].begin);
}

std::optional<Location> AddressIndex::find(uint32_t address) const {
  const auto behind = std::upper_bound(
      spans_.begin(), spans_.end(), address,
      [](uint32_t wanted, const AddressSpan &span) { return wanted < span.begin; });
  if (behind == spans_.begin())
    return std::nullopt;
  const AddressSpan &span = *(behind - 1);
  const auto offset = static_cast<uint32_t>(address - span.begin);
  if (address >= span.end || offset % 4 != 0)
    return std::nullopt;
  if (span.entry_size == 0)
    return Location{span.reg, std::nullopt, 0};
  return Location{span.reg, offset / 4 / span.entry_size, offset / 4 % span.entry_size};
}

std::string AddressIndex::name(uint32_t address) const {
  if (const std::optional<Location> location = find(address))
    return location_text(*location);
  const char *const command = kel_asic_command_name(address);
  return command == nullptr ? "" : command;
}

std::string AddressIndex::text(uint32_t address) const {
  const std::string known = name(address);
  return known.empty() ? format("0x%08x", address) : known;
}

AddressRange AddressIndex::range_of(const RegisterReference &reference) const {
  std::map<uint32_t, std::pair<uint64_t, uint64_t>> parts;  // of each instance
  for (const AddressSpan &span : spans_) {
    if (!includes(reference, span.reg))
      continue;
    const auto [begin, end] = included_part(reference, span);
    const auto known = parts.emplace(span.reg.instance, std::pair{begin, end}).first;
    known->second = {std::min(known->second.first, begin), std::max(known->second.second, end)};
  }
  if (parts.empty())
    throw UsageError("the ASIC has no register " + reference.text);
  const auto [first, end] = parts.begin()->second;
  const auto next = std::next(parts.begin());
  const uint64_t stride = next == parts.end() ? 0 : next->second.first - first;
  return {static_cast<uint32_t>(first), static_cast<uint32_t>(end - first),
          static_cast<uint32_t>(stride), static_cast<uint32_t>(parts.size())};
}

std::optional<uint32_t> AddressIndex::last_word_of(const RegisterReference &reference,
                                                   uint32_t address, uint32_t words) const {
  const uint64_t end = address + uint64_t{words} * 4;
  if (reference.address) {
    const bool inside = address <= *reference.address && *reference.address < end;
    return inside ? std::make_optional((*reference.address - address) / 4) : std::nullopt;
  }
  auto span =
      std::upper_bound(spans_.begin(), spans_.end(), address,
                       [](uint32_t wanted, const AddressSpan &one) { return wanted < one.end; });
  std::optional<uint32_t> found;
  for (; span != spans_.end() && span->begin < end; ++span) {
    if (!includes(reference, span->reg))
      continue;
    const auto [first, behind] = included_part(reference, *span);
    if (std::max<uint64_t>(first, address) < std::min(behind, end))
      found = static_cast<uint32_t>((std::min(behind, end) - 1 - address) / 4);
  }
  return found;
}

}  // namespace mrvctl
