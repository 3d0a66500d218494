// Which registers are tables (DHS registers), and how many words one of their entries has.
#ifndef DHS_ENTRY_SIZE_H
#define DHS_ENTRY_SIZE_H

#include "kel_asic_dhs_tables.h"
#include "kel_asic_lib_private.h"
#include "trace_log.h"

#pragma GCC visibility push(hidden)

// The published rows in a compact form, with an index by block: every access to a table makes a
// lookup.
struct dhs_row {
  uint8_t words;           // in each entry, or KEL_ASIC_DHS_BY_HOOK
  uint16_t highest_index;  // of the entries
  uint16_t first;          // registers first to last
  uint16_t last;
};

constexpr std::size_t dhs_row_count = KEL_ASIC_DHS_ROWS;

struct dhs_table {
  uint8_t begin[KEL_ASIC_NUM_BLK + 1];  // start of the rows of each block, and end of the last ones
  dhs_row rows[dhs_row_count];
};

extern const dhs_table dhs_registers;

inline const dhs_row *find_dhs_row(kel_asic_blk_t blk, kel_asic_reg_t vreg) {
  const dhs_row *end = dhs_registers.rows + dhs_registers.begin[blk + 1];
  for (const dhs_row *row = dhs_registers.rows + dhs_registers.begin[blk]; row != end; ++row) {
    if (vreg >= row->first && vreg <= row->last)
      return row;
  }
  return nullptr;
}

// Words in one entry; for some registers, the register map's hook returns them. Below 1 if the
// register is not a table or the entry is out of range. The caller has checked the address.
KEL_INLINE int kel_asic_reg_dhs_entry_size(kel_asic_num_t asic_id, kel_asic_blk_t blk,
                                           kel_asic_reg_t vreg, uint32_t dhs_index) {
  constexpr const char *function = "kel_asic_reg_dhs_entry_size";
  KEL_TRACE('l', 0, "%s: vreg %d dhs_index %d\n", function, static_cast<int>(vreg),
            static_cast<int>(dhs_index));
  const dhs_row *row = find_dhs_row(blk, vreg);
  const KEL_ASIC_fn &funcs = lib_ctx.asic_specific[asic_id].funcs;
  if (row != nullptr && row->words != KEL_ASIC_DHS_BY_HOOK && dhs_index <= row->highest_index)
    return row->words;
  if (row != nullptr && row->words == KEL_ASIC_DHS_BY_HOOK && funcs.reg_dhs_entry_size != nullptr)
    return funcs.reg_dhs_entry_size(blk, vreg, dhs_index);
  KEL_TRACE('l', 0, "%s: Unrecognized DHS entry for block %d vreg %d dhs_index %d\n", function,
            static_cast<int>(blk), static_cast<int>(vreg), static_cast<int>(dhs_index));
  return -1;
}

#pragma GCC visibility pop

#endif
