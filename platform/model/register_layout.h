// The register addresses of the virtual Morvane.
//
// Each block has a span of addresses, each of its instances a part of that. An instance begins with
// its registers, four bytes each in the order of their enumeration, so that a block access
// reaches neighbours; the addresses of holes and of table registers stay empty. After them follow
// the windows of the tables, which have space for every entry.
#ifndef REGISTER_LAYOUT_H
#define REGISTER_LAYOUT_H

#include <array>
#include <cstdint>
#include <vector>

#include "kel_asic_intf.h"

namespace virtual_asic {

// Consecutive words: a table, or neighbouring registers.
struct Window {
  uint32_t begin;
  uint32_t size;
  kel_asic_reg_t vreg;   // the table, or the first of the registers
  uint32_t entry_words;  // 0: registers

  bool has(uint32_t address) const { return address - begin < size; }
};

// By block.
struct RegisterLayout {
  std::array<std::vector<kel_asic_reg_t>, KEL_ASIC_NUM_BLK> bases;    // one per instance
  std::array<std::vector<kel_asic_reg_t>, KEL_ASIC_NUM_BLK> offsets;  // one per register
  std::array<std::vector<Window>, KEL_ASIC_NUM_BLK> windows;  // by their offset in an instance
};

// Built at the first use and never destroyed: clients keep the tables until the process ends.
const RegisterLayout &register_layout();

// What a word belongs to.
struct Location {
  kel_asic_blk_t block;
  uint32_t instance;
  kel_asic_reg_t vreg;
  uint32_t entry_words;  // 0 if it is a register
  uint32_t index;        // of the entry
  uint32_t word;         // of the entry
};

// The location of an address that has a word.
Location location_of(uint32_t address);

// The address of a register, or of the first word of a table entry; 0 if there is none.
uint32_t address_of(kel_asic_blk_t block, uint32_t instance, kel_asic_reg_t vreg, uint32_t index);

// Words in an entry of a table whose shape is not published; -1 for any other register or entry.
int hook_entry_size(kel_asic_blk_t block, kel_asic_reg_t vreg, uint32_t index);

// The window that was found last: neighbours are usually accessed together.
extern Window cached_window;

// Finds the window of an address; null if there is none.
bool find_window(uint32_t address);

// Whether a register, or an entry of a table register, has a word at this address.
inline bool has_word(uint32_t address) {
  return address % 4 == 0 && (cached_window.has(address) || find_window(address));
}

}  // namespace virtual_asic

#endif
