// Checks of what the platform describes: the register map with its limits, hook, revision and
// addresses, and the cards.
#include <algorithm>
#include <chrono>
#include <cstring>

#include "asic/address_index.h"
#include "asic/port_reference.h"
#include "asic/register_reference.h"
#include "asic/table_shapes.h"
#include "check/check_table.h"
#include "check/isolation.h"
#include "check/register_map_query.h"
#include "kel_asic_dhs_tables.h"
#include "platform/card_config.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr uint8_t kOneFilling = 0x5A;
constexpr uint8_t kOtherFilling = 0xA5;

void describes_an_asic(const CheckTarget & /*subject*/) {
  const Description description = query_register_map();
  require(description.result == 0, "result 0 of morvane_lib_init",
          format("0x%08x", description.result));
}

// A field that the platform does not write keeps what it was filled with.
template <typename Field>
void expect_filled(Field field, const std::string &name) {
  require(field(query_register_map(kOneFilling)) == field(query_register_map(kOtherFilling)),
          name + " set", "it keeps what it held");
}

// A max_modules that is not set is 0 in the next check, which refuses it.
void fills_the_limits(const CheckTarget & /*subject*/) {
  expect_filled([](const Description &set) { return set.limits.max_asic; }, "max_asic");
  for (const kel_asic_block_t &info : kel_asic_blocks) {
    expect_filled(
        [&](const Description &set) { return kel_asic_block_instances(&set.limits, info.block); },
        std::string("the limit of block ") + info.name);
  }
}

void has_plausible_limits(const CheckTarget & /*subject*/) {
  const kel_asic_limits_t limits = query_register_map().limits;
  require(limits.max_modules >= 1 && limits.max_modules <= 4, "1 to 4 modules",
          std::to_string(limits.max_modules));
  for (const kel_asic_blk_t block : {KEL_ASIC_BLK_HI, KEL_ASIC_BLK_NI}) {
    const uint32_t instances = kel_asic_block_instances(&limits, block);
    require(instances <= kPortNumbers,
            format("at most %u instances of block %s", kPortNumbers, kel_asic_blk_names[block]),
            std::to_string(instances));
  }
  require(std::any_of(std::begin(kel_asic_blocks), std::end(kel_asic_blocks),
                      [&](const kel_asic_block_t &info) {
                        return kel_asic_block_instances(&limits, info.block) > 0;
                      }),
          "a block with an instance", "none has one");
}

void has_one_asic(const CheckTarget & /*subject*/) {
  const uint32_t highest = query_register_map().limits.max_asic;
  require(highest == 0, "max_asic 0", std::to_string(highest));
}

template <typename Use>
void for_each_hook_register(Use use) {
  for (const kel_asic_dhs_row_t &row : kel_asic_dhs_rows) {
    for (kel_asic_reg_t vreg = row.first; row.words == KEL_ASIC_DHS_BY_HOOK && vreg <= row.last;
         ++vreg)
      use(Register{row.block, 0, vreg});
  }
}

void sets_the_hook(const CheckTarget & /*subject*/) {
  expect_filled([](const Description &description) { return description.hooks.reg_dhs_entry_size; },
                "reg_dhs_entry_size");
  if (query_register_map().hooks.reg_dhs_entry_size != nullptr)
    return;
  const RegisterMap map = queried_map();
  for_each_hook_register([&](const Register &reg) {
    require(!map.missing(reg).empty(), "a hook, as the map has " + register_text(reg),
            "reg_dhs_entry_size is null");
  });
}

// The hook, where there is one to ask.
decltype(KEL_ASIC_fn::reg_dhs_entry_size) hook() {
  const Description description = query_register_map();
  if (description.hooks.reg_dhs_entry_size == nullptr)
    throw skipped("reg_dhs_entry_size is null");
  return description.hooks.reg_dhs_entry_size;
}

void hook_knows_its_registers(const CheckTarget & /*subject*/) {
  const auto entry_size = hook();
  const RegisterMap map = queried_map();
  for_each_hook_register([&](const Register &reg) {
    if (!map.missing(reg).empty())
      return;
    const int size = entry_size(reg.block, reg.vreg, 0);
    require(size >= 1 && size <= static_cast<int>(kLargestEntry),
            format("1 to %u words in entry 0 of ", kLargestEntry) + register_text(reg),
            std::to_string(size));
    const int beyond = entry_size(reg.block, reg.vreg, UINT32_MAX);
    require(beyond < 1, "below 1 for entry 4294967295 of " + register_text(reg),
            std::to_string(beyond));
  });
}

