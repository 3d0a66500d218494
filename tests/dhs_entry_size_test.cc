// Which registers are tables, how many entries they have, and how many words are in one.
#include <gtest/gtest.h>

#include <climits>

#include "fake_platform.h"

namespace {

constexpr int by_hook = 0;

struct table_row {
  kel_asic_blk_t block;
  uint32_t first, value, count;  // registers: the first by name, what the name stands for, how many
  uint32_t highest_index;
  int words;
};

const table_row rows[] = {
    {KEL_ASIC_BLK_SS, SS_DHS_DD_OFFSET, 2690, 1, 1023, 1},
    {KEL_ASIC_BLK_SS, SS_DHS_ARB0_OFFSET, 2692, 30, 1023, 2},
    {KEL_ASIC_BLK_HR, HR_DHS_OQ0_STATUS_OFFSET, 87, 1, 402, 1},
    {KEL_ASIC_BLK_HR, HR_DHS_OQ1_STATUS_OFFSET, 170, 1, 402, 1},
    {KEL_ASIC_BLK_HR, HR_DHS_OQ2_STATUS_OFFSET, 253, 1, 402, 1},
    {KEL_ASIC_BLK_HR, HR_DHS_OQ3_STATUS_OFFSET, 336, 1, 402, 1},
    {KEL_ASIC_BLK_HR, HR_DHS_OQ4_STATUS_OFFSET, 416, 1, 402, 1},
    {KEL_ASIC_BLK_HR, HR_DHS_OQ5_STATUS_OFFSET, 481, 1, 402, 1},
    {KEL_ASIC_BLK_HR, HR_DHS_ARB0_OFFSET, 344, 9, 31, 1},
    {KEL_ASIC_BLK_NR, NR_DHS_OQ0_STATUS_OFFSET, 87, 1, 402, 1},
    {KEL_ASIC_BLK_NR, NR_DHS_OQ1_STATUS_OFFSET, 178, 1, 402, 1},
    {KEL_ASIC_BLK_NR, NR_DHS_OQ2_STATUS_OFFSET, 269, 1, 402, 1},
    {KEL_ASIC_BLK_NR, NR_DHS_OQ3_STATUS_OFFSET, 360, 1, 402, 1},
    {KEL_ASIC_BLK_NR, NR_DHS_OQ4_STATUS_OFFSET, 494, 1, 402, 1},
    {KEL_ASIC_BLK_NR, NR_DHS_OQ5_STATUS_OFFSET, 585, 1, 402, 1},
    {KEL_ASIC_BLK_NR, NR_DHS_ARB0_OFFSET, 368, 34, 31, 1},
    {KEL_ASIC_BLK_NR, NR_DHS_ARB34_OFFSET, 593, 16, 31, 1},
    {KEL_ASIC_BLK_HI, HI_DHS_LVIF_TCAM_OFFSET, 1250, 1, 1023, 1},
    {KEL_ASIC_BLK_HI, HI_DHS_LVIF_OFFSET, 1461, 1, 1023, 1},
    {KEL_ASIC_BLK_HI, HI_HI0_DHS_LVIF_TCAM_OFFSET, 309, 1, UINT_MAX, by_hook},
    {KEL_ASIC_BLK_HF, HF_DHS_SVIF_MEM_OFFSET, 0, 1, 16383, 1},
    {KEL_ASIC_BLK_HF, HF_DHS_SVIF_MEM_LO_OFFSET, 1, 1, 16383, 2},
    {KEL_ASIC_BLK_HF, HF_DHS_LVIF_MEM_OFFSET, 3, 1, 4095, 1},
    {KEL_ASIC_BLK_HF, HF_DHS_TCAM_OFFSET, 108, 1, 2047, 16},
    {KEL_ASIC_BLK_HF, HF_DHS_RESULT_OFFSET, 109, 1, 1023, 1},
    {KEL_ASIC_BLK_HF, HF_DHS_RESULT_00_OFFSET, 110, 1, UINT_MAX, by_hook},
    {KEL_ASIC_BLK_HF, HF_DHS_POL_OFFSET, 116, 1, 63, 8},
    {KEL_ASIC_BLK_HF, HF_DHS_RESULT_LO_OFFSET, 225, 2, 1023, 2},
    {KEL_ASIC_BLK_NF, NF_DHS_MCAST_MEM_OFFSET, 0, 1, 16383, 1},
    {KEL_ASIC_BLK_NF, NF_DHS_MCAST_MEM_00_OFFSET, 1, 1, UINT_MAX, by_hook},
    {KEL_ASIC_BLK_NF, NF_DHS_UCAST_MEM_OFFSET, 4, 1, UINT_MAX, by_hook},
    {KEL_ASIC_BLK_NF, NF_DHS_UCAST_MEM_00_OFFSET, 5, 1, UINT_MAX, by_hook},
    {KEL_ASIC_BLK_NF, NF_DHS_TCAM_OFFSET, 516, 1, 2047, 16},
    {KEL_ASIC_BLK_NF, NF_DHS_RESULT_OFFSET, 517, 1, 1023, 2},
    {KEL_ASIC_BLK_NF, NF_DHS_RESULT_00_OFFSET, 518, 1, UINT_MAX, by_hook},
    {KEL_ASIC_BLK_NF, NF_DHS_MCAST_MEMIF_DATA_OFFSET, 641, 1, 4095, 2},
    {KEL_ASIC_BLK_NF, NF_DHS_UCAST_MEMIF_DATA_OFFSET, 644, 1, UINT_MAX, by_hook},
    {KEL_ASIC_BLK_NF, NF_DHS_TCAM_MASK_OFFSET, 752, 1, 2047, 16},
    {KEL_ASIC_BLK_CI, CI_DHS_MCAST_MEMIF_DATA_OFFSET, 130, 1, 255, 2},
    {KEL_ASIC_BLK_QS, QS_DHS_OQ0_STATUS_OFFSET, 264, 8, 511, 1},
    {KEL_ASIC_BLK_QS, QS_DHS_ARB_NI_OFFSET, 282, 2, 255, 1},
    {KEL_ASIC_BLK_QS, QS_DHS_ARB_BI_OFFSET, 284, 2, 31, 1},
};

const table_row unknown = {KEL_ASIC_NUM_BLK, 0, 0, 0, 0, -1};

const table_row &find_row(kel_asic_blk_t block, uint32_t vreg) {
  for (const table_row &row : rows) {
    if (row.block == block && vreg - row.value < row.count)
      return row;
  }
  return unknown;
}

// Words in one entry as a write sends them; -1 for a write that is refused.
int entry_size(kel_asic_blk_t block, uint32_t vreg, uint32_t dhs_index) {
  uint32_t entry[16] = {};
  fake().calls.clear();
  if (lib_mrv_asic_write_dhs(0, 0, block, 0, vreg, dhs_index, entry, 1, CALLER) != 0)
    return -1;
  return static_cast<int>(fake().calls.at(0).request().num);
}

int hook_answer;
unsigned hook_calls;

int hook(kel_asic_blk_t block, kel_asic_reg_t vreg, uint32_t dhs_index) {
  ++hook_calls;
  EXPECT_EQ(find_row(block, vreg).words, by_hook);
  return dhs_index == 0 || dhs_index == UINT_MAX ? hook_answer : 99;
}

void expect_every_size(int size_by_hook) {
  for (uint32_t number = 0; number < KEL_ASIC_NUM_BLK; ++number) {
    const auto block = static_cast<kel_asic_blk_t>(number);
    for (uint32_t vreg = 0; vreg <= KEL_ASIC_SS_NUM_ENUM; ++vreg) {
      const table_row &row = find_row(block, vreg);
      const int size = row.words == by_hook ? size_by_hook : row.words;
      const int past_the_end = row.words == by_hook ? size : -1;  // where 0 is the next index
      ASSERT_EQ(entry_size(block, vreg, 0), size) << number << " " << vreg;
      ASSERT_EQ(entry_size(block, vreg, row.highest_index), size) << number << " " << vreg;
      ASSERT_EQ(entry_size(block, vreg, row.highest_index + 1), past_the_end)
          << number << " " << vreg;
    }
  }
}

}  // namespace

TEST(DhsEntrySize, of_every_register_of_every_block_up_to_its_highest_index) {
  for (const table_row &row : rows)
    EXPECT_EQ(row.first, row.value);
  fake().hook = hook;
  initialise();
  for (const int answer : {5, 0, -1, INT_MIN}) {
    hook_answer = answer;
    hook_calls = 0;
    expect_every_size(answer < 1 ? -1 : answer);
    EXPECT_EQ(hook_calls, 3U * 7U);  // for its seven registers alone
  }
}

TEST(DhsEntrySize, without_a_hook_its_registers_are_unknown) {
  initialise();
  expect_every_size(-1);
}
