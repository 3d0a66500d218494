// The trace: its marker file, its two outputs, and the line.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>

#include "fake_platform.h"

namespace {

uint32_t value;

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
  faults().marker_file = faults().fail_calloc = true;
  faults().arm();
  EXPECT_EQ(initialise(), 12U);
  faults().disarm();
  faults().marker_file = false;
  trace_lines();
  EXPECT_EQ(initialise(), 0U);
  read_reg({}, &value);
  EXPECT_TRUE(trace_lines().empty());
}

TEST(Trace, goes_to_standard_output_alone_without_a_log) {
  faults().marker_file = faults().fail_fopen = true;
  faults().arm();
  testing::internal::CaptureStdout();
  EXPECT_EQ(initialise(), 0xFFFFFFFF);
  read_reg({}, &value);
  const std::string output = testing::internal::GetCapturedStdout();
  EXPECT_EQ(output.substr(0, 18), "LIB debug enabled:");
  EXPECT_EQ(output.substr(18 + 27), "|t|  0 |   : lib_mrv_asic_read: Enter\n\n");
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
  const std::string rest =
      ":4294967295: block HI vreg 0x5 base address 0x13020000 rreg 0x13020028 data 0x1";
  for (char *given : {file, static_cast<char *>(nullptr)}) {
    EXPECT_EQ(lib_mrv_asic_write(0, 0, KEL_ASIC_BLK_HI, 2, 5, 1, KEL_ASIC_WR_SYMBOLIC, 0, given, -1,
                                 nullptr),
              0U);
    EXPECT_EQ(trace_lines()[1],
              (given == nullptr ? "|l|  0 |   : (null)" : "|l|  0 |   : %n%s.c") + rest);
  }
  mrv_asic_transaction_start(name, 0);
  fake().answer = [](uint32_t, void *, uint32_t) { return 1; };
  mrv_asic_transaction_commit();
  EXPECT_EQ(trace_lines()[3],
            "|l|  0 |   : LIB: XN <%s%n%x/0> commit failure <rc=1>. asic_typ=Morvane <236>");
}

TEST(Trace, changes_no_result_if_it_cannot_be_written) {
  faults().marker_file = true;
  faults().log_path = "/dev/full";
  const int output = dup(STDOUT_FILENO), full = open("/dev/full", O_WRONLY);
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  dup2(full, STDOUT_FILENO);
  const syserr_t initialised = initialise(), on_a_full_disk = read_reg({}, &value);
  close(STDOUT_FILENO);
  const syserr_t without_an_output = read_reg({}, &value);
  dup2(output, STDOUT_FILENO);
  EXPECT_EQ(initialised | on_a_full_disk | without_an_output, 0U);
  EXPECT_EQ(fake().calls.size(), 2U);
}
