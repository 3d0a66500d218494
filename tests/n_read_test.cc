// Reads of runs of registers, and the request buffer that all multi-word requests share.
#include <gtest/gtest.h>

#include <numeric>

#include "fake_platform.h"

namespace {

using words = std::vector<uint32_t>;
using lines = std::vector<std::string>;

const std::string name = "lib_mrv_asic_n_read";
const std::string address_line =
    detail_line(0, name + ": block HI vreg 0x7 base address 0x13020000 rreg 0x13020038");
constexpr uint32_t guard = 0xDEADBEEF;

syserr_t n_read(uint32_t *p_data, uint32_t num_entries) {
  return lib_mrv_asic_n_read(0, 0, KEL_ASIC_BLK_HI, 2, 7, p_data, num_entries, CALLER);
}

// The line that tells of a growth of the buffer in a read of that many words; or an empty one.
std::string growth(uint32_t num_entries) {
  words data(num_entries);
  trace_lines();
  EXPECT_EQ(n_read(data.data(), num_entries), 0u);
  const lines traced = trace_lines();
  return traced.size() == 4 ? traced[2] : "";
}

std::string growth_line(const std::string &sizes) {
  return detail_line(0, name + ": Re-allocate DHS data buffer: " + sizes);
}

}  // namespace

TEST(NRead, sends_one_request_in_which_nothing_of_an_earlier_one_is_left) {
  initialise();
  std::string file(200, 'f'), func(40, 'g');
  words data(3);
  lib_mrv_asic_n_read(0, 0, KEL_ASIC_BLK_SS, 0, 9, data.data(), 3, ~0u, file.data(), -1,
                      func.data());
  faults().arm();
  EXPECT_EQ(lib_mrv_asic_n_read(3, 0, KEL_ASIC_BLK_HI, 2, 7, data.data(), 3, CALLER), 0u);
  faults().disarm();
  EXPECT_EQ(faults().callocs + faults().reallocs, 0u);
  ASSERT_EQ(fake().calls.size(), 2u);
  EXPECT_EQ(fake().calls[0].header(),
            request_header(TYPE_READ_DHS, 0, 0, fake_rreg(KEL_ASIC_BLK_SS, 0, 9), 0, ~0u, 3,
                           func.c_str(), ~0u, file.c_str(), ~0u));
  EXPECT_EQ(fake().calls[1].header(), request_header(TYPE_READ_DHS, 3, 0, 0x13020038, 0, ~0u, 3));
  EXPECT_EQ(fake().calls[1].case_code, SYSSRV_REG_READ_CASE);
  EXPECT_EQ(fake().calls[1].driver_id, 236u);
}

TEST(NRead, writes_as_many_words_as_the_answer_counts_and_the_array_holds) {
  initialise();
  const struct {
    uint32_t num_entries, num;
    words data;
  } cases[] = {{4, 0, {guard, guard, guard, guard, guard}},
               {4, 3, {100, 101, 102, guard, guard}},
               {4, 4, {100, 101, 102, 103, guard}},
               {4, 5, {100, 101, 102, 103, guard}},
               {4, ~0u, {100, 101, 102, 103, guard}},
               {0, 0, words(5, guard)},
               {0, 9, words(5, guard)}};
  for (const auto &c : cases) {
    words data(5, guard);
    fake().answer_words(c.num, 100);
    EXPECT_EQ(n_read(data.data(), c.num_entries), 0u);
    EXPECT_EQ(data, c.data) << c.num_entries << " asked, " << c.num << " answered";
    EXPECT_EQ(fake().calls.back().length, 196 + 4 * c.num_entries);
    EXPECT_EQ(fake().calls.back().request().num, c.num_entries);
  }
}

TEST(NRead, traces_each_step_and_writes_nothing_when_the_call_fails) {
  initialise_with_trace();
  words data(3, guard);
  fake().answer_words(2, 0xAB);
  EXPECT_EQ(n_read(data.data(), 3), 0u);
  EXPECT_EQ(data, (words{0xAB, 0xAC, guard}));
  EXPECT_EQ(
      trace_lines(),
      (lines{enter_line(name), address_line, detail_line(0, name + ": index 1, read_data 0xab"),
             detail_line(0, name + ": index 2, read_data 0xac"), exit_line(name)}));
  const struct {
    int result, error_number;
    syserr_t code;
  } failures[] = {{-1, 22, 0x82230016}, {-7, 0x1005, 0x82230005}, {7, 22, 0x82230005}};
  for (const auto &f : failures) {
    fake().fail_calls(f.result, f.error_number);
    EXPECT_EQ(n_read(data.data(), 2), f.code);
    EXPECT_EQ(data, (words{0xAB, 0xAC, guard}));
    EXPECT_EQ(trace_lines(), (lines{enter_line(name), address_line, exit_line(name)}));
  }
}

