// qos show, qos clear and qos clear-all.
#include <chrono>
#include <optional>

#include "base/interrupt.h"
#include "base/text.h"
#include "commands/commands.h"
#include "commands/port_readings.h"
#include "output/qos_tables.h"
#include "registers/port_types.h"

namespace mrvctl {
namespace {

struct ShowArgs {
  PortArgs port;
  uint32_t opts = 0;
  double watch = 0;    // seconds between rounds; 0 for one round alone
  uint32_t count = 0;  // rounds of a live view; 0 for no end
};

using Clock = std::chrono::steady_clock;

// A reading and when it was taken.
struct Reading {
  kel_asic_qos_stats_t stats;
  Clock::time_point at;
};

Reading take_reading(Session &session, const ShowArgs &args) {
  const PortReading reading = read_port(session, args.port.type, args.port.port, args.opts);
  session.check_result(reading.result);
  return {reading.stats, Clock::now()};
}

// `before` is the reading of the round before, if there was one.
void show_reading(Session &session, const ShowArgs &args, const Reading &now,
                  const Reading *before) {
  const std::string type = port_type_text(args.port.type);
  Json object = {{"command", "qos show"},  {"module", session.module},
                 {"asic", session.asic},   {"port_type", type},
                 {"port", args.port.port}, {"stats", qos_json(now.stats)}};
  std::string text = args.watch > 0 && session.report.on_terminal() ? "\033[H\033[J" : "";
  text += format("%s %u, module %u, ASIC %u\n\n", type.c_str(), args.port.port, session.module,
                 session.asic) +
          qos_text(now.stats, session.report.colours());
  if (before != nullptr) {
    const double seconds = std::chrono::duration<double>(now.at - before->at).count();
    object["seconds"] = seconds;
    const kel_asic_qos_stats_t risen = qos_risen(before->stats, now.stats);
    object["rates"] = rates_json(risen, seconds);
    text += "\n" + rates_text(risen, seconds);
  }
  session.report.result(object, text);
}

void watch(Session &session, const ShowArgs &args) {
  const Interrupt scope({SIGINT});
  std::optional<Reading> before;
  for (uint32_t round = 1; interrupted == 0; ++round) {
    const Reading now = take_reading(session, args);
    show_reading(session, args, now, before ? &*before : nullptr);
    if (round == args.count)
      return;
    before = now;
    wait_uninterrupted(args.watch);
    for (const auto &happen : session.meanwhile)
      happen(args.watch);
  }
}

void check_show(const ShowArgs &args) {
  if (args.watch <= 0 && args.count != 0)
    throw UsageError("--count is for --watch");
}

void run_show(Session &session, const ShowArgs &args) {
  if (args.watch > 0)
    watch(session, args);
  else
    show_reading(session, args, take_reading(session, args), nullptr);
}

void run_clear(Session &session, const ShowArgs &args) {
  std::error_code ec;
  morvane::clear_qos_stats(session.port(args.port.type, args.port.port), ec, args.opts);
  session.check_result(result_of(ec));
  const std::string type = port_type_text(args.port.type);
  session.report.result({{"command", "qos clear"}, {"port_type", type}, {"port", args.port.port}},
                        format("QoS statistics of %s %u cleared\n", type.c_str(), args.port.port));
}

void run_clear_all(Session &session, const ShowArgs &args) {
  std::error_code ec;
  morvane::clear_all_qos_stats(session.on(), ec, args.opts);
  session.check_result(result_of(ec));
  session.report.result({{"command", "qos clear-all"}}, "QoS statistics of all ports cleared\n");
}

void describe_options(Arguments &arguments, ShowArgs &args) {
  arguments.number("--opts", args.opts, "Options that are passed to the service");
}

void describe_port_and_options(Arguments &arguments, ShowArgs &args) {
  describe_port(arguments, args.port, UINT32_MAX);
  describe_options(arguments, args);
}

void describe_show(Arguments &arguments, ShowArgs &args) {
  describe_port_and_options(arguments, args);
  describe_interval(arguments, "--watch", args.watch,
                    "A live view, with so much time between two rounds");
  arguments.number<uint32_t>("--count", args.count, "End the live view after so many rounds", 1);
}

}  // namespace

void add_qos_commands(Parser &parser) {
  parser.add_prefix({"qos", "Ports", "Show or clear the QoS statistics of a port"});
  parser.add<ShowArgs>({"qos show", "Ports",
                        "Show the QoS statistics of a port\n"
                        "A live view shows also how fast each counter rises; ^C ends it."},
                       describe_show, check_show, run_show);
  parser.add<ShowArgs>({"qos clear", "Ports", "Clear the QoS statistics of a port"},
                       describe_port_and_options, run_clear);
  parser.add<ShowArgs>({"qos clear-all", "Ports", "Clear the QoS statistics of every port"},
                       describe_options, run_clear_all);
  add_qos_metrics_command(parser);
  add_qos_top_command(parser);
}

}  // namespace mrvctl
