// The write transaction: each row of its states, the record that is sent, and the trace.
#include <gtest/gtest.h>

#include <cerrno>

#include "fake_platform.h"

namespace {

using texts = std::vector<std::string>;
using entries = std::vector<kel_asic_xn_entry_t>;

constexpr uint32_t all = 0xFFFFFFFF;
constexpr const char *no_name = nullptr;
constexpr const char *begin = "mrv_asic_transaction_start", *add = "kel_asic_transaction_add",
                     *end = "mrv_asic_transaction_commit";

uint32_t value;

void start(const char *name, int reorder) {
  EXPECT_EQ(mrv_asic_transaction_start(const_cast<char *>(name), reorder), 0);
}

syserr_t write_raw(uint32_t addr, uint32_t data) {
  return write_reg({1, 0, KEL_ASIC_BLK_HI, 0, addr}, data, KEL_ASIC_WR_RAW);
}

// The call must have sent that transaction; what stands behind its entries is left out.
void expect_sent(const sent_call &call, std::string name, int reorder, const entries &expected) {
  EXPECT_EQ(call.case_code, 0x40000003U);
  EXPECT_EQ(call.length, 10280U);
  const auto record = call.as<kel_asic_xn_t>();
  name.resize(32);
  EXPECT_EQ(std::string(record.name, sizeof record.name), name);
  EXPECT_EQ(record.reorder_allowed, reorder);
  ASSERT_EQ(record.num, static_cast<int>(expected.size()));
  for (std::size_t i = 0; i < expected.size(); ++i)
    EXPECT_EQ(std::memcmp(&record.xn[i], &expected[i], sizeof expected[i]), 0) << i;
}

// A commit must send that transaction and leave none open.
void expect_commit(const std::string &name, int reorder, const entries &expected) {
  const std::size_t before = fake().calls.size();
  EXPECT_EQ(mrv_asic_transaction_commit(), 0);
  EXPECT_EQ(mrv_asic_transaction_commit(), 0);
  ASSERT_EQ(fake().calls.size(), before + 1);
  expect_sent(fake().calls.back(), name, reorder, expected);
}

std::string failure_line(const std::string &transaction, const std::string &rc) {
  return detail_line(
      0, "LIB: XN <" + transaction + "> commit failure <rc=" + rc + ">. asic_typ=Morvane <236>");
}

}  // namespace

TEST(Transaction, takes_each_write_as_one_entry) {
  initialise();
  start("batch", -5);
  EXPECT_EQ(write_reg({3}, 0xAA), 0U);
  EXPECT_EQ(write_field({}, 0xBB, 0xF0), 0U);
  EXPECT_EQ(write_reg({2, 0x8001020F, KEL_ASIC_BLK_XL, 99, 0x1234}, 0xCC, 0), 0U);
  EXPECT_EQ(write_field({1, 9, KEL_ASIC_BLK_XL, 99, 0x1234}, 0xDD, 0, 0), 0U);
  EXPECT_EQ(write_reg({4}, 1, 0), SYSERR_KEL_ASIC_INVALID_ARG);
  EXPECT_EQ(write_reg({0, 0, KEL_ASIC_BLK_HI, 32}, 1), SYSERR_KEL_ASIC_INVALID_ARG);
  EXPECT_EQ(write_field({}, 1, 0), SYSERR_KEL_ASIC_INVALID_ARG);
  EXPECT_TRUE(fake().calls.empty());
  expect_commit("batch", -5,
                {{3, 0, 0x13020028, 0xAA, all},
                 {0, 0, 0x13020028, 0xBB, 0xF0},
                 {2, static_cast<int32_t>(0x8001020F), 0x1234, 0xCC, all},
                 {1, 9, 0x1234, 0xDD, 0}});
  EXPECT_EQ(fake().calls.back().driver_id, KEL_ASIC_DRIVER_MORVANE);
}

TEST(Transaction, keeps_its_name_when_started_again) {
  initialise_with_trace();
  start("first", 1);
  EXPECT_EQ(trace_lines(), (texts{enter_line(begin), exit_line(begin)}));
  write_raw(4, 5);
  trace_lines();
  for (const char *name : {"second", "", no_name})
    start(name, 0);
  EXPECT_EQ(trace_lines(), texts(3, enter_line(begin)));
  expect_commit("first", 1, {{1, 0, 4, 5, all}});
  EXPECT_EQ(trace_lines(), (texts{enter_line(end), exit_line(end), enter_line(end)}));
}

TEST(Transaction, has_a_name_of_1_to_31_characters) {
  initialise();
  for (std::size_t length : {40U, 1U, 30U, 31U, 32U}) {
    const std::string name(length, 'n');
    start(name.c_str(), 0);
    expect_commit(name.substr(0, 31), 0, {});
  }
  for (const char *name : {"", no_name}) {
    fake().calls.clear();
    start(name, 1);
    EXPECT_EQ(mrv_asic_transaction_commit(), 0);
    write_raw(4, 5);
    ASSERT_EQ(fake().calls.size(), 1U);
    EXPECT_EQ(fake().calls[0].case_code, SYSSRV_REG_WRITE_CASE);
  }
}

