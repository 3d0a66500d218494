#include "commands/transaction_writes.h"

#include <algorithm>
#include <cstring>

#include "asic/table_shapes.h"
#include "platform/system_service.h"

namespace mrvctl {
namespace {

std::shared_ptr<const Caller> converted(const recording::Caller &caller) {
  return std::make_shared<Caller>(Caller{caller.context, caller.line, caller.func, caller.file});
}

std::optional<recording::WriteTarget> find_target(const RegisterMap &map,
                                                  const mrec_join_t &write) {
  const Register reg = {static_cast<kel_asic_blk_t>(write.block), write.instance, write.reg};
  if (write.block >= KEL_ASIC_NUM_BLK || !map.missing(reg).empty())
    return std::nullopt;
  if (write.operation != MREC_JOIN_TABLE)
    return recording::WriteTarget{map.address(reg), 1};
  const std::optional<Table> table = find_table(map, reg.block, reg.vreg);
  if (!table || write.index > table->highest_index)
    return std::nullopt;
  return recording::WriteTarget{map.address(reg) + 4 * table->entry_size * write.index,
                                table->entry_size * write.entries};
}

// The words of a write that no transaction has sent, as far as their values are known.
std::vector<kel_asic_xn_entry_t> unsent_entries(const recording::JoinedWrite &write) {
  const mrec_join_t &note = write.note;
  std::vector<kel_asic_xn_entry_t> entries;
  if (!write.address)
    return entries;
  const bool is_table = note.operation == MREC_JOIN_TABLE;
  const std::vector<uint32_t> values =
      is_table ? write.words : std::vector<uint32_t>(write.words_left(), note.data);
  const auto known = static_cast<uint32_t>(values.size());
  const uint32_t words = std::max(note.words, known);
  const uint32_t missing = words - known;
  for (uint32_t word = std::max(write.done, missing); word < words; ++word)
    entries.push_back({note.module, static_cast<int32_t>(note.asic), *write.address + 4 * word,
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

recording::FindTarget target_finder(const AddressIndex &index) {
  if (!index.map())
    return nullptr;
  return [&map = *index.map()](const mrec_join_t &write) { return find_target(map, write); };
}

std::optional<DecodedCall> uncommitted_call(const recording::OpenTransaction &open) {
  kel_asic_xn_t record = {};
  std::vector<recording::CallerPointer> callers;
  for (const recording::JoinedWrite &write : open.writes()) {
    for (const kel_asic_xn_entry_t &entry : unsent_entries(write)) {
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
