// All ports of an ASIC, one row per port, sorted, and the classes of one of them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "asic/qos_counters.h"
#include "output/json.h"

namespace mrvctl {

// What the ports are sorted by.
enum class SortKey { kDrops, kPause, kWrites };
constexpr const char *kSortKeys[] = {"drops", "pause", "writes"};

// A port as it was last read.
struct PortRow {
  PortReading reading;            // if its result is a failure, the statistics are older
  kel_asic_qos_stats_t delta;     // since it was read before; or all of it
  double seconds;                 // in this time; 0 if it was not read before
  std::optional<double> read_at;  // monotonic_seconds()
};

struct TopView {
  uint32_t module;
  uint32_t asic;
  double interval;
  SortKey sort_key;
  std::vector<PortRow> rows;  // in the order of the view
  size_t chosen;              // the row whose classes are shown
  bool shows_keys;            // what each key does, in place of the rows
};

// Ports that failed come first, then those with the largest values; others stay as they were.
void sort_rows(std::vector<PortRow> &rows, SortKey key);

// The lines of the view, as wide as fits; `height` is 0 to show all rows.
std::vector<std::string> top_lines(const TopView &view, size_t width, size_t height, bool colours);

Json top_json(const TopView &view);

}  // namespace mrvctl
