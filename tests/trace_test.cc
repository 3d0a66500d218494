// The trace: the switch, the log file, the line to the byte, and which lines the operations write.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <regex>

#include "fake_platform.h"

namespace {

using lines = std::vector<std::string>;

uint32_t value;

syserr_t read(int module, kel_asic_num_t asic, kel_asic_blk_t block, uint32_t instance,
              kel_asic_reg_t vreg, uint32_t *data = &value) {
  return lib_mrv_asic_read(module, asic, block, instance, vreg, data, CALLER);
}

syserr_t write(int module, kel_asic_num_t asic, kel_asic_blk_t block, uint32_t instance,
               kel_asic_reg_t vreg, uint32_t code = KEL_ASIC_WR_SYMBOLIC) {
  return lib_mrv_asic_write(module, asic, block, instance, vreg, 0xDA, code, CALLER);
}

syserr_t write_field(int module, kel_asic_num_t asic, kel_asic_blk_t block, uint32_t instance,
                     kel_asic_reg_t vreg, uint32_t mask = 0xF0,
                     uint32_t code = KEL_ASIC_WR_SYMBOLIC) {
  return lib_mrv_asic_write_field(module, asic, block, instance, vreg, 0xDA, mask, code, CALLER);
}

std::string date_text(time_t seconds) {
  char text[32];
  std::strftime(text, sizeof text, "%m/%d/%Y %H:%M:%S", std::localtime(&seconds));
  return text;
}

std::string caller_line(const std::string &caller) {
  return detail_line(0, "BEGIN LOG :  PID " + std::to_string(getpid()) + " : Caller " + caller);
}

}  // namespace

TEST(Trace, is_off_without_the_marker_file) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(kel_check_lib_debug(), 0);
  initialise();
  faults().marker_file = true;
  EXPECT_EQ(kel_check_lib_debug(), 1);
  read(0, 0, KEL_ASIC_BLK_HI, 2, 5);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "LIB debug disabled:LIB debug disabled:LIB debug enabled:");
  EXPECT_NE(access(log_path().c_str(), F_OK), 0);
}

TEST(Trace, is_off_before_initialisation) {
  faults().marker_file = true;
  testing::internal::CaptureStdout();
  EXPECT_EQ(read(0, 0, KEL_ASIC_BLK_HI, 2, 5), SYSERR_KEL_ASIC_UNINIT);
  mrv_asic_transaction_commit();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(Trace, is_switched_off_by_a_later_initialisation) {
  faults().marker_file = true;
  faults().fail_calloc = 1;
  faults().arm();
  EXPECT_EQ(initialise(), 12u);
  faults().disarm();
  faults().marker_file = false;
  trace_lines();
  EXPECT_EQ(initialise(), 0u);
  read(0, 0, KEL_ASIC_BLK_HI, 2, 5);
  EXPECT_EQ(trace_lines(), lines{});
}

TEST(Trace, goes_to_standard_output_alone_without_a_log) {
  faults().marker_file = true;
  faults().fail_fopen = 1;
  faults().arm();
  testing::internal::CaptureStdout();
  EXPECT_EQ(initialise(), 0xFFFFFFFF);
  read(0, 0, KEL_ASIC_BLK_HI, 2, 5);
  EXPECT_TRUE(std::regex_match(testing::internal::GetCapturedStdout(),
                               std::regex("LIB debug enabled:.{26} \\|t\\|  0 \\|   : "
                                          "lib_mrv_asic_read: Enter\n\n")));
  EXPECT_STREQ(faults().outputs, "s");
}

TEST(Trace, writes_each_line_to_standard_output_and_then_to_the_log) {
  std::ofstream(log_path()) << "an earlier process\n";
  faults().marker_file = true;
  setenv("TZ", "TST-5:30", 1);
  faults().arm();
  testing::internal::CaptureStdout();
  const time_t before = std::time(nullptr);
  initialise();
  read(0, 0, KEL_ASIC_BLK_HI, 2, 5);
  const time_t after = std::time(nullptr);
  faults().disarm();

  std::istringstream log(log_text());
  std::string text, output = "LIB debug enabled:";
  std::getline(log, text);
  EXPECT_EQ(text, "an earlier process");
  const std::regex columns(R"((.{19})\.\d{6} \|[tl]\|  0 \|   : \S.*)");
  std::size_t count = 0;
  for (; std::getline(log, text); ++count) {
    output += text + "\n\n";
    std::smatch match;
    ASSERT_TRUE(std::regex_match(text, match, columns)) << text;
    EXPECT_GE(match[1].str(), date_text(before));
    EXPECT_LE(match[1].str(), date_text(after));
  }
  EXPECT_EQ(count, 7u);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), output);
  EXPECT_STREQ(faults().outputs, "slslslslslslsl");
}

