// Port and queue control: what each operation sends, beside and inside a transaction.
#include <gtest/gtest.h>

#include <set>

#include "fake_platform.h"

namespace {

using lines = std::vector<std::string>;

constexpr cardcfg_port_type_t hif = CARDCFG_PORT_TYPE_HIF, nif = CARDCFG_PORT_TYPE_NIF;

enum kind { command, timer, clear_drops };  // a command is written, and joins a transaction

constexpr struct operation {
  kind is;
  const char *name;
  syserr_t (*call)(int module, int asic);
  uint32_t addr, asic_field;  // of the request
} operations[] = {
    {command, "lib_mrv_asic_link_pause_enable",
     [](int m, int a) { return lib_mrv_asic_link_pause_enable(m, a, hif, 5); }, 0xFFFFFFF8, 0x305},
    {command, "lib_mrv_asic_link_pause_disable",
     [](int m, int a) { return lib_mrv_asic_link_pause_disable(m, a, nif, 7); }, 0xFFFFFFF4, 0x207},
    {command, "lib_mrv_asic_set_nodrop_class_map",
     [](int m, int a) { return lib_mrv_asic_set_nodrop_class_map(m, a, 0x1FE); }, 0xFFFFFFFC, 0xFE},
    {command, "lib_mrv_asic_sfp_validation_failed",
     [](int m, int a) { return lib_mrv_asic_sfp_validation_failed(m, a, 0x155, 0x4002); },
     0xFFFFFFF0, 0x15502 | 0x4000},
    {timer, "lib_mrv_asic_prog_sp_timer",
     [](int m, int a) {
       return lib_mrv_asic_prog_sp_timer(static_cast<uint8_t>(m), static_cast<uint8_t>(a), 0xFFFE);
     },
     0, 0},
    {clear_drops, "lib_mrv_asic_clear_all_drop_counters",
     [](int, int) { return lib_mrv_asic_clear_all_drop_counters(); }, 0xFFFFFFE4, 0}};

// The request must be the operation's; gives the line of the library that it names.
uint32_t expect_request(const sent_call &call, const operation &op) {
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
  return line;
}

}  // namespace

TEST(PortControl, sends_one_request_and_traces_it) {
  initialise_with_trace();
  lines trace;
  std::set<uint32_t> source_lines;
  for (const int result : {-1, 0}) {
    fake().fail_calls(result);
    for (const operation &op : operations) {
      fake().calls.clear();
      EXPECT_EQ(op.call(3, 0) == 0, result == 0);
      ASSERT_EQ(fake().calls.size(), 1U);
      source_lines.insert(expect_request(fake().calls[0], op));
      trace = trace_lines();
      EXPECT_EQ(trace.front(), enter_line(op.name));
      EXPECT_EQ(trace.back(), exit_line(op.name));
      // A success has a line more, and a command those of its write.
      EXPECT_EQ(trace.size(), op.is == timer ? 2U : (op.is == command ? 4U : 2U) + (result == 0));
    }
  }
  EXPECT_EQ(source_lines.size(), 6U);  // one for each operation, the timer's 0
  const std::string success = ": sse call success: CLEAR_DROP_COUNTERS ";
  EXPECT_EQ(trace[1], detail_line(0, "lib_mrv_asic_clear_all_drop_counters" + success));
}

TEST(PortControl, a_command_joins_an_open_transaction_and_the_others_pass_it_by) {
  initialise();
  open_transaction();
  for (const operation &op : operations)
    EXPECT_EQ(op.call(2, 0), 0U);
  EXPECT_EQ(fake().calls.size(), 2U);
  const kel_asic_xn_t xn = commit();
  ASSERT_EQ(xn.num, 1 + 4);
  for (std::size_t i = 0; i < 4; ++i) {
    const auto port_word = static_cast<int32_t>(operations[i].asic_field);
    const kel_asic_xn_entry_t expected = {2, port_word, operations[i].addr, 0, ~0U};
    EXPECT_EQ(std::memcmp(&xn.xn[1 + i], &expected, sizeof expected), 0) << operations[i].name;
  }
}

TEST(PortControl, refuses_without_sending) {
  for (const operation &op : operations)
    EXPECT_EQ(op.call(4, 9), SYSERR_KEL_ASIC_UNINIT);
  initialise_with_trace();
  for (const operation &op : operations) {
    if (op.is == clear_drops)  // for module 0, ASIC 0, whatever a caller would say
      continue;
    for (const auto &[module, asic] : {std::pair(4, 0), {0, 1}, {0, -1}})
      EXPECT_EQ(op.call(module, asic), SYSERR_KEL_ASIC_INVALID_ARG);
    EXPECT_EQ(trace_lines(), lines(3, enter_line(op.name)));
  }
  const struct {
    uint32_t port_type, ports;
  } cases[] = {{0, 0}, {1, 0}, {nif, 8}, {hif, 32}, {4, 0}, {~0U, 0}};
  for (const auto call : {lib_mrv_asic_link_pause_enable, lib_mrv_asic_link_pause_disable}) {
    for (const auto &c : cases) {
      for (const uint32_t port : {0U, 7U, 8U, 31U, 32U, 256U, ~0U}) {
        EXPECT_EQ(call(0, 0, static_cast<cardcfg_port_type_t>(c.port_type), port),
                  port < c.ports ? 0 : syserr_t{SYSERR_KEL_ASIC_INVALID_ARG})
            << c.port_type << " " << port;
      }
    }
  }
  EXPECT_EQ(fake().calls.size(), 2U * (2 + 4));
}
