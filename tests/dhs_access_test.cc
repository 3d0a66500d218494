// Reads and writes of table entries: what is their own beyond the rules of all multi-word
// operations.
#include <gtest/gtest.h>

#include <climits>
#include <numeric>

#include "fake_platform.h"

namespace {

using words = std::vector<uint32_t>;
using lines = std::vector<std::string>;

// A table at 0x16010708 with entries of two words.
constexpr uint32_t pairs = HF_DHS_RESULT_LO_OFFSET;

template <decltype(lib_mrv_asic_read_dhs) access>
syserr_t entries(uint32_t vreg, uint32_t dhs_index, uint32_t *p_data, uint32_t num_entries) {
  return access(3, 0, KEL_ASIC_BLK_HF, 1, vreg, dhs_index, p_data, num_entries, CALLER);
}

constexpr auto read_entries = entries<lib_mrv_asic_read_dhs>;
constexpr auto write_entries = entries<lib_mrv_asic_write_dhs>;

int hook(kel_asic_blk_t, kel_asic_reg_t, uint32_t dhs_index) {
  return dhs_index == 1 ? 4 : dhs_index == 2 ? -2 : INT_MAX;
}

}  // namespace

TEST(DhsAccess, sends_the_entries_in_one_request) {
  initialise();
  words data = {11, 12, 13, 14, 15, 16};
  faults().arm();
  EXPECT_EQ(write_entries(pairs, 5, data.data(), 3), 0U);
  EXPECT_EQ(write_entries(pairs, 1023, data.data(), 0), 0U);
  EXPECT_EQ(read_entries(pairs, 5, data.data(), 3), 0U);
  faults().disarm();
  EXPECT_EQ(faults().callocs + faults().reallocs, 0U);
  ASSERT_EQ(fake().calls.size(), 3U);
  EXPECT_EQ(fake().calls[0].case_code, SYSSRV_REG_WRITE_CASE);
  EXPECT_EQ(fake().calls[0].words(), data);
  EXPECT_EQ(fake().calls[2].length, 220U);
  EXPECT_EQ(fake().calls[0].header(), request_header(TYPE_WRITE_DHS, 3, 0, 0x16010730, 0, ~0U, 6));
  EXPECT_EQ(fake().calls[1].header(), request_header(TYPE_WRITE_DHS, 3, 0, 0x16012700, 0, ~0U, 0));
  EXPECT_EQ(fake().calls[2].header(), request_header(TYPE_READ_DHS, 3, 0, 0x16010730, 0, ~0U, 6));
  data.resize(2050, 17);  // more than the buffer has held so far
  EXPECT_EQ(write_entries(pairs, 0, data.data(), 1025), 0U);
  EXPECT_EQ(fake().calls[3].words(), data);
}

TEST(DhsAccess, a_write_joins_an_open_transaction_word_by_word) {
  initialise();
  words data(600);
  std::iota(data.begin(), data.end(), 7U);
  open_transaction();
  EXPECT_EQ(write_entries(pairs, 5, data.data(), 300), 0U);
  EXPECT_EQ(write_entries(pairs, 5, data.data(), 0), 0U);
  commit();
  ASSERT_EQ(fake().calls.size(), 2U);
  const auto first = fake().calls[0].as<kel_asic_xn_t>(),
             rest = fake().calls[1].as<kel_asic_xn_t>();
  EXPECT_STREQ(rest.name, "Contd XN..");
  ASSERT_EQ(first.num + rest.num, 1 + 600);
  for (uint32_t i = 0; i < 600; ++i) {
    const kel_asic_xn_entry_t expected = {3, 0, 0x16010730 + 4 * i, 7 + i, ~0U};
    const kel_asic_xn_entry_t &entry = i < 511 ? first.xn[i + 1] : rest.xn[i - 511];
    ASSERT_EQ(std::memcmp(&entry, &expected, sizeof expected), 0) << i;
  }
}

TEST(DhsAccess, a_read_asks_for_fewer_words_of_two_tables_on_four_cards) {
  fake().hook = hook;
  initialise();
  uint32_t data[48] = {};
  const auto expect_words = [&](uint32_t vreg, uint32_t to_write, uint32_t to_read) {
    fake().platform_calls.clear();
    write_entries(vreg, 1, data, 3);
    EXPECT_EQ(fake().calls.back().request().num, 3 * to_write);
    read_entries(vreg, 1, data, 3);
    EXPECT_EQ(fake().calls.back().request().num, 3 * to_read) << fake().sw_card_id;
    EXPECT_EQ(fake().calls.back().length, 196 + 12 * to_write);
    EXPECT_EQ(fake().platform_calls, lines{"cardcfg_card_get_sw_card_id(0)"});
  };
  for (const int card : {0, 264, 265, 266, 267, 344, 345, 346, 372, 373, 374, 65535}) {
    for (const bool query_fails : {false, true}) {
      fake().sw_card_id = static_cast<uint16_t>(card);
      fake().sw_card_query_fails = query_fails;
      const bool fewer = !query_fails && (card == 265 || card == 266 || card == 345 || card == 373);
      expect_words(HF_DHS_RESULT_00_OFFSET, 4, fewer ? 3 : 4);
      expect_words(HF_DHS_POL_OFFSET, 8, fewer ? 5 : 8);
      expect_words(HF_DHS_TCAM_OFFSET, 16, 16);
    }
  }
}

