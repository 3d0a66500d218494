// Names of blocks, registers and command addresses, as the public headers have them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "kel_asic_blocks.h"
#include "kel_asic_intf.h"

namespace mrvctl {

struct RegisterName {
  kel_asic_blk_t block;
  kel_asic_reg_t vreg;
  const char *name;  // without _OFFSET
};

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

// The block that has a register of that name; empty if none has.
std::optional<kel_asic_blk_t> block_with(const std::string &name);

// Name of a register; null where it has none.
const char *register_name(kel_asic_blk_t block, kel_asic_reg_t vreg);

// Name of a command address; null where it is an ordinary address.
const char *command_name(uint32_t address);

}  // namespace mrvctl