void hook_refuses_other_registers(const CheckTarget & /*subject*/) {
  const auto entry_size = hook();
  for (const kel_asic_block_t &info : kel_asic_blocks) {
    for (kel_asic_reg_t vreg = 0; vreg <= info.registers; ++vreg) {
      if (kel_asic_dhs_entry_size(info.block, vreg, 0) == KEL_ASIC_DHS_BY_HOOK)
        continue;
      const int size = entry_size(info.block, vreg, 0);
      if (size >= 1)
        throw violation("below 1 for " + register_text({info.block, 0, vreg}),
                        std::to_string(size));
    }
  }
}

void gives_a_revision(const CheckTarget & /*subject*/) {
  expect_filled([](const Description &description) { return description.revision; },
                "the revision");
}

void has_bases(const CheckTarget & /*subject*/) {
  query_tables(query_register_map());
}

void has_offsets(const CheckTarget & /*subject*/) {
  const AddressTables tables = query_tables(query_register_map());
  for (uint32_t block = 0; block < KEL_ASIC_NUM_BLK; ++block) {
    const auto &offsets = tables.offsets[block];
    const auto holes = std::count(offsets.begin(), offsets.end(), KEL_ASIC_NO_REGISTER);
    require(offsets.empty() || holes < static_cast<std::ptrdiff_t>(offsets.size()),
            format("a register in block %s", kel_asic_blk_names[block]), "only holes");
  }
}

std::string span_text(const AddressSpan &span) {
  return register_text(span.reg) + format(" at 0x%08llx to 0x%08llx",
                                          static_cast<unsigned long long>(span.begin),
                                          static_cast<unsigned long long>(span.end - 1));
}

// Throws a violation for the first register, by address, that is wrong.
template <typename Wrong>
void expect_of_all(const std::string &expected, Wrong wrong) {
  const std::vector<AddressSpan> spans = address_spans(queried_map());
  const auto found = std::find_if(spans.begin(), spans.end(), wrong);
  if (found != spans.end())
    throw violation(expected, span_text(*found));
}

// Throws a violation for the first two neighbours, by address, that are in each other's way.
template <typename Clash>
void expect_no_clash(const std::string &expected, Clash clash) {
  const std::vector<AddressSpan> spans = address_spans(queried_map());
  const auto found = std::adjacent_find(spans.begin(), spans.end(), clash);
  if (found != spans.end())
    throw violation(expected, span_text(found[0]) + ", " + span_text(found[1]));
}

void has_aligned_addresses(const CheckTarget & /*subject*/) {
  expect_of_all("a multiple of 4", [](const AddressSpan &span) { return span.begin % 4 != 0; });
}

void shares_no_address(const CheckTarget & /*subject*/) {
  expect_no_clash("a separate address for each register",
                  [](const AddressSpan &a, const AddressSpan &b) { return a.begin == b.begin; });
}

void has_room_for_tables(const CheckTarget & /*subject*/) {
  expect_no_clash("no register among the entries of a table",
                  [](const AddressSpan &a, const AddressSpan &b) {
                    return a.begin != b.begin && a.end > b.begin;
                  });
}

void keeps_off_the_commands(const CheckTarget & /*subject*/) {
  expect_of_all("addresses below 0xffffffe4", [](const AddressSpan &span) {
    return span.end > KEL_ASIC_CMD_CLEAR_DROP_COUNTERS;
  });
}

void keeps_its_tables(const CheckTarget & /*subject*/) {
  const AddressTables before = query_tables(query_register_map());
  const AddressTables after = query_tables(query_register_map());
  require(before.bases == after.bases && before.offsets == after.offsets,
          "the same addresses at each call", "others");
}

// Cards

constexpr uint32_t kSlots = 256;
constexpr uint32_t kAsicsAsked = 4;

using Clock = std::chrono::steady_clock;
constexpr char kQuickly[] = "the identifier within 1 ms";

void carries_a_morvane(const CheckTarget &subject) {
  for (const uint32_t fill_pattern : {UINT32_MAX, 0U}) {
    uint32_t type = fill_pattern;
    const int result = cardcfg_get_real_asic_type(subject.slot, 0, &type);
    require(result == 0 && type == CARDCFG_DEV_TYPE_MORVANE,
            format("result 0 and device type 7 for the card in slot %u", subject.slot),
            format("result %d and device type %u", result, type));
  }
}

