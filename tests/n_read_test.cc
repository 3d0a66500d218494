// Reads of runs of registers, and what all multi-word operations share: how an answer is taken,
// the transaction that a read interrupts, refusals, and the request buffer.
#include <gtest/gtest.h>

#include <cerrno>

#include "fake_platform.h"

namespace {

using namespace std::string_literals;

using words = std::vector<uint32_t>;
using lines = std::vector<std::string>;

constexpr uint32_t guard = 0xDEADBEEF;
constexpr const char *growth_text = ": Re-allocate DHS data buffer: ";

// A table with entries of one word, so that the three operations count alike.
constexpr reg_place table = {0, 0, KEL_ASIC_BLK_HF, 1, HF_DHS_SVIF_MEM_OFFSET};

syserr_t n_read(const reg_place &a, uint32_t *p_data, uint32_t num_entries) {
  return lib_mrv_asic_n_read(a.module, a.asic, a.block, a.instance, a.vreg, p_data, num_entries,
                             CALLER);
}

syserr_t read_dhs(const reg_place &a, uint32_t *p_data, uint32_t num_entries) {
  return lib_mrv_asic_read_dhs(a.module, a.asic, a.block, a.instance, a.vreg, 0, p_data,
                               num_entries, CALLER);
}

syserr_t write_dhs(const reg_place &a, uint32_t *p_data, uint32_t num_entries) {
  return lib_mrv_asic_write_dhs(a.module, a.asic, a.block, a.instance, a.vreg, 0, p_data,
                                num_entries, CALLER);
}

constexpr struct operation {
  syserr_t (*call)(const reg_place &, uint32_t *p_data, uint32_t num_entries);
  const char *name;
  bool reads;
} operations[] = {{n_read, "lib_mrv_asic_n_read", true},
                  {read_dhs, "lib_mrv_asic_read_dhs", true},
                  {write_dhs, "lib_mrv_asic_write_dhs", false}};

// The sizes in the line that tells of the buffer's growth in a read of that many words.
std::string growth(uint32_t num_entries) {
  words data(num_entries);
  trace_lines();
  EXPECT_EQ(n_read(table, data.data(), num_entries), 0U);
  for (const std::string &line : trace_lines()) {
    if (line.find(growth_text) != std::string::npos)
      return line.substr(line.find(growth_text) + std::strlen(growth_text));
  }
  return "";
}

}  // namespace

TEST(NRead, sends_one_request_in_which_nothing_of_an_earlier_one_is_left) {
  initialise();
  std::string file(200, 'f'), func(40, 'g');
  uint32_t data[3];
  lib_mrv_asic_n_read(0, 0, KEL_ASIC_BLK_SS, 0, 9, data, 3, ~0U, file.data(), -1, func.data());
  EXPECT_EQ(n_read({3}, data, 3), 0U);
  ASSERT_EQ(fake().calls.size(), 2U);
  EXPECT_EQ(fake().calls[0].header(),
            request_header(TYPE_READ_DHS, 0, 0, fake_rreg(KEL_ASIC_BLK_SS, 0, 9), 0, ~0U, 3,
                           func.c_str(), ~0U, file.c_str(), ~0U));
  EXPECT_EQ(fake().calls[1].header(), request_header(TYPE_READ_DHS, 3, 0, 0x13020028, 0, ~0U, 3));
  EXPECT_EQ(fake().calls[1].driver_id, 236U);
}

TEST(NRead, traces_each_step) {
  initialise_with_trace();
  fake().answer_words(2, 0xAB);
  uint32_t data[3];
  EXPECT_EQ(n_read({}, data, 3), 0U);
  const std::string name = "lib_mrv_asic_n_read";
  lines expected = {
      enter_line(name),
      detail_line(0, name + ": block HI vreg 0x5 base address 0x13020000 rreg 0x13020028"),
      detail_line(0, name + ": index 1, read_data 0xab"),
      detail_line(0, name + ": index 2, read_data 0xac"), exit_line(name)};
  EXPECT_EQ(trace_lines(), expected);
  EXPECT_EQ(data[1], 0xACU);
  fake().fail_calls(1);
  EXPECT_EQ(n_read({}, data, 3), 0x82230005U);
  expected.erase(expected.begin() + 2, expected.begin() + 4);
  EXPECT_EQ(trace_lines(), expected);
}

TEST(MultiWordRead, writes_as_many_words_as_the_answer_counts_and_the_array_holds) {
  initialise();
  const struct {
    uint32_t num_entries, num;
    int result;
    syserr_t expected;
    words data;
  } cases[] = {
      {4, 0, 0, 0, {guard, guard, guard, guard, guard}},
      {4, 3, 0, 0, {100, 101, 102, guard, guard}},
      {4, 4, 0, 0, {100, 101, 102, 103, guard}},
      {4, 5, 0, 0, {100, 101, 102, 103, guard}},
      {4, ~0U, 0, 0, {100, 101, 102, 103, guard}},
      {0, 0, 0, 0, {guard, guard, guard, guard, guard}},
      {0, 9, 0, 0, {guard, guard, guard, guard, guard}},
      {4, 4, -1, 0x82230016, {guard, guard, guard, guard, guard}},
      {4, 4, 1, 0x82230005, {guard, guard, guard, guard, guard}},
  };
  for (const auto &c : cases) {
    fake().answer_words(c.num, 100);
    fake().answer = [&, answer = fake().answer](uint32_t case_code, void *record, uint32_t length) {
      answer(case_code, record, length);
      errno = 0x1016;
      return c.result;
    };
    for (const auto read : {n_read, read_dhs}) {
      words data(5, guard);
      fake().calls.clear();
      faults().arm();
      EXPECT_EQ(read(table, data.data(), c.num_entries), c.expected);
      faults().disarm();
      EXPECT_EQ(data, c.data) << "case " << &c - cases;
      ASSERT_EQ(fake().calls.size(), 1U);
      EXPECT_EQ(fake().calls[0].case_code, SYSSRV_REG_READ_CASE);
      EXPECT_EQ(fake().calls[0].length, 196 + 4 * c.num_entries);
      EXPECT_EQ(fake().calls[0].request().num, c.num_entries);
      EXPECT_EQ(faults().callocs + faults().reallocs, 0U);
    }
  }
}

