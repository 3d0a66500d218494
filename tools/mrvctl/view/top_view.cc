// All ports of an ASIC, a row each.
#include "view/top_view.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

#include "asic/port_reference.h"
#include "output/qos_tables.h"
#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {
namespace {

using Stats = kel_asic_qos_stats_t;

// Sums may exceed 64 bits.
double sum(const kel_asic_counter_t *values, size_t count) {
  double total = 0;
  for (size_t i = 0; i < count; ++i)
    total += static_cast<double>(values[i]);
  return total;
}

double writes(const Stats &stats) {
  return sum(stats.ss_dhs.wr_rcvd_cnt, kClasses);
}

double discards(const Stats &stats) {
  return sum(&stats.ss_dhs.wr_discard_cnt, 1);
}

double drops_n2h(const Stats &stats) {
  return sum(stats.drops.n2h_drops[0], kGridCells);
}

double drops_h2n(const Stats &stats) {
  return sum(stats.drops.h2n_drops[0], kGridCells);
}

// Discarded frames and the drops of a direction may be the same frames.
double drops(const Stats &stats) {
  return std::max(discards(stats), drops_n2h(stats) + drops_h2n(stats));
}

// The part of the writes that was dropped, 0 to 1.
double dropped_share(const Stats &stats) {
  return std::min(drops(stats) / std::max(writes(stats), 1.0), 1.0);
}

double pfc(const Stats &stats) {
  return sum(&stats.pause.rx_pfc_cnt, 1) + sum(&stats.pause.tx_pfc_cnt, 1);
}

double pause_frames(const Stats &stats) {
  const kel_asic_qos_pause_stats_t &pause = stats.pause;
  return sum(&pause.rx_xoff_cnt, 1) + sum(&pause.rx_xon_cnt, 1) + sum(&pause.tx_xoff_cnt, 1) +
         sum(&pause.tx_xon_cnt, 1);
}

// The columns of rates; the last ones show if there is room.
struct RateColumn {
  const char *heading;
  const char *key;  // in an object
  Counts counts;
  double (*count)(const Stats &);
};

constexpr RateColumn kColumns[] = {
    {"WRITES", "writes", Counts::kFrames, writes},
    {"READS", "reads", Counts::kFrames,
     [](const Stats &stats) { return sum(stats.ss_dhs.rd_sent_cnt, kClasses); }},
    {"DISC", "discards", Counts::kDrops, discards},
    {"N2H", "drops_n2h", Counts::kDrops, drops_n2h},
    {"H2N", "drops_h2n", Counts::kDrops, drops_h2n},
    {"PFC", "pfc", Counts::kFrames, pfc},
    {"PAUSE", "pause", Counts::kFrames, pause_frames},
    {"ERRORS", "errors", Counts::kFrames,
     [](const Stats &stats) { return sum(&stats.ss_dhs.wr_rcvd_err_cnt, 1); }},
    {"MCAST", "multicast_discards", Counts::kDrops,
     [](const Stats &stats) { return sum(&stats.ss_dhs.wr_discard_mcast_cnt, 1); }},
    {"FLUSH", "flushes", Counts::kFrames,
     [](const Stats &stats) { return sum(&stats.oq.flush_cnt, 1); }},
    {"TIMEOUT", "timeouts", Counts::kFrames,
     [](const Stats &stats) { return sum(&stats.oq.tout_cnt, 1); }},
};

// Before there is a rate, the totals.
double divisor(const PortRow &row) {
  return row.seconds > 0 ? row.seconds : 1;
}

bool failed(const PortRow &row) {
  return row.reading.result != 0;
}

bool in_xoff(const PortRow &row) {
  const kel_asic_qos_pause_stats_t &pause = row.reading.stats.pause;
  return pause.rx_xoff_status != 0 || pause.tx_xoff_status != 0;
}

// By SortKey.
constexpr double (*kSortValues[])(const Stats &) = {
    drops, [](const Stats &stats) { return pfc(stats) + pause_frames(stats); }, writes};

double sort_value(const Stats &stats, SortKey key) {
  return kSortValues[static_cast<size_t>(key)](stats);
}

const char *sort_key_text(SortKey key) {
  return kSortKeys[static_cast<size_t>(key)];
}

constexpr size_t kMinColumns = 7;
constexpr size_t kColumnWidth = 8;
constexpr int kPortWidth = 8;
constexpr size_t kXoffWidth = 7;
constexpr size_t kMinBar = 4;
constexpr size_t kMaxBar = 24;
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
  layout.bar += width > used ? std::min(width - used, kMaxBar - kMinBar) : 0;
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

std::string row_line(const PortRow &row, const Layout &layout, bool chosen, bool colours) {
  const std::string name =
      format("%c %-*s", chosen ? '>' : ' ', kPortWidth - 2, port_text(row.reading.port).c_str());
  if (failed(row))
    return name + " " + result_text(row.reading.result);
  std::string text = name;
  for (size_t i = 0; i < layout.columns; ++i)
    text += number_cell(kColumns[i].count(row.delta) / divisor(row), kColumnWidth,
                        kColumns[i].counts, colours);
  const kel_asic_qos_pause_stats_t &pause = row.reading.stats.pause;
  const std::string xoff = format("  %-2s %-2s", pause.rx_xoff_status != 0 ? "rx" : "",
                                  pause.tx_xoff_status != 0 ? "tx" : "");
  return text + (colours && in_xoff(row) ? styled("35", xoff) : xoff) +
         bar_text(dropped_share(row.delta), layout.bar, colours);
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
  const Stats &delta = row.delta;
  std::string heading =
      format("%-*s", kClassLabelWidth, (port_text(row.reading.port) + ", class").c_str());
  for (size_t i = 0; i < kClasses; ++i)
    heading += format("%*zu", static_cast<int>(kColumnWidth), i);
  return {
      heading,
      class_line("  writes", rates(delta.ss_dhs.wr_rcvd_cnt, 1), Counts::kFrames, colours),
      class_line("  reads", rates(delta.ss_dhs.rd_sent_cnt, 1), Counts::kFrames, colours),
      class_line("  drops n2h", rates(delta.drops.n2h_drops[0], kDropRows), Counts::kDrops,
                 colours),
      class_line("  drops h2n", rates(delta.drops.h2n_drops[0], kDropRows), Counts::kDrops,
                 colours),
      class_line("  XOFF received", rates(delta.pause.rx_pfc_xoff_cnt, 1), Counts::kFrames,
                 colours),
      class_line("  XOFF sent", rates(delta.pause.tx_pfc_xoff_cnt, 1), Counts::kFrames, colours)};
}

std::string title_line(const TopView &view, size_t first, size_t last) {
  const bool rates = std::any_of(view.rows.begin(), view.rows.end(),
                                 [](const PortRow &row) { return row.seconds > 0; });
  const size_t count = view.rows.size();
  const std::string ports = last - first == count
                                ? count_text(count, "port", "ports")
                                : format("ports %zu-%zu of %zu", first + 1, last, count);
  return format(
      "module %u, ASIC %u  %s by %s  %s", view.module, view.asic, ports.c_str(),
      sort_key_text(view.sort_key),
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

constexpr const char *kKeyTexts[] = {
    "Keys of this view",
    "",
    "d                   sort by drops",
    "p                   sort by pause and PFC; ports in XOFF come first",
    "w                   sort by writes",
    "arrows, j, k        choose the port whose classes are shown",
    "page up, page down  move the choice by ten ports",
    "end                 choose the last port",
    "home                follow the first port of the order",
    "^Z                  stop mrvctl; fg continues it",
    "q, ^C               end the view",
    "",
    "Any other key returns to the ports.",
};

std::vector<std::string> key_lines(size_t height) {
  std::vector<std::string> lines(std::begin(kKeyTexts), std::end(kKeyTexts));
  lines.resize(height);
  return lines;
}

// What makes a row come before others, the weightiest first: if the rates are equal, the totals,
// and then other traffic.
std::array<double, 7> weights(const PortRow &row, SortKey key) {
  const auto rate = [&row](SortKey by) { return sort_value(row.delta, by) / divisor(row); };
  return {failed(row) ? 1.0 : 0.0,
          key == SortKey::kPause && in_xoff(row) ? 1.0 : 0.0,
          rate(key),
          sort_value(row.reading.stats, key),
          rate(SortKey::kDrops),
          rate(SortKey::kPause),
          rate(SortKey::kWrites)};
}

}  // namespace

void sort_rows(std::vector<PortRow> &rows, SortKey key) {
  std::stable_sort(rows.begin(), rows.end(), [key](const PortRow &a, const PortRow &b) {
    return weights(a, key) > weights(b, key);
  });
}

std::vector<std::string> top_lines(const TopView &view, size_t width, size_t height, bool colours) {
  constexpr size_t kOtherLines = 3;  // title, heading, keys
  constexpr size_t kMinRows = 4;
  const bool on_screen = height > 0;
  if (view.shows_keys)
    return key_lines(height);
  const bool classes = !view.rows.empty() && !failed(view.rows[view.chosen]) &&
                       (!on_screen || height >= kOtherLines + kMinRows + 1 + kClassLines);
  const size_t others = kOtherLines + (classes ? 1 + kClassLines : 0);
  const size_t room = on_screen ? std::max(height, others + 1) - others : view.rows.size();
  const auto [first, last] = visible_rows(view, room);
  const Layout layout = layout_for(width - 1);

  std::vector<std::string> lines = {
      title_line(view, first, last),
      colours ? styled("1", heading_line(layout)) : heading_line(layout)};
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
        "d drops  p pause  w writes  arrows choose  home first  ? explains keys  q quits");
    lines.resize(height);
  }
  return lines;
}

Json top_json(const TopView &view) {
  Json ports = Json::array();
  for (const PortRow &row : view.rows) {
    const bool rates = !failed(row) && row.seconds > 0;
    Json port = {{"port", port_text(row.reading.port)},
                 {"up", !failed(row)},
                 {"xoff_receive", row.reading.stats.pause.rx_xoff_status != 0},
                 {"xoff_transmit", row.reading.stats.pause.tx_xoff_status != 0},
                 {"dropped_share", rates ? Json(dropped_share(row.delta)) : Json()},
                 {"rates", Json()}};
    for (const RateColumn &column : kColumns) {
      if (rates)
        port["rates"][column.key] = column.count(row.delta) / row.seconds;
    }
    ports.push_back(port);
  }
  return {{"module", view.module},
          {"asic", view.asic},
          {"sort", sort_key_text(view.sort_key)},
          {"ports", ports}};
}

}  // namespace mrvctl
