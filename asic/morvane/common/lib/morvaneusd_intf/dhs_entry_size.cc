#include "dhs_entry_size.h"

namespace {

constexpr dhs_table make_table() {
  dhs_table made = {};
  std::size_t next = 0;
  for (uint32_t block = 0; block < KEL_ASIC_NUM_BLK; ++block) {
    made.begin[block] = static_cast<uint8_t>(next);
    while (next < dhs_row_count && kel_asic_dhs_rows[next].block == block)
      ++next;
  }
  made.begin[KEL_ASIC_NUM_BLK] = static_cast<uint8_t>(next);
  for (std::size_t i = 0; i < dhs_row_count; ++i) {
    const kel_asic_dhs_row_t &row = kel_asic_dhs_rows[i];
    made.rows[i] = {static_cast<uint8_t>(row.words), static_cast<uint16_t>(row.highest_index),
                    static_cast<uint16_t>(row.first), static_cast<uint16_t>(row.last)};
  }
  return made;
}

constexpr dhs_table table = make_table();
static_assert(table.begin[KEL_ASIC_NUM_BLK] == dhs_row_count, "the rows stand block by block");

}  // namespace

const dhs_table dhs_registers = table;
