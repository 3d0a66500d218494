// The trace: the switch, the log file, the line, and which lines the register operations write.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>

#include "fake_platform.h"

namespace {

using texts = std::vector<std::string>;

uint32_t value;

// Leaves the library uninitialised with its trace on.
void fail_initialisation() {
  faults().marker_file = true;
  faults().fail_calloc = 1;
  faults().arm();
  EXPECT_EQ(initialise(), 12U);
  faults().disarm();
  trace_lines();
}

}  // namespace

TEST(Trace, is_off_without_the_marker_file) {
  testing::internal::CaptureStdout();
  faults().marker_file = true;
  EXPECT_EQ(read_reg({}, &value), SYSERR_KEL_ASIC_UNINIT);
  EXPECT_EQ(kel_check_lib_debug(), 1);
  mrv_asic_transaction_commit();
  faults().marker_file = false;
  EXPECT_EQ(kel_check_lib_debug(), 0);
  initialise();
  faults().marker_file = true;
  EXPECT_EQ(read_reg({}, &value), 0U);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "LIB debug enabled:LIB debug disabled:LIB debug disabled:");
  EXPECT_NE(access(log_path().c_str(), F_OK), 0);
}

TEST(Trace, is_switched_off_by_a_later_initialisation) {
  fail_initialisation();
  faults().marker_file = false;
  EXPECT_EQ(initialise(), 0U);
  read_reg({}, &value);
  EXPECT_EQ(trace_lines(), texts{});
}

TEST(Trace, goes_to_standard_output_alone_without_a_log) {
  faults().marker_file = true;
  faults().fail_fopen = 1;
  faults().arm();
  testing::internal::CaptureStdout();
  EXPECT_EQ(initialise(), 0xFFFFFFFF);
  read_reg({}, &value);
  const std::string output = testing::internal::GetCapturedStdout();
  EXPECT_EQ(output.substr(0, 18), "LIB debug enabled:");
  EXPECT_EQ(output.substr(18 + 27), enter_line("lib_mrv_asic_read") + "\n\n");
  EXPECT_STREQ(faults().outputs, "s");
}

TEST(Trace, writes_each_line_to_standard_output_and_then_to_the_log) {
  std::ofstream(log_path()) << "an earlier process\n";
  faults().marker_file = true;
  setenv("TZ", "TST-5:30", 1);
  faults().arm();
  testing::internal::CaptureStdout();
  faults().seconds = 0x80000000;
  faults().microseconds = 7;
  initialise();
  ++faults().seconds;
  faults().microseconds = 999999;
  read_reg({}, &value);
  faults().seconds = INT64_MAX;  // of a year that no calendar has
  read_reg({}, &value);
  faults().disarm();

  std::istringstream log(log_text());
  std::string text, output = "LIB debug enabled:";
  std::getline(log, text);
  EXPECT_EQ(text, "an earlier process");
  for (int count = 0; count < 11; ++count) {
    std::getline(log, text);
    output += text + "\n\n";
    EXPECT_EQ(text.substr(0, 28), count < 3   ? "01/19/2038 08:44:08.000007 |"
                                  : count < 7 ? "01/19/2038 08:44:09.999999 |"
                                              : std::string(19, ' ') + ".999999 |");
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), output);
  EXPECT_STREQ(faults().outputs, "slslslslslslslslslslsl");
}

TEST(Trace, prints_what_a_caller_passes_as_it_is) {
  faults().marker_file = true;
  lib_mrv_asic_init(3, KEL_ASIC_DRIVER_MORVANE, 0, nullptr, 0, "%s%n%d");
  EXPECT_NE((trace_lines().front() + "\n").find(" : Caller %s%n%d\n"), std::string::npos);
  char file[] = "%n%s.c", name[] = "%s%n%x";
  const std::string rest = ": block HI vreg 0x5 base address 0x13020000 rreg 0x13020028 data 0x1";
  for (char *given : {file, static_cast<char *>(nullptr)}) {
    EXPECT_EQ(lib_mrv_asic_write(0, 0, KEL_ASIC_BLK_HI, 2, 5, 1, KEL_ASIC_WR_SYMBOLIC, 0, given, -1,
                                 nullptr),
              0U);
    EXPECT_EQ(trace_lines()[1],
              detail_line(0, (given == nullptr ? "(null)" : "%n%s.c") + (":4294967295" + rest)));
  }
  mrv_asic_transaction_start(name, 0);
  fake().fail_calls(1);
  mrv_asic_transaction_commit();
  EXPECT_EQ(trace_lines()[3],
            detail_line(0, "LIB: XN <%s%n%x/0> commit failure <rc=1>. asic_typ=Morvane <236>"));
}
