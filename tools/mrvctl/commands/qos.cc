// qos show, qos clear, qos clear-all and qos metrics.
#include <algorithm>
#include <optional>

#include "commands/commands.h"
#include "commands/port_readings.h"
#include "output/metrics.h"
#include "output/qos_tables.h"
#include "text/lines.h"
#include "text/text.h"

namespace mrvctl {
namespace {

struct ShowArgs {
  Port port;
  uint32_t opts = 0;
  bool nonzero = false;
  WatchArgs watch;
};

// `before` is the reading of the round before, if there was one.
void show_reading(Session &session, const ShowArgs &args, const PortReading &now,
                  const PortReading *before) {
  const std::string name = port_text(args.port);
  Json object = {{"module", session.module},
                 {"asic", session.asic},
                 {"port", name},
                 {"stats", qos_json(now.stats)}};
  std::string text = name + format(", module %u, ASIC %u\n\n", session.module, session.asic) +
                     qos_text(now.stats, args.nonzero, session.report.colours());
  if (before != nullptr) {
    const double seconds = now.at - before->at;
    object["seconds"] = seconds;
    const kel_asic_qos_stats_t delta = qos_delta(before->stats, now.stats);
    object["rates"] = rates_json(delta, seconds);
    text += "\n" + rates_text(delta, seconds);
  }
  session.report.result(object, StyledText{text});
}

void run_show(Session &session, const ShowArgs &args) {
  std::optional<PortReading> before;
  show_rounds(session, args.watch, [&] {
    const PortReading now = read_port(session, args.port, args.opts);
    session.check_result(now.result);
    show_reading(session, args, now, before ? &*before : nullptr);
    before = now;
  });
}

struct ClearArgs {
  PortChoice ports = {};
  uint32_t opts = 0;
};

void run_clear(Session &session, const ClearArgs &args) {
  const PortChoice &choice = args.ports;
  std::vector<PortReading> cleared;
  if (choice.number)
    cleared.push_back({{choice.type, *choice.number}, 0, {}});
  else
    cleared = read_ports(session, {choice}, args.opts);
  for (const PortReading &reading : cleared) {
    std::error_code ec;
    morvane::clear_qos_stats(session.port(reading.port), ec, args.opts);
    session.check_result(result_of(ec), choice.number ? "" : port_text(reading.port));
  }
  const std::string type = port_type_text(choice.type) + " port";
  session.report.result(
      {{"port", choice.number ? port_text(cleared[0].port) : port_type_text(choice.type)},
       {"ports", cleared.size()}},
      "QoS statistics of " +
          (choice.number ? port_text(cleared[0].port)
                         : count_text(cleared.size(), type.c_str(), (type + "s").c_str())) +
          " cleared" + private_hint(session) + "\n");
}

void run_clear_all(Session &session, uint32_t opts) {
  std::error_code ec;
  morvane::clear_all_qos_stats(session.on(), ec, opts);
  session.check_result(result_of(ec));
  session.report.result({}, "QoS statistics of all ports cleared" + private_hint(session) + "\n");
}

void describe_options(Arguments &arguments, uint32_t &opts) {
  arguments.number("--opts N", opts, "Options that are passed to the service");
}

void describe_clear(Arguments &arguments, ClearArgs &args) {
  const auto parse = [](const std::string &text) { return parse_port_choice(text); };
  arguments.reference("PORT", args.ports, parse, is_port_type,
                      "A port, like hif:3, or hif for all ports of a type");
  describe_options(arguments, args.opts);
}

void describe_show(Arguments &arguments, ShowArgs &args) {
  describe_port(arguments, args.port, UINT32_MAX);
  describe_options(arguments, args.opts);
  arguments.flag("--nonzero", args.nonzero, "Omit the rows that are zero");
  describe_watch(arguments, args.watch);
}

struct MetricsArgs {
  std::vector<std::string> words;
  std::vector<PortChoice> ports;
  std::string output;
  bool nonzero = false;
  uint32_t opts = 0;
};

Json metrics_json(const AsicMetrics &metrics) {
  Json ports = Json::array();
  for (const PortReading &reading : metrics.ports) {
    const bool up = reading.result == 0;
    ports.push_back({{"port", port_text(reading.port)},
                     {"up", up},
                     {"stats", up ? qos_json(reading.stats) : Json()}});
  }
  return {{"module", metrics.module}, {"asic", metrics.asic}, {"ports", ports}};
}

void write_metrics(Session &session, const MetricsArgs &args, const AsicMetrics &metrics) {
  std::string text = metrics_text(metrics, !args.nonzero);
  Json object = metrics_json(metrics);
  if (!args.output.empty()) {
    const std::string path = session.resolve(args.output);
    write_atomically(path, text);
    object["output"] = path;
    text = path + ": metrics of " + count_text(metrics.ports.size(), "port", "ports") + "\n";
  }
  session.report.result(object, text);
}

void check_ports(Session &session, const std::vector<PortReading> &ports) {
  const auto failed = [](const PortReading &reading) { return reading.result != 0; };
  const auto first = std::find_if(ports.begin(), ports.end(), failed);
  if (first == ports.end())
    return;
  const auto more = std::count_if(first + 1, ports.end(), failed);
  session.check_result(first->result,
                       port_text(first->port) + (more == 0 ? "" : format(" (and %td more)", more)));
}

void check_metrics(MetricsArgs &args) {
  std::transform(args.words.begin(), args.words.end(), std::back_inserter(args.ports),
                 [](const std::string &word) { return parse_port_choice(word); });
}

void run_metrics(Session &session, const MetricsArgs &args) {
  AsicMetrics metrics = {session.module, session.asic, false, {}};
  try {
    metrics.ports = read_ports(session, args.ports, args.opts);
    metrics.up = true;
  } catch (const OperationFailed &failure) {
    // Whoever collects from a pipe learns that the service is down; a file keeps what it had.
    if (failure.code() && args.output.empty() && !session.report.json)
      session.report.result({}, metrics_text(metrics, false));
    throw;
  }
  write_metrics(session, args, metrics);
  check_ports(session, metrics.ports);
}

void describe_metrics(Arguments &arguments, MetricsArgs &args) {
  arguments.words("[PORTS]", args.words,
                  "Ports, like hif:3, or hif for all ports of a type (default: all ports)");
  arguments.word("--output FILE", args.output,
                 "Replace FILE atomically; leave it unchanged on error");
  arguments.flag("--nonzero", args.nonzero, "Omit the cells of the drop grids that are zero");
  describe_options(arguments, args.opts);
}

}  // namespace

void add_qos_commands(Parser &parser) {
  parser.add_prefix(
      {"qos", "Ports", "QoS statistics: show, clear, metrics, live view", "mrvctl qos show hif:3"});
  parser.add<ShowArgs>(
      {"qos show", "Ports",
       "Show the QoS statistics of a port\n"
       "A live view also shows the rate of each counter; ^C ends it.",
       "mrvctl qos show hif:3 --nonzero\n"
       "mrvctl qos show hif:3 --watch 0.5 --count 2"},
      describe_show, [](const ShowArgs &args) { check_watch(args.watch); }, run_show);
  parser.add<ClearArgs>(
      {"qos clear", "Ports", "Clear the QoS statistics of a port, or of all ports of a type",
       "mrvctl qos clear hif:3\n"
       "mrvctl qos clear nif"},
      describe_clear, run_clear);
  parser.add<uint32_t>(
      {"qos clear-all", "Ports", "Clear the QoS statistics of every port", "mrvctl qos clear-all"},
      describe_options, run_clear_all);
  parser.add<MetricsArgs>(
      {"qos metrics", "Ports",
       "Print the counters of all ports for Prometheus\n"
       "One service call per port. The command fails if a named port does not exist.",
       "mrvctl qos metrics hif nif:1 --nonzero"},
      describe_metrics, check_metrics, run_metrics);
  add_qos_top_command(parser);
}

}  // namespace mrvctl
