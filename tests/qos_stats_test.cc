// QoS statistics: the request to the byte, and what comes back of it.
#include <gtest/gtest.h>

#include <cerrno>
#include <numeric>

#include "fake_platform.h"

namespace {

using lines = std::vector<std::string>;
using bytes = std::vector<uint8_t>;

// The caller's record, between two that it did not give.
kel_asic_qos_stats_t records[3];

bytes record_bytes() {
  const auto *first = reinterpret_cast<const uint8_t *>(records);
  return {first, first + sizeof records};
}

// What an earlier function leaves on the stack must not be sent.
__attribute__((noinline)) void litter_stack() {
  volatile char litter[4096];
  for (volatile char &byte : litter)
    byte = 'X';
}

constexpr auto port_type = static_cast<cardcfg_port_type_t>(0x70605040);
constexpr uint32_t opts = 0x0A0B0C0D;

constexpr struct operation {
  const char *name;
  syserr_t (*call)(cardcfg_module_id_t, cardcfg_dev_id_t);
  uint8_t header[13];  // of the request, from type to port
} operations[] = {
    {"lib_mrv_asic_clear_qos_stats",
     [](uint8_t m, uint8_t a) { return lib_mrv_asic_clear_qos_stats(m, a, port_type, 200, opts); },
     {1, 0, 0, 0, 3, 0, 0, 0, 0x40, 0x50, 0x60, 0x70, 200}},
    {"lib_mrv_asic_clear_all_qos_stats",
     [](uint8_t m, uint8_t a) { return lib_mrv_asic_clear_all_qos_stats(m, a, opts); },
     {2, 0, 0, 0, 3}},
    {"lib_mrv_asic_get_qos_stats",
     [](uint8_t m, uint8_t a) {
       return lib_mrv_asic_get_qos_stats(m, a, port_type, 200, &records[1], opts);
     },
     {0, 0, 0, 0, 3, 0, 0, 0, 0x40, 0x50, 0x60, 0x70, 200}}};

}  // namespace

TEST(QosStats, sends_its_arguments_and_zeros_and_takes_the_answer_to_a_get_that_succeeds) {
  initialise_with_trace();
  open_transaction();
  trace_lines();
  bytes stats = record_bytes();  // as they must be
  for (const int result : {-1, 1, 0}) {
    fake().answer = [=](uint32_t, void *record, uint32_t length) {
      auto *first = static_cast<uint8_t *>(record);
      std::iota(first, first + length, uint8_t{1});
      errno = EIO;
      return result;
    };
    for (const operation &op : operations) {
      EXPECT_EQ(record_bytes(), stats);
      litter_stack();
      EXPECT_EQ(op.call(3, 0), result == 0 ? 0 : 0x82230005);
      EXPECT_EQ(trace_lines(), (lines{enter_line(op.name), exit_line(op.name)}));
      bytes request(std::begin(op.header), std::end(op.header));
      request.resize(1136);
      request.insert(request.end(), {0x0D, 0x0C, 0x0B, 0x0A});
      EXPECT_EQ(fake().calls.back().bytes, request) << op.name;
      EXPECT_EQ(fake().calls.back().case_code, SYSSRV_MEM_READ_CASE);
    }
  }
  const auto answered = stats.begin() + sizeof records[0];
  std::iota(answered, answered + sizeof records[0], uint8_t{17});
  EXPECT_EQ(record_bytes(), stats);
  EXPECT_EQ(fake().calls.size(), 3U * 3U);
  fake().answer = nullptr;
  EXPECT_EQ(commit().num, 1);
}

TEST(QosStats, refuses_without_sending) {
  for (const operation &op : operations)
    EXPECT_EQ(op.call(4, 9), SYSERR_KEL_ASIC_UNINIT);
  initialise_with_trace();
  for (const operation &op : operations) {
    EXPECT_EQ(op.call(4, 0), SYSERR_KEL_ASIC_INVALID_ARG);
    EXPECT_EQ(op.call(0, 1), SYSERR_KEL_ASIC_INVALID_ARG);
    EXPECT_EQ(trace_lines(), lines(2, enter_line(op.name)));
  }
  EXPECT_EQ(lib_mrv_asic_get_qos_stats(0, 0, port_type, 0, nullptr, 0),
            SYSERR_KEL_ASIC_INVALID_ARG);
  EXPECT_TRUE(fake().calls.empty());
}
