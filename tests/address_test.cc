// The register address: which ones the operations accept, and what they translate to.
#include <gtest/gtest.h>

#include "fake_platform.h"

namespace {

struct block_row {
  kel_asic_blk_t block;
  const char *name;
  uint32_t registers;
  uint32_t kel_asic_limits_t::*instances;
};

const block_row blocks[] = {
    {KEL_ASIC_BLK_SS, "SS", 3933, &kel_asic_limits_t::max_ss},
    {KEL_ASIC_BLK_HR, "HR", 544, &kel_asic_limits_t::max_hr},
    {KEL_ASIC_BLK_NR, "NR", 842, &kel_asic_limits_t::max_nr},
    {KEL_ASIC_BLK_HI, "HI", 1584, &kel_asic_limits_t::max_hi},
    {KEL_ASIC_BLK_NI, "NI", 1106, &kel_asic_limits_t::max_ni},
    {KEL_ASIC_BLK_SI, "SI", 786, &kel_asic_limits_t::max_si},
    {KEL_ASIC_BLK_HF, "HF", 246, &kel_asic_limits_t::max_hf},
    {KEL_ASIC_BLK_NF, "NF", 753, &kel_asic_limits_t::max_nf},
    {KEL_ASIC_BLK_CI, "CI", 169, &kel_asic_limits_t::max_ci},
    {KEL_ASIC_BLK_BI, "BI", 184, &kel_asic_limits_t::max_bi},
    {KEL_ASIC_BLK_CC, "CC", 36, &kel_asic_limits_t::max_cc},
    {KEL_ASIC_BLK_PC, "PC", 38, &kel_asic_limits_t::max_pc},
    {KEL_ASIC_BLK_RS_EDMA, "RSEDMA", 364, &kel_asic_limits_t::max_rs_edma},
    {KEL_ASIC_BLK_RS_PCIE, "RSPCIE", 309, &kel_asic_limits_t::max_rs_pcie},
    {KEL_ASIC_BLK_MISC, "MISC", 243, &kel_asic_limits_t::max_misc},
    {KEL_ASIC_BLK_CH, "CH", 651, &kel_asic_limits_t::max_ch},
    {KEL_ASIC_BLK_MB, "MB", 43, &kel_asic_limits_t::max_mb},
    {KEL_ASIC_BLK_QS, "QS", 289, &kel_asic_limits_t::max_qs},
    {KEL_ASIC_BLK_XL, "XL", 184, &kel_asic_limits_t::max_xl},
};

// Whether the three operations accept a place, and translate it right; they must agree.
bool accepted(const reg_place &place) {
  uint32_t value = 0;
  const syserr_t result = read_reg(place, &value);
  EXPECT_TRUE(result == 0 || result == SYSERR_KEL_ASIC_INVALID_ARG);
  EXPECT_EQ(write_reg(place, 1), result);
  EXPECT_EQ(write_field(place, 1, 1), result);
  EXPECT_EQ(fake().calls.size(), result == 0 ? 3U : 0U);
  for (const sent_call &call : fake().calls)
    EXPECT_EQ(call.request().addr, fake_rreg(place.block, place.instance, place.vreg));
  fake().calls.clear();
  return result == 0;
}

}  // namespace

TEST(Address, is_checked_at_both_ends_of_module_and_asic) {
  fake().limits.max_modules = 1;        // not looked at
  fake().limits.max_asic = 0xFFFFFFFF;  // of slot 0 alone
  initialise();
  for (int module : {0, 1, 2, 3})
    EXPECT_TRUE(accepted({module})) << module;
  for (int module : {4, 5, 256, -1, INT32_MIN, INT32_MAX})
    EXPECT_FALSE(accepted({module})) << module;
  for (kel_asic_num_t asic : {1U, 2U, 3U, 4U, 5U, 9U, 0x80000000U, 0xFFFFFFFFU})
    EXPECT_FALSE(accepted({0, asic})) << asic;
}

TEST(Address, is_checked_against_the_counts_of_each_block) {
  uint32_t count = 1;
  for (const block_row &row : blocks)
    fake().limits.*row.instances = ++count;
  initialise();
  for (const block_row &row : blocks) {
    const uint32_t instances = fake().limits.*row.instances;
    EXPECT_STREQ(kel_asic_blk_names[row.block], row.name);
    EXPECT_TRUE(accepted({0, 0, row.block, 0, 0})) << row.name;
    EXPECT_TRUE(accepted({0, 0, row.block, instances - 1, row.registers - 1})) << row.name;
    EXPECT_FALSE(accepted({0, 0, row.block, instances, 0})) << row.name;
    EXPECT_FALSE(accepted({0, 0, row.block, 0xFFFFFFFF, 0})) << row.name;
    EXPECT_FALSE(accepted({0, 0, row.block, 0, row.registers})) << row.name;
    EXPECT_FALSE(accepted({0, 0, row.block, 0, 0xFFFFFFFF})) << row.name;
  }
  for (uint32_t block : {19U, 40U, 0x80000000U, 0xFFFFFFFFU})
    EXPECT_FALSE(accepted({0, 0, static_cast<kel_asic_blk_t>(block), 0, 0})) << block;
  EXPECT_FALSE(accepted({0, 0, KEL_ASIC_BLK_HR, 1, 26}));  // a hole
  EXPECT_TRUE(accepted({0, 0, KEL_ASIC_BLK_NR, 1, 26}));
}
