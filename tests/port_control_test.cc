// Port and queue control: what each operation sends, beside and inside a transaction.
#include <gtest/gtest.h>

#include <fstream>

#include "fake_platform.h"

namespace {

using lines = std::vector<std::string>;

constexpr const char *write_name = "lib_mrv_asic_write";
constexpr cardcfg_port_type_t hif = CARDCFG_PORT_TYPE_HIF, nif = CARDCFG_PORT_TYPE_NIF;

enum kind { command, timer, clear_drops };  // a command is written, and joins a transaction

constexpr struct operation {
  kind is;
  const char *name;
  syserr_t (*call)(int module, int asic);
  uint32_t addr, asic_field;  // of the request
  const char *success;        // what the trace tells of it
} operations[] = {
    {command, "lib_mrv_asic_link_pause_enable",
     [](int m, int a) { return lib_mrv_asic_link_pause_enable(m, a, hif, 5); }, 0xFFFFFFF8, 0x305,
     "lib_mrv_asic_write: sse call success: rreg 0xfffffff8 data 0x0"},
    {command, "lib_mrv_asic_link_pause_disable",
     [](int m, int a) { return lib_mrv_asic_link_pause_disable(m, a, nif, 7); }, 0xFFFFFFF4, 0x207,
     "lib_mrv_asic_write: sse call success: rreg 0xfffffff4 data 0x0"},
    {command, "lib_mrv_asic_set_nodrop_class_map",
     [](int m, int a) { return lib_mrv_asic_set_nodrop_class_map(m, a, 0x1FE); }, 0xFFFFFFFC, 0xFE,
     "lib_mrv_asic_write: sse call success: rreg 0xfffffffc data 0x0"},
    {command, "lib_mrv_asic_sfp_validation_failed",
     [](int m, int a) { return lib_mrv_asic_sfp_validation_failed(m, a, 0x155, 0x4002); },
     0xFFFFFFF0, 0x15502 | 0x4000,
     "lib_mrv_asic_write: sse call success: rreg 0xfffffff0 data 0x0"},
    {timer, "lib_mrv_asic_prog_sp_timer",
     [](int m, int a) {
       return lib_mrv_asic_prog_sp_timer(static_cast<uint8_t>(m), static_cast<uint8_t>(a), 0xFFFE);
     },
     0, 0, nullptr},
    {clear_drops, "lib_mrv_asic_clear_all_drop_counters",
     [](int, int) { return lib_mrv_asic_clear_all_drop_counters(); }, 0xFFFFFFE4, 0,
     "lib_mrv_asic_clear_all_drop_counters: sse call success: CLEAR_DROP_COUNTERS "}};

// The function that holds a line of the library's source.
std::string function_at(uint32_t number) {
  std::ifstream source(PORT_CONTROL_SOURCE);
  std::string line, function;
  for (uint32_t i = 0; i < number && std::getline(source, line); ++i) {
    if (line.rfind("syserr_t lib_", 0) == 0)
      function = line.substr(9, line.find('(') - 9);
    if (line == "}")
      function.clear();
  }
  return function;
}

void expect_request(const sent_call &call, const operation &op) {
  EXPECT_EQ(call.driver_id, 236U);
  EXPECT_EQ(call.length, 196U);
  EXPECT_EQ(call.case_code, op.is == timer ? 0x40000056 : SYSSRV_REG_WRITE_CASE);
  const uint32_t line = call.request().info.line;
  std::vector<uint32_t> expected =
      request_header(TYPE_WRITE, op.is == clear_drops ? 0 : 3, op.asic_field, op.addr, 0, ~0U, 0,
                     op.name, line, "asic/morvane/common/lib/morvaneusd_intf", 0);
  if (op.is == timer)
    expected = request_header(TYPE_READ, 3, 0, 0, 0xFFFE, 0, 0, "", 0, "", 0);
  EXPECT_EQ(call.header(), expected) << op.name;
  EXPECT_EQ(function_at(line), op.is == timer ? "" : op.name);
}

}  // namespace

