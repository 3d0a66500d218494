// Names of blocks, registers and command addresses, as the public headers have them.
#ifndef MRVCTL_REGISTER_NAMES_H
#define MRVCTL_REGISTER_NAMES_H

#include <cstdint>
#include <string>
#include <vector>

#include "kel_asic_blocks.h"
#include "kel_asic_intf.h"

namespace mrvctl {

struct RegisterName {
  kel_asic_blk_t block;
  kel_asic_reg_t vreg;
  const char *name;
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

// Reads a block instance, "HI.2".
Register parse_block_instance(const std::string &text);

// Instances of a block: one, or all of them.
struct Instances {
  kel_asic_blk_t block;
  uint32_t first;
  bool all;
};

// Reads block instances, "HI.2", or "HI.*" for all.
Instances parse_instances(const std::string &text);

// Reads a register's name, with _OFFSET or without, in any case; or its number.
kel_asic_reg_t parse_vreg(kel_asic_blk_t block, const std::string &text);

// Reads a register from its two words, "HI.2" and "HI_DHS_LVIF".
Register parse_register(const std::string &place, const std::string &name);

// Name of a register; null where it has none.
const char *register_name(kel_asic_blk_t block, kel_asic_reg_t vreg);

// "HI.2 HI_DHS_LVIF_OFFSET", or with the number where there is no name.
std::string register_text(const Register &reg);

// The same without _OFFSET, where many stand in one line.
std::string short_register_text(const Register &reg);

// Name of a command address; null where it is an ordinary address.
const char *command_name(uint32_t address);

}  // namespace mrvctl

#endif