uint16_t identifier_of(uint32_t slot, uint16_t fill_pattern) {
  uint16_t memory[] = {fill_pattern, fill_pattern};  // the identifier, and what follows it
  const int result = query_identifier(slot, memory);
  require(result == 0, format("result 0 for the card in slot %u", slot), std::to_string(result));
  require(memory[1] == fill_pattern, "an identifier of 16 bits", "wrote more than 16 bits", "P8");
  return memory[0];
}

// Slot 0 is asked at every read of table entries, whatever slot the card has.
void has_an_identifier(const CheckTarget &subject) {
  for (const uint32_t slot : {subject.slot, 0U}) {
    const uint16_t one = identifier_of(slot, 0x5A5A);
    const uint16_t other = identifier_of(slot, 0xA5A5);
    require(one == other, format("the same identifier each time, for slot %u", slot),
            format("%u, then %u", one, other));
  }
}

void leaves_outputs_of_failed_queries(const CheckTarget & /*subject*/) {
  constexpr uint32_t kUntouched = 0x5AA55AA5;
  constexpr auto kLong = std::chrono::seconds(1);
  const Clock::time_point begin = Clock::now();
  for (uint32_t slot = 0; slot < kSlots; ++slot) {
    uint16_t identifier = static_cast<uint16_t>(kUntouched);
    const bool has_card = query_identifier(slot, &identifier) == 0;
    require(has_card || identifier == static_cast<uint16_t>(kUntouched),
            format("the identifier unchanged by a failure for slot %u", slot),
            std::to_string(identifier));
    require(Clock::now() - begin <= kLong, kQuickly, "more than 1 s for all slots", "P10");
    for (uint32_t asic = 0; asic < kAsicsAsked; ++asic) {
      uint32_t type = kUntouched;
      const bool has_asic = cardcfg_get_real_asic_type(slot, asic, &type) == 0;
      require(has_asic || type == kUntouched,
              format("the device type unchanged by a failure for slot %u, ASIC %u", slot, asic),
              std::to_string(type));
    }
  }
}

void answers_quickly(const CheckTarget & /*subject*/) {
  constexpr auto kQuick = std::chrono::milliseconds(1);
  constexpr int kTimes = 20;
  auto fastest = Clock::duration::max();
  for (int i = 0; i < kTimes && fastest > kQuick; ++i) {
    const Clock::time_point begin = Clock::now();
    identifier_of(0, 0);
    fastest = std::min(fastest, Clock::now() - begin);
  }
  require(fastest <= kQuick, kQuickly,
          format("%.3f ms at best", std::chrono::duration<double>(fastest).count() * 1000));
}

}  // namespace

std::vector<Check> description_checks() {
  return {
      {"the register map describes an ASIC", "P16", kNothing, describes_an_asic},
      {"every field of the limits is set", "P11", kNothing, fills_the_limits},
      {"the numbers of modules and instances are plausible", "P11", kNothing, has_plausible_limits},
      {"the highest ASIC number is 0", "P12", kNothing, has_one_asic},
      {"the hook is set, or null if no register needs it", "P13", kNothing, sets_the_hook},
      {"the hook returns the entry sizes of its registers", "P14", kNothing,
       hook_knows_its_registers},
      {"the hook refuses every other register", "P14", kNothing, hook_refuses_other_registers},
      {"a revision is given", "P15", kNothing, gives_a_revision},
      {"every instance has a base address", "P17", kNothing, has_bases},
      {"every block has offsets", "P18", kNothing, has_offsets},
      {"the tables of addresses stay unchanged", "P19", kNothing, keeps_its_tables},
      {"every address is a multiple of 4", "P20", kNothing, has_aligned_addresses},
      {"no two registers share an address", "P20", kNothing, shares_no_address},
      {"every table has room for its entries", "P20", kNothing, has_room_for_tables},
      {"no register has the address of a command", "P20", kNothing, keeps_off_the_commands},
      {"the card carries a Morvane", "P7", kNothing, carries_a_morvane},
      {"the card has an identifier, the same each time", "P8", kNothing, has_an_identifier},
      {"a card query that fails leaves its output unchanged", "P9", kNothing,
       leaves_outputs_of_failed_queries},
      {"the identifier comes quickly", "P10", kNothing, answers_quickly},
  };
}

}  // namespace mrvctl
