// Initialisation: what it asks of the platform, what it answers, and what state it leaves.
#include <gtest/gtest.h>
#include <unistd.h>

#include <ostream>

#include "fake_platform.h"

namespace {

const std::vector<std::string> all_queries = {
    "cardcfg_card_get_sw_card_id(3)", "cardcfg_get_real_asic_type(3, 0)",
    "morvane_lib_init(0x51, client.c, 42, client)", "kel_asic_get_all_base_table(1)",
    "kel_asic_get_all_reg_table(1)"};

// The first so many of them, as one initialisation makes them.
std::vector<std::string> queries(std::size_t count) {
  return {all_queries.begin(), all_queries.begin() + static_cast<std::ptrdiff_t>(count)};
}

std::vector<std::string> take_platform_calls() {
  return std::move(fake().platform_calls);
}

// The state as the other operations show it: what a read, a write and a raw write answer.
using answers = std::vector<syserr_t>;
const answers uninitialised = {SYSERR_KEL_ASIC_UNINIT, SYSERR_KEL_ASIC_INVALID_ARG,
                               SYSERR_KEL_ASIC_INVALID_ARG};
const answers empty_slot = {SYSERR_KEL_ASIC_INVALID_ARG, SYSERR_KEL_ASIC_INVALID_ARG, 0};
const answers usable = {0, 0, 0};

answers operation_answers() {
  uint32_t value;
  answers result = {
      lib_mrv_asic_read(0, 0, KEL_ASIC_BLK_HI, 2, 5, &value, CALLER),
      lib_mrv_asic_write(0, 0, KEL_ASIC_BLK_HI, 2, 5, 7, KEL_ASIC_WR_SYMBOLIC, CALLER),
      lib_mrv_asic_write(0, 0, KEL_ASIC_BLK_HI, 2, 5, 7, KEL_ASIC_WR_RAW, CALLER)};
  trace_lines();
  return result;
}

const std::string begin_log = "BEGIN LOG :  PID " + std::to_string(getpid()) + " : Caller client";
const std::string init_ok = "LIB: init morvane <236>: syserr = 0 (0)";
const std::string buffer_size = "LIB: DHS data buffer size: 8388 ";

std::vector<std::string> detail_lines(const std::vector<std::string> &messages) {
  std::vector<std::string> lines;
  for (const std::string &message : messages)
    lines.push_back(detail_line(0, message));
  return lines;
}

struct failure {
  const char *name;
  void (*prepare)();
  syserr_t result;
  std::vector<std::string> trace;
  std::size_t queries;
  bool done;  // no later call tries again
};

std::ostream &operator<<(std::ostream &out, const failure &row) {
  return out << row.name;
}

class InitFailure : public testing::TestWithParam<failure> {};

const failure failures[] = {
    {"no_log_file", [] { faults().fail_fopen = 1; }, 0xFFFFFFFF, {}, 1, false},
    {"no_log_end", [] { faults().fail_fseek = 1; }, 0xFFFFFFFF, {"SEEK_END failed"}, 1, false},
    {"no_memory",
     [] { faults().fail_calloc = 1; },
     12,
     {begin_log, init_ok, "LIB: Failed to allocate DHS data buffer: errno = 12 (c)"},
     5,
     false},
    {"another_asic",
     [] { fake().device_type = 6; },
     SYSERR_KEL_ASIC_INVALID_ARG,
     {begin_log, "LIB: init BAD ASIC type <10>: syserr = 1109590019 (42230003)"},
     2,
     true},
    {"no_answer_from_the_card",
     [] { fake().device_query_fails = fake().sw_card_query_fails = true; },
     SYSERR_KEL_ASIC_INVALID_ARG,
     {begin_log, "LIB: init BAD ASIC type <10>: syserr = 1109590019 (42230003)"},
     2,
     true},
    {"register_map_code",
     [] { fake().map_result = 0x80000001; },
     0x80000001,
     {begin_log, "LIB: init morvane <236>: syserr = -2147483647 (80000001)"},
     3,
     true},
    {"register_map_code_12",  // unlike the library's own 12
     [] { fake().map_result = 12; },
     12,
     {begin_log, "LIB: init morvane <236>: syserr = 12 (c)"},
     3,
     true},
};

}  // namespace

