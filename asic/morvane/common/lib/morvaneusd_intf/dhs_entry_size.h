// Which registers are tables (DHS registers), and how many words one of their entries has.
#ifndef DHS_ENTRY_SIZE_H
#define DHS_ENTRY_SIZE_H

#include "kel_asic_lib_private.h"

#pragma GCC visibility push(hidden)

// Words in one entry, or what the register map's hook says for the registers that are left to it;
// below 1 when the register is no table or the entry is out of its range. The address has been
// checked.
int kel_asic_reg_dhs_entry_size(kel_asic_num_t asic_id, kel_asic_blk_t blk, kel_asic_reg_t vreg,
                                uint32_t dhs_index);

#pragma GCC visibility pop

#endif