TEST(PortControl, sends_one_request_and_traces_it) {
  initialise_with_trace();
  for (const int result : {0, -1}) {
    fake().fail_calls(result, 22);
    for (const operation &op : operations) {
      fake().calls.clear();
      faults().arm();
      EXPECT_EQ(op.call(3, 0), result == 0 ? 0 : 0x82230016);
      faults().disarm();
      EXPECT_EQ(faults().callocs + faults().reallocs, 0U);
      ASSERT_EQ(fake().calls.size(), 1U);
      expect_request(fake().calls[0], op);
      lines expected = {enter_line(op.name)};
      if (op.is == command)
        expected.push_back(enter_line(write_name));
      if (result == 0 && op.success != nullptr)
        expected.push_back(detail_line(op.asic_field, op.success));
      if (op.is == command)
        expected.push_back(exit_line(write_name));
      expected.push_back(exit_line(op.name));
      EXPECT_EQ(trace_lines(), expected);
    }
  }
  EXPECT_STREQ(fake().calls[0].request().info.func, "lib_mrv_asic_clear_all_drop_cou");
}

TEST(PortControl, a_command_joins_an_open_transaction_and_the_others_pass_it_by) {
  initialise();
  open_transaction();
  for (const operation &op : operations)
    EXPECT_EQ(op.call(2, 0), 0U);
  EXPECT_EQ(fake().calls.size(), 2U);
  const kel_asic_xn_t xn = commit();
  EXPECT_STREQ(xn.name, "mine");
  ASSERT_EQ(xn.num, 1 + 4);
  for (std::size_t i = 0; i < 4; ++i) {
    const kel_asic_xn_entry_t expected = {2, static_cast<int32_t>(operations[i].asic_field),
                                          operations[i].addr, 0, ~0U};
    EXPECT_EQ(std::memcmp(&xn.xn[1 + i], &expected, sizeof expected), 0) << operations[i].name;
  }
}

TEST(PortControl, refuses_without_sending) {
  for (const operation &op : operations)
    EXPECT_EQ(op.call(4, 9), SYSERR_KEL_ASIC_UNINIT);
  initialise_with_trace();
  const int bad[][2] = {{4, 0}, {-1, 0}, {0, 1}, {0, 4}, {0, -1}};
  for (const operation &op : operations) {
    for (const auto &[module, asic] : bad) {
      if (op.is == clear_drops)  // for module 0, ASIC 0, whatever a caller would say
        continue;
      EXPECT_EQ(op.call(module, asic), SYSERR_KEL_ASIC_INVALID_ARG);
      EXPECT_EQ(trace_lines(), lines{enter_line(op.name)});
    }
  }
  EXPECT_TRUE(fake().calls.empty());
  const struct {
    uint32_t port_type, port;
    bool exists;
  } ports[] = {{3, 0, true},  {3, 31, true}, {3, 32, false}, {3, 256, false}, {3, ~0U, false},
               {2, 0, true},  {2, 7, true},  {2, 8, false},  {2, 256, false}, {2, ~0U, false},
               {0, 0, false}, {1, 0, false}, {4, 0, false},  {~0U, 0, false}};
  for (const auto call : {lib_mrv_asic_link_pause_enable, lib_mrv_asic_link_pause_disable}) {
    for (const auto &p : ports) {
      fake().calls.clear();
      EXPECT_EQ(call(0, 0, static_cast<cardcfg_port_type_t>(p.port_type), p.port),
                p.exists ? 0 : syserr_t{SYSERR_KEL_ASIC_INVALID_ARG})
          << p.port_type << " " << p.port;
      EXPECT_EQ(trace_lines().size(), p.exists ? 5U : 1U);
      EXPECT_EQ(fake().calls.size(), p.exists ? 1U : 0U);
    }
  }
}
