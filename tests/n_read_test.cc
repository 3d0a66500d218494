// Reads of runs of registers, and what all multi-word operations share: how an answer is taken,
// the transaction that a read interrupts, refusals, and the request buffer.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>

#include "fake_platform.h"

namespace {

using words = std::vector<uint32_t>;
using lines = std::vector<std::string>;

constexpr const char *growth_text = ": Re-allocate DHS data buffer: ";

// A table with entries of one word, so that the three operations count alike.
constexpr reg_place table = {0, 0, KEL_ASIC_BLK_HF, 1, HF_DHS_SVIF_MEM_OFFSET};
constexpr reg_place hole = {0, 0, KEL_ASIC_BLK_HR, 0, 26};

syserr_t n_read(const reg_place &a, uint32_t *p_data, uint32_t num_entries) {
  return lib_mrv_asic_n_read(a.module, a.asic, a.block, a.instance, a.vreg, p_data, num_entries,
                             CALLER);
}

template <decltype(lib_mrv_asic_read_dhs) access>
syserr_t dhs(const reg_place &a, uint32_t *p_data, uint32_t num_entries) {
  return access(a.module, a.asic, a.block, a.instance, a.vreg, 0, p_data, num_entries, CALLER);
}

constexpr struct operation {
  syserr_t (*call)(const reg_place &, uint32_t *p_data, uint32_t num_entries);
  const char *name;
  bool reads;
} operations[] = {{n_read, "lib_mrv_asic_n_read", true},
                  {dhs<lib_mrv_asic_read_dhs>, "lib_mrv_asic_read_dhs", true},
                  {dhs<lib_mrv_asic_write_dhs>, "lib_mrv_asic_write_dhs", false}};

// What the trace tells of the buffer's growth in a read of that many words.
std::string growth(uint32_t num_entries) {
  words data(num_entries);
  trace_lines();
  EXPECT_EQ(n_read(table, data.data(), num_entries), 0U);
  const std::string line = trace_lines()[2];
  const std::size_t at = line.find(growth_text);
  return at == std::string::npos ? "" : line.substr(at + std::strlen(growth_text));
}

}  // namespace

TEST(NRead, sends_one_request_and_traces_each_step) {
  initialise_with_trace();
  fake().answer_words(2, 0xAB);
  uint32_t data[3];
  EXPECT_EQ(n_read({3}, data, 3), 0U);
  ASSERT_EQ(fake().calls.size(), 1U);
  EXPECT_EQ(fake().calls[0].header(), request_header(TYPE_READ_DHS, 3, 0, 0x13020028, 0, ~0U, 3));
  EXPECT_EQ(fake().calls[0].driver_id, 236U);
  EXPECT_EQ(data[1], 0xACU);
  const std::string name = "lib_mrv_asic_n_read";
  lines expected = {
      enter_line(name),
      detail_line(0, name + ": block HI vreg 0x5 base address 0x13020000 rreg 0x13020028"),
      detail_line(0, name + ": index 1, read_data 0xab"),
      detail_line(0, name + ": index 2, read_data 0xac"), exit_line(name)};
  EXPECT_EQ(trace_lines(), expected);
  fake().fail_calls(1);
  n_read({3}, data, 3);
  expected.erase(expected.begin() + 2, expected.begin() + 4);
  EXPECT_EQ(trace_lines(), expected);
  n_read(hole, data, 1);
  EXPECT_EQ(trace_lines(),
            (lines{enter_line(name), detail_line(0, "Invalid vreg: block HR reg 26 (1a)")}));
}

