// From addresses back to registers.
#include "asic/address_index.h"

#include <algorithm>

#include "text/errors.h"
#include "text/numbers.h"
#include "text/text.h"

namespace mrvctl {

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

AddressIndex::AddressIndex(const RegisterMap &map) : spans_(address_spans(map)) {
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
  auto span =
      std::upper_bound(spans_.begin(), spans_.end(), address,
                       [](uint32_t wanted, const AddressSpan &one) { return wanted < one.end; });
  std::optional<uint32_t> found;
  for (; span != spans_.end() && span->begin < end; ++span) {
    if (span->reg.block != choice.reg.block || span->reg.instance != choice.reg.instance ||
        (!choice.whole_instance && span->reg.vreg != choice.reg.vreg))
      continue;
    const uint64_t entry_bytes = uint64_t{span->entry_size} * 4;
    const uint64_t first = span->begin + (choice.entry ? *choice.entry * entry_bytes : 0);
    const uint64_t behind = choice.entry ? std::min(first + entry_bytes, span->end) : span->end;
    if (std::max<uint64_t>(first, address) < std::min(behind, end))
      found = static_cast<uint32_t>((std::min(behind, end) - 1 - address) / 4);
  }
  return found;
}

}  // namespace mrvctl
