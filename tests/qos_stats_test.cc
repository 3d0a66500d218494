// QoS statistics: the request to the byte, and what comes back of it.
#include <gtest/gtest.h>

#include <cerrno>
#include <numeric>

#include "fake_platform.h"

namespace {

using lines = std::vector<std::string>;
using bytes = std::vector<uint8_t>;

// The caller's record, between bytes that are not its own.
struct {
  uint32_t before = 0xDEADBEEF;
  kel_asic_qos_stats_t stats;
  uint32_t after = 0xDEADBEEF;
} caller;

bytes bytes_of_caller() {
  const auto *first = reinterpret_cast<const uint8_t *>(&caller);
  return {first, first + sizeof caller};
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
     {2, 0, 0, 0, 3, 0, 0, 0, 0, 0, 0, 0, 0}},
    {"lib_mrv_asic_get_qos_stats",
     [](uint8_t m, uint8_t a) {
       return lib_mrv_asic_get_qos_stats(m, a, port_type, 200, &caller.stats, opts);
     },
     {0, 0, 0, 0, 3, 0, 0, 0, 0x40, 0x50, 0x60, 0x70, 200}}};

}  // namespace

TEST(QosStats, sends_its_arguments_and_zeros_beside_an_open_transaction) {
  initialise_with_trace();
  open_transaction();
  trace_lines();
  for (const operation &op : operations) {
    fake().calls.clear();
    faults().arm();
    litter_stack();
    EXPECT_EQ(op.call(3, 0), 0U);
    faults().disarm();
    EXPECT_EQ(faults().callocs + faults().reallocs, 0U);
    EXPECT_EQ(trace_lines(), (lines{enter_line(op.name), exit_line(op.name)}));
    ASSERT_EQ(fake().calls.size(), 1U);
    EXPECT_EQ(fake().calls[0].case_code, SYSSRV_MEM_READ_CASE);
    EXPECT_EQ(fake().calls[0].driver_id, 236U);
    bytes expected(std::begin(op.header), std::end(op.header));
    expected.resize(1140);
    for (uint8_t i = 0; i < 4; ++i)
      expected[1136U + i] = static_cast<uint8_t>(0x0D - i);
    EXPECT_EQ(fake().calls[0].bytes, expected) << op.name;
  }
  EXPECT_EQ(commit().num, 1);
}

TEST(QosStats, a_get_that_succeeds_is_all_that_writes_the_statistics) {
  initialise_with_trace();
  const bytes untouched = bytes_of_caller();
  const struct {
    int result, error_number;
    syserr_t code;
  } cases[] = {{-1, 0x1234, 0x82230234}, {1, 22, 0x82230005}, {0, 22, 0}};
  for (const auto &c : cases) {
    fake().answer = [&](uint32_t, void *record, uint32_t length) {
      auto *first = static_cast<uint8_t *>(record);
      std::iota(first, first + length, uint8_t{1});
      errno = c.error_number;
      return c.result;
    };
    for (const operation &op : operations) {
      EXPECT_EQ(bytes_of_caller(), untouched);
      EXPECT_EQ(op.call(0, 0), c.code);
      EXPECT_EQ(trace_lines(), (lines{enter_line(op.name), exit_line(op.name)}));
    }
  }
  bytes expected = untouched;
  std::iota(expected.begin() + 4, expected.end() - 4, uint8_t{17});
  EXPECT_EQ(bytes_of_caller(), expected);
}

TEST(QosStats, refuses_without_sending) {
  for (const operation &op : operations)
    EXPECT_EQ(op.call(4, 9), SYSERR_KEL_ASIC_UNINIT);
  initialise_with_trace();
  const struct {
    cardcfg_module_id_t module;
    cardcfg_dev_id_t asic;
  } cases[] = {{4, 0}, {255, 0}, {0, 1}, {0, 4}, {3, 255}};
  for (const operation &op : operations) {
    for (const auto &c : cases) {
      EXPECT_EQ(op.call(c.module, c.asic), SYSERR_KEL_ASIC_INVALID_ARG);
      EXPECT_EQ(trace_lines(), lines{enter_line(op.name)});
    }
  }
  EXPECT_EQ(lib_mrv_asic_get_qos_stats(0, 0, CARDCFG_PORT_TYPE_HIF, 0, nullptr, 0),
            SYSERR_KEL_ASIC_INVALID_ARG);
  EXPECT_EQ(trace_lines(), lines{enter_line("lib_mrv_asic_get_qos_stats")});
  EXPECT_TRUE(fake().calls.empty());
}
