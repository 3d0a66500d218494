// The table registers.
#include "asic/table_shapes.h"

#include "kel_asic_dhs_tables.h"

namespace mrvctl {
namespace {

// The hook accepts indices from 0 without a gap.
uint32_t highest_hook_index(const RegisterMap &map, kel_asic_blk_t block, kel_asic_reg_t vreg) {
  const auto accepts = [&](uint32_t index) { return map.hook_entry_size(block, vreg, index) > 0; };
  uint32_t accepted = 0;
  uint32_t beyond = UINT32_MAX;
  if (accepts(beyond))
    return beyond;
  while (beyond - accepted > 1) {
    const uint32_t middle = accepted + (beyond - accepted) / 2;
    (accepts(middle) ? accepted : beyond) = middle;
  }
  return accepted;
}

std::optional<Table> hook_table(const RegisterMap &map, kel_asic_blk_t block, kel_asic_reg_t vreg) {
  const int size = map.hook_entry_size(block, vreg, 0);
  if (size < 1 || size > static_cast<int>(kLargestEntry))
    return std::nullopt;
  return Table{block, vreg, static_cast<uint32_t>(size), highest_hook_index(map, block, vreg),
               true};
}

}  // namespace

std::optional<Table> find_table(const RegisterMap &map, kel_asic_blk_t block, kel_asic_reg_t vreg) {
  const uint32_t number = kel_asic_dhs_row(block, vreg);
  if (number == KEL_ASIC_DHS_ROWS)
    return std::nullopt;
  const kel_asic_dhs_row_t &row = kel_asic_dhs_rows[number];
  if (row.words == KEL_ASIC_DHS_BY_HOOK)
    return hook_table(map, block, vreg);
  return Table{block, vreg, row.words, row.highest_index, false};
}

}  // namespace mrvctl
