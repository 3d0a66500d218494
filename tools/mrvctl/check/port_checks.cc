// Checks of the port operations: QoS statistics, link pause, and what has to be asked for by name.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <functional>

#include "asic/port_reference.h"
#include "asic/qos_counters.h"
#include "check/check_table.h"
#include "check/isolation.h"
#include "check/register_map_query.h"
#include "check/requests.h"
#include "host/platform_library.h"
#include "text/text.h"
#include "virtual_platform.h"

namespace mrvctl {
namespace {

constexpr auto kNoPortType = static_cast<cardcfg_port_type_t>(200);

struct QosAnswer {
  CallResult result;
  kel_asic_qos_stats_t stats;
};

// Asks for the statistics of a port, in a record whose statistics are full of one byte.
QosAnswer ask_qos(const CheckTarget &subject, kel_asic_qos_stats_type_t type, const Port &port,
                  uint8_t fill_pattern = 0) {
  const GuardedMemory memory = statistics_request(subject.asic, port);
  auto &request = *static_cast<kel_asic_qos_stats_params_t *>(memory.data());
  request.type = type;
  std::fill_n(reinterpret_cast<uint8_t *>(&request.stats), sizeof request.stats, fill_pattern);
  const CallResult result = send_record(SYSSRV_MEM_READ_CASE, memory);
  return {result, request.stats};
}

kel_asic_qos_stats_t statistics(const CheckTarget &subject, uint8_t fill_pattern = 0) {
  const QosAnswer answer = ask_qos(subject, QOS_STATS_GET, *subject.port, fill_pattern);
  expect_success(answer.result, "a request for the statistics of the port");
  return answer.stats;
}

using StatisticsBytes = std::array<uint8_t, sizeof(kel_asic_qos_stats_t)>;

StatisticsBytes bytes_of(const kel_asic_qos_stats_t &stats) {
  StatisticsBytes bytes;
  std::copy_n(reinterpret_cast<const uint8_t *>(&stats), bytes.size(), bytes.begin());
  // Padding, which the service need not answer.
  constexpr size_t kPadding[] = {
      offsetof(kel_asic_qos_pause_stats_t, flow_ctrl) + 2,
      offsetof(kel_asic_qos_pause_stats_t, flow_ctrl) + 3,
      offsetof(kel_asic_qos_pause_stats_t, tx_xoff_status) + 1,
      offsetof(kel_asic_qos_pause_stats_t, tx_xoff_status) + 2,
  };
  for (const size_t offset : kPadding)
    bytes[offsetof(kel_asic_qos_stats_t, pause) + offset] = 0;
  return bytes;
}

void answers_all_statistics(const CheckTarget &subject) {
  constexpr uint8_t kFillings[] = {0x5A, 0xA5};
  const StatisticsBytes one = bytes_of(statistics(subject, kFillings[0]));
  const StatisticsBytes other = bytes_of(statistics(subject, kFillings[1]));
  for (size_t i = 0; i < one.size(); ++i) {
    require(one[i] != kFillings[0] || other[i] != kFillings[1],
            "every field of the statistics answered", format("byte %zu as it was sent", i));
  }
}

kel_asic_xn_entry_t link_pause_command(const morvane::asic &asic, const Port &port, bool enable) {
  const uint32_t word = asic.number << 16 | port.type << 8 | port.number;
  return {asic.module, static_cast<int32_t>(word),
          enable ? KEL_ASIC_CMD_LINK_PAUSE_ENABLE : KEL_ASIC_CMD_LINK_PAUSE_DISABLE, 0, UINT32_MAX};
}

// Clients recognise a missing port by the error.
void expect_lacking(const CheckTarget &subject, const Port &port, const std::vector<int> &errors) {
  const CallResult result = ask_qos(subject, QOS_STATS_GET, port).result;
  const std::string what = "statistics of port " + port_text(port);
  expect_refusal(result, what);
  require(std::count(errors.begin(), errors.end(), result.error_number) > 0,
          what + " refused as of a port that is not there", result_text(result));
}

void refuses_missing_ports(const CheckTarget &subject) {
  statistics(subject);  // a valid call is accepted
  const kel_asic_limits_t limits = query_register_map().limits;
  for (const auto type : {CARDCFG_PORT_TYPE_HIF, CARDCFG_PORT_TYPE_NIF}) {
    const uint32_t first = *max_ports(limits, type);
    if (first < kPortNumbers)
      expect_lacking(subject, {type, first}, {ENXIO, ENODEV});
  }
  expect_lacking(subject, {kNoPortType, 0}, {ENXIO, ENODEV, EINVAL});
}

// Valid calls of these kinds are accepted in the checks of link pause and of the clear.
void refuses_writes_to_missing_ports(const CheckTarget &subject) {
  const std::optional<uint32_t> ports = max_ports(query_register_map().limits, subject.port->type);
  if (!ports || *ports == kPortNumbers)
    throw skipped("every port of the type exists");
  const Port missing = {subject.port->type, *ports};
  statistics(subject);
  expect_refusal(ask_qos(subject, QOS_STATS_CLEAR, missing).result, "a clear of a missing port");
  const kel_asic_xn_entry_t command = link_pause_command(subject.asic, missing, true);
  expect_refusal(Request(TYPE_WRITE, command).send(), "link pause of a missing port");
  expect_refusal(send_transaction({command}, 1), "link pause of a missing port, in a transaction");
}

uint64_t counted_frames(const kel_asic_qos_stats_t &stats) {
  return counter_sum(stats.ss_dhs.wr_rcvd_cnt, kClasses) +
         counter_sum(stats.ss_dhs.rd_sent_cnt, kClasses);
}

uint64_t counted_drops(const kel_asic_qos_stats_t &stats) {
  return counter_sum(stats.drops.n2h_drops[0], kGridCells) +
         counter_sum(stats.drops.h2n_drops[0], kGridCells);
}

// Lets the port count something, on a platform with the control for traffic.
void make_traffic(const CheckTarget &subject) {
  const vp_traffic traffic = {VP_N2H, 0, 100, 10};
  if (platform_symbol("vp_add_traffic") != nullptr)
    control<decltype(vp_add_traffic)>("vp_add_traffic")(
        static_cast<uint32_t>(subject.asic.module), subject.asic.number,
        static_cast<cardcfg_port_type_t>(subject.port->type), subject.port->number, &traffic);
}

void send_request(const kel_asic_xn_entry_t &command) {
  Request(TYPE_WRITE, command).expect_success("a command");
}

void send_as_field_write(const kel_asic_xn_entry_t &command) {
  Request(TYPE_WRITE_FIELD, command)
      .expect_success("a command sent as a field write under the full mask");
}

// A clear that succeeds. Traffic may go on, but what was counted before is gone.
void expect_cleared(const CheckTarget &subject, uint64_t (*counted)(const kel_asic_qos_stats_t &),
                    const std::function<void()> &clear) {
  make_traffic(subject);
  const uint64_t before = counted(statistics(subject));
  if (before == 0)
    throw skipped("the port has counted nothing that could be cleared");
  clear();
  const uint64_t after = counted(statistics(subject));
  require(after < before, "fewer than " + std::to_string(before) + " counted after a clear",
          std::to_string(after));
}

void clears_a_port(const CheckTarget &subject) {
  expect_cleared(subject, counted_frames, [&] {
    expect_success(ask_qos(subject, QOS_STATS_CLEAR, *subject.port).result, "a clear of the port");
  });
}

void clears_every_port(const CheckTarget &subject) {
  expect_cleared(subject, counted_frames, [&] {
    expect_success(ask_qos(subject, QOS_STATS_CLEAR_ALL, *subject.port).result,
                   "a clear of every port");
  });
}

void clears_drop_counters(const CheckTarget &subject) {
  expect_cleared(subject, counted_drops, [&] {
    send_request({subject.asic.module, static_cast<int32_t>(subject.asic.number << 16),
                  KEL_ASIC_CMD_CLEAR_DROP_COUNTERS, 0, UINT32_MAX});
  });
}

port_flow_ctrl_t flow_control(const CheckTarget &subject) {
  return statistics(subject).pause.flow_ctrl;
}

// Sends both commands. Link pause is put back as it was found.
void expect_obeyed(const CheckTarget &subject, void (*send)(const kel_asic_xn_entry_t &command)) {
  const Port &port = *subject.port;
  if (port.type != CARDCFG_PORT_TYPE_HIF && port.type != CARDCFG_PORT_TYPE_NIF)
    throw skipped("only host and network ports have link pause");
  subject.found->keep(link_pause_command(subject.asic, port, flow_control(subject) != 0));
  for (const bool enable : {true, false, true}) {
    send(link_pause_command(subject.asic, port, enable));
    const uint32_t seen = flow_control(subject);
    require(seen == enable, format("flow control %d after a command", enable),
            std::to_string(seen));
  }
}

void takes_commands_in_requests(const CheckTarget &subject) {
  expect_obeyed(subject, send_request);
}

void takes_commands_in_transactions(const CheckTarget &subject) {
  expect_obeyed(subject, [](const kel_asic_xn_entry_t &command) {
    commit({command}, "a transaction of a command");
  });
}

// Link pause is enabled at the end of the valid commands.
void takes_no_masked_command(const CheckTarget &subject) {
  expect_obeyed(subject, send_as_field_write);
  kel_asic_xn_entry_t masked = link_pause_command(subject.asic, *subject.port, false);
  masked.mask = 0xFF;
  const auto expect_no_command = [&](const CallResult &result, const char *what) {
    expect_refusal(result, what);
    require(flow_control(subject) == 1, std::string(what) + " taken as no command",
            "it was obeyed");
  };
  expect_no_command(Request(TYPE_WRITE_FIELD, masked).send(),
                    "a field write at the address of a command");
  expect_no_command(send_transaction({masked}, 1), "an entry under a mask at such an address");
}

void refuses_commands_for_unknown_asics(const CheckTarget &subject) {
  expect_obeyed(subject, send_request);
  for (const morvane::asic &asic : unknown_asics(subject.asic)) {
    if (asic.number > UINT16_MAX)
      continue;  // the port word has no room for it
    const auto command = link_pause_command(asic, *subject.port, false);
    const std::string what = "link pause at " + asic_text(asic);
    expect_refusal(Request(TYPE_WRITE, command).send(), what);
    expect_refusal(send_transaction({command}, 1), what + ", in a transaction");
  }
}

void programs_the_sp_timer(const CheckTarget &subject) {
  const Request request(TYPE_READ, Registers(subject.asic).entry(0), 0, *subject.sp_timer);
  expect_success(send_record(SYSSRV_SP_TIME_CONFIGURE, request.memory()), "the SP timer");
}

void refuses_wrong_lengths_of_the_timer(const CheckTarget &subject) {
  programs_the_sp_timer(subject);
  constexpr kel_asic_reg_access_params_t timer = {};  // of type 0
  for (const uint32_t length : wrong_lengths(sizeof(kel_asic_reg_access_params_t))) {
    expect_refusal(send_record(SYSSRV_SP_TIME_CONFIGURE, {timer, length}),
                   format("an SP timer record of %u bytes", length));
  }
}

}  // namespace

std::vector<Check> port_checks() {
  return {
      {"the statistics of a port are answered completely", "P22", kPort, answers_all_statistics},
      {"a port that does not exist is refused as such", "P23", kPort, refuses_missing_ports},
      {"a clear or a command for a port that does not exist is refused", "P23", kPort,
       refuses_writes_to_missing_ports},
      {"a clear clears the statistics of a port", "P22", kPort, clears_a_port},
      {"link pause is a command in a request", "P25", kPort, takes_commands_in_requests},
      {"link pause is a command in a transaction", "P25", kPort, takes_commands_in_transactions},
      {"a field write is a command only under the full mask", "P25", kPort,
       takes_no_masked_command},
      {"a command for a module or ASIC that does not exist is refused", "P23", kPort,
       refuses_commands_for_unknown_asics},
      {"a clear of every port clears this one", "P22", kPort | kAllPorts, clears_every_port},
      {"a clear of the drop counters is a command", "P25", kPort | kAllPorts, clears_drop_counters},
      {"the SP timer is programmed", "P22", kSpTimer, programs_the_sp_timer},
      {"an SP timer record of a wrong length is refused", "P23", kSpTimer,
       refuses_wrong_lengths_of_the_timer},
  };
}

}  // namespace mrvctl