TEST(MultiWord, refuses_before_it_sends_anything_or_touches_a_transaction) {
  uint32_t word;
  const auto refused = [&](const reg_place &a, uint32_t *p_data, uint32_t num_entries) {
    std::size_t traced = 0;
    for (const operation &op : operations) {
      trace_lines();
      EXPECT_EQ(op.call(a, p_data, num_entries), SYSERR_KEL_ASIC_INVALID_ARG) << op.name;
      const lines trace = trace_lines();
      traced += trace.size();
      EXPECT_EQ(trace[0], enter_line(op.name));
    }
    return traced;
  };
  for (const operation &op : operations)
    EXPECT_EQ(op.call({4, 9, KEL_ASIC_NUM_BLK, 0, 0}, nullptr, 1), SYSERR_KEL_ASIC_UNINIT);
  initialise_with_trace();
  open_transaction();
  const reg_place places[] = {{4, 0, KEL_ASIC_BLK_HF, 1, 0},
                              {-1, 0, KEL_ASIC_BLK_HF, 1, 0},
                              {0, 1, KEL_ASIC_BLK_HF, 1, 0},
                              {0, 4, KEL_ASIC_BLK_HF, 1, 0},
                              {0, 0, KEL_ASIC_NUM_BLK, 1, 0},
                              {0, 0, KEL_ASIC_BLK_HF, 4, 0},
                              {0, 0, KEL_ASIC_BLK_HF, 1, KEL_ASIC_HF_NUM_ENUM}};
  for (const reg_place &a : places)
    EXPECT_EQ(refused(a, &word, 1), 3U) << "case " << &a - places;  // "Enter" alone
  EXPECT_EQ(refused({0, 0, KEL_ASIC_BLK_HR, 0, 26}, nullptr, 1), 3U);
  // Requests of 2^32 and more bytes: refused behind the lines that tell the address.
  EXPECT_EQ(refused(table, &word, 1073741775), 2U + 4U + 4U);
  EXPECT_EQ(refused(table, &word, ~0U), 2U + 4U + 4U);
  trace_lines();
  EXPECT_EQ(n_read({0, 0, KEL_ASIC_BLK_HR, 0, 26}, &word, 1), SYSERR_KEL_ASIC_INVALID_ARG);
  EXPECT_EQ(trace_lines(), (lines{enter_line(operations[0].name),
                                  detail_line(0, "Invalid vreg: block HR reg 26 (1a)")}));
  EXPECT_TRUE(fake().calls.empty());
  const kel_asic_xn_t left = commit();
  EXPECT_STREQ(left.name, "mine");
  EXPECT_EQ(left.num, 1);
}

TEST(RequestBuffer, grows_to_the_exact_size_and_keeps_what_it_holds) {
  initialise_with_trace();
  words data(2048);
  fake().answer_words(2048, 7);
  EXPECT_EQ(n_read(table, data.data(), 2048), 0U);
  fake().answer = nullptr;
  EXPECT_EQ(growth(2048), "");
  EXPECT_EQ(growth(2049), "cur_size 8388 new_size 8392");
  words kept = fake().calls.back().words();
  kept.pop_back();
  EXPECT_EQ(kept, data);
  EXPECT_EQ(growth(5000), "cur_size 8392 new_size 20196");
  EXPECT_EQ(growth(10) + growth(5000), "");
  EXPECT_EQ(growth(5001), "cur_size 20196 new_size 20200");
}

TEST(RequestBuffer, stays_as_it_was_when_it_cannot_grow) {
  initialise_with_trace();
  faults().fail_realloc = 1;
  for (const operation &op : operations) {
    words data(3000, guard);
    fake().calls.clear();
    if (op.reads)
      open_transaction();
    faults().arm();
    EXPECT_EQ(op.call(table, data.data(), 3000), 12U);
    faults().disarm();
    EXPECT_EQ(data, words(3000, guard));
    const lines trace = trace_lines();
    EXPECT_EQ(trace[trace.size() - 2],
              detail_line(0, op.name + (growth_text + "cur_size 8388 new_size 12196"s)));
    EXPECT_EQ(trace.back(),
              detail_line(0, op.name + ": Failed to re-allocate DHS data buffer: errno = 12 (c)"s));
    // A read has sent its transaction before, and does so again.
    EXPECT_EQ(op.call(table, data.data(), 2048), 0U);
    EXPECT_EQ(fake().calls.back().length, 8388U);
    lines sent;
    for (const sent_call &call : fake().calls)
      sent.push_back(call.case_code == SYSSRV_MEM_WRITE_CASE ? call.as<kel_asic_xn_t>().name : "");
    EXPECT_EQ(sent, op.reads ? (lines{"mine", "<Interrupted>", ""}) : lines{""}) << op.name;
    EXPECT_STREQ(commit().name, op.reads ? "<Interrupted>" : "");
  }
}
