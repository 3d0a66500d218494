// Calls on standard output: a table with a line per call, or an object each.
#pragma once

#include <optional>

#include "asic/address_index.h"
#include "calls/decoded_call.h"
#include "commands/session.h"

namespace mrvctl {

class CallTable {
 public:
  // Prints the heading. The register is the one that calls were chosen by.
  CallTable(Session &session, const AddressIndex &index, size_t process_width,
            const std::optional<RegisterReference> &wanted);

  void show(const DecodedCall &call) const;

 private:
  Report &report_;
  const AddressIndex &index_;
  size_t process_width_;
  std::optional<RegisterReference> wanted_;
};

}  // namespace mrvctl
