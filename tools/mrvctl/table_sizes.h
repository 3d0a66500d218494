// The table (DHS) registers: their entry sizes and index ranges, as the library answers them.
#ifndef MRVCTL_TABLE_SIZES_H
#define MRVCTL_TABLE_SIZES_H

#include <cstdint>
#include <optional>
#include <vector>

#include "kel_asic_intf.h"

namespace mrvctl {

class Session;

// Words of the largest entries that the tool handles; a table with larger ones is none to it.
constexpr uint32_t kLargestEntry = 256;

struct Table {
  kel_asic_blk_t block;
  kel_asic_reg_t vreg;
  uint32_t entry_size;     // words in one entry
  uint32_t highest_index;  // the largest index that the library accepts
};

// Asks the library, and remembers. No question reaches the service or touches a register.
class TableSizes {
 public:
  // The table registers that have a name. Cannot be asked first while a transaction is open.
  const std::vector<Table> &named(Session &session);

  // Any register; empty where the library knows no such table.
  std::optional<Table> find(Session &session, kel_asic_blk_t block, kel_asic_reg_t vreg);

 private:
  std::optional<std::vector<Table>> named_;
};

}  // namespace mrvctl

#endif
