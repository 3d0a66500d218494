// All ports of an ASIC, a row each.
#include "view/top_view.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

#include "asic/port_types.h"
#include "asic/qos_counters.h"
#include "output/cells.h"
#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {
namespace {

// Frames of a port, in all or a second.
struct PortRates {
  double writes = 0;
  double reads = 0;
  double discards = 0;
  double n2h = 0;
  double h2n = 0;
  double pfc = 0;
  double pause = 0;
  double errors = 0;
  double multicast = 0;
  double flushes = 0;
  double timeouts = 0;

  // What is discarded and what a direction drops may be the same frames.
  double dropped() const { return std::max(discards, n2h + h2n); }

  // The part of the writes that was dropped, 0 to 1.
  double share() const {
    return dropped() == 0 ? 0 : std::min(dropped() / std::max(writes, 1e-9), 1.0);
  }
};

// In all they may be more than 64 bits hold.
double sum(const kel_asic_counter_t *values, size_t count) {
  double all = 0;
  for (size_t i = 0; i < count; ++i)
    all += static_cast<double>(values[i]);
  return all;
}

PortRates activity(const kel_asic_qos_stats_t &stats, double seconds) {
  const auto per_second = [seconds](double count) { return count / seconds; };
  const auto &[pause, ss_dhs, oq, drops] = stats;
  PortRates all;
  all.writes = per_second(sum(ss_dhs.wr_rcvd_cnt, kClasses));
  all.reads = per_second(sum(ss_dhs.rd_sent_cnt, kClasses));
  all.discards = per_second(sum(&ss_dhs.wr_discard_cnt, 1));
  all.n2h = per_second(sum(drops.n2h_drops[0], kGridCells));
  all.h2n = per_second(sum(drops.h2n_drops[0], kGridCells));
  all.pfc = per_second(sum(&pause.rx_pfc_cnt, 1) + sum(&pause.tx_pfc_cnt, 1));
  all.pause = per_second(sum(&pause.rx_xoff_cnt, 1) + sum(&pause.rx_xon_cnt, 1) +
                         sum(&pause.tx_xoff_cnt, 1) + sum(&pause.tx_xon_cnt, 1));
  all.errors = per_second(sum(&ss_dhs.wr_rcvd_err_cnt, 1));
  all.multicast = per_second(sum(&ss_dhs.wr_discard_mcast_cnt, 1));
  all.flushes = per_second(sum(&oq.flush_cnt, 1));
  all.timeouts = per_second(sum(&oq.tout_cnt, 1));
  return all;
}

// Before there is a rate, the totals.
double divisor(const PortRow &row) {
  return row.seconds > 0 ? row.seconds : 1;
}

PortRates activity(const PortRow &row) {
  return activity(row.delta, divisor(row));
}

bool failed(const PortRow &row) {
  return row.reading.result != 0;
}

bool in_xoff(const PortRow &row) {
  const kel_asic_qos_pause_stats_t &pause = row.reading.stats.pause;
  return pause.rx_xoff_status != 0 || pause.tx_xoff_status != 0;
}

double amount(const PortRates &all, SortKey interest) {
  switch (interest) {
    case SortKey::kPause:
      return all.pfc + all.pause;
    case SortKey::kWrites:
      return all.writes;
    default:
      return all.dropped();
  }
}

// The columns of rates; those at the end show where there is room.
struct Column {
  const char *heading;
  double PortRates::*rate;
  Counts counts;
};

constexpr Column kColumns[] = {
    {"WRITES", &PortRates::writes, Counts::kFrames},
    {"READS", &PortRates::reads, Counts::kFrames},
    {"DISC", &PortRates::discards, Counts::kDrops},
    {"N2H", &PortRates::n2h, Counts::kDrops},
    {"H2N", &PortRates::h2n, Counts::kDrops},
    {"PFC", &PortRates::pfc, Counts::kFrames},
    {"PAUSE", &PortRates::pause, Counts::kFrames},
    {"ERRORS", &PortRates::errors, Counts::kFrames},
    {"MCAST", &PortRates::multicast, Counts::kDrops},
    {"FLUSH", &PortRates::flushes, Counts::kFrames},
    {"TIMEOUT", &PortRates::timeouts, Counts::kFrames},
};

constexpr size_t kMinColumns = 7;
constexpr size_t kColumnWidth = 8;
constexpr int kPortWidth = 8;
constexpr size_t kXoffWidth = 7;
constexpr size_t kMinBar = 4;
constexpr size_t kLongestBar = 24;
constexpr size_t kShareWidth = 4;  // "100%"

// How the width is shared out.
struct Layout {
  size_t columns;
  size_t bar;
};

Layout layout_for(size_t width) {
  const size_t rest = kPortWidth + kXoffWidth + kMinBar + kShareWidth;
  Layout layout = {kMinColumns, kMinBar};
  while (layout.columns < std::size(kColumns) &&
         rest + (layout.columns + 1) * kColumnWidth <= width)
    ++layout.columns;
  const size_t used = rest + layout.columns * kColumnWidth;
  layout.bar += width > used ? std::min(width - used, kLongestBar - kMinBar) : 0;
  return layout;
}

// Four digits at most: "0.25", "999", "12.3k".
std::string short_number(double number) {
  const char *units[] = {"", "k", "M", "G", "T", "P", "E"};
  size_t unit = 0;
  for (; number >= 9999.5 && unit + 1 < std::size(units); ++unit)
    number /= 1000;
  if (unit == 0 && number == static_cast<double>(static_cast<uint32_t>(number)))
    return format("%.0f", number);
  const int digits = number < 9.995 ? 2 : number < 99.95 ? 1 : 0;
  return format("%.*f%s", digits, number, units[unit]);
}

std::string number_cell(double number, size_t width, Counts counts, bool colours) {
  return cell(short_number(number), width, number, counts, colours);
}

// However small a share is, it shows.
std::string bar_text(double share, size_t length, bool colours) {
  if (share == 0)
    return "";
  const auto full = static_cast<size_t>(std::ceil(share * static_cast<double>(length)));
  const std::string bar(full, '#');
  return (colours ? styled("31", bar) : bar) + std::string(length - full, ' ') +
         (share < 0.005 ? " <1%" : format("%3.0f%%", share * 100));
}

std::string heading_line(const Layout &layout) {
  std::string text = format("  %-*s", kPortWidth - 2, "PORT");
  for (size_t i = 0; i < layout.columns; ++i)
    text += format("%*s", static_cast<int>(kColumnWidth), kColumns[i].heading);
  return text + format("  %-*s", static_cast<int>(kXoffWidth) - 2, "XOFF") + "DROPPED";
}

std::string port_name(const PortReading &reading) {
  return port_text(reading.type, reading.port);
}

std::string row_line(const PortRow &row, const Layout &layout, bool chosen, bool colours) {
  const std::string name =
      format("%c %-*s", chosen ? '>' : ' ', kPortWidth - 2, port_name(row.reading).c_str());
  if (failed(row))
    return name + " " + result_text(row.reading.result);
  const PortRates all = activity(row);
  std::string text = name;
  for (size_t i = 0; i < layout.columns; ++i)
    text += number_cell(all.*kColumns[i].rate, kColumnWidth, kColumns[i].counts, colours);
  const kel_asic_qos_pause_stats_t &pause = row.reading.stats.pause;
  const std::string xoff = format("  %-2s %-2s", pause.rx_xoff_status != 0 ? "rx" : "",
                                  pause.tx_xoff_status != 0 ? "tx" : "");
  return text + (colours && in_xoff(row) ? styled("35", xoff) : xoff) +
         bar_text(all.share(), layout.bar, colours);
}

constexpr size_t kClassLines = 7;
constexpr int kClassLabelWidth = 15;

using ClassCounts = std::array<double, kClasses>;

std::string class_line(const char *label, const ClassCounts &values, Counts counts, bool colours) {
  std::string text = format("%-*s", kClassLabelWidth, label);
  for (const double value : values)
    text += number_cell(value, kColumnWidth, counts, colours);
  return text;
}

std::vector<std::string> class_lines(const PortRow &row, bool colours) {
  const double seconds = divisor(row);
  const auto rates = [seconds](const kel_asic_counter_t *values, size_t rows) {
    ClassCounts sums = {};
    for (size_t i = 0; i < rows * kClasses; ++i)
      sums[i % kClasses] += static_cast<double>(values[i]) / seconds;
    return sums;
  };
  const auto &[pause, ss_dhs, oq, drops] = row.delta;
  std::string heading =
      format("%-*s", kClassLabelWidth, (port_name(row.reading) + ", class").c_str());
  for (size_t i = 0; i < kClasses; ++i)
    heading += format("%*zu", static_cast<int>(kColumnWidth), i);
  return {heading,
          class_line("  writes", rates(ss_dhs.wr_rcvd_cnt, 1), Counts::kFrames, colours),
          class_line("  reads", rates(ss_dhs.rd_sent_cnt, 1), Counts::kFrames, colours),
          class_line("  drops n2h", rates(drops.n2h_drops[0], kDropRows), Counts::kDrops, colours),
          class_line("  drops h2n", rates(drops.h2n_drops[0], kDropRows), Counts::kDrops, colours),
          class_line("  XOFF received", rates(pause.rx_pfc_xoff_cnt, 1), Counts::kFrames, colours),
          class_line("  XOFF sent", rates(pause.tx_pfc_xoff_cnt, 1), Counts::kFrames, colours)};
}

const char *interest_text(SortKey interest) {
  switch (interest) {
    case SortKey::kPause:
      return "pause";
    case SortKey::kWrites:
      return "writes";
    default:
      return "drops";
  }
}

std::string title_line(const TopView &view) {
  const bool rates = std::any_of(view.rows.begin(), view.rows.end(),
                                 [](const PortRow &row) { return row.seconds > 0; });
  return format(
      "module %u, ASIC %u  %zu ports by %s  %s", view.module, view.asic, view.rows.size(),
      interest_text(view.interest),
      rates ? format("frames a second, every %g s", view.interval).c_str() : "frames in all");
}

// The rows that there is room for, the chosen one among them.
std::pair<size_t, size_t> visible_rows(const TopView &view, size_t room) {
  const size_t count = view.rows.size();
  if (count <= room)
    return {0, count};
  const size_t first = std::min(view.chosen - std::min(view.chosen, room / 2), count - room);
  return {first, first + room};
}

// What makes a row come before others, the weightiest first: between ports of one rate what there
// was before, and then whatever else moves.
std::array<double, 7> weights(const PortRow &row, SortKey interest) {
  const PortRates now = activity(row);
  return {failed(row) ? 1.0 : 0.0,      interest == SortKey::kPause && in_xoff(row) ? 1.0 : 0.0,
          amount(now, interest),        amount(activity(row.reading.stats, 1), interest),
          amount(now, SortKey::kDrops), amount(now, SortKey::kPause),
          amount(now, SortKey::kWrites)};
}

}  // namespace

