// The table (DHS) registers: their entry sizes and index ranges, from the published shapes, and
// from the register map's hook where those leave it to the hook.
#pragma once

#include <cstdint>
#include <optional>

#include "asic/asic_map.h"

namespace mrvctl {

// Words of the largest entries that the tool handles; a table with larger ones is none to it.
constexpr uint32_t kLargestEntry = 256;

struct Table {
  kel_asic_blk_t block;
  kel_asic_reg_t vreg;
  uint32_t entry_size;     // words in one entry; of the first, where the hook decides
  uint32_t highest_index;  // the largest index that the library accepts
  bool by_hook;            // the hook decides on each entry
};

// The table that a register is; empty where it is none.
std::optional<Table> find_table(const RegisterMap &map, kel_asic_blk_t block, kel_asic_reg_t vreg);

}  // namespace mrvctl
