// Which calls somebody wants to see.
#include "calls/call_choice.h"

#include <algorithm>

#include "text/times.h"

namespace mrvctl {
namespace {

bool touches(const DecodedCall &call, const RegisterChoice &reg, const AddressIndex &index) {
  const std::vector<Access> all = accesses(call);
  return std::any_of(all.begin(), all.end(), [&](const Access &access) {
    return index.last_word_of(reg, access.address, access.words).has_value();
  });
}

}  // namespace

void describe_choice(Arguments &arguments, CallChoice &choice) {
  const auto parse_reg = [](const std::string &text) {
    return std::make_optional(parse_register_choice(text));
  };
  const auto parse_microseconds = [](const std::string &text) {
    return std::make_optional(parse_number<uint32_t>(text) * uint64_t{1000});
  };
  arguments
      .parsed("--register", choice.reg, parse_reg,
              "Only calls that touch a block instance, a register of it, or a table entry: HI.2,\n"
              "HI.2:HI_DHS_LVIF, HI.2:HI_DHS_LVIF[5]")
      .type_name("BLOCK.INST[:REG]");
  arguments.flag("--writes", choice.writes, "Only calls that change something");
  arguments.flag("--failed", choice.failed, "Only calls that failed");
  arguments.parsed("--slower", choice.slower_ns, parse_microseconds, "Only calls that took longer")
      .type_name("MICROSECONDS");
  arguments
      .word("--caller", choice.caller, "Only calls whose caller's function, or file:line, has TEXT")
      .type_name("TEXT");
  arguments
      .parsed("--since", choice.since_ns, parse_moment,
              "Only calls that began at TIME or later: 2026-11-25 03:00, 03:00 today, -10m, or\n"
              "@SECONDS since 1970")
      .type_name("TIME");
  arguments.parsed("--until", choice.until_ns, parse_moment, "Only calls that began before TIME")
      .type_name("TIME");
}

bool is_chosen(const CallChoice &choice, const DecodedCall &call, const AddressIndex &index) {
  if (call.wall_ns < choice.since_ns || call.wall_ns >= choice.until_ns)
    return false;
  if ((choice.failed && !call.failed) || (choice.writes && !is_write(call.request)))
    return false;
  if (choice.slower_ns && call.duration_ns.value_or(0) <= *choice.slower_ns)
    return false;
  if (!choice.caller.empty() && caller_text(call).find(choice.caller) == std::string::npos)
    return false;
  return !choice.reg || touches(call, *choice.reg, index);
}

std::optional<WrittenWord> last_written(const DecodedCall &call, const PlacedRegister &placed,
                                        const AddressIndex &index) {
  if (!is_write(call.request))
    return std::nullopt;
  const std::vector<Access> all = accesses(call);
  for (auto access = all.rbegin(); access != all.rend(); ++access) {
    const auto word = index.last_word_of(placed.reg, access->address, access->words);
    if (word && static_cast<uint32_t>(access->module) == placed.module &&
        access->asic == placed.asic)
      return WrittenWord{*access, *word};
  }
  return std::nullopt;
}

}  // namespace mrvctl