TEST(Trace, follows_the_clock) {
  initialise_with_trace();
  const std::string first = log_text().substr(0, 26);
  usleep(1'100'000);
  read(0, 0, KEL_ASIC_BLK_HI, 2, 5);
  const std::string text = log_text(), last = text.substr(text.rfind('\n', text.size() - 2) + 1);
  EXPECT_LT(first.substr(0, 19), last.substr(0, 19));
}

TEST(Trace, cuts_a_long_caller_name) {
  faults().marker_file = true;
  const std::string name(300, 'n');
  lib_mrv_asic_init(3, KEL_ASIC_DRIVER_MORVANE, 0, nullptr, 0, name.c_str());
  const std::string line = log_text().substr(0, log_text().find('\n') + 1);
  EXPECT_EQ(line.size(), 191u);
  EXPECT_EQ(line.substr(27), caller_line(name).substr(0, 163) + "\n");
}

TEST(Trace, prints_what_a_caller_passes_as_it_is) {
  faults().marker_file = true;
  lib_mrv_asic_init(3, KEL_ASIC_DRIVER_MORVANE, 0, nullptr, 0, "%s%n%d");
  EXPECT_EQ(trace_lines().front(), caller_line("%s%n%d"));
  char file[] = "%n%s.c", name[] = "%s%n%x";
  lib_mrv_asic_write(0, 0, KEL_ASIC_BLK_HI, 2, 5, 0xDA, KEL_ASIC_WR_SYMBOLIC, 0, file, -1, "");
  EXPECT_EQ(trace_lines()[1], detail_line(0,
                                          "%n%s.c:4294967295: block HI vreg 0x5 base address "
                                          "0x13020000 rreg 0x13020028 data 0xda"));
  mrv_asic_transaction_start(name, 0);
  fake().fail_calls(1);
  mrv_asic_transaction_commit();
  EXPECT_EQ(trace_lines()[3],
            detail_line(0, "LIB: XN <%s%n%x/0> commit failure <rc=1>. asic_typ=Morvane <236>"));
}

TEST(Trace, survives_null_texts) {
  faults().marker_file = true;
  EXPECT_EQ(lib_mrv_asic_init(3, KEL_ASIC_DRIVER_MORVANE, 0, nullptr, 0, nullptr), 0u);
  EXPECT_EQ(trace_lines().front(), caller_line("(null)"));
  EXPECT_EQ(lib_mrv_asic_write(0, 0, KEL_ASIC_BLK_HI, 2, 5, 1, KEL_ASIC_WR_SYMBOLIC, 0, nullptr, 7,
                               nullptr),
            0u);
  EXPECT_EQ(trace_lines()[1], detail_line(0,
                                          "(null):7: block HI vreg 0x5 base address 0x13020000 "
                                          "rreg 0x13020028 data 0x1"));
}