TEST(NRead, refuses_before_it_sends_anything_or_touches_a_transaction) {
  uint32_t word;
  EXPECT_EQ(lib_mrv_asic_n_read(4, 9, KEL_ASIC_NUM_BLK, 0, 0, nullptr, 1, CALLER),
            SYSERR_KEL_ASIC_UNINIT);
  initialise_with_trace();
  open_transaction();
  trace_lines();
  const lines hole = {detail_line(0, "Invalid vreg: block HR reg 26 (1a)")};
  const struct {
    int module;
    uint32_t asic;
    kel_asic_blk_t block;
    uint32_t instance, vreg;
    uint32_t *p_data;
    uint32_t num_entries;
    lines details;
  } cases[] = {
      {4, 0, KEL_ASIC_BLK_HI, 2, 7, &word, 1, {}},
      {-1, 0, KEL_ASIC_BLK_HI, 2, 7, &word, 1, {}},
      {0, 1, KEL_ASIC_BLK_HI, 2, 7, &word, 1, {}},
      {0, 4, KEL_ASIC_BLK_HI, 2, 7, &word, 1, {}},
      {0, 0, KEL_ASIC_NUM_BLK, 2, 7, &word, 1, {}},
      {0, 0, KEL_ASIC_BLK_HI, 32, 7, &word, 1, {}},
      {0, 0, KEL_ASIC_BLK_HI, 2, KEL_ASIC_HI_NUM_ENUM, &word, 1, {}},
      {0, 0, KEL_ASIC_BLK_HR, 0, 26, nullptr, 1, {}},
      {0, 0, KEL_ASIC_BLK_HR, 0, 26, &word, 1, hole},
      {0, 0, KEL_ASIC_BLK_HI, 2, 7, &word, 1073741775, {address_line}},  // 196 + 4 * n is 2^32
      {0, 0, KEL_ASIC_BLK_HI, 2, 7, &word, ~0u, {address_line}},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(lib_mrv_asic_n_read(c.module, c.asic, c.block, c.instance, c.vreg, c.p_data,
                                  c.num_entries, CALLER),
              SYSERR_KEL_ASIC_INVALID_ARG);
    lines expected = c.details;
    expected.insert(expected.begin(), enter_line(name));
    EXPECT_EQ(trace_lines(), expected) << "case " << &c - cases;
  }
  EXPECT_TRUE(fake().calls.empty());
  EXPECT_STREQ(commit().name, "mine");
}

TEST(NRead, sends_an_open_transaction_first_and_leaves_one_open) {
  initialise();
  open_transaction();
  uint32_t word;
  EXPECT_EQ(n_read(&word, 1), 0u);
  ASSERT_EQ(fake().calls.size(), 2u);
  EXPECT_STREQ(fake().calls[0].as<kel_asic_xn_t>().name, "mine");
  EXPECT_EQ(fake().calls[0].as<kel_asic_xn_t>().num, 1);
  EXPECT_EQ(fake().calls[1].case_code, SYSSRV_REG_READ_CASE);
  const kel_asic_xn_t left = commit();
  EXPECT_STREQ(left.name, "<Interrupted>");
  EXPECT_EQ(left.reorder_allowed + left.num, 0);
}

TEST(RequestBuffer, grows_to_the_exact_size_and_keeps_what_it_holds) {
  initialise_with_trace();
  words data(2048), kept;
  fake().answer_words(2048, 7);
  faults().arm();
  EXPECT_EQ(n_read(data.data(), 2048), 0u);
  EXPECT_EQ(faults().reallocs, 0u);
  fake().answer = [](uint32_t, void *record, uint32_t) {
    static_cast<kel_asic_reg_access_params_t *>(record)->num = 0;
    return 0;
  };
  EXPECT_EQ(growth(2049), growth_line("cur_size 8388 new_size 8392"));
  kept = fake().calls.back().words();
  kept.pop_back();
  EXPECT_EQ(kept, data);
  EXPECT_EQ(growth(5000), growth_line("cur_size 8392 new_size 20196"));
  EXPECT_EQ(growth(10) + growth(5000), "");
  EXPECT_EQ(growth(5001), growth_line("cur_size 20196 new_size 20200"));
  EXPECT_EQ(faults().reallocs, 3u);
}

TEST(RequestBuffer, stays_as_it_was_when_it_cannot_grow) {
  initialise_with_trace();
  open_transaction();
  words data(3000, guard);
  faults().fail_realloc = 1;
  faults().arm();
  trace_lines();
  EXPECT_EQ(n_read(data.data(), 3000), 12u);
  EXPECT_EQ(data, words(3000, guard));
  ASSERT_EQ(fake().calls.size(), 1u);  // the transaction has gone before
  EXPECT_STREQ(fake().calls[0].as<kel_asic_xn_t>().name, "mine");
  EXPECT_EQ(
      trace_lines(),
      (lines{enter_line(name), address_line, enter_line("mrv_asic_transaction_commit"),
             exit_line("mrv_asic_transaction_commit"), enter_line("mrv_asic_transaction_start"),
             exit_line("mrv_asic_transaction_start"), growth_line("cur_size 8388 new_size 12196"),
             detail_line(0, name + ": Failed to re-allocate DHS data buffer: errno = 12 (c)")}));
  EXPECT_STREQ(commit().name, "<Interrupted>");
  fake().answer_words(2048, 100);
  EXPECT_EQ(n_read(data.data(), 2048), 0u);
  EXPECT_EQ(data[2047], 2147u);
  fake().answer_words(0, 0);
  EXPECT_EQ(growth(2049), growth_line("cur_size 8388 new_size 8392"));
}
