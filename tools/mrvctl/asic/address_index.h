// The way back from an address to the name of its register: the spans of all registers, in a list
// that is searched by halves.
#ifndef MRVCTL_ADDRESS_INDEX_H
#define MRVCTL_ADDRESS_INDEX_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "asic/address_spans.h"
#include "asic/asic_map.h"
#include "asic/register_names.h"

namespace mrvctl {

// What a word of the ASIC belongs to.
struct Location {
  Register reg;
  std::optional<uint32_t> entry;  // of a table register
  uint32_t word = 0;              // of the entry
};

// "HI.2 HI_DHS_LVIF"; of a table "HI.2 HI_DHS_LVIF [5]", behind the first word of an entry
// "HF.0 HF_DHS_POL [5].2".
std::string location_text(const Location &location);

// What somebody asks after: a block instance, one of its registers, or one entry of a table.
struct RegisterChoice {
  Register reg;
  bool whole_instance = false;
  std::optional<uint32_t> entry;
};

// Reads "HI.2" with "HI_DHS_LVIF", "1461" or "HI_DHS_LVIF[5]". Throws UsageError.
RegisterChoice parse_register_choice(const std::string &place, const std::string &name);

// Reads "HI.2", "HI.2:HI_DHS_LVIF" or "HI.2:HI_DHS_LVIF[5]". Throws UsageError.
RegisterChoice parse_register_choice(const std::string &text);

class AddressIndex {
 public:
  explicit AddressIndex(const RegisterMap &map);

  // Empty where no register has that address.
  std::optional<Location> find(uint32_t address) const;

  // The register or the command that has the address; empty where none has.
  std::string name(uint32_t address) const;

  // The same, or the address in digits.
  std::string text(uint32_t address) const;

  // Which word of a run from an address on is the last that belongs to the choice; empty where
  // none does.
  std::optional<uint32_t> last_word_of(const RegisterChoice &choice, uint32_t address,
                                       uint32_t words) const;

 private:
  std::vector<AddressSpan> spans_;  // in the order of their addresses, none within another
};

}  // namespace mrvctl

#endif
