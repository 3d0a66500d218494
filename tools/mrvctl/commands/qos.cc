// qos show, qos clear and qos clear-all.
#include <chrono>
#include <optional>

#include "commands/commands.h"
#include "commands/port_readings.h"
#include "output/qos_tables.h"
#include "text/text.h"

namespace mrvctl {
namespace {

struct ShowArgs {
  Port port;
  uint32_t opts = 0;
  WatchArgs watch;
};

using Clock = std::chrono::steady_clock;

// A reading and when it was taken.
struct Reading {
  kel_asic_qos_stats_t stats;
  Clock::time_point at;
};

Reading take_reading(Session &session, const ShowArgs &args) {
  const PortReading reading = read_port(session, args.port, args.opts);
  session.check_result(reading.result);
  return {reading.stats, Clock::now()};
}

// `before` is the reading of the round before, if there was one.
void show_reading(Session &session, const ShowArgs &args, const Reading &now,
                  const Reading *before) {
  const std::string name = port_text(args.port);
  Json object = {{"module", session.module},
                 {"asic", session.asic},
                 {"port", name},
                 {"stats", qos_json(now.stats)}};
  std::string text = name + format(", module %u, ASIC %u\n\n", session.module, session.asic) +
                     qos_text(now.stats, session.report.colours());
  if (before != nullptr) {
    const double seconds = std::chrono::duration<double>(now.at - before->at).count();
    object["seconds"] = seconds;
    const kel_asic_qos_stats_t delta = qos_delta(before->stats, now.stats);
    object["rates"] = rates_json(delta, seconds);
    text += "\n" + rates_text(delta, seconds);
  }
  session.report.result(object, StyledText{text});
}

void check_show(const ShowArgs &args) {
  check_watch(args.watch);
}

void run_show(Session &session, const ShowArgs &args) {
  std::optional<Reading> before;
  show_rounds(session, args.watch, [&] {
    const Reading now = take_reading(session, args);
    show_reading(session, args, now, before ? &*before : nullptr);
    before = now;
  });
}

void run_clear(Session &session, const ShowArgs &args) {
  std::error_code ec;
  morvane::clear_qos_stats(session.port(args.port), ec, args.opts);
  session.check_result(result_of(ec));
  const std::string name = port_text(args.port);
  session.report.result({{"port", name}},
                        "QoS statistics of " + name + " cleared" + private_hint(session) + "\n");
}

void run_clear_all(Session &session, const ShowArgs &args) {
  std::error_code ec;
  morvane::clear_all_qos_stats(session.on(), ec, args.opts);
  session.check_result(result_of(ec));
  session.report.result({}, "QoS statistics of all ports cleared" + private_hint(session) + "\n");
}

void describe_options(Arguments &arguments, ShowArgs &args) {
  arguments.number("--opts N", args.opts, "Options that are passed to the service");
}

void describe_port_and_options(Arguments &arguments, ShowArgs &args) {
  describe_port(arguments, args.port, UINT32_MAX);
  describe_options(arguments, args);
}

void describe_show(Arguments &arguments, ShowArgs &args) {
  describe_port_and_options(arguments, args);
  describe_watch(arguments, args.watch);
}

}  // namespace

void add_qos_commands(Parser &parser) {
  parser.add_prefix(
      {"qos", "Ports", "QoS statistics: show, clear, metrics, live view", "mrvctl qos show hif:3"});
  parser.add<ShowArgs>({"qos show", "Ports",
                        "Show the QoS statistics of a port\n"
                        "A live view also shows the rate of each counter; ^C ends it.",
                        "mrvctl qos show hif:3\n"
                        "mrvctl qos show hif:3 --watch 0.5 --count 2"},
                       describe_show, check_show, run_show);
  parser.add<ShowArgs>(
      {"qos clear", "Ports", "Clear the QoS statistics of a port", "mrvctl qos clear hif:3"},
      describe_port_and_options, run_clear);
  parser.add<ShowArgs>(
      {"qos clear-all", "Ports", "Clear the QoS statistics of every port", "mrvctl qos clear-all"},
      describe_options, run_clear_all);
  add_qos_metrics_command(parser);
  add_qos_top_command(parser);
}

}  // namespace mrvctl
