// The register address: which ones the operations accept, and what they translate to; and the
// conversions of the ASIC type.
#include <gtest/gtest.h>

#include "fake_platform.h"

namespace {

using limits = kel_asic_limits_t;

// By the number of the block.
constexpr struct {
  const char *name;
  uint32_t registers;
  uint32_t limits::*instances;
} blocks[] = {{"SS", 3933, &limits::max_ss},         {"HR", 544, &limits::max_hr},
              {"NR", 842, &limits::max_nr},          {"HI", 1584, &limits::max_hi},
              {"NI", 1106, &limits::max_ni},         {"SI", 786, &limits::max_si},
              {"HF", 246, &limits::max_hf},          {"NF", 753, &limits::max_nf},
              {"CI", 169, &limits::max_ci},          {"BI", 184, &limits::max_bi},
              {"CC", 36, &limits::max_cc},           {"PC", 38, &limits::max_pc},
              {"RSEDMA", 364, &limits::max_rs_edma}, {"RSPCIE", 309, &limits::max_rs_pcie},
              {"MISC", 243, &limits::max_misc},      {"CH", 651, &limits::max_ch},
              {"MB", 43, &limits::max_mb},           {"QS", 289, &limits::max_qs},
              {"XL", 184, &limits::max_xl}};

// Whether the three operations accept a place, and translate it correctly; they must agree.
bool accepted(const reg_place &place) {
  const auto &[module, asic, block, instance, vreg] = place;
  uint32_t value = 0;
  const syserr_t result = read_reg(place, &value);
  EXPECT_TRUE(result == 0 || result == SYSERR_KEL_ASIC_INVALID_ARG);
  EXPECT_EQ(
      lib_mrv_asic_write(module, asic, block, instance, vreg, 1, KEL_ASIC_WR_SYMBOLIC, CALLER),
      result);
  EXPECT_EQ(lib_mrv_asic_write_field(module, asic, block, instance, vreg, 1, 1,
                                     KEL_ASIC_WR_SYMBOLIC, CALLER),
            result);
  EXPECT_EQ(fake().calls.size(), result == 0 ? 3U : 0U);
  for (const sent_call &call : fake().calls)
    EXPECT_EQ(call.request().addr, fake_base(block, instance) + 8 * vreg);
  fake().calls.clear();
  return result == 0;
}

}  // namespace

TEST(Address, is_checked_at_both_ends_of_module_and_asic) {
  fake().limits.max_modules = 1;        // not looked at
  fake().limits.max_asic = 0xFFFFFFFF;  // of slot 0 only
  initialise();
  for (int module : {0, 1, 2, 3})
    EXPECT_TRUE(accepted({module})) << module;
  for (int module : {4, 5, 256, -1, INT32_MIN, INT32_MAX})
    EXPECT_FALSE(accepted({module})) << module;
  for (kel_asic_num_t asic : {1U, 2U, 3U, 4U, 5U, 9U, 0x80000000U, 0xFFFFFFFFU})
    EXPECT_FALSE(accepted({0, asic})) << asic;
}

TEST(Address, is_checked_against_the_counts_of_each_block) {
  uint32_t count = 1, number = 0;
  for (const auto &row : blocks)
    fake().limits.*row.instances = ++count;
  initialise();
  for (const auto &row : blocks) {
    const auto block = static_cast<kel_asic_blk_t>(number++);
    const uint32_t instances = fake().limits.*row.instances;
    EXPECT_STREQ(kel_asic_blk_names[block], row.name);
    EXPECT_TRUE(accepted({0, 0, block, 0, 0})) << row.name;
    EXPECT_TRUE(accepted({0, 0, block, instances - 1, row.registers - 1})) << row.name;
    for (const uint32_t beyond : {instances, 0xFFFFFFFFU})
      EXPECT_FALSE(accepted({0, 0, block, beyond, 0})) << row.name;
    for (const uint32_t beyond : {row.registers, 0xFFFFFFFFU})
      EXPECT_FALSE(accepted({0, 0, block, 0, beyond})) << row.name;
  }
  for (uint32_t block : {19U, 40U, 0x80000000U, 0xFFFFFFFFU})
    EXPECT_FALSE(accepted({0, 0, static_cast<kel_asic_blk_t>(block), 0, 0})) << block;
  EXPECT_FALSE(accepted({0, 0, KEL_ASIC_BLK_HR, 1, 26}));  // a hole
  EXPECT_TRUE(accepted({0, 0, KEL_ASIC_BLK_NR, 1, 26}));
}

TEST(AsicType, is_converted) {
  for (uint32_t type : {0U, 7U, 10U, 235U, 236U, 237U, 0xFFFFFFFFU}) {
    EXPECT_STREQ(kel_get_driver_string(type), type == 236 ? "Morvane" : "BAD ASIC type");
    EXPECT_EQ(kel_get_asic_type(type), type == 7 ? 236U : 10U);
    EXPECT_EQ(kel_get_cardcfg_asic_type(type), type == 236 ? 7U : 10U);
  }
}
