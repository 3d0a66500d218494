// What checks have found in registers before they wrote to them, in memory that parent and child
// share: the values can be put back although the process that wrote is dead.
#pragma once

#include <cstdint>
#include <string>

#include "kel_asic_lib_common.h"

namespace mrvctl {

class SavedValues {
 public:
  // Throws OperationFailed.
  SavedValues();
  ~SavedValues();
  SavedValues(const SavedValues &) = delete;
  SavedValues &operator=(const SavedValues &) = delete;

  // Notes a write that puts something back, before anything is written over it.
  void keep(const kel_asic_xn_entry_t &write);

  // Sends the writes, the latest first, and forgets them. Throws Violation.
  void restore();

  bool empty() const { return shared_->count == 0; }
  // The writes that are still to be sent, "0x10200014 <- 0x5, ...".
  std::string text() const;

 private:
  static constexpr uint32_t kMaxWrites = 4096;
  struct Shared {
    uint32_t count;
    kel_asic_xn_entry_t writes[kMaxWrites];
  };
  Shared *shared_;
};

}  // namespace mrvctl
