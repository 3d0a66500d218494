// Register programs: their steps, their choice of ASICs, and where they stop.
#include <gtest/gtest.h>

#include "fake_platform.h"

namespace {

using words = std::vector<uint32_t>;
using lines = std::vector<std::string>;
using program = std::vector<kel_asic_pgm_t>;

constexpr const char *name = "lib_mrv_asic_pgm";
constexpr kel_asic_pgm_t whole = {KEL_ASIC_PGM_MAGIC, KEL_ASIC_BLK_HI, 2, 7, 0xCAFE, ~0U};
constexpr kel_asic_pgm_t field = {KEL_ASIC_PGM_MAGIC, KEL_ASIC_BLK_NI, 1, 3, 0x1122, 0xFF00};
constexpr kel_asic_pgm_t no_mask = {KEL_ASIC_PGM_MAGIC, KEL_ASIC_BLK_HI, 2, 7, 0, 0};
constexpr kel_asic_pgm_t no_block = {KEL_ASIC_PGM_MAGIC, KEL_ASIC_NUM_BLK, 2, 7, 0, ~0U};
constexpr kel_asic_pgm_t no_magic = {KEL_ASIC_PGM_MAGIC + 1, KEL_ASIC_BLK_HI, 2, 7, 1, ~0U};

syserr_t run(program steps, uint32_t asic = 0) {
  fake().calls.clear();
  return lib_mrv_asic_pgm(0, asic, steps.data(), static_cast<int>(steps.size()), CALLER);
}

}  // namespace

TEST(RegisterProgram, writes_its_steps_in_order) {
  initialise();
  program steps = {whole, field, whole};
  EXPECT_EQ(lib_mrv_asic_pgm(3, 0, steps.data(), 3, CALLER), 0U);
  ASSERT_EQ(fake().calls.size(), 3U);
  const words whole_request = request_header(TYPE_WRITE, 3, 0, 0x13020038, 0xCAFE, ~0U, 0);
  EXPECT_EQ(fake().calls[0].header(), whole_request);
  EXPECT_EQ(fake().calls[1].header(),
            request_header(TYPE_WRITE_FIELD, 3, 0, 0x14010018, 0x1122, 0xFF00, 0));
  EXPECT_EQ(fake().calls[2].header(), whole_request);
}

TEST(RegisterProgram, stops_at_the_first_step_that_is_none_or_fails) {
  initialise();
  const struct {
    program steps;
    std::size_t written;
  } cases[] = {{{no_magic, whole}, 0},
               {{whole, field, no_magic, whole}, 2},
               {{whole, no_mask, whole}, 1},
               {{whole, no_block, whole}, 1}};
  for (const auto &c : cases) {
    EXPECT_EQ(run(c.steps), SYSERR_KEL_ASIC_INVALID_ARG);
    EXPECT_EQ(fake().calls.size(), c.written) << "case " << &c - cases;
  }
  fake().fail_calls(-1, 22);
  EXPECT_EQ(run({field, no_magic}), 0x82230016U);
  EXPECT_EQ(fake().calls.size(), 1U);
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
    EXPECT_EQ(run({whole, field}, c.asic), 0U);
    EXPECT_EQ(fake().calls.size(), c.written ? 2U : 0U) << c.asic;
    EXPECT_EQ(run({whole, no_magic}, c.asic), SYSERR_KEL_ASIC_INVALID_ARG);
    EXPECT_EQ(fake().calls.size(), c.written ? 1U : 0U) << c.asic;
  }
}

TEST(RegisterProgram, traces_its_end_on_every_return) {
  program steps = {whole};
  EXPECT_EQ(run(steps), SYSERR_KEL_ASIC_INVALID_ARG);
  initialise_with_trace();
  const struct {
    int module;
    kel_asic_pgm_t *p_pgm;
    int pgm_len;
  } refused[] = {{4, steps.data(), 1},
                 {-1, steps.data(), 1},
                 {0, nullptr, 1},
                 {0, steps.data(), 0},
                 {0, steps.data(), -1}};
  for (const auto &r : refused) {
    EXPECT_EQ(lib_mrv_asic_pgm(r.module, 0, r.p_pgm, r.pgm_len, CALLER),
              SYSERR_KEL_ASIC_INVALID_ARG);
    EXPECT_EQ(trace_lines(), (lines{enter_line(name), exit_line(name)}));
  }
  EXPECT_TRUE(fake().calls.empty());
  EXPECT_EQ(run({no_block, whole}), SYSERR_KEL_ASIC_INVALID_ARG);
  const std::string write = "lib_mrv_asic_write", write_field = "lib_mrv_asic_write_field";
  EXPECT_EQ(trace_lines(),
            (lines{enter_line(name), detail_line(0, "lib_mrv_asic_pgm: 0 0 13 2 7 0"),
                   enter_line(write), exit_line(write), exit_line(name)}));
  open_transaction();
  trace_lines();
  EXPECT_EQ(run({field, no_magic}), SYSERR_KEL_ASIC_INVALID_ARG);
  const lines trace = trace_lines();
  ASSERT_EQ(trace.size(), 8U);
  EXPECT_EQ(trace[1], detail_line(0, "lib_mrv_asic_pgm: 0 0 4 1 3 1122"));
  EXPECT_EQ(trace[2], enter_line(write_field));
  EXPECT_EQ(trace[7], exit_line(name));
}

TEST(RegisterProgram, joins_an_open_transaction) {
  initialise();
  open_transaction();
  EXPECT_EQ(run({whole, field, no_mask}), SYSERR_KEL_ASIC_INVALID_ARG);
  EXPECT_TRUE(fake().calls.empty());
  const kel_asic_xn_t xn = commit();
  EXPECT_STREQ(xn.name, "mine");
  ASSERT_EQ(xn.num, 3);
  const kel_asic_xn_entry_t entries[] = {{0, 0, 0x13020038, 0xCAFE, ~0U},
                                         {0, 0, 0x14010018, 0x1122, 0xFF00}};
  EXPECT_EQ(std::memcmp(&xn.xn[1], entries, sizeof entries), 0);
}
