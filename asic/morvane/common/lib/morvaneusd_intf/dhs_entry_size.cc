#include "dhs_entry_size.h"

namespace {

// One row: a register, or neighbours that are tables of one shape.
constexpr dhs_row row(kel_asic_blk_t block, uint32_t first, uint32_t last, uint16_t highest_index,
                      uint8_t words) {
  return {static_cast<uint8_t>(block), words, highest_index, static_cast<uint16_t>(first),
          static_cast<uint16_t>(last)};
}

constexpr dhs_row row(kel_asic_blk_t block, uint32_t vreg, uint16_t highest_index, uint8_t words) {
  return row(block, vreg, vreg, highest_index, words);
}

// The hook judges the index as well.
constexpr uint16_t by_hook_too = 0;

constexpr dhs_row rows[] = {
    row(KEL_ASIC_BLK_SS, SS_DHS_DD_OFFSET, 1023, 1),
    row(KEL_ASIC_BLK_SS, SS_DHS_ARB0_OFFSET, SS_DHS_ARB9_HI_OFFSET, 1023, 2),
    row(KEL_ASIC_BLK_HR, HR_DHS_OQ0_STATUS_OFFSET, 402, 1),
    row(KEL_ASIC_BLK_HR, HR_DHS_OQ1_STATUS_OFFSET, 402, 1),
    row(KEL_ASIC_BLK_HR, HR_DHS_OQ2_STATUS_OFFSET, 402, 1),
    row(KEL_ASIC_BLK_HR, HR_DHS_OQ3_STATUS_OFFSET, 402, 1),
    row(KEL_ASIC_BLK_HR, HR_DHS_OQ4_STATUS_OFFSET, 402, 1),
    row(KEL_ASIC_BLK_HR, HR_DHS_OQ5_STATUS_OFFSET, 402, 1),
    row(KEL_ASIC_BLK_HR, HR_DHS_ARB0_OFFSET, HR_DHS_ARB8_OFFSET, 31, 1),
    row(KEL_ASIC_BLK_NR, NR_DHS_OQ0_STATUS_OFFSET, 402, 1),
    row(KEL_ASIC_BLK_NR, NR_DHS_OQ1_STATUS_OFFSET, 402, 1),
    row(KEL_ASIC_BLK_NR, NR_DHS_OQ2_STATUS_OFFSET, 402, 1),
    row(KEL_ASIC_BLK_NR, NR_DHS_OQ3_STATUS_OFFSET, 402, 1),
    row(KEL_ASIC_BLK_NR, NR_DHS_OQ4_STATUS_OFFSET, 402, 1),
    row(KEL_ASIC_BLK_NR, NR_DHS_OQ5_STATUS_OFFSET, 402, 1),
    row(KEL_ASIC_BLK_NR, NR_DHS_ARB0_OFFSET, NR_DHS_ARB33_OFFSET, 31, 1),
    row(KEL_ASIC_BLK_NR, NR_DHS_ARB34_OFFSET, NR_DHS_ARB49_OFFSET, 31, 1),
    row(KEL_ASIC_BLK_HI, HI_DHS_LVIF_TCAM_OFFSET, 1023, 1),
    row(KEL_ASIC_BLK_HI, HI_DHS_LVIF_OFFSET, 1023, 1),
    row(KEL_ASIC_BLK_HI, HI_HI0_DHS_LVIF_TCAM_OFFSET, by_hook_too, dhs_by_hook),
    row(KEL_ASIC_BLK_HF, HF_DHS_SVIF_MEM_OFFSET, 16383, 1),
    row(KEL_ASIC_BLK_HF, HF_DHS_SVIF_MEM_LO_OFFSET, 16383, 2),
    row(KEL_ASIC_BLK_HF, HF_DHS_LVIF_MEM_OFFSET, 4095, 1),
    row(KEL_ASIC_BLK_HF, HF_DHS_TCAM_OFFSET, 2047, 16),
    row(KEL_ASIC_BLK_HF, HF_DHS_RESULT_OFFSET, 1023, 1),
    row(KEL_ASIC_BLK_HF, HF_DHS_RESULT_00_OFFSET, by_hook_too, dhs_by_hook),
    row(KEL_ASIC_BLK_HF, HF_DHS_POL_OFFSET, 63, 8),
    row(KEL_ASIC_BLK_HF, HF_DHS_RESULT_LO_OFFSET, HF_DHS_RESULT_HI_OFFSET, 1023, 2),
    row(KEL_ASIC_BLK_NF, NF_DHS_MCAST_MEM_OFFSET, 16383, 1),
    row(KEL_ASIC_BLK_NF, NF_DHS_MCAST_MEM_00_OFFSET, by_hook_too, dhs_by_hook),
    row(KEL_ASIC_BLK_NF, NF_DHS_UCAST_MEM_OFFSET, NF_DHS_UCAST_MEM_00_OFFSET, by_hook_too,
        dhs_by_hook),
    row(KEL_ASIC_BLK_NF, NF_DHS_TCAM_OFFSET, 2047, 16),
    row(KEL_ASIC_BLK_NF, NF_DHS_RESULT_OFFSET, 1023, 2),
    row(KEL_ASIC_BLK_NF, NF_DHS_RESULT_00_OFFSET, by_hook_too, dhs_by_hook),
    row(KEL_ASIC_BLK_NF, NF_DHS_MCAST_MEMIF_DATA_OFFSET, 4095, 2),
    row(KEL_ASIC_BLK_NF, NF_DHS_UCAST_MEMIF_DATA_OFFSET, by_hook_too, dhs_by_hook),
    row(KEL_ASIC_BLK_NF, NF_DHS_TCAM_MASK_OFFSET, 2047, 16),
    row(KEL_ASIC_BLK_CI, CI_DHS_MCAST_MEMIF_DATA_OFFSET, 255, 2),
    row(KEL_ASIC_BLK_QS, QS_DHS_OQ0_STATUS_OFFSET, QS_DHS_OQ7_STATUS_OFFSET, 511, 1),
    row(KEL_ASIC_BLK_QS, QS_DHS_ARB_NI_OFFSET, QS_DHS_ARB_HI_OFFSET, 255, 1),
    row(KEL_ASIC_BLK_QS, QS_DHS_ARB_BI_OFFSET, QS_DHS_ARB_CI_OFFSET, 31, 1),
};

constexpr std::size_t row_count = sizeof rows / sizeof rows[0];

constexpr dhs_table make_table() {
  dhs_table made = {};
  std::size_t next = 0;
  for (uint32_t block = 0; block < KEL_ASIC_NUM_BLK; ++block) {
    made.begin[block] = static_cast<uint8_t>(next);
    while (next < row_count && rows[next].block == block)
      ++next;
  }
  made.begin[KEL_ASIC_NUM_BLK] = static_cast<uint8_t>(next);
  for (std::size_t i = 0; i < row_count; ++i)
    made.rows[i] = rows[i];
  return made;
}

constexpr dhs_table table = make_table();
static_assert(table.begin[KEL_ASIC_NUM_BLK] == row_count, "the rows do not stand block by block");
static_assert(row_count == dhs_row_count, "the table has rows to spare");

}  // namespace

const dhs_table dhs_registers = table;
