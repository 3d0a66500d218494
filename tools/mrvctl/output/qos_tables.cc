// The QoS tables.
#include "output/qos_tables.h"

#include <algorithm>
#include <array>
#include <vector>

#include "asic/qos_counters.h"
#include "text/text.h"

namespace mrvctl {
namespace {

// From a few to a flood: yellow, bright yellow, red, bright red. Every terminal has these.
const char *drop_style(double number) {
  if (number < 100)
    return "33";
  if (number < 10'000)
    return "1;33";
  return number < 1'000'000 ? "31" : "1;31";
}

using ClassWidths = std::array<size_t, kClasses>;

size_t digits(uint64_t value) {
  return std::to_string(value).size();
}

std::string counter_cell(uint64_t value, size_t width, Counts counts, bool colours) {
  return cell(std::to_string(value), width, static_cast<double>(value), counts, colours);
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

std::string class_row(const std::string &label, const kel_asic_counter_t *values, Counts counts,
                      const ClassWidths &widths, bool colours) {
  std::string text = format("%-*s", kLabelWidth, label.c_str());
  for (size_t i = 0; i < kClasses; ++i)
    text += counter_cell(values[i], widths[i], counts, colours);
  return text + "\n";
}

std::string drop_grid(const char *label, const kel_asic_counter_t (&drops)[6][8],
                      const ClassWidths &widths, bool colours) {
  std::string text = class_heading(label, widths);
  for (size_t row = 0; row < kDropRows; ++row)
    text += class_row(format("  row %zu", row), drops[row], Counts::kDrops, widths, colours);
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

std::vector<double> per_second(const Counters &delta, double seconds) {
  std::vector<double> rates;
  for (const uint64_t value : values_of(delta))
    rates.push_back(static_cast<double>(value) / seconds);
  return rates;
}

}  // namespace

std::string cell(const std::string &text, size_t width, double number, Counts counts,
                 bool colours) {
  const std::string aligned = std::string(width - std::min(width, text.size()), ' ') + text;
  if (colours && number == 0)
    return styled("2", aligned);
  return colours && counts == Counts::kDrops ? styled(drop_style(number), aligned) : aligned;
}

std::string styled(const char *style, const std::string &text) {
  return std::string("\033[") + style + "m" + text + "\033[0m";
}

std::string qos_text(const kel_asic_qos_stats_t &stats, bool colours) {
  const auto &[pause, ss_dhs, oq, drops] = stats;
  const ClassWidths widths = class_widths(qos_counters(stats));
  const size_t width = single_width(qos_counters(stats));
  const auto pair = [&](const char *label, uint64_t received, uint64_t sent, const char *beside) {
    return format("%-*s", kLabelWidth, label) +
           counter_cell(received, width, Counts::kFrames, colours) +
           counter_cell(sent, width, Counts::kFrames, colours) + "    " + beside + "\n";
  };
  const auto single = [&](const char *label, uint64_t value, Counts counts) {
    return format("%-*s", kLabelWidth, label) + counter_cell(value, width, counts, colours) + "\n";
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
  text += class_row("  XOFF received", pause.rx_pfc_xoff_cnt, Counts::kFrames, widths, colours);
  text += class_row("  XOFF sent", pause.tx_pfc_xoff_cnt, Counts::kFrames, widths, colours);

  text += class_heading("by class", widths);
  text += class_row("  writes received", ss_dhs.wr_rcvd_cnt, Counts::kFrames, widths, colours);
  text += class_row("  reads sent", ss_dhs.rd_sent_cnt, Counts::kFrames, widths, colours);

  text += "\n" + single("writes discarded", ss_dhs.wr_discard_cnt, Counts::kDrops);
  text += single("multicast discarded", ss_dhs.wr_discard_mcast_cnt, Counts::kDrops);
  text += single("received with an error", ss_dhs.wr_rcvd_err_cnt, Counts::kFrames);
  text += single("queue flushes", oq.flush_cnt, Counts::kFrames);
  text += single("queue timeouts", oq.tout_cnt, Counts::kFrames);

  text += drop_grid("drops n2h", drops.n2h_drops, widths, colours);
  text += drop_grid("drops h2n", drops.h2n_drops, widths, colours);
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

kel_asic_qos_stats_t qos_delta(const kel_asic_qos_stats_t &before,
                               const kel_asic_qos_stats_t &now) {
  kel_asic_qos_stats_t delta = now;
  const std::vector<Counters> old_counters = qos_counters(before);
  const std::vector<Counters> counters = qos_counters(delta);
  for (size_t i = 0; i < counters.size(); ++i) {
    auto *const values = const_cast<kel_asic_counter_t *>(counters[i].values);  // of delta
    for (size_t j = 0; j < counters[i].count; ++j) {
      if (old_counters[i].values[j] <= values[j])
        values[j] -= old_counters[i].values[j];
    }
  }
  return delta;
}

std::string rates_text(const kel_asic_qos_stats_t &delta, double seconds) {
  std::string text;
  for (const Counters &counters : qos_counters(delta)) {
    const std::vector<double> rates = per_second(counters, seconds);
    for (size_t i = 0; i < rates.size(); ++i) {
      if (rates[i] == 0)
        continue;
      std::string label = counters.label;
      if (counters.count == kGridCells)
        label += format(" [%zu][%zu]", i / kClasses, i % kClasses);
      else if (counters.count == kClasses)
        label += format(" [%zu]", i);
      text += format("  %-30s %14.1f\n", label.c_str(), rates[i]);
    }
  }
  return text.empty() ? "no counter moved\n" : "rising, per second\n" + text;
}

Json rates_json(const kel_asic_qos_stats_t &delta, double seconds) {
  Json object;
  for (const Counters &counters : qos_counters(delta))
    object[counters.record][counters.field] = shaped(per_second(counters, seconds));
  return object;
}

}  // namespace mrvctl
