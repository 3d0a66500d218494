// The ASIC as the platform's register map describes it, in the raw form that checks look at.
#pragma once

#include <cstdint>
#include <vector>

#include "asic/asic_map.h"
#include "platform/register_map.h"

namespace mrvctl {

// What morvane_lib_init has left in records that were full of one byte.
struct Description {
  syserr_t result;
  KEL_ASIC_fn hooks;
  kel_asic_limits_t limits;
  kel_asic_ver_t revision;
};

Description query_register_map(uint8_t fill_pattern = 0);

// The addresses, block by block: copies of what the tables hold.
struct AddressTables {
  std::vector<std::vector<kel_asic_reg_t>> bases;
  std::vector<std::vector<kel_asic_reg_t>> offsets;
};

// Throws a violation where a table, or the array of a block that has instances, is missing or too
// short.
AddressTables query_tables(const Description &description);

// The map, once what it is made of was seen to be there. Throws a violation.
RegisterMap queried_map();

// Initialises the library in the process of a check, and closes its standard output to what that
// prints. Throws a violation, also where a call of the library would use a table that is missing.
void init_library(uint32_t slot);

}  // namespace mrvctl
