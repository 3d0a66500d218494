// Names of blocks and registers, as the public headers have them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kel_asic_reference_text.h"

namespace mrvctl {

using RegisterName = kel_asic_register_name_t;

// A register of one block instance.
struct Register {
  kel_asic_blk_t block;
  uint32_t instance;
  kel_asic_reg_t vreg;
};

// The registers of a block that have a name, in the order of their numbers.
std::vector<RegisterName> named_registers(kel_asic_blk_t block);

// Reads a block's name, printable or enumerator, in any case.
kel_asic_blk_t parse_block(const std::string &text);

// A register's name as the tables have it: in upper case, without _OFFSET.
std::string register_word(const std::string &text);

}  // namespace mrvctl
