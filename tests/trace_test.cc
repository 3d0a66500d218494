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
  faults().disarm();

  std::istringstream log(log_text());
  std::string text, output = "LIB debug enabled:";
  std::getline(log, text);
  EXPECT_EQ(text, "an earlier process");
  for (int count = 0; count < 7; ++count) {
    std::getline(log, text);
    output += text + "\n\n";
    EXPECT_EQ(text.substr(0, 28),
              count < 3 ? "01/19/2038 08:44:08.000007 |" : "01/19/2038 08:44:09.999999 |");
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), output);
  EXPECT_STREQ(faults().outputs, "slslslslslslsl");
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

TEST(Trace, follows_each_step_of_an_operation) {
  const std::string r = "lib_mrv_asic_read", w = "lib_mrv_asic_write",
                    f = "lib_mrv_asic_write_field",
                    address = ": block HI vreg 0x5 base address 0x13020000 rreg 0x13020028",
                    done = ": sse call success: rreg 0x13020028 data 0x",
                    raw_done = ": sse call success: rreg 0x1234 data 0x",
                    hole = "Invalid vreg: block HR reg 26 (1a)";
  const auto expect_trace = [](const std::string &operation, uint32_t asic, const texts &details,
                               bool exit) {
    texts expected = {enter_line(operation)};
    for (const std::string &detail : details)
      expected.push_back(detail_line(asic, detail));
    if (exit)
      expected.push_back(exit_line(operation));
    EXPECT_EQ(trace_lines(), expected);
  };
  // A read that is refused has no exit line.
  const auto expect_traces = [&](const reg_place &place, bool refused, const texts &read,
                                 const texts &write, const texts &field,
                                 uint32_t code = KEL_ASIC_WR_SYMBOLIC) {
    read_reg(place, &value);
    expect_trace(r, place.asic, read, !refused);
    write_reg(place, 0xDA, code);
    expect_trace(w, place.asic, write, true);
    write_field(place, 0xDA, 0xF0, code);
    expect_trace(f, place.asic, field, true);
  };

  fail_initialisation();
  expect_traces({}, true, {}, {}, {});
  initialise();
  trace_lines();

  // The service's answer is what the last line of an operation shows.
  fake().answer = [](uint32_t, void *record, uint32_t) {
    auto *request = static_cast<kel_asic_reg_access_params_t *>(record);
    request->data += 1;
    request->mask -= 1;
    return 0;
  };
  expect_traces({}, false, {r + address, r + done + "1"},
                {"client.c:42" + address + " data 0xda", w + done + "db"},
                {f + address, f + done + "dbmask 0xef"});
  expect_traces({0, 0xFFFF0001, KEL_ASIC_NUM_BLK, 99, 0x1234}, true, {}, {w + raw_done + "db"},
                {f + raw_done + "dbmask 0xef"}, KEL_ASIC_WR_RAW);
  fake().fail_calls(-1, EIO);
  expect_traces({}, false, {r + address}, {"client.c:42" + address + " data 0xda"}, {f + address});

  constexpr reg_place in_hole = {0, 0, KEL_ASIC_BLK_HR, 2, 26};
  expect_traces(in_hole, true, {hole}, {hole}, {hole});
  read_reg(in_hole, nullptr);
  expect_trace(r, 0, {}, false);
  write_field(in_hole, 1, 0);
  expect_trace(f, 0, {}, true);
  for (const reg_place &place : {reg_place{4},
                                 {-1},
                                 {0, 1},
                                 {0, 4},
                                 {0, 0, KEL_ASIC_NUM_BLK},
                                 {0, 0, KEL_ASIC_BLK_HI, 32},
                                 {0, 0, KEL_ASIC_BLK_HI, 2, 1584}})
    expect_traces(place, true, {}, {}, {});
}
