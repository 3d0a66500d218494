// Initialisation: what it asks of the platform, what it answers, and what state it leaves.
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>

#include "fake_platform.h"

namespace {

using texts = std::vector<std::string>;

// The state as the operations show it: what a read, a write, a raw write of either kind, and a
// command for a port answer.
using answers = std::array<syserr_t, 5>;
constexpr answers uninitialised = {0x4223002E, 0x42230003, 0x42230003, 0x42230003, 0x4223002E};
constexpr answers empty_slot = {0x42230003, 0x42230003, 0, 0, 0x42230003};
constexpr answers usable = {0, 0, 0, 0, 0};

answers operation_answers() {
  uint32_t value;
  answers result = {read_reg({}, &value), write_reg({}, 7), write_reg({}, 7, KEL_ASIC_WR_RAW),
                    write_field({}, 7, 1, KEL_ASIC_WR_RAW),
                    lib_mrv_asic_link_pause_enable(0, 0, CARDCFG_PORT_TYPE_HIF, 0)};
  trace_lines();
  return result;
}

// Expects what the last initialisation asked and traced, and the state that it left.
void expect_outcome(std::size_t queries, const texts &messages, const answers &state) {
  const texts all = {"cardcfg_card_get_sw_card_id(3)", "cardcfg_get_real_asic_type(3, 0)",
                     "morvane_lib_init(0x51, client.c, 42, client)",
                     "kel_asic_get_all_base_table(1)", "kel_asic_get_all_reg_table(1)"};
  EXPECT_EQ(fake().platform_calls, texts(all.begin(), all.begin() + static_cast<int>(queries)));
  fake().platform_calls.clear();
  texts lines;
  for (const std::string &message : messages)
    lines.push_back(detail_line(0, message));
  EXPECT_EQ(trace_lines(), lines);
  EXPECT_EQ(operation_answers(), state);
}

std::string begin(const std::string &caller = "client") {
  return "BEGIN LOG :  PID " + std::to_string(getpid()) + " : Caller " + caller;
}

constexpr const char *success = "LIB: init morvane <236>: syserr = 0 (0)";
constexpr const char *bad_asic = "LIB: init BAD ASIC type <10>: syserr = 1109590019 (42230003)";
constexpr const char *buffer = "LIB: DHS data buffer size: 8388 ";

// An initialisation must fail so and leave that state; once a card is known, it is for good.
void expect_failure(syserr_t result, std::size_t queries, const texts &messages,
                    const answers &state) {
  faults().marker_file = true;
  faults().arm();
  EXPECT_EQ(initialise(), result);
  faults().disarm();
  expect_outcome(queries, messages, state);
  fake().device_type = CARDCFG_DEV_TYPE_MORVANE;
  fake().map_result = 0;
  EXPECT_EQ(initialise(), 0U);
  if (state == empty_slot)
    expect_outcome(1, {"LIB: init already done. asic_typ=Morvane <236>"}, empty_slot);
  else
    expect_outcome(5, {begin(), success, buffer}, usable);
}

}  // namespace

TEST(InitFailure, without_a_log_file) {
  faults().fail_fopen = 1;
  expect_failure(0xFFFFFFFF, 1, {}, uninitialised);
}

TEST(InitFailure, without_the_end_of_the_log) {
  faults().fail_fseek = 1;
  expect_failure(0xFFFFFFFF, 1, {"SEEK_END failed"}, uninitialised);
}

TEST(InitFailure, without_memory) {
  faults().fail_calloc = 1;
  const char *line = "LIB: Failed to allocate DHS data buffer: errno = 12 (c)";
  expect_failure(12, 5, {begin(), success, line}, uninitialised);
}

TEST(InitFailure, on_a_card_with_another_asic) {
  fake().device_type = 6;
  expect_failure(SYSERR_KEL_ASIC_INVALID_ARG, 2, {begin(), bad_asic}, empty_slot);
}

TEST(InitFailure, on_a_silent_card) {
  fake().device_query_fails = fake().sw_card_query_fails = true;
  expect_failure(SYSERR_KEL_ASIC_INVALID_ARG, 2, {begin(), bad_asic}, empty_slot);
}

TEST(InitFailure, of_the_register_map) {
  fake().map_result = 0x80000001;
  const char *line = "LIB: init morvane <236>: syserr = -2147483647 (80000001)";
  expect_failure(0x80000001, 3, {begin(), line}, empty_slot);
}

TEST(InitFailure, of_the_register_map_with_the_code_of_no_memory) {
  fake().map_result = 12;
  expect_failure(12, 3, {begin(), "LIB: init morvane <236>: syserr = 12 (c)"}, empty_slot);
}

TEST(Init, keeps_the_first_of_two) {
  EXPECT_EQ(operation_answers(), uninitialised);
  faults().marker_file = true;
  EXPECT_EQ(initialise(), 0U);
  expect_outcome(5, {begin(), success, buffer}, usable);
  fake().device_type = 0;
  faults().arm();
  EXPECT_EQ(lib_mrv_asic_init(3, 5, CALLER), 0U);
  EXPECT_EQ(faults().callocs + faults().fopens + faults().fseeks, 0U);
  expect_outcome(1, {"LIB: init already done. asic_typ=BAD ASIC type <5>"}, usable);
  EXPECT_EQ(fake().calls.back().driver_id, KEL_ASIC_DRIVER_MORVANE);
}

TEST(Init, takes_any_driver_id_and_caller_on_a_morvane_card) {
  faults().marker_file = true;
  EXPECT_EQ(lib_mrv_asic_init(3, 0xFFFFFFFF, 0, nullptr, 0, nullptr), 0U);
  EXPECT_EQ(trace_lines().front(), detail_line(0, begin("(null)")));
  EXPECT_EQ(operation_answers(), usable);
  EXPECT_EQ(fake().calls.back().driver_id, 0xFFFFFFFFU);
}

TEST(Init, converts_asic_types) {
  for (uint32_t type : {0U, 7U, 10U, 235U, 236U, 237U, 0xFFFFFFFFU}) {
    EXPECT_STREQ(kel_get_driver_string(type), type == 236 ? "Morvane" : "BAD ASIC type");
    EXPECT_EQ(kel_get_asic_type(type), type == 7 ? 236U : 10U);
    EXPECT_EQ(kel_get_cardcfg_asic_type(type), type == 236 ? 7U : 10U);
  }
}
