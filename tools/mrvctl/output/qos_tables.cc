// The QoS tables.
#include "output/qos_tables.h"

#include <algorithm>
#include <array>

#include "base/text.h"

namespace mrvctl {
namespace {

constexpr size_t kClasses = 8;

using ClassWidths = std::array<size_t, kClasses>;

size_t digits(uint64_t value) {
  return std::to_string(value).size();
}

// A counter, right-aligned and dimmed where it is zero.
std::string cell(uint64_t value, size_t width, bool dim_zeros) {
  std::string text = std::to_string(value);
  text.insert(0, width - std::min(width, text.size()), ' ');
  return value == 0 && dim_zeros ? "\033[2m" + text + "\033[0m" : text;
}

// The widths of the eight class columns: what the largest counter of each needs, and room.
ClassWidths class_widths(const std::vector<Counters> &all) {
  ClassWidths widths;
  widths.fill(8);
  for (const Counters &counters : all) {
    for (size_t i = 0; counters.count > 1 && i < counters.count; ++i)
      widths[i % kClasses] = std::max(widths[i % kClasses], digits(counters.values[i]) + 2);
  }
  return widths;
}

size_t single_width(const std::vector<Counters> &all) {
  size_t width = 12;
  for (const Counters &counters : all) {
    if (counters.count == 1)
      width = std::max(width, digits(*counters.values) + 2);
  }
  return width;
}

constexpr int kLabelWidth = 24;

std::string class_heading(const char *label, const ClassWidths &widths) {
  std::string text = format("\n%-*s", kLabelWidth, label);
  for (size_t i = 0; i < kClasses; ++i)
    text += format("%*zu", static_cast<int>(widths[i]), i);
  return text + "\n";
}

std::string class_row(const std::string &label, const kel_asic_counter_t *values,
                      const ClassWidths &widths, bool dim_zeros) {
  std::string text = format("%-*s", kLabelWidth, label.c_str());
  for (size_t i = 0; i < kClasses; ++i)
    text += cell(values[i], widths[i], dim_zeros);
  return text + "\n";
}

std::string drop_grid(const char *label, const kel_asic_counter_t (&drops)[6][8],
                      const ClassWidths &widths, bool dim_zeros) {
  std::string text = class_heading(label, widths);
  for (size_t row = 0; row < 6; ++row)
    text += class_row(format("  row %zu", row), drops[row], widths, dim_zeros);
  return text;
}

// The shape of a field: a number, or lists of eight.
template <typename Value>
Json shaped(const std::vector<Value> &values) {
  if (values.size() == 1)
    return values[0];
  if (values.size() == kClasses)
    return values;
  Json rows = Json::array();
  for (size_t i = 0; i < values.size(); i += kClasses)
    rows.push_back(std::vector<Value>(values.begin() + static_cast<std::ptrdiff_t>(i),
                                      values.begin() + static_cast<std::ptrdiff_t>(i + kClasses)));
  return rows;
}

// By value: a counter of the record may be no aligned uint64_t.
std::vector<uint64_t> values_of(const Counters &counters) {
  std::vector<uint64_t> values;
  for (size_t i = 0; i < counters.count; ++i) {
    const uint64_t value = counters.values[i];
    values.push_back(value);
  }
  return values;
}

std::vector<double> rates(const Counters &before, const Counters &now, double seconds) {
  std::vector<double> per_second;
  for (size_t i = 0; i < now.count; ++i) {
    const uint64_t old_value = before.values[i] <= now.values[i] ? before.values[i] : 0;
    per_second.push_back(static_cast<double>(now.values[i] - old_value) / seconds);
  }
  return per_second;
}

}  // namespace

std::vector<Counters> qos_counters(const kel_asic_qos_stats_t &stats) {
  const auto &[pause, ss_dhs, oq, drops] = stats;
  return {
      {"pause", "rx_xoff_cnt", "morvane_port_pause_xoff_received_total", "pause XOFF received",
       &pause.rx_xoff_cnt, 1, nullptr},
      {"pause", "rx_xon_cnt", "morvane_port_pause_xon_received_total", "pause XON received",
       &pause.rx_xon_cnt, 1, nullptr},
      {"pause", "tx_xoff_cnt", "morvane_port_pause_xoff_sent_total", "pause XOFF sent",
       &pause.tx_xoff_cnt, 1, nullptr},
      {"pause", "tx_xon_cnt", "morvane_port_pause_xon_sent_total", "pause XON sent",
       &pause.tx_xon_cnt, 1, nullptr},
      {"pause", "tx_pfc_xoff_cnt", "morvane_port_pfc_xoff_sent_total", "PFC XOFF sent",
       pause.tx_pfc_xoff_cnt, 8, "priority"},
      {"pause", "rx_pfc_xoff_cnt", "morvane_port_pfc_xoff_received_total", "PFC XOFF received",
       pause.rx_pfc_xoff_cnt, 8, "priority"},
      {"pause", "tx_pfc_cnt", "morvane_port_pfc_sent_total", "PFC sent", &pause.tx_pfc_cnt, 1,
       nullptr},
      {"pause", "rx_pfc_cnt", "morvane_port_pfc_received_total", "PFC received", &pause.rx_pfc_cnt,
       1, nullptr},
      {"ss_dhs", "wr_rcvd_cnt", "morvane_port_writes_received_total", "writes received",
       ss_dhs.wr_rcvd_cnt, 8, "class"},
      {"ss_dhs", "wr_discard_cnt", "morvane_port_writes_discarded_total", "writes discarded",
       &ss_dhs.wr_discard_cnt, 1, nullptr},
      {"ss_dhs", "wr_discard_mcast_cnt", "morvane_port_multicast_writes_discarded_total",
       "multicast discarded", &ss_dhs.wr_discard_mcast_cnt, 1, nullptr},
      {"ss_dhs", "wr_rcvd_err_cnt", "morvane_port_writes_received_with_error_total",
       "received with an error", &ss_dhs.wr_rcvd_err_cnt, 1, nullptr},
      {"ss_dhs", "rd_sent_cnt", "morvane_port_reads_sent_total", "reads sent", ss_dhs.rd_sent_cnt,
       8, "class"},
      {"oq", "flush_cnt", "morvane_port_queue_flushes_total", "queue flushes", &oq.flush_cnt, 1,
       nullptr},
      {"oq", "tout_cnt", "morvane_port_queue_timeouts_total", "queue time-outs", &oq.tout_cnt, 1,
       nullptr},
      {"drops", "n2h_drops", "morvane_port_drops_n2h_total", "drops n2h", drops.n2h_drops[0], 48,
       nullptr},
      {"drops", "h2n_drops", "morvane_port_drops_h2n_total", "drops h2n", drops.h2n_drops[0], 48,
       nullptr},
  };
}

std::string qos_text(const kel_asic_qos_stats_t &stats, bool dim_zeros) {
  const auto &[pause, ss_dhs, oq, drops] = stats;
  const ClassWidths widths = class_widths(qos_counters(stats));
  const size_t width = single_width(qos_counters(stats));
  const auto pair = [&](const char *label, uint64_t received, uint64_t sent, const char *beside) {
    return format("%-*s", kLabelWidth, label) + cell(received, width, dim_zeros) +
           cell(sent, width, dim_zeros) + "    " + beside + "\n";
  };
  const auto single = [&](const char *label, uint64_t value) {
    return format("%-*s", kLabelWidth, label) + cell(value, width, dim_zeros) + "\n";
  };
  const int wide = static_cast<int>(width);

  std::string text = format("%-*s%*s%*s\n", kLabelWidth, "pause", wide, "received", wide, "sent");
  text += pair("  XOFF", pause.rx_xoff_cnt, pause.tx_xoff_cnt,
               format("flow control 0x%04x", pause.flow_ctrl).c_str());
  text +=
      pair("  XON", pause.rx_xon_cnt, pause.tx_xon_cnt,
           format("receive side in XOFF: %s", pause.rx_xoff_status != 0 ? "yes" : "no").c_str());
  text +=
      pair("  PFC", pause.rx_pfc_cnt, pause.tx_pfc_cnt,
           format("transmit side in XOFF: %s", pause.tx_xoff_status != 0 ? "yes" : "no").c_str());

  text += class_heading("PFC by priority", widths);
  text += class_row("  XOFF received", pause.rx_pfc_xoff_cnt, widths, dim_zeros);
  text += class_row("  XOFF sent", pause.tx_pfc_xoff_cnt, widths, dim_zeros);

  text += class_heading("by class", widths);
  text += class_row("  writes received", ss_dhs.wr_rcvd_cnt, widths, dim_zeros);
  text += class_row("  reads sent", ss_dhs.rd_sent_cnt, widths, dim_zeros);

  text += "\n" + single("writes discarded", ss_dhs.wr_discard_cnt);
  text += single("multicast discarded", ss_dhs.wr_discard_mcast_cnt);
  text += single("received with an error", ss_dhs.wr_rcvd_err_cnt);
  text += single("queue flushes", oq.flush_cnt);
  text += single("queue time-outs", oq.tout_cnt);

  text += drop_grid("drops n2h", drops.n2h_drops, widths, dim_zeros);
  text += drop_grid("drops h2n", drops.h2n_drops, widths, dim_zeros);
  return text;
}

Json qos_json(const kel_asic_qos_stats_t &stats) {
  Json object;
  object["pause"]["flow_ctrl"] = stats.pause.flow_ctrl;
  for (const Counters &counters : qos_counters(stats))
    object[counters.record][counters.field] = shaped(values_of(counters));
  object["pause"]["rx_xoff_status"] = stats.pause.rx_xoff_status;
  object["pause"]["tx_xoff_status"] = stats.pause.tx_xoff_status;
  return object;
}

std::string rates_text(const kel_asic_qos_stats_t &before, const kel_asic_qos_stats_t &now,
                       double seconds) {
  const std::vector<Counters> old_counters = qos_counters(before);
  const std::vector<Counters> counters = qos_counters(now);
  std::string text;
  for (size_t i = 0; i < counters.size(); ++i) {
    const std::vector<double> per_second = rates(old_counters[i], counters[i], seconds);
    for (size_t j = 0; j < per_second.size(); ++j) {
      if (per_second[j] == 0)
        continue;
      std::string label = counters[i].label;
      if (counters[i].count == 48)
        label += format(" [%zu][%zu]", j / kClasses, j % kClasses);
      else if (counters[i].count == kClasses)
        label += format(" [%zu]", j);
      text += format("  %-30s %14.1f\n", label.c_str(), per_second[j]);
    }
  }
  return text.empty() ? "no counter moved\n" : "rising, per second\n" + text;
}

Json rates_json(const kel_asic_qos_stats_t &before, const kel_asic_qos_stats_t &now,
                double seconds) {
  const std::vector<Counters> old_counters = qos_counters(before);
  const std::vector<Counters> counters = qos_counters(now);
  Json object;
  for (size_t i = 0; i < counters.size(); ++i)
    object[counters[i].record][counters[i].field] =
        shaped(rates(old_counters[i], counters[i], seconds));
  return object;
}

}  // namespace mrvctl