TEST(Trace, follows_each_step_of_an_operation) {
  initialise_with_trace();
  const std::string r = "lib_mrv_asic_read", w = "lib_mrv_asic_write",
                    f = "lib_mrv_asic_write_field",
                    address = ": block HI vreg 0x5 base address 0x13020000 rreg 0x13020028";
  const std::string hole = detail_line(0, "Invalid vreg: block HR reg 26 (1a)");
  const lines refused_write = {enter_line(w), exit_line(w)};
  const lines refused_field = {enter_line(f), exit_line(f)};
  constexpr auto HI = KEL_ASIC_BLK_HI, HR = KEL_ASIC_BLK_HR, none = KEL_ASIC_NUM_BLK;
  constexpr auto raw = KEL_ASIC_WR_RAW;

  // The service answers with values of its own, which the last line of an operation shows.
  fake().answer = [](uint32_t, void *record, uint32_t) {
    auto *request = static_cast<kel_asic_reg_access_params_t *>(record);
    request->data += 1;
    request->mask -= 1;
    return 0;
  };
  const struct {
    std::function<syserr_t()> operation;
    lines expected;
  } rows[] = {
      {[] { return read(0, 0, HI, 2, 5); },
       {enter_line(r), detail_line(0, r + address),
        detail_line(0, r + ": sse call success: rreg 0x13020028 data 0x1"), exit_line(r)}},
      {[] { return read(4, 0, HI, 2, 5); }, {enter_line(r)}},
      {[] { return read(0, 1, HI, 2, 5); }, {enter_line(r)}},
      {[] { return read(0, 0, none, 2, 5); }, {enter_line(r)}},
      {[] { return read(0, 0, HI, 32, 5); }, {enter_line(r)}},
      {[] { return read(0, 0, HI, 2, 1584); }, {enter_line(r)}},
      {[] { return read(0, 0, HR, 2, 26, nullptr); }, {enter_line(r)}},
      {[] { return read(0, 0, HR, 2, 26); }, {enter_line(r), hole}},
      {[] { return write(0, 0, HI, 2, 5); },
       {enter_line(w), detail_line(0, "client.c:42" + address + " data 0xda"),
        detail_line(0, w + ": sse call success: rreg 0x13020028 data 0xdb"), exit_line(w)}},
      {[] { return write(0, 0xFFFF0001, none, 99, 0x1234, raw); },
       {enter_line(w), detail_line(0xFFFF0001, w + ": sse call success: rreg 0x1234 data 0xdb"),
        exit_line(w)}},
      {[] { return write(4, 0, HI, 2, 5, raw); }, refused_write},
      {[] { return write(0, 1, HI, 2, 5); }, refused_write},
      {[] { return write(0, 0, none, 2, 5); }, refused_write},
      {[] { return write(0, 0, HI, 32, 5); }, refused_write},
      {[] { return write(0, 0, HI, 2, 1584); }, refused_write},
      {[] { return write(0, 0, HR, 2, 26); }, {enter_line(w), hole, exit_line(w)}},
      {[] { return write_field(0, 0, HI, 2, 5); },
       {enter_line(f), detail_line(0, f + address),
        detail_line(0, f + ": sse call success: rreg 0x13020028 data 0xdbmask 0xef"),
        exit_line(f)}},
      {[] { return write_field(0, 12, none, 99, 0x1234, 0xF0, raw); },
       {enter_line(f), detail_line(12, f + ": sse call success: rreg 0x1234 data 0xdbmask 0xef"),
        exit_line(f)}},
      {[] { return write_field(-1, 0, HI, 2, 5, 0xF0, raw); }, refused_field},
      {[] { return write_field(0, 4, HI, 2, 5); }, refused_field},
      {[] { return write_field(0, 0, HR, 2, 26, 0); }, refused_field},
      {[] { return write_field(0, 0, HR, 2, 26); }, {enter_line(f), hole, exit_line(f)}},
  };
  for (const auto &row : rows) {
    row.operation();
    EXPECT_EQ(trace_lines(), row.expected);
  }

  fake().fail_calls(-1, EIO);
  read(0, 0, HI, 2, 5);
  EXPECT_EQ(trace_lines(), (lines{enter_line(r), detail_line(0, r + address), exit_line(r)}));
  write(0, 0, HI, 2, 5, raw);
  EXPECT_EQ(trace_lines(), refused_write);
  write_field(0, 0, HI, 2, 5, 0, raw);
  EXPECT_EQ(trace_lines(), refused_field);
}

TEST(Trace, shows_operations_before_a_usable_initialisation) {
  faults().marker_file = true;
  faults().fail_calloc = 1;
  faults().arm();
  initialise();
  faults().disarm();
  trace_lines();
  read(0, 0, KEL_ASIC_BLK_HI, 2, 5);
  EXPECT_EQ(trace_lines(), lines{enter_line("lib_mrv_asic_read")});
  write(0, 0, KEL_ASIC_BLK_HI, 2, 5);
  EXPECT_EQ(trace_lines(),
            (lines{enter_line("lib_mrv_asic_write"), exit_line("lib_mrv_asic_write")}));
  write_field(0, 0, KEL_ASIC_BLK_HI, 2, 5);
  EXPECT_EQ(trace_lines(),
            (lines{enter_line("lib_mrv_asic_write_field"), exit_line("lib_mrv_asic_write_field")}));
}
