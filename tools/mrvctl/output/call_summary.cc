// Calls by operation.
#include "output/call_summary.h"

#include <algorithm>

#include "calls/call_text.h"
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

Listing CallSummary::listing() {
  std::vector<std::pair<std::string, Row *>> rows;
  for (auto &[operation, row] : rows_)
    rows.emplace_back(operation, &row);
  std::stable_sort(rows.begin(), rows.end(), [](const auto &a, const auto &b) {
    return a.second->total_ns > b.second->total_ns;
  });
  Listing listing({{"operation", "OPERATION"},
                   {"calls", "CALLS", Align::kRight},
                   {"failed", "FAILED", Align::kRight},
                   {"total_ns", "TOTAL", Align::kRight},
                   {"median_ns", "MEDIAN", Align::kRight},
                   {"p99_ns", "99%", Align::kRight},
                   {"slowest_ns", "SLOWEST", Align::kRight},
                   {"slowest", "SLOWEST CALL"}});
  const auto duration = [](uint64_t ns) { return Cell(duration_text(ns), ns); };
  for (const auto &[operation, row] : rows)
    listing.add({operation, row->calls, row->failed, duration(row->total_ns),
                 duration(percentile(row->durations, 50)), duration(percentile(row->durations, 99)),
                 duration(row->slowest_ns), row->slowest});
  return listing;
}

}  // namespace mrvctl