TEST(MultiWordRead, writes_as_many_words_as_the_answer_counts_and_the_array_holds) {
  initialise();
  const struct {
    uint32_t num_entries, num;
    int result, written;
  } cases[] = {{4, 0, 0, 0},   {4, 3, 0, 3}, {4, 4, 0, 4},  {4, 5, 0, 4},
               {4, ~0U, 0, 4}, {0, 9, 0, 0}, {4, 4, -1, 0}, {4, 4, 1, 0}};
  for (const auto &c : cases) {
    fake().answer_words(c.num, 100);
    fake().answer = [&, answer = fake().answer](uint32_t case_code, void *record, uint32_t length) {
      answer(case_code, record, length);
      return c.result;
    };
    words expected = {100, 101, 102, 103, 0xDEADBEEF};
    std::fill(expected.begin() + c.written, expected.end(), 0xDEADBEEF);
    for (const operation &op : {operations[0], operations[1]}) {
      words data(5, 0xDEADBEEF);
      fake().calls.clear();
      EXPECT_EQ(op.call(table, data.data(), c.num_entries) == 0, c.result == 0);
      EXPECT_EQ(data, expected) << op.name << ", case " << &c - cases;
      ASSERT_EQ(fake().calls.size(), 1U);
      EXPECT_EQ(fake().calls[0].length, 196 + 4 * c.num_entries);
    }
  }
}

TEST(MultiWord, refuses_before_it_sends_anything_or_touches_a_transaction) {
  uint32_t word;
  for (const operation &op : operations)
    EXPECT_EQ(op.call({4, 9, KEL_ASIC_NUM_BLK, 0, 0}, nullptr, 1), SYSERR_KEL_ASIC_UNINIT);
  initialise_with_trace();
  open_transaction();
  trace_lines();
  for (const operation &op : operations) {
    const reg_place no_module = {4, 0, table.block, 1}, no_asic = {0, 1, table.block, 1};
    EXPECT_EQ(op.call(no_module, &word, 1), SYSERR_KEL_ASIC_INVALID_ARG);
    EXPECT_EQ(op.call(no_asic, &word, 1), SYSERR_KEL_ASIC_INVALID_ARG);
    EXPECT_EQ(op.call(hole, nullptr, 1), SYSERR_KEL_ASIC_INVALID_ARG);
    EXPECT_EQ(trace_lines(), lines(3, enter_line(op.name)));
    // A request of 2^32 bytes: refused behind the lines that tell the address.
    EXPECT_EQ(op.call(table, &word, 1073741775), SYSERR_KEL_ASIC_INVALID_ARG);
    EXPECT_EQ(trace_lines().size(), op.call == n_read ? 2U : 4U);
  }
  EXPECT_TRUE(fake().calls.empty());
  EXPECT_STREQ(commit().name, "mine");
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
}

TEST(RequestBuffer, stays_as_it_was_when_it_cannot_grow) {
  initialise_with_trace();
  faults().fail_realloc = 1;
  const std::string failure = ": Failed to re-allocate DHS data buffer: errno = 12 (c)";
  words data(2048);
  const std::pair<uint32_t, const char *> runs[] = {
      {3000, "cur_size 8388 new_size 12196"},
      {1073741774, "cur_size 8388 new_size -4"}};  // the longest that has a 32-bit size
  for (const auto &[num_entries, sizes] : runs) {
    for (const operation &op : operations) {
      if (op.reads)
        open_transaction();
      fake().calls.clear();
      faults().arm();
      EXPECT_EQ(op.call(table, data.data(), num_entries), 12U);
      faults().disarm();
      const lines trace = trace_lines();
      EXPECT_EQ(lines(trace.end() - 2, trace.end()),
                (lines{detail_line(0, op.name + (growth_text + std::string(sizes))),
                       detail_line(0, op.name + failure)}));
      // A read has sent its transaction before.
      EXPECT_EQ(fake().calls.size(), op.reads ? 1U : 0U);
      EXPECT_STREQ(commit().name, op.reads ? "<Interrupted>" : "");
      EXPECT_EQ(op.call(table, data.data(), 2048), 0U);
      EXPECT_EQ(fake().calls.back().length, 8388U);
    }
  }
}
