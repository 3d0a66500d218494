// The QoS tables.
#include "output/qos_tables.h"

#include <algorithm>
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

std::string counter_cell(uint64_t value, size_t width, Counts counts, bool colours) {
  return cell(std::to_string(value), width, static_cast<double>(value), counts, colours);
}

constexpr size_t kClassLabelWidth = 16;
constexpr size_t kLabelWidth = 24;
constexpr size_t kLineWidth = 80;

// Counters in lines of 80 columns: as wide as the largest requires.
class QosTables {
 public:
  struct Row {
    std::string label;
    const kel_asic_counter_t *values;
    Counts counts;
  };

  QosTables(const kel_asic_qos_stats_t &stats, bool nonzero, bool colours)
      : nonzero_(nonzero), colours_(colours) {
    for (const Counters &counters : qos_counters(stats)) {
      size_t &width = counters.count == 1 ? width_ : class_width_;
      for (size_t i = 0; i < counters.count; ++i)
        width = std::max(width, std::to_string(counters.values[i]).size() + 1);
    }
    while (kClassLabelWidth + classes_per_line_ * class_width_ > kLineWidth)
      classes_per_line_ /= 2;
  }

  // The rows under their heading, in several parts if they are too wide; empty without a row.
  std::string by_class(const char *heading, const std::vector<Row> &rows) const {
    std::string text;
    for (size_t first = 0; first < kClasses; first += classes_per_line_)
      text += by_class(heading, rows, first);
    return text;
  }

  std::string numbers(const char *label, const std::vector<uint64_t> &values, Counts counts) const {
    uint64_t any = 0;
    std::string line = label_text(label);
    for (const uint64_t value : values) {
      any |= value;
      line += counter_cell(value, width_, counts, colours_);
    }
    return omits(any) ? "" : line + "\n";
  }

  std::string texts(const char *label, uint64_t value,
                    const std::vector<std::string> &texts) const {
    std::string line = omits(value) ? "" : label_text(label);
    for (size_t i = 0; !omits(value) && i < texts.size(); ++i)
      line += format("%*s", static_cast<int>(width_), texts[i].c_str());
    return line.empty() ? "" : line + "\n";
  }

 private:
  bool omits(uint64_t value) const { return nonzero_ && value == 0; }

  static std::string label_text(const char *label) {
    return format("%-*s", static_cast<int>(kLabelWidth), label);
  }

  std::string by_class(const char *heading, const std::vector<Row> &rows, size_t first) const {
    const int label_width = static_cast<int>(kClassLabelWidth);
    std::string head = format("%-*s", label_width, heading);
    for (size_t i = first; i < first + classes_per_line_; ++i)
      head += format("%*zu", static_cast<int>(class_width_), i);
    std::string text;
    for (const Row &row : rows) {
      uint64_t any = 0;
      std::string line = format("%-*s", label_width, row.label.c_str());
      for (size_t i = first; i < first + classes_per_line_; ++i) {
        any |= row.values[i];
        line += counter_cell(row.values[i], class_width_, row.counts, colours_);
      }
      text += omits(any) ? "" : line + "\n";
    }
    return text.empty() ? "" : head + "\n" + text;
  }

  bool nonzero_;
  bool colours_;
  size_t width_ = 12;
  size_t class_width_ = 8;
  size_t classes_per_line_ = kClasses;
};

std::vector<QosTables::Row> grid_rows(const kel_asic_counter_t (&drops)[6][8]) {
  std::vector<QosTables::Row> rows;
  for (size_t i = 0; i < kDropRows; ++i)
    rows.push_back({format("  row %zu", i), drops[i], Counts::kDrops});
  return rows;
}

const char *yes_no(uint64_t value) {
  return value != 0 ? "yes" : "no";
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
    rows.push_back(std::vector<Value>(&values[i], &values[i] + kClasses));
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

std::string qos_text(const kel_asic_qos_stats_t &stats, bool nonzero, bool colours) {
  const auto &[pause, ss_dhs, oq, drops] = stats;
  const QosTables tables(stats, nonzero, colours);
  const std::string pauses =
      tables.numbers("  XOFF", {pause.rx_xoff_cnt, pause.tx_xoff_cnt}, Counts::kFrames) +
      tables.numbers("  XON", {pause.rx_xon_cnt, pause.tx_xon_cnt}, Counts::kFrames) +
      tables.numbers("  PFC", {pause.rx_pfc_cnt, pause.tx_pfc_cnt}, Counts::kFrames) +
      tables.texts("  side in XOFF", pause.rx_xoff_status | pause.tx_xoff_status,
                   {yes_no(pause.rx_xoff_status), yes_no(pause.tx_xoff_status)}) +
      tables.texts("  flow control", pause.flow_ctrl, {format("0x%04x", pause.flow_ctrl)});
  const std::string sections[] = {
      pauses.empty() ? "" : tables.texts("pause", 1, {"received", "sent"}) + pauses,
      tables.by_class("PFC by priority",
                      {{"  XOFF received", pause.rx_pfc_xoff_cnt, Counts::kFrames},
                       {"  XOFF sent", pause.tx_pfc_xoff_cnt, Counts::kFrames}}),
      tables.by_class("by class", {{"  writes", ss_dhs.wr_rcvd_cnt, Counts::kFrames},
                                   {"  reads", ss_dhs.rd_sent_cnt, Counts::kFrames}}),
      tables.numbers("writes discarded", {ss_dhs.wr_discard_cnt}, Counts::kDrops) +
          tables.numbers("multicast discarded", {ss_dhs.wr_discard_mcast_cnt}, Counts::kDrops) +
          tables.numbers("received with an error", {ss_dhs.wr_rcvd_err_cnt}, Counts::kFrames) +
          tables.numbers("queue flushes", {oq.flush_cnt}, Counts::kFrames) +
          tables.numbers("queue timeouts", {oq.tout_cnt}, Counts::kFrames),
      tables.by_class("drops n2h", grid_rows(drops.n2h_drops)),
      tables.by_class("drops h2n", grid_rows(drops.h2n_drops))};
  std::string text;
  for (const std::string &section : sections)
    text += (text.empty() || section.empty() ? "" : "\n") + section;
  return text.empty() ? "every counter is zero\n" : text;
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