SortKey parse_sort_key(const std::string &text) {
  for (const SortKey interest : {SortKey::kDrops, SortKey::kPause, SortKey::kWrites}) {
    if (lower_case(text) == interest_text(interest))
      return interest;
  }
  throw UsageError("'" + text + "' is none of drops, pause, writes");
}

void sort_rows(std::vector<PortRow> &rows, SortKey interest) {
  std::stable_sort(rows.begin(), rows.end(), [interest](const PortRow &a, const PortRow &b) {
    return weights(a, interest) > weights(b, interest);
  });
}

std::vector<std::string> top_lines(const TopView &view, size_t width, size_t height, bool colours) {
  constexpr size_t kOtherLines = 3;  // title, heading, keys
  constexpr size_t kMinRows = 4;
  const bool on_screen = height > 0;
  const bool classes = !view.rows.empty() && !failed(view.rows[view.chosen]) &&
                       (!on_screen || height >= kOtherLines + kMinRows + 1 + kClassLines);
  const size_t others = kOtherLines + (classes ? 1 + kClassLines : 0);
  const size_t room = on_screen ? std::max(height, others + 1) - others : view.rows.size();
  const auto [first, last] = visible_rows(view, room);
  const Layout layout = layout_for(width - 1);

  std::vector<std::string> lines = {
      title_line(view), colours ? styled("1", heading_line(layout)) : heading_line(layout)};
  for (size_t i = first; i < last; ++i) {
    const bool chosen = i == view.chosen;
    const std::string line = row_line(view.rows[i], layout, chosen, colours && !chosen);
    lines.push_back(chosen && colours ? styled("7", line) : line);
  }
  if (classes) {
    lines.emplace_back();
    for (std::string &line : class_lines(view.rows[view.chosen], colours))
      lines.push_back(std::move(line));
  }
  if (on_screen) {
    lines.resize(std::max(height, kOtherLines) - 1);
    lines.emplace_back(
        "d drops  p pause  w writes  arrows choose  home follows the first  q quits");
    lines.resize(height);
  }
  return lines;
}

