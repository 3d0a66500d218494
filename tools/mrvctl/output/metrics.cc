// The counters of an ASIC's ports in Prometheus's text format.
#include "output/metrics.h"

#include "asic/port_reference.h"
#include "text/text.h"

namespace mrvctl {
namespace {

// A sample is a double: above this, neighbouring counts would be the same number.
constexpr uint64_t kExact = uint64_t{1} << 53;

// One family: its heading, if it has a sample, and one sample per line.
class Family {
 public:
  Family(const char *name, const char *type, const std::string &help)
      : name_(name),
        heading_(format("# HELP %s %s\n# TYPE %s %s\n", name, help.c_str(), name, type)) {}

  void add(const std::string &labels, uint64_t value) {
    samples_ += name_ + "{" + labels + "} " + std::to_string(value % kExact) + "\n";
  }
  std::string text() const { return samples_.empty() ? "" : heading_ + samples_; }

 private:
  std::string name_;
  std::string heading_;
  std::string samples_;
};

// A port that was read.
struct PortCounters {
  std::string labels;
  const kel_asic_qos_stats_t &stats;
  std::vector<Counters> counters;
};

std::string port_labels(const std::string &asic_labels, const PortReading &reading) {
  return asic_labels + format(",port_type=\"%s\",port=\"%u\"",
                              port_type_text(reading.port.type).c_str(), reading.port.number);
}

// The labels that distinguish the counters of one field.
std::string index_labels(const Counters &counters, size_t i) {
  if (counters.count == 1)
    return "";
  if (counters.count == kGridCells)
    return format(",row=\"%zu\",class=\"%zu\"", i / kClasses, i % kClasses);
  return format(",%s=\"%zu\"", counters.index, i);
}

std::string help_text(const Counters &counters) {
  return format("%s (%s.%s)", counters.label, counters.record, counters.field);
}

void add_counters(Family &family, const PortCounters &port, const Counters &counters,
                  bool zero_drops) {
  for (size_t i = 0; i < counters.count; ++i) {
    if (zero_drops || counters.count != kGridCells || counters.values[i] != 0)
      family.add(port.labels + index_labels(counters, i), counters.values[i]);
  }
}

std::string state_text(const std::vector<PortCounters> &ports) {
  Family flow_control("morvane_port_flow_control", "gauge",
                      "flow-control setting (pause.flow_ctrl)");
  Family receive("morvane_port_xoff_state_receive", "gauge",
                 "receive side in XOFF, 0 or not (pause.rx_xoff_status)");
  Family transmit("morvane_port_xoff_state_transmit", "gauge",
                  "transmit side in XOFF, 0 or not (pause.tx_xoff_status)");
  for (const PortCounters &port : ports) {
    flow_control.add(port.labels, port.stats.pause.flow_ctrl);
    receive.add(port.labels, port.stats.pause.rx_xoff_status);
    transmit.add(port.labels, port.stats.pause.tx_xoff_status);
  }
  return flow_control.text() + receive.text() + transmit.text();
}

}  // namespace

std::string metrics_text(const AsicMetrics &metrics, bool zero_drops) {
  const std::string asic_labels = format("module=\"%u\",asic=\"%u\"", metrics.module, metrics.asic);
  Family build_info("morvane_build_info", "gauge", "version of the tool that read the ports");
  build_info.add(asic_labels + ",version=\"" MRVCTL_VERSION "\"", 1);
  Family up("morvane_up", "gauge", "whether the service of the ASIC answers");
  up.add(asic_labels, metrics.up ? 1 : 0);
  Family port_up("morvane_port_up", "gauge", "whether the service answers for the port");

  std::vector<PortCounters> ports;
  for (const PortReading &reading : metrics.ports) {
    const std::string labels = port_labels(asic_labels, reading);
    port_up.add(labels, reading.result == 0 ? 1 : 0);
    if (reading.result == 0)
      ports.push_back({labels, reading.stats, qos_counters(reading.stats)});
  }

  std::string text = build_info.text() + up.text() + port_up.text() + state_text(ports);
  for (size_t field = 0; !ports.empty() && field < ports[0].counters.size(); ++field) {
    const Counters &first = ports[0].counters[field];
    Family family(first.metric, "counter", help_text(first));
    for (const PortCounters &port : ports)
      add_counters(family, port, port.counters[field], zero_drops);
    text += family.text();
  }
  return text;
}

}  // namespace mrvctl
