// Register programs: their steps, their choice of ASICs, and where they stop.
#include <gtest/gtest.h>

#include "fake_platform.h"

namespace {

using lines = std::vector<std::string>;
using program = std::vector<kel_asic_pgm_t>;

constexpr const char *name = "lib_mrv_asic_pgm";
constexpr kel_asic_pgm_t whole = {KEL_ASIC_PGM_MAGIC, KEL_ASIC_BLK_HI, 2, 7, 0xCAFE, ~0U};
constexpr kel_asic_pgm_t field = {KEL_ASIC_PGM_MAGIC, KEL_ASIC_BLK_NI, 1, 3, 0x1122, 0xFF00};
constexpr kel_asic_pgm_t no_mask = {KEL_ASIC_PGM_MAGIC, KEL_ASIC_BLK_HI, 2, 7, 0, 0};
constexpr kel_asic_pgm_t no_block = {KEL_ASIC_PGM_MAGIC, KEL_ASIC_NUM_BLK, 26, 27, 0xABC, ~0U};
constexpr kel_asic_pgm_t no_magic = {KEL_ASIC_PGM_MAGIC + 1, KEL_ASIC_BLK_HI, 2, 7, 1, ~0U};

syserr_t run(program steps, uint32_t asic = 0, int module = 0) {
  fake().calls.clear();
  return lib_mrv_asic_pgm(module, asic, steps.data(), static_cast<int>(steps.size()), CALLER);
}

}  // namespace

TEST(RegisterProgram, writes_its_steps_in_order_or_adds_them_to_an_open_transaction) {
  initialise();
  EXPECT_EQ(run({whole, field}, 0, 3), 0U);
  ASSERT_EQ(fake().calls.size(), 2U);
  EXPECT_EQ(fake().calls[0].header(), request_header(TYPE_WRITE, 3, 0, 0x13020038, 0xCAFE, ~0U, 0));
  EXPECT_EQ(fake().calls[1].header(),
            request_header(TYPE_WRITE_FIELD, 3, 0, 0x14010018, 0x1122, 0xFF00, 0));
  EXPECT_EQ(run({field}), 0U);  // the shortest
  EXPECT_EQ(fake().calls.size(), 1U);
  open_transaction();
  EXPECT_EQ(run({whole, field}, 0, 3), 0U);
  EXPECT_TRUE(fake().calls.empty());
  const kel_asic_xn_t xn = commit();
  const kel_asic_xn_entry_t entries[] = {{3, 0, 0x13020038, 0xCAFE, ~0U},
                                         {3, 0, 0x14010018, 0x1122, 0xFF00}};
  EXPECT_EQ(std::memcmp(&xn.xn[1], entries, sizeof entries), 0);
}

TEST(RegisterProgram, stops_at_the_first_step_that_is_none) {
  initialise();
  for (const kel_asic_pgm_t &bad : {no_magic, no_mask, no_block}) {
    EXPECT_EQ(run({whole, field, bad, whole}), SYSERR_KEL_ASIC_INVALID_ARG);
    EXPECT_EQ(fake().calls.size(), 2U);
  }
}

TEST(RegisterProgram, selects_asics_by_number_or_by_bit_map) {
  initialise();
  const struct {
    uint32_t asic;
    bool written;
  } cases[] = {{0, true},          {1, false},         {4, false},          {31, false},
               {32, true},         {33, false},        {0x7FFFFFE0, true},  {0x80000000, false},
               {0x80000001, true}, {0x80000003, true}, {0x80000002, false}, {0xFFFFFFFE, false},
               {0xFFFFFFFF, true}};
  for (const auto &c : cases) {
    EXPECT_EQ(run({whole, no_magic}, c.asic), SYSERR_KEL_ASIC_INVALID_ARG);
    EXPECT_EQ(fake().calls.size(), c.written ? 1U : 0U) << c.asic;
  }
}

TEST(RegisterProgram, traces_its_end_on_every_return) {
  EXPECT_EQ(run({whole}), SYSERR_KEL_ASIC_INVALID_ARG);
  initialise_with_trace();
  program step = {whole}, unsound = {no_magic};
  const struct {
    int module;
    kel_asic_pgm_t *p_pgm;
    int pgm_len;
  } refused[] = {{4, step.data(), 1},
                 {0, nullptr, 1},
                 {0, step.data(), 0},
                 {0, step.data(), -1},
                 {0, unsound.data(), 1}};
  for (const auto &r : refused) {
    EXPECT_EQ(lib_mrv_asic_pgm(r.module, 0, r.p_pgm, r.pgm_len, CALLER),
              SYSERR_KEL_ASIC_INVALID_ARG);
    EXPECT_EQ(trace_lines(), (lines{enter_line(name), exit_line(name)}));
  }
  EXPECT_TRUE(fake().calls.empty());
  EXPECT_EQ(run({no_block, whole}), SYSERR_KEL_ASIC_INVALID_ARG);
  const std::string write = "lib_mrv_asic_write";
  EXPECT_EQ(trace_lines(),
            (lines{enter_line(name), detail_line(0, "lib_mrv_asic_pgm: 0 0 13 1a 1b abc"),
                   enter_line(write), exit_line(write), exit_line(name)}));
}