TEST_P(InitFailure, leaves_its_state) {
  const failure &row = GetParam();
  row.prepare();
  faults().marker_file = true;
  faults().arm();
  EXPECT_EQ(initialise(), row.result);
  faults().disarm();
  EXPECT_EQ(trace_lines(), detail_lines(row.trace));
  EXPECT_EQ(take_platform_calls(), queries(row.queries));
  EXPECT_EQ(operation_answers(), row.done ? empty_slot : uninitialised);

  fake().device_type = CARDCFG_DEV_TYPE_MORVANE;
  fake().map_result = 0;
  EXPECT_EQ(initialise(), 0u);
  EXPECT_EQ(trace_lines(),
            detail_lines(row.done ? std::vector<std::string>{"LIB: init already done. "
                                                             "asic_typ=Morvane <236>"}
                                  : std::vector<std::string>{begin_log, init_ok, buffer_size}));
  EXPECT_EQ(take_platform_calls(), queries(row.done ? 1 : 5));
  EXPECT_EQ(operation_answers(), row.done ? empty_slot : usable);
}

INSTANTIATE_TEST_SUITE_P(Init, InitFailure, testing::ValuesIn(failures));

TEST(Init, asks_the_platform_in_order) {
  EXPECT_EQ(operation_answers(), uninitialised);
  EXPECT_EQ(initialise(), 0u);
  EXPECT_EQ(fake().platform_calls, all_queries);
  EXPECT_EQ(operation_answers(), usable);
}

TEST(Init, keeps_the_first_of_two) {
  faults().marker_file = true;
  initialise();
  EXPECT_EQ(trace_lines(), detail_lines({begin_log, init_ok, buffer_size}));
  take_platform_calls();
  fake().device_type = 0;
  faults().arm();
  EXPECT_EQ(lib_mrv_asic_init(255, 5, CALLER), 0u);
  EXPECT_EQ(faults().callocs + faults().fopens + faults().fseeks, 0u);
  EXPECT_EQ(trace_lines(), detail_lines({"LIB: init already done. asic_typ=BAD ASIC type <5>"}));
  EXPECT_EQ(take_platform_calls(), std::vector<std::string>{"cardcfg_card_get_sw_card_id(255)"});
  EXPECT_EQ(operation_answers(), usable);
  EXPECT_EQ(fake().calls.back().driver_id, KEL_ASIC_DRIVER_MORVANE);
}

TEST(Init, takes_any_driver_id_on_a_morvane_card) {
  EXPECT_EQ(lib_mrv_asic_init(3, 0xFFFFFFFF, 0, nullptr, 0, nullptr), 0u);
  EXPECT_EQ(operation_answers(), usable);
  EXPECT_EQ(fake().calls.back().driver_id, 0xFFFFFFFFu);
}

TEST(Init, converts_asic_types) {
  const struct {
    uint32_t type;
    const char *driver_string;
    uint32_t driver_id, device_type;
  } rows[] = {{236, "Morvane", 10, 7},        {7, "BAD ASIC type", 236, 10},
              {0, "BAD ASIC type", 10, 10},   {10, "BAD ASIC type", 10, 10},
              {235, "BAD ASIC type", 10, 10}, {0xFFFFFFFF, "BAD ASIC type", 10, 10}};
  for (const auto &row : rows) {
    EXPECT_STREQ(kel_get_driver_string(row.type), row.driver_string) << row.type;
    EXPECT_EQ(kel_get_asic_type(row.type), row.driver_id) << row.type;
    EXPECT_EQ(kel_get_cardcfg_asic_type(row.type), row.device_type) << row.type;
  }
}
