// switch traffic and switch time: what passes through the ports, and when.
#include <cerrno>

#include "commands/switch.h"
#include "text/text.h"
#include "text/times.h"

namespace mrvctl {
namespace {

constexpr uint64_t kMaxAdvance = uint64_t{366} * 86400 * 1000000;  // us
constexpr uint64_t kMaxRate = 1000000000;

struct TrafficArgs {
  std::optional<Port> port;
  std::optional<uint32_t> traffic_class;
  std::optional<uint64_t> frames;
  std::optional<uint64_t> rate;
  uint64_t excess = 0;
  vp_direction direction = VP_N2H;
};

constexpr const char *kDirections[] = {"n2h", "h2n"};

void check_traffic(const TrafficArgs &args) {
  if (!args.port || !args.traffic_class)
    throw UsageError("give a PORT and its --class");
  if (args.frames.has_value() == args.rate.has_value())
    throw UsageError("give either --frames or --rate");
  if (args.excess > (args.rate ? *args.rate : *args.frames))
    throw UsageError("more excess than frames");
}

void check_port(const Session &session, int error, const std::string &port) {
  check_control(error, ENXIO,
                format("module %u, ASIC %u has no port ", session.module, session.asic) + port);
}

void run_traffic(Session &session, const TrafficArgs &args) {
  const char *const direction = kDirections[args.direction];
  const uint64_t frames = args.rate ? *args.rate : *args.frames;
  const vp_traffic traffic = {args.direction, *args.traffic_class, frames, args.excess};
  auto *const add = args.rate ? control<decltype(vp_add_flow)>("vp_add_flow")
                              : control<decltype(vp_add_traffic)>("vp_add_traffic");
  const std::string port = port_text(*args.port);
  check_port(session,
             add(session.module, session.asic, static_cast<cardcfg_port_type_t>(args.port->type),
                 args.port->number, &traffic),
             port);
  session.report.result(
      {{"port", port},
       {"direction", direction},
       {"class", *args.traffic_class},
       {args.rate ? "rate" : "frames", frames},
       {"excess", args.excess}},
      port +
          format(": %llu frames%s of class %u %s, %llu of them in excess",
                 static_cast<unsigned long long>(frames), args.rate ? " per second" : "",
                 *args.traffic_class, direction, static_cast<unsigned long long>(args.excess)) +
          private_hint(session) + "\n");
}

struct StopArgs {
  std::optional<Port> port;
};

void run_stop(Session &session, const StopArgs &args) {
  const Port port = args.port.value_or(Port{CARDCFG_PORT_TYPE_MAX, 0});
  const std::string name = args.port ? port_text(port) : "all ports";
  check_port(
      session,
      control<decltype(vp_stop_flows)>("vp_stop_flows")(
          session.module, session.asic, static_cast<cardcfg_port_type_t>(port.type), port.number),
      name);
  session.report.result({{"port", args.port ? Json(name) : Json()}},
                        name + ": steady traffic stopped\n");
}

struct TimeArgs {
  std::string change;
  uint32_t run = 0;
  uint64_t advance_us = 0;
};

void check_time(TimeArgs &args) {
  args.run = args.change == "run" ? 1 : 0;
  if (args.change == "run" || args.change == "stop")
    return;
  if (args.change[0] != '+')
    throw UsageError("'" + args.change + "' is not a change: +TIME, like +5s, stop or run");
  args.advance_us = parse_duration(args.change.substr(1), kMaxAdvance);
  if (args.advance_us % 1000 != 0)
    throw UsageError("the time of a switch is in milliseconds");
}

void run_time(Session &session, const TimeArgs &args) {
  check_control(control<decltype(vp_set_time)>("vp_set_time")(args.run, args.advance_us / 1000));
  vp_switch shown = {};
  check_control(control<decltype(vp_switch_info)>("vp_switch_info")(&shown));
  session.report.result(
      {{"time", static_cast<double>(shown.time_ms) / 1000}, {"stopped", shown.stopped != 0}},
      format("time %.3f s, %s\n", static_cast<double>(shown.time_ms) / 1000,
             shown.stopped != 0 ? "stopped" : "running"));
}

void describe_any_port(Arguments &arguments, std::optional<Port> &port, const std::string &help) {
  const auto parse = [](const std::string &text) { return parse_port(text, UINT32_MAX); };
  arguments.reference("[PORT]", port, parse, is_port_type, help);
}

void describe_traffic(Arguments &arguments, TrafficArgs &args) {
  describe_any_port(arguments, args.port, "The port, like hif:3");
  arguments.number<uint32_t>("--class N", args.traffic_class, "Traffic class", 0, 7);
  arguments.number<uint64_t>("--frames N", args.frames, "Frames that arrive once");
  arguments.number<uint64_t>("--rate N", args.rate, "Frames that arrive each second", 1, kMaxRate);
  arguments.number<uint64_t>("--excess N", args.excess, "Of these: frames that find a full queue");
  arguments.choice("--direction", args.direction, kDirections, "Direction (default: n2h)");
}

void describe_stop(Arguments &arguments, StopArgs &args) {
  describe_any_port(arguments, args.port, "The port, like hif:3 (default: all ports)");
}

}  // namespace

void add_switch_traffic_commands(Parser &parser) {
  const CommandText traffic = {
      "switch traffic", "Virtual switch",
      "Simulate traffic on a port, once or steadily\n"
      "Steady traffic is counted in the time of the switch, until it is stopped.",
      "mrvctl switch traffic hif:3 --class 3 --frames 1000 --excess 10\n"
      "mrvctl switch traffic hif:3 --class 3 --rate 1000",
      Requires::kPlatform};
  parser.add_prefix(traffic);
  parser.add<TrafficArgs>(traffic, describe_traffic, check_traffic, run_traffic);
  parser.add<StopArgs>(
      {"switch traffic stop", "Virtual switch", "Stop the steady traffic of a port, or of all",
       "mrvctl switch traffic stop hif:3", Requires::kPlatform},
      describe_stop, run_stop);
  parser.add<TimeArgs>(
      {"switch time", "Virtual switch",
       "Stop, move on or run the switch's time\n"
       "Steady traffic follows the time, so that its counts are exact.",
       "mrvctl switch time +5s\n"
       "mrvctl switch time run",
       Requires::kPlatform},
      [](Arguments &arguments, TimeArgs &args) {
        arguments.word("CHANGE stop|run", args.change,
                       "+TIME, like +5s or +200ms, stops it after that; stop; run");
      },
      check_time, run_time);
}

}  // namespace mrvctl
