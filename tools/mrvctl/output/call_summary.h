// Calls by operation, like a profile.
#ifndef MRVCTL_CALL_SUMMARY_H
#define MRVCTL_CALL_SUMMARY_H

#include <map>
#include <string>
#include <vector>

#include "calls/decoded_call.h"
#include "output/json.h"

namespace mrvctl {

class CallSummary {
 public:
  void add(const DecodedCall &call, const AddressIndex &index);

  // A row an operation: calls, failures, total, median, 99th percentile, and the slowest with its
  // caller; the operation that took longest in all comes first.
  std::string text();
  Json json();

 private:
  struct Row {
    uint64_t calls = 0;
    uint64_t failed = 0;
    uint64_t total_ns = 0;
    uint64_t slowest_ns = 0;
    std::string slowest;              // the call, in words
    std::vector<uint64_t> durations;  // of those that are known
  };

  std::vector<std::pair<std::string, Row *>> by_total();

  std::map<std::string, Row> rows_;
};

}  // namespace mrvctl

#endif
