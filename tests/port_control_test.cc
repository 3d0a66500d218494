// Port and queue control: what each operation sends, beside and inside a transaction.
#include <gtest/gtest.h>

#include <fstream>

#include "fake_platform.h"

namespace {

using lines = std::vector<std::string>;

const std::string library_path = "asic/morvane/common/lib/morvaneusd_intf";
constexpr cardcfg_port_type_t hif = CARDCFG_PORT_TYPE_HIF, nif = CARDCFG_PORT_TYPE_NIF;

// The operations with module and ASIC; those that take neither cannot be refused for them.
const struct operation {
  std::string name;
  syserr_t (*call)(int module, int asic);
  uint32_t command, asic_field;
} operations[] = {
    {"lib_mrv_asic_link_pause_enable",
     [](int m, int a) { return lib_mrv_asic_link_pause_enable(m, a, hif, 5); }, 0xFFFFFFF8, 0x305},
    {"lib_mrv_asic_link_pause_disable",
     [](int m, int a) { return lib_mrv_asic_link_pause_disable(m, a, nif, 7); }, 0xFFFFFFF4, 0x207},
    {"lib_mrv_asic_set_nodrop_class_map",
     [](int m, int a) { return lib_mrv_asic_set_nodrop_class_map(m, a, 0x1FE); }, 0xFFFFFFFC, 0xFE},
    {"lib_mrv_asic_sfp_validation_failed",
     [](int m, int a) { return lib_mrv_asic_sfp_validation_failed(m, a, 0x155, 0x4002); },
     0xFFFFFFF0, 0x15502 | 0x4000},
    {"lib_mrv_asic_prog_sp_timer",
     [](int m, int a) {
       return lib_mrv_asic_prog_sp_timer(static_cast<uint8_t>(m), static_cast<uint8_t>(a), 0xFFFE);
     },
     0, 0},
    {"lib_mrv_asic_clear_all_drop_counters",
     [](int, int) { return lib_mrv_asic_clear_all_drop_counters(); }, 0xFFFFFFE4, 0}};
constexpr std::size_t commands = 4, timer = 4, drops = 5;  // commands join a transaction

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

}  // namespace

TEST(PortControl, sends_one_request) {
  initialise();
  for (const operation &op : operations) {
    fake().calls.clear();
    faults().arm();
    EXPECT_EQ(op.call(3, 0), 0u);
    faults().disarm();
    EXPECT_EQ(faults().callocs + faults().reallocs, 0u);
    ASSERT_EQ(fake().calls.size(), 1u);
    const sent_call &call = fake().calls[0];
    EXPECT_EQ(call.driver_id, 236u);
    EXPECT_EQ(call.length, 196u);
    if (&op == &operations[timer]) {
      EXPECT_EQ(call.case_code, SYSSRV_SP_TIME_CONFIGURE);
      EXPECT_EQ(call.header(), request_header(TYPE_READ, 3, 0, 0, 0xFFFE, 0, 0, "", 0, "", 0));
      continue;
    }
    EXPECT_EQ(call.case_code, SYSSRV_REG_WRITE_CASE);
    const uint32_t line = call.request().info.line;
    EXPECT_EQ(function_at(line), op.name);
    EXPECT_EQ(call.header(),
              request_header(TYPE_WRITE, &op == &operations[drops] ? 0 : 3, op.asic_field,
                             op.command, 0, ~0u, 0, op.name.c_str(), line, library_path.c_str(), 0))
        << op.name;
  }
  EXPECT_STREQ(fake().calls[0].request().info.func, "lib_mrv_asic_clear_all_drop_cou");
}

TEST(PortControl, a_command_joins_an_open_transaction_and_the_others_pass_it_by) {
  initialise();
  open_transaction();
  for (const operation &op : operations)
    EXPECT_EQ(op.call(2, 0), 0u);
  EXPECT_EQ(fake().calls.size(), 2u);
  const kel_asic_xn_t xn = commit();
  EXPECT_STREQ(xn.name, "mine");
  ASSERT_EQ(xn.num, 1 + static_cast<int>(commands));
  for (std::size_t i = 0; i < commands; ++i) {
    const kel_asic_xn_entry_t expected = {2, static_cast<int32_t>(operations[i].asic_field),
                                          operations[i].command, 0, ~0u};
    EXPECT_EQ(std::memcmp(&xn.xn[1 + i], &expected, sizeof expected), 0) << operations[i].name;
  }
}

TEST(PortControl, refuses_without_sending) {
  for (const operation &op : operations)
    EXPECT_EQ(op.call(4, 9), SYSERR_KEL_ASIC_UNINIT);
  initialise_with_trace();
  const int bad[][2] = {{4, 0}, {-1, 0}, {0, 1}, {0, 4}, {0, -1}};
  for (const operation &op : operations) {
    if (&op == &operations[drops])
      continue;
    for (const auto &[module, asic] : bad) {
      EXPECT_EQ(op.call(module, asic), SYSERR_KEL_ASIC_INVALID_ARG);
      EXPECT_EQ(trace_lines(), lines{enter_line(op.name)});
    }
  }
  const struct {
    uint32_t port_type, port;
    bool accepted;
  } ports[] = {{3, 0, true},  {3, 31, true}, {3, 32, false}, {3, 256, false}, {3, ~0u, false},
               {2, 0, true},  {2, 7, true},  {2, 8, false},  {2, 256, false}, {2, ~0u, false},
               {0, 0, false}, {1, 0, false}, {4, 0, false},  {~0u, 0, false}};
  std::size_t accepted = 0;
  for (const auto call : {lib_mrv_asic_link_pause_enable, lib_mrv_asic_link_pause_disable}) {
    for (const auto &p : ports) {
      accepted += p.accepted;
      EXPECT_EQ(call(0, 0, static_cast<cardcfg_port_type_t>(p.port_type), p.port),
                p.accepted ? 0 : syserr_t{SYSERR_KEL_ASIC_INVALID_ARG})
          << p.port_type << " " << p.port;
      EXPECT_EQ(trace_lines().size(), p.accepted ? 5u : 1u);
      EXPECT_EQ(fake().calls.size(), accepted);
    }
  }
}

TEST(PortControl, traces_the_write_inside_its_own_lines) {
  initialise_with_trace();
  const std::string write = "lib_mrv_asic_write";
  for (const int result : {0, -1}) {
    fake().fail_calls(result, 22);
    for (const operation &op : operations) {
      EXPECT_EQ(op.call(0, 0), result == 0 ? 0 : 0x82230016);
      lines expected = {enter_line(op.name)};
      if (op.command != 0 && &op != &operations[drops]) {
        expected.push_back(enter_line(write));
        if (result == 0) {
          std::ostringstream success;
          success << std::hex << write << ": sse call success: rreg 0x" << op.command
                  << " data 0x0";
          expected.push_back(detail_line(op.asic_field, success.str()));
        }
        expected.push_back(exit_line(write));
      } else if (result == 0 && &op == &operations[drops]) {
        expected.push_back(detail_line(0, op.name + ": sse call success: CLEAR_DROP_COUNTERS "));
      }
      expected.push_back(exit_line(op.name));
      EXPECT_EQ(trace_lines(), expected);
    }
  }
}