Json top_json(const TopView &view) {
  Json ports = Json::array();
  for (const PortRow &row : view.rows) {
    const PortRates all = activity(row);
    const bool rates = !failed(row) && row.seconds > 0;
    Json port = {{"port_type", port_type_text(row.reading.type)},
                 {"port", row.reading.port},
                 {"up", !failed(row)},
                 {"xoff_receive", row.reading.stats.pause.rx_xoff_status != 0},
                 {"xoff_transmit", row.reading.stats.pause.tx_xoff_status != 0},
                 {"dropped_share", rates ? Json(all.share()) : Json()},
                 {"rates", Json()}};
    if (rates)
      port["rates"] = {{"writes", all.writes},
                       {"reads", all.reads},
                       {"discards", all.discards},
                       {"drops_n2h", all.n2h},
                       {"drops_h2n", all.h2n},
                       {"pfc", all.pfc},
                       {"pause", all.pause},
                       {"errors", all.errors},
                       {"multicast_discards", all.multicast},
                       {"flushes", all.flushes},
                       {"timeouts", all.timeouts}};
    ports.push_back(port);
  }
  return {{"command", "qos top"},
          {"module", view.module},
          {"asic", view.asic},
          {"sort", interest_text(view.interest)},
          {"ports", ports}};
}

}  // namespace mrvctl
