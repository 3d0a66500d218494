// qos metrics.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "commands/commands.h"
#include "commands/port_readings.h"
#include "output/metrics.h"
#include "output/qos_tables.h"
#include "text/text.h"

namespace mrvctl {
namespace {

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

// Replaces a file that others read: they find the old one or the new one, never a part. If it
// fails, the old one stays.
void write_atomically(const std::string &path, const std::string &text) {
  struct stat old = {};
  if (lstat(path.c_str(), &old) == 0 && !S_ISREG(old.st_mode))
    throw OperationFailed(path + ": is not a plain file");
  const std::string temporary = path + format(".%d", getpid());
  unlink(temporary.c_str());  // of a process that was killed and had the same number
  std::FILE *const file = std::fopen(temporary.c_str(), "wxe");
  const bool written = file != nullptr && std::fputs(text.c_str(), file) >= 0;
  const bool closed = file != nullptr && std::fclose(file) == 0;
  if (written && closed && std::rename(temporary.c_str(), path.c_str()) == 0)
    return;
  const int error_number = errno;
  unlink(temporary.c_str());
  throw OperationFailed(path + ": " + std::strerror(error_number));
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
    if (failure.code() && args.output.empty() && !session.report.json())
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
  arguments.number("--opts N", args.opts, "Options that are passed to the service");
}

}  // namespace

void add_qos_metrics_command(Parser &parser) {
  parser.add<MetricsArgs>(
      {"qos metrics", "Ports",
       "Print the counters of all ports for Prometheus\n"
       "One service call per port. The command fails if a named port does not exist.",
       "mrvctl qos metrics hif nif:1 --nonzero"},
      describe_metrics, check_metrics, run_metrics);
}

}  // namespace mrvctl
