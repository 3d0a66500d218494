// Single-register access: read, write, field write.
#include <gtest/gtest.h>

#include "fake_platform.h"

namespace {

constexpr auto symbolic = KEL_ASIC_WR_SYMBOLIC, raw = KEL_ASIC_WR_RAW;

uint32_t value;

}  // namespace

TEST(RegisterAccess, sends_a_raw_address_unchecked) {
  initialise();
  const auto block = static_cast<kel_asic_blk_t>(40);
  for (uint32_t code : {raw, 0U, symbolic + 1, symbolic - 1, 0xFFFFFFFFU}) {
    for (uint32_t addr : {0U, 0x1234U, 26U, 0xFFFFFFFFU}) {
      fake().calls.clear();
      EXPECT_EQ(write_reg({0, 9, block, 99, addr}, 7, code), 0U);
      EXPECT_EQ(write_field({3, 0xFFFFFFFF, block, 99, addr}, 7, 0, code), 0U);
      for (int module : {4, 5, -1}) {
        EXPECT_EQ(write_reg({module}, 7, code), SYSERR_KEL_ASIC_INVALID_ARG);
        EXPECT_EQ(write_field({module}, 7, 1, code), SYSERR_KEL_ASIC_INVALID_ARG);
      }
      ASSERT_EQ(fake().calls.size(), 2U);
      EXPECT_EQ(fake().calls[0].header(), request_header(TYPE_WRITE, 0, 9, addr, 7, 0xFFFFFFFF, 0));
      EXPECT_EQ(fake().calls[1].header(),
                request_header(TYPE_WRITE_FIELD, 3, 0xFFFFFFFF, addr, 7, 0, 0));
    }
  }
}

TEST(RegisterAccess, makes_one_service_call_and_no_allocation) {
  initialise();
  faults().arm();
  read_reg({}, &value);
  EXPECT_EQ(fake().calls.size(), 1U);
  write_reg({}, 7);
  EXPECT_EQ(fake().calls.size(), 2U);
  write_field({}, 7, 1);
  EXPECT_EQ(fake().calls.size(), 3U);
  open_transaction();
  write_reg({}, 7);
  write_field({}, 7, 1);
  EXPECT_EQ(fake().calls.size(), 3U);
  read_reg({}, &value);  // behind the commit
  EXPECT_EQ(fake().calls.size(), 5U);
  EXPECT_EQ(faults().callocs + faults().reallocs, 0U);
}
