// The addresses of all registers of the ASIC, as the register map and the table shapes have them,
// and the way back from an address to the name of its register.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "asic/asic_map.h"
#include "asic/register_reference.h"

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

// What a word of the ASIC belongs to.
struct Location {
  Register reg;
  std::optional<uint32_t> entry;  // of a table register
  uint32_t word = 0;              // of the entry
};

// "HI.2:HI_DHS_LVIF[5]"; of a word after the first of an entry "HF.0:HF_DHS_POL[5].2".
std::string location_text(const Location &location);

// The addresses that a reference includes, from the first to the last, in each instance.
struct AddressRange {
  uint32_t first;
  uint32_t size;    // bytes
  uint32_t stride;  // from one instance to the next
  uint32_t instances;
};

class AddressIndex {
 public:
  AddressIndex() = default;  // without any register
  explicit AddressIndex(const RegisterMap &map);

  // Empty where no register has that address.
  std::optional<Location> find(uint32_t address) const;

  // The register or the command that has the address; empty where none has.
  std::string name(uint32_t address) const;

  // The same, or the address in digits.
  std::string text(uint32_t address) const;

  // Throws UsageError if the reference includes no register.
  AddressRange range_of(const RegisterReference &reference) const;

  // Which word of a run from an address on is the last that a reference includes; empty if it
  // includes none.
  std::optional<uint32_t> last_word_of(const RegisterReference &reference, uint32_t address,
                                       uint32_t words) const;

  // None in an index without registers.
  const std::optional<RegisterMap> &map() const { return map_; }

 private:
  std::optional<RegisterMap> map_;
  std::vector<AddressSpan> spans_;  // in the order of their addresses, none within another
};

}  // namespace mrvctl