TEST(DhsAccess, traces_each_step) {
  initialise_with_trace();
  const std::string read = "lib_mrv_asic_read_dhs", write = "lib_mrv_asic_write_dhs",
                    add = "kel_asic_transaction_add",
                    address = ": block HF vreg 0xe1 base address 0x16010000 rreg 0x16010708",
                    entry = ": vreg 0xe1 base address 0x16010000 dhs_index 5 ";
  const auto trace_of = [](const std::string &operation, const lines &details) {
    lines trace = {enter_line(operation),
                   detail_line(0, "kel_asic_reg_dhs_entry_size: vreg 225 dhs_index 5")};
    for (const std::string &detail : details)
      trace.push_back(detail_line(0, operation + detail));
    trace.push_back(exit_line(operation));
    return trace;
  };
  fake().answer_words(2, 0xAB);
  uint32_t data[2];
  EXPECT_EQ(read_entries(pairs, 5, data, 1), 0U);
  EXPECT_EQ(trace_lines(), trace_of(read, {address + ": mod=3 asic=0 blk=6 inst=1 n_ent=1",
                                           entry + "entry_size 2 rreg 0x16010730",
                                           ": index 1, addr=0x16010730 read_data 0xab",
                                           ": index 2, addr=0x16010730 read_data 0xac"}));
  lines written =
      trace_of(write, {address, entry + "num_entries 1 entry_size 2 rreg 0x16010730",
                       ": index 1, data to write 0xab", ": index 2, data to write 0xac"});
  fake().fail_calls(1);
  EXPECT_EQ(write_entries(pairs, 5, data, 1), 0x82230005U);
  EXPECT_EQ(fake().calls.back().words(), (words{0xAB, 0xAC}));
  EXPECT_EQ(trace_lines(), written);
  open_transaction();
  trace_lines();
  EXPECT_EQ(write_entries(pairs, 5, data, 1), 0U);
  written.insert(written.end() - 1, {enter_line(add), exit_line(add)});
  written.insert(written.begin() + 5, {enter_line(add), exit_line(add)});
  EXPECT_EQ(trace_lines(), written);
}

TEST(DhsAccess, refuses_what_is_no_entry_before_it_looks_for_the_register) {
  fake().hook = hook;
  fake().holes.push_back({KEL_ASIC_BLK_HF, HF_DHS_POL_OFFSET});
  initialise_with_trace();
  open_transaction();
  uint32_t word;
  const struct {
    uint32_t vreg, dhs_index, num_entries;
    std::size_t lines;
    std::string last_line;
  } cases[] = {
      {2, 0, 1, 3, "Unrecognized DHS entry for block 6 vreg 2 dhs_index 0"},
      {HF_DHS_POL_OFFSET, ~0U, 1, 3, "Unrecognized DHS entry for block 6 vreg 116 dhs_index -1"},
      {HF_DHS_RESULT_00_OFFSET, 2, 0, 2, "vreg 110 dhs_index 2"},  // refused by the hook
      {HF_DHS_POL_OFFSET, 63, 1, 3, "Invalid vreg: block HF reg 116 (74)"},
      // No 32-bit size: the first would have one of 196 bytes if it wrapped.
      {HF_DHS_TCAM_OFFSET, 0, 1U << 28, 4, "entry_size 16 rreg 0x16010360"},
      {HF_DHS_RESULT_00_OFFSET, 0, ~0U, 4, "entry_size 2147483647 rreg 0x16010370"},
  };
  for (const auto &c : cases) {
    for (const auto operation : {read_entries, write_entries}) {
      trace_lines();
      EXPECT_EQ(operation(c.vreg, c.dhs_index, &word, c.num_entries), SYSERR_KEL_ASIC_INVALID_ARG);
      const lines trace = trace_lines();
      EXPECT_EQ(trace.size(), c.lines) << c.last_line;
      EXPECT_EQ(trace.back().substr(trace.back().size() - c.last_line.size()), c.last_line);
    }
  }
  EXPECT_TRUE(fake().calls.empty());
  EXPECT_EQ(commit().num, 1);
}
