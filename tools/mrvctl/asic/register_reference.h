// References to registers, as people write them and as everything prints them:
//
//     BLOCK.INST:REGISTER[INDEX]
//
// REGISTER is a name, in any case and with or without _OFFSET, or a number. "*" stands for every
// instance, A..B for a range of registers or entries, and .WORD after an entry for one of its
// words: HI.2:HI_DHS_LVIF[5], HI.2:40..47, HI.*:5, HF.0:HF_DHS_POL[0..3], HF.0:HF_DHS_POL[5].2.
#pragma once

#include <optional>
#include <string>

#include "asic/register_names.h"

namespace mrvctl {

struct Range {
  uint32_t first;
  uint32_t last;

  uint64_t count() const { return uint64_t{last} - first + 1; }
  bool contains(uint32_t number) const { return first <= number && number <= last; }
};

struct RegisterReference {
  std::string text;  // as it was given
  kel_asic_blk_t block = {};
  std::optional<uint32_t> instance;  // empty for every instance
  std::optional<Range> registers;    // empty for every register of the instance
  std::optional<Range> entries;      // of a table
  std::optional<uint32_t> word;      // of a single entry
  bool is_table = false;             // it has entries, or is the name of a table
  std::optional<uint32_t> address;   // of a word, in place of all these

  // The first register, in the first instance.
  Register first() const;
};

// Reads "HI", "HI.2", "HI.*:5", "HI.2:HI_DHS_LVIF[5]" ... Throws UsageError.
RegisterReference parse_register_reference(const std::string &text);

// The same, or the address of a register as a number.
RegisterReference parse_register_or_address(const std::string &text);

// Each throws UsageError unless the reference is what is wanted: registers or, with the remedy in
// the message, plain registers, which are not a table; and one register.
void require_registers(const RegisterReference &reference);
void require_plain_registers(const RegisterReference &reference, const std::string &remedy);
Register single_register(const RegisterReference &reference);

// Whether a word is the first of the two in "HI.2 HI_DHS_LVIF".
bool is_block_instance(const std::string &word);

// "HI.2:HI_DHS_LVIF", "HI.2:40"; of several registers "HI.2:40..43".
std::string register_text(const Register &reg, uint64_t count = 1);

// The same for read and write, which accept a table by its number only.
std::string plain_register_text(const Register &reg, uint64_t count = 1);

// "HI.*:HI_DHS_LVIF", of a register in every instance.
std::string every_register_text(kel_asic_blk_t block, kel_asic_reg_t vreg);

// "HI.2:HI_DHS_LVIF[5]"; of several entries "HI.2:HI_DHS_LVIF[5..7]".
std::string entry_range_text(const Register &reg, uint32_t index, uint64_t count = 1);

}  // namespace mrvctl
