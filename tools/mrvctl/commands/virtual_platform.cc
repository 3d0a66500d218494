// fail, delay, card, traffic and state: the controls of the virtual platform.
#include "virtual_platform.h"

#include <cerrno>
#include <cstring>

#include "commands/commands.h"
#include "host/platform_library.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr uint32_t kMaxDelay = 24 * 3600 * 1000;  // milliseconds

struct NumberArgs {
  uint32_t number = 0;
};

void run_fail(Session &session, const NumberArgs &args) {
  const auto error_number = static_cast<int>(args.number);
  control<decltype(vp_fail_next_call)>("vp_fail_next_call")(error_number);
  const std::string name = errno_name(error_number);
  session.report.result(
      {{"errno", args.number}, {"name", name}},
      "the next service call fails with " + name + " (" + std::strerror(error_number) + ")\n");
}

struct DelayArgs {
  uint32_t milliseconds = 0;
  uint32_t calls = 1;
};

void run_delay(Session &session, const DelayArgs &args) {
  control<decltype(vp_delay_calls)>("vp_delay_calls")(args.milliseconds, args.calls);
  session.report.result(
      {{"milliseconds", args.milliseconds}, {"calls", args.calls}},
      format("%s %u ms longer\n",
             args.calls == 1 ? "the next service call takes"
                             : format("the next %u service calls take", args.calls).c_str(),
             args.milliseconds));
}

void run_card(Session &session, const NumberArgs &args) {
  const int error = control<decltype(vp_set_card)>("vp_set_card")(
      CARDCFG_DEV_TYPE_MORVANE, static_cast<uint16_t>(args.number));
  if (error != 0)
    throw OperationFailed(std::strerror(error));
  session.report.result({{"sw_card_id", args.number}},
                        format("software card identifier %u\n", args.number));
}

struct TrafficArgs {
  Port port;
  uint32_t traffic_class = 0;
  uint64_t frames = 0;
  uint64_t excess = 0;
  std::string direction = "n2h";
};

void check_traffic(TrafficArgs &args) {
  args.direction = lower_case(args.direction);
  if (args.direction != "n2h" && args.direction != "h2n")
    throw UsageError("'" + args.direction + "' is not a direction: n2h or h2n");
  if (args.excess > args.frames)
    throw UsageError("more excess than frames");
}

void run_traffic(Session &session, const TrafficArgs &args) {
  const vp_direction direction = args.direction == "h2n" ? VP_H2N : VP_N2H;
  const vp_traffic traffic = {direction, args.traffic_class, args.frames, args.excess};
  const int error = control<decltype(vp_add_traffic)>("vp_add_traffic")(
      session.module, session.asic, static_cast<cardcfg_port_type_t>(args.port.type),
      args.port.number, &traffic);
  const std::string port = port_text(args.port);
  if (error == ENXIO)
    throw OperationFailed(format("module %u, ASIC %u has no port ", session.module, session.asic) +
                          port);
  if (error != 0)
    throw OperationFailed(std::strerror(error));
  session.report.result(
      {{"port", port},
       {"direction", args.direction},
       {"class", args.traffic_class},
       {"frames", args.frames},
       {"excess", args.excess}},
      port + format(": %llu frames of class %u %s, %llu of them in excess\n",
                    static_cast<unsigned long long>(args.frames), args.traffic_class,
                    args.direction.c_str(), static_cast<unsigned long long>(args.excess)));
}

void run_state(Session &session) {
  vp_asic_state state = {};
  const auto show = control<decltype(vp_asic_show)>("vp_asic_show");
  const uint16_t sw_card_id = control<decltype(vp_sw_card_id)>("vp_sw_card_id")();
  const int error = show(session.module, session.asic, &state);
  if (error == ENXIO)
    throw OperationFailed(format("there is no module %u, ASIC %u", session.module, session.asic));
  if (error != 0)
    throw OperationFailed(std::strerror(error));
  std::string text = format(
      "software card identifier  %u\nno-drop class map         0x%02x\n"
      "SP timer                  %u\nclears of drop counters   %u\n"
      "SFP failures reported     %u",
      sw_card_id, state.nodrop_class_map, state.sp_timer, state.drop_clears, state.sfp_failures);
  const bool failed = state.sfp_failures > 0;
  const std::string last_port = port_text(state.last_sfp_port_type, state.last_sfp_port);
  if (failed)
    text += ", the last on " + last_port;
  session.report.result({{"sw_card_id", sw_card_id},
                         {"nodrop_class_map", state.nodrop_class_map},
                         {"sp_timer", state.sp_timer},
                         {"drop_clears", state.drop_clears},
                         {"sfp_failures", state.sfp_failures},
                         {"last_sfp_port", failed ? Json(last_port) : Json()}},
                        text + "\n");
}

void describe_fail(Arguments &arguments, NumberArgs &args) {
  const auto parse = [](const std::string &text) {
    return static_cast<uint32_t>(parse_errno(text));
  };
  arguments.parsed("ERRNO", args.number, parse, "Name, like ETIMEDOUT, or number (1 to 4095)");
}

void describe_delay(Arguments &arguments, DelayArgs &args) {
  arguments.number<uint32_t>("MILLISECONDS", args.milliseconds, "Delay of each call", 0, kMaxDelay);
  arguments.number<uint32_t>("[CALLS]", args.calls, "Number of calls to delay (default: 1)");
}

void describe_card(Arguments &arguments, NumberArgs &args) {
  arguments.number<uint32_t>("ID", args.number, "Identifier", 0, UINT16_MAX);
}

void describe_traffic(Arguments &arguments, TrafficArgs &args) {
  describe_port(arguments, args.port, UINT32_MAX);
  arguments.number<uint32_t>("--class N", args.traffic_class, "Traffic class", 0, 7);
  arguments.require_option("--class");
  arguments.number<uint64_t>("--frames N", args.frames, "Frames that arrive");
  arguments.require_option("--frames");
  arguments.number<uint64_t>("--excess N", args.excess, "Frames to drop because the queue is full");
  arguments.word("--direction DIRECTION", args.direction, "n2h or h2n (default: n2h)");
}

}  // namespace

void add_platform_commands(Parser &parser) {
  parser.add<NumberArgs>({"fail", "Virtual switch", "Make the next service call fail",
                          "printf 'fail ETIMEDOUT\\nexpect-fail read HI.2:40\\n' | mrvctl -f -"},
                         describe_fail, run_fail);
  parser.add<DelayArgs>(
      {"delay", "Virtual switch", "Delay the next service calls", "mrvctl delay 20 2"},
      describe_delay, run_delay);
  parser.add<NumberArgs>(
      {"card", "Virtual switch", "Set the card's software identifier", "mrvctl card 0x123"},
      describe_card, run_card);
  parser.add<TrafficArgs>({"traffic", "Virtual switch", "Simulate traffic on a port",
                           "mrvctl traffic hif:3 --class 3 --frames 1000 --excess 10"},
                          describe_traffic, check_traffic, run_traffic);
  parser.add({"state", "Virtual switch",
              "Show the settings that commands made\n"
              "The settings are the no-drop map, the SP timer and the like.",
              "mrvctl state"},
             run_state);
  add_clients_command(parser);
}

}  // namespace mrvctl
