// Which registers are tables, how many entries they have, and how many words are in one: as the
// library refuses and sends them, and as the public header states.
#include <gtest/gtest.h>

#include <climits>

#include "dhs_tables.h"
#include "fake_platform.h"
#include "kel_asic_dhs_tables.h"

namespace {

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
  const dhs_table *table = find_dhs_table(block, vreg);
  EXPECT_TRUE(table != nullptr && table->words == 0) << block << " " << vreg;
  return dhs_index == 0 || dhs_index == UINT_MAX ? hook_answer : 99;
}

// The words of an entry in the public header: -1 for none, 0 if the hook decides.
int known_size(kel_asic_blk_t block, uint32_t vreg, uint32_t dhs_index) {
  const dhs_table *table = find_dhs_table(block, vreg);
  const bool exists = table != nullptr && (table->words == 0 || dhs_index < table->entries);
  return exists ? table->words : -1;
}

void expect_every_size(int size_by_hook) {
  for (uint32_t number = 0; number <= KEL_ASIC_NUM_BLK; ++number) {
    const auto block = static_cast<kel_asic_blk_t>(number);
    for (uint32_t vreg = 0; vreg <= KEL_ASIC_SS_NUM_ENUM; ++vreg) {
      const dhs_table *table = find_dhs_table(block, vreg);
      const uint32_t entries = table == nullptr ? 0 : table->entries;
      // By the hook these are the first index twice, and the last that there is.
      for (const uint32_t dhs_index : {0U, entries, entries - 1}) {
        const int size = known_size(block, vreg, dhs_index);
        ASSERT_EQ(kel_asic_dhs_entry_size(block, vreg, dhs_index), size) << number << " " << vreg;
        ASSERT_EQ(entry_size(block, vreg, dhs_index), size == 0 ? size_by_hook : size)
            << number << " " << vreg;
      }
    }
  }
}

}  // namespace

TEST(DhsEntrySize, of_every_register_of_every_block_up_to_its_highest_index) {
  for (const kel_asic_dhs_row_t &row : kel_asic_dhs_rows)
    EXPECT_TRUE(row.words != KEL_ASIC_DHS_BY_HOOK || row.highest_index == 0) << row.first;
  fake().hook = hook;
  initialise();
  for (const int answer : {5, 0, -1, INT_MIN}) {
    hook_answer = answer;
    hook_calls = 0;
    expect_every_size(answer < 1 ? -1 : answer);
    EXPECT_EQ(hook_calls, 3U * 7U);  // for its seven registers only
  }
}

TEST(DhsEntrySize, without_a_hook_its_registers_are_unknown) {
  initialise();
  expect_every_size(-1);
  uint32_t word;
  EXPECT_EQ(
      lib_mrv_asic_read_dhs(0, 0, KEL_ASIC_BLK_HF, 0, HF_DHS_RESULT_00_OFFSET, 0, &word, 1, CALLER),
      SYSERR_KEL_ASIC_INVALID_ARG);
}
