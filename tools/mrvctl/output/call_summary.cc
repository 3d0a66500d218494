// Calls by operation.
#include "output/call_summary.h"

#include <algorithm>

#include "text/text.h"
#include "text/times.h"

namespace mrvctl {
namespace {

// The smallest duration that so many percent of the calls do not exceed; 0 without calls. Orders
// the durations as far as it needs.
uint64_t percentile(std::vector<uint64_t> &durations, size_t percent) {
  if (durations.empty())
    return 0;
  const size_t rank = (durations.size() * percent + 99) / 100 - 1;
  const auto place = durations.begin() + static_cast<std::ptrdiff_t>(rank);
  std::nth_element(durations.begin(), place, durations.end());
  return *place;
}

std::string call_text(const DecodedCall &call, const AddressIndex &index) {
  const std::string caller = caller_text(call);
  return target_text(call, index) + ", call " + std::to_string(call.number) + " of " +
         call.process->label + (caller.empty() ? "" : ", " + caller);
}

}  // namespace

void CallSummary::add(const DecodedCall &call, const AddressIndex &index) {
  Row &row = rows_[call.operation];
  ++row.calls;
  row.failed += call.failed ? 1 : 0;
  if (!call.duration_ns)
    return;
  row.durations.push_back(*call.duration_ns);
  row.total_ns += *call.duration_ns;
  if (row.slowest.empty() || *call.duration_ns > row.slowest_ns) {
    row.slowest_ns = *call.duration_ns;
    row.slowest = call_text(call, index);
  }
}

std::vector<std::pair<std::string, CallSummary::Row *>> CallSummary::by_total() {
  std::vector<std::pair<std::string, Row *>> rows;
  for (auto &[operation, row] : rows_)
    rows.emplace_back(operation, &row);
  std::stable_sort(rows.begin(), rows.end(), [](const auto &a, const auto &b) {
    return a.second->total_ns > b.second->total_ns;
  });
  return rows;
}

std::string CallSummary::text() {
  std::string text = format("%-17s %9s %8s %14s %12s %12s %12s  %s\n", "OPERATION", "CALLS",
                            "FAILED", "TOTAL", "MEDIAN", "99%", "SLOWEST", "SLOWEST CALL");
  for (const auto &[operation, row] : by_total())
    text += format(
        "%-17s %9llu %8llu %14s %12s %12s %12s  %s\n", operation.c_str(),
        static_cast<unsigned long long>(row->calls), static_cast<unsigned long long>(row->failed),
        duration_text(row->total_ns).c_str(), duration_text(percentile(row->durations, 50)).c_str(),
        duration_text(percentile(row->durations, 99)).c_str(),
        duration_text(row->slowest_ns).c_str(), row->slowest.c_str());
  return text;
}

Json CallSummary::json() {
  Json list = Json::array();
  for (const auto &[operation, row] : by_total())
    list.push_back({{"operation", operation},
                    {"calls", row->calls},
                    {"failed", row->failed},
                    {"total_ns", row->total_ns},
                    {"median_ns", percentile(row->durations, 50)},
                    {"p99_ns", percentile(row->durations, 99)},
                    {"slowest_ns", row->slowest_ns},
                    {"slowest", row->slowest}});
  return {{"command", "calls"}, {"summary", list}};
}

}  // namespace mrvctl
