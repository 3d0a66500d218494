// Calls by operation, like a profile.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "asic/address_index.h"
#include "calls/decoded_call.h"
#include "output/listing.h"

namespace mrvctl {

class CallSummary {
 public:
  void add(const DecodedCall &call, const AddressIndex &index);

  // One row per operation: calls, failures, total, median, 99th percentile, and the slowest with
  // its caller; the operation with the longest total comes first.
  Listing listing();

 private:
  struct Row {
    uint64_t calls = 0;
    uint64_t failed = 0;
    uint64_t total_ns = 0;
    uint64_t slowest_ns = 0;
    std::string slowest;              // the call, in words
    std::vector<uint64_t> durations;  // of those that are known
  };

  std::map<std::string, Row> rows_;
};

}  // namespace mrvctl
