// Selects calls.
#include "calls/call_choice.h"

#include <algorithm>

#include "calls/call_text.h"

namespace mrvctl {
namespace {

bool touches(const DecodedCall &call, const RegisterReference &reg, const AddressIndex &index) {
  const std::vector<Access> all = accesses(call);
  return std::any_of(all.begin(), all.end(), [&](const Access &access) {
    return index.last_word_of(reg, access.address, access.words).has_value();
  });
}

bool has_caller(const DecodedCall &call, const std::string &text) {
  const std::vector<Access> all = accesses(call);
  return std::any_of(all.begin(), all.end(), [&text](const Access &access) {
    return access.caller != nullptr && caller_text(*access.caller).find(text) != std::string::npos;
  });
}

}  // namespace

bool is_chosen(const CallChoice &choice, const DecodedCall &call, const AddressIndex &index) {
  if (call.wall_ns < choice.since_ns || call.wall_ns >= choice.until_ns)
    return false;
  if ((choice.failed && !call.failed) || (choice.writes && !is_write(call.request)))
    return false;
  if (choice.slower_ns && call.duration_ns.value_or(0) <= *choice.slower_ns)
    return false;
  if (!choice.caller.empty() && !has_caller(call, choice.caller))
    return false;
  return !choice.reg || touches(call, *choice.reg, index);
}

std::optional<WrittenWord> last_written(const DecodedCall &call, const RegisterReference &reg,
                                        const morvane::asic &asic, const AddressIndex &index) {
  if (!is_write(call.request))
    return std::nullopt;
  const std::vector<Access> all = accesses(call);
  for (auto access = all.rbegin(); access != all.rend(); ++access) {
    const auto word = index.last_word_of(reg, access->address, access->words);
    if (word && access->module == asic.module && access->asic == asic.number)
      return WrittenWord{*access, *word};
  }
  return std::nullopt;
}

}  // namespace mrvctl
