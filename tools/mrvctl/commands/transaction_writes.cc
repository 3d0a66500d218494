#include "commands/transaction_writes.h"

#include <algorithm>
#include <cstring>

#include "platform/system_service.h"

namespace mrvctl {
namespace {

std::shared_ptr<const Caller> converted(const recording::Caller &caller) {
  return std::make_shared<Caller>(Caller{caller.context, caller.line, caller.func, caller.file});
}

std::optional<uint32_t> address_of(const mrec_join_t &write, const AddressIndex &index) {
  if ((write.flags & MREC_JOIN_RAW) != 0)
    return write.reg;
  return index.address_of({static_cast<kel_asic_blk_t>(write.block), write.instance, write.reg},
                          write.index);
}

// The words of a write that no transaction has sent, as far as their values are known.
std::vector<kel_asic_xn_entry_t> unsent_entries(const recording::JoinedWrite &write,
                                                const AddressIndex &index) {
  const mrec_join_t &note = write.note;
  const std::optional<uint32_t> first = address_of(note, index);
  std::vector<kel_asic_xn_entry_t> entries;
  if (!first || !write.certain)
    return entries;
  const bool is_table = note.operation == MREC_JOIN_TABLE;
  const std::vector<uint32_t> values =
      is_table ? write.words : std::vector<uint32_t>(write.words_left(), note.data);
  const auto known = static_cast<uint32_t>(values.size());
  const uint32_t words = std::max(note.words, known);
  const uint32_t missing = words - known;
  for (uint32_t word = std::max(write.done, missing); word < words; ++word)
    entries.push_back({note.module, static_cast<int32_t>(note.asic), *first + 4 * word,
                       values[word - missing], note.mask});
  return entries;
}

}  // namespace

void add_callers(const std::vector<recording::CallerPointer> &callers, DecodedCall &call) {
  auto *const transaction = std::get_if<TransactionFields>(&call.request);
  if (transaction == nullptr)
    return;
  for (size_t i = 0; i < std::min(callers.size(), transaction->callers.size()); ++i) {
    if (callers[i] != nullptr)
      transaction->callers[i] = i > 0 && callers[i] == callers[i - 1] ? transaction->callers[i - 1]
                                                                      : converted(*callers[i]);
  }
}

std::optional<DecodedCall> uncommitted_call(const recording::OpenTransaction &open,
                                            const AddressIndex &index) {
  kel_asic_xn_t record = {};
  std::vector<recording::CallerPointer> callers;
  for (const recording::JoinedWrite &write : open.writes()) {
    for (const kel_asic_xn_entry_t &entry : unsent_entries(write, index)) {
      if (record.num == KEL_ASIC_XN_ENTRIES)
        break;
      record.xn[record.num++] = entry;
      callers.push_back(write.caller);
    }
  }
  if (record.num == 0)
    return std::nullopt;
  open.name().copy(record.name, sizeof record.name - 1);
  DecodedCall call;
  call.wall_ns = open.wall_ns();
  call.case_code = SYSSRV_MEM_WRITE_CASE;
  call.driver = KEL_ASIC_DRIVER_MORVANE;
  call.length = sizeof record;
  call.request_bytes.resize(offsetof(kel_asic_xn_t, xn) +
                            static_cast<size_t>(record.num) * sizeof record.xn[0]);
  std::memcpy(call.request_bytes.data(), &record, call.request_bytes.size());
  decode(call);
  add_callers(callers, call);
  call.outcome = "uncommitted";
  call.failed = true;
  call.lost = true;
  return call;
}

}  // namespace mrvctl
