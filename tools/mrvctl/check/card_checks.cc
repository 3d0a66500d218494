// Checks of the card queries.
#include <chrono>

#include "check/check_table.h"
#include "check/isolation.h"
#include "text/text.h"

namespace mrvctl {
namespace {

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
  constexpr auto kLong = std::chrono::seconds(1);  // for all slots
  const Clock::time_point begin = Clock::now();
  for (uint32_t slot = 0; slot < kSlots; ++slot) {
    uint16_t identifier = static_cast<uint16_t>(kUntouched);
    require(
        query_identifier(slot, &identifier) == 0 || identifier == static_cast<uint16_t>(kUntouched),
        format("the identifier unchanged by a failure for slot %u", slot),
        std::to_string(identifier));
    require(Clock::now() - begin <= kLong, kQuickly,
            format("more than 1 s for the cards in %u slots", slot + 1), "P10");
    for (uint32_t asic = 0; asic < kAsicsAsked; ++asic) {
      uint32_t type = kUntouched;
      require(cardcfg_get_real_asic_type(slot, asic, &type) == 0 || type == kUntouched,
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

std::vector<Check> card_checks() {
  return {
      {"the card carries a Morvane", "P7", kNothing, carries_a_morvane},
      {"the card has an identifier, the same each time", "P8", kNothing, has_an_identifier},
      {"a card query that fails leaves its output unchanged", "P9", kNothing,
       leaves_outputs_of_failed_queries},
      {"the identifier comes quickly", "P10", kNothing, answers_quickly},
  };
}

}  // namespace mrvctl