TEST(Transaction, needs_no_initialisation) {
  start("early", 1);
  expect_commit("early", 1, {});
  EXPECT_EQ(fake().calls.back().driver_id, 0U);
  start("kept", 1);
  initialise();
  write_raw(4, 5);
  expect_commit("kept", 1, {{1, 0, 4, 5, all}});
}

TEST(Transaction, is_sent_and_continued_by_the_write_that_finds_it_full) {
  const std::string w = "lib_mrv_asic_write";
  initialise_with_trace();
  start("full", 1);
  entries full;
  for (uint32_t i = 0; i < 512; ++i) {
    trace_lines();
    EXPECT_EQ(write_raw(4 * i, i), 0U);
    full.push_back({1, 0, 4 * i, i, all});
  }
  EXPECT_EQ(trace_lines(), (texts{enter_line(w), enter_line(add), exit_line(add), exit_line(w)}));
  EXPECT_TRUE(fake().calls.empty());
  fake().fail_calls(-1, EIO);
  EXPECT_EQ(write_raw(0x8000, 512), 0U);
  EXPECT_EQ(
      trace_lines(),
      (texts{enter_line(w), enter_line(add), enter_line(end), failure_line("full/512", "ffffffff"),
             exit_line(end), enter_line(begin), exit_line(begin), exit_line(add), exit_line(w)}));
  ASSERT_EQ(fake().calls.size(), 1U);
  expect_sent(fake().calls.back(), "full", 1, full);
  EXPECT_EQ(write_raw(0x8004, 513), 0U);
  expect_commit("Contd XN..", 0, {{1, 0, 0x8000, 512, all}, {1, 0, 0x8004, 513, all}});
}

TEST(Transaction, is_sent_before_a_read_and_reopened) {
  const std::string r = "lib_mrv_asic_read";
  initialise_with_trace();
  start("mine", 1);
  write_raw(4, 5);
  EXPECT_EQ(read_reg({}, nullptr), SYSERR_KEL_ASIC_INVALID_ARG);
  EXPECT_EQ(read_reg({0, 0, KEL_ASIC_BLK_HR, 2, 26}, &value), SYSERR_KEL_ASIC_INVALID_ARG);
  EXPECT_TRUE(fake().calls.empty());
  trace_lines();
  fake().fail_calls(1);
  EXPECT_EQ(read_reg({}, &value), KEL_ASIC_SYSERR_SERVICE_ANSWER);
  texts lines = trace_lines();
  lines.erase(lines.begin() + 1);  // the address
  EXPECT_EQ(lines, (texts{enter_line(r), enter_line(end), failure_line("mine/1", "1"),
                          exit_line(end), enter_line(begin), exit_line(begin), exit_line(r)}));
  ASSERT_EQ(fake().calls.size(), 2U);
  expect_sent(fake().calls[0], "mine", 1, {{1, 0, 4, 5, all}});
  EXPECT_EQ(fake().calls[1].case_code, SYSSRV_REG_READ_CASE);
  start("ignored", 1);
  write_raw(8, 6);
  expect_commit("<Interrupted>", 0, {{1, 0, 8, 6, all}});

  fake().calls.clear();  // none is open, and none is opened
  read_reg({}, &value);
  EXPECT_EQ(mrv_asic_transaction_commit(), 0);
  EXPECT_EQ(fake().calls.size(), 1U);
}

TEST(Transaction, is_dropped_by_a_failed_commit_and_its_entries_stay_behind_the_next) {
  initialise_with_trace();
  const auto fail_with = [](int result, bool rewrite, const std::string &transaction) {
    start("a name to be overwritten", 1);
    write_raw(4, 5);
    write_raw(8, 6);
    trace_lines();
    fake().answer = [=](uint32_t, void *record, uint32_t length) {
      std::memset(record, 'A', rewrite ? length : 0);
      return result;
    };
    EXPECT_EQ(mrv_asic_transaction_commit(), 0);
    EXPECT_EQ(trace_lines(),
              (texts{enter_line(end), failure_line(transaction, result < 0 ? "ffffffff" : "7"),
                     exit_line(end)}));
    start("next", 0);
    write_raw(9, 7);
    expect_commit("next", 0, {{1, 0, 9, 7, all}});
    const auto sent = fake().calls.back().as<kel_asic_xn_t>();
    EXPECT_EQ(sent.xn[1].data, rewrite ? 0x41414141U : 6U);
  };
  fail_with(7, false, "a name to be overwritten/2");
  fail_with(-1, true, std::string(31, 'A') + "/1094795585");
}
