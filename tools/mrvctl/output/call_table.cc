// Calls as a table, or as objects.
#include "output/call_table.h"

#include <algorithm>
#include <iterator>
#include <numeric>

#include "calls/call_text.h"
#include "output/call_json.h"
#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr size_t kMaxWaiting = 200;  // calls
constexpr size_t kMinLast = 24;      // characters of the last column

struct CallColumn {
  const char *name;
  size_t full;   // width without a terminal
  size_t usual;  // width on a terminal before any call is known
  size_t min;    // width on a narrow terminal
  Cut cut;
  int align;
};

constexpr size_t kProcess = 1, kDuration = 2, kCaller = 7;
constexpr CallColumn kColumns[] = {
    {"time", 26, 12, 12, Cut::kNever, -1},      {"process", 0, 16, 8, Cut::kMiddle, -1},
    {"duration", 12, 5, 5, Cut::kNever, 1},     {"operation", 13, 11, 9, Cut::kMiddle, -1},
    {"register", 30, 22, 14, Cut::kMiddle, -1}, {"value", 26, 11, 11, Cut::kEnd, -1},
    {"result", 10, 6, 6, Cut::kNever, -1},      {"caller", 40, 30, 8, Cut::kEnd, -1}};

// Of a caller, "main client.c:12", the end is kept, but not of what is in place of a caller.
Cut cut_of(size_t column, const std::string &cell) {
  const size_t colon = cell.rfind(':');
  const bool has_line = colon != std::string::npos && colon + 1 < cell.size() &&
                        cell.find_first_not_of("0123456789", colon + 1) == std::string::npos;
  return column == kCaller && has_line ? Cut::kBegin : kColumns[column].cut;
}

}  // namespace

std::vector<std::string> call_column_names() {
  std::vector<std::string> names;
  for (const CallColumn &column : kColumns)
    names.emplace_back(column.name);
  return names;
}

size_t parse_call_column(const std::string &text) {
  const std::vector<std::string> names = call_column_names();
  const auto found = std::find(names.begin(), names.end(), lower_case(text));
  if (found == names.end())
    throw UsageError("'" + text + "' is not one of the columns " + join(names, ", "));
  return static_cast<size_t>(found - names.begin());
}

CallTable::CallTable(Report &report, const AddressIndex &index, const CallTableOptions &options,
                     size_t process_width, const std::optional<RegisterReference> &wanted)
    : report_(report),
      index_(index),
      columns_(options.columns),
      width_(options.wide ? 0 : report.terminal_width()),
      process_width_(process_width),
      wanted_(wanted) {
  if (columns_.empty()) {
    columns_.resize(std::size(kColumns));
    std::iota(columns_.begin(), columns_.end(), size_t{0});
  }
  Row headings = call_column_names();
  if (width_ != 0)
    headings[kDuration] = "us";
  for (std::string &heading : headings)
    heading = upper_case(heading);
  waiting_.push_back(std::move(headings));
}

// The last column has what is left. If that is too little, the others are cut, first the one that
// loses least.
void CallTable::lay_out() {
  const bool full = width_ == 0;
  for (const CallColumn &column : kColumns)
    widths_.push_back(full ? column.full : waiting_.size() == 1 ? column.usual : 0);
  if (full) {
    widths_[kProcess] = process_width_;
    return;
  }
  for (size_t column = 0; column < widths_.size(); ++column) {
    for (const Row &row : waiting_)
      widths_[column] = std::max(widths_[column], row[column].size());
  }
  const CallColumns others(columns_.begin(), columns_.end() - 1);
  size_t used = others.size();  // the gaps
  for (const size_t column : others)
    used += widths_[column];
  const auto excess = [&](size_t column) {
    const size_t min = kColumns[column].cut == Cut::kNever ? SIZE_MAX : kColumns[column].min;
    return widths_[column] - std::min(widths_[column], min);
  };
  while (used + kMinLast > width_ && !others.empty()) {
    const size_t widest =
        *std::max_element(others.begin(), others.end(),
                          [&](size_t one, size_t other) { return excess(one) < excess(other); });
    if (excess(widest) == 0)
      break;
    --widths_[widest];
    --used;
  }
  widths_[columns_.back()] = width_ - std::min(used, width_ - 1);
}

std::string CallTable::line(const Row &row) const {
  const bool full = width_ == 0;
  std::string text;
  for (const size_t column : columns_) {
    const std::string &cell = row[column];
    const std::string shown = full ? cell : cut_text(cell, widths_[column], cut_of(column, cell));
    const int width = static_cast<int>(widths_[column]) * kColumns[column].align;
    text += (text.empty() ? "" : full ? "  " : " ") + format("%*s", width, shown.c_str());
  }
  text.erase(text.find_last_not_of(' ') + 1);
  return (full ? text : cut_text(text, width_, Cut::kEnd)) + "\n";
}

void CallTable::show(const DecodedCall &call) {
  if (report_.json)
    return report_.result(call_json(call, index_), "");
  const bool full = width_ == 0;
  Row row = call_cells(call, index_, wanted_, !full);
  if (!widths_.empty())
    return report_.result({}, line(row));
  waiting_.push_back(std::move(row));
  if (full || waiting_.size() == kMaxWaiting)
    flush();
}

void CallTable::flush() {
  if (report_.json || !widths_.empty())
    return;
  lay_out();
  std::string text;
  for (const Row &row : waiting_)
    text += line(row);
  waiting_.clear();
  report_.result({}, text);
}

}  // namespace mrvctl
