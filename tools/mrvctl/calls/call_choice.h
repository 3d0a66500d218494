// Selects calls.
#pragma once

#include <optional>
#include <string>

#include "asic/address_index.h"
#include "calls/decoded_call.h"

namespace mrvctl {

struct CallChoice {
  std::optional<RegisterReference> reg;
  bool writes = false;
  bool failed = false;
  std::optional<uint64_t> slower_ns;
  std::string caller;
  uint64_t since_ns = 0;
  uint64_t until_ns = UINT64_MAX;
};

bool is_chosen(const CallChoice &choice, const DecodedCall &call, const AddressIndex &index);

// The last word that a call writes into a register of an ASIC, and its place.
struct WrittenWord {
  Access access;
  uint32_t word;  // of the access
};
std::optional<WrittenWord> last_written(const DecodedCall &call, const RegisterReference &reg,
                                        const morvane::asic &asic, const AddressIndex &index);

}  // namespace mrvctl
