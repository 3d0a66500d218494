// The addresses of all registers of the ASIC, as the register map and the table shapes have them.
#ifndef MRVCTL_ADDRESS_SPANS_H
#define MRVCTL_ADDRESS_SPANS_H

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "asic/asic_map.h"
#include "asic/register_names.h"

namespace mrvctl {

// The addresses of one register, those of all its entries where it is a table.
struct AddressSpan {
  uint64_t begin;
  uint64_t end;         // behind the last byte; beyond 32 bits where the map has no room
  uint32_t entry_size;  // words; 0 where it is no table
  Register reg;
};

// In the order of their addresses; of two registers with one address the first in the enumerations
// comes first.
std::vector<AddressSpan> address_spans(const RegisterMap &map);

// The first of those that are wanted, in the same order, without keeping all.
std::optional<AddressSpan> first_span(const RegisterMap &map,
                                      const std::function<bool(const AddressSpan &)> &wanted);

}  // namespace mrvctl

#endif
