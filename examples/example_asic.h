/* The ASIC of the example platform: which addresses have a register. The platform builds its
   register map from this, and the service checks addresses with it. A real switch has one such
   description too, usually generated from the ASIC's documentation.

   Each block has 4 instances, and each instance an address window of 8 MiB. The window starts with
   the registers, 4 bytes each. The tables follow from 0x8000 on, each at a multiple of 0x21000, so
   that a block access past the last entry of the largest table meets no register. */
#ifndef EXAMPLE_ASIC_H
#define EXAMPLE_ASIC_H

#include <kel_asic_blocks.h>
#include <kel_asic_dhs_tables.h>
#include <stdbool.h>
#include <stddef.h>

enum {
  modules = 4,
  instances = 4,
  ports_per_type = instances, /* hif:0 to hif:3 and nif:0 to nif:3 */
  hook_entries = 1024,        /* entries, and words per entry, of the seven tables of the hook */
  hook_words = 4,
  instance_span = 0x800000,
  table_start = 0x8000,
  table_span = 0x21000
};

static inline uint32_t instance_base(uint32_t block, uint32_t instance) {
  return (block * instances + instance + 1) * instance_span;
}

/* Position of a table register among the tables of its block, and its row; -1 if it is not a table.
 */
static inline int table_position(uint32_t block, uint32_t vreg, const kel_asic_dhs_row_t **row) {
  int position = 0;
  for (uint32_t i = 0; i < KEL_ASIC_DHS_ROWS; ++i) {
    const kel_asic_dhs_row_t *const candidate = &kel_asic_dhs_rows[i];
    if (candidate->block != (kel_asic_blk_t)block)
      continue;
    if (vreg >= candidate->first && vreg <= candidate->last) {
      *row = candidate;
      return position + (int)(vreg - candidate->first);
    }
    position += (int)(candidate->last - candidate->first + 1);
  }
  return -1;
}

static inline uint32_t table_words(const kel_asic_dhs_row_t *row) {
  return row->words == KEL_ASIC_DHS_BY_HOOK ? hook_entries * hook_words
                                            : (row->highest_index + 1) * row->words;
}

/* The row of the table at a position; null if the block has fewer tables. */
static inline const kel_asic_dhs_row_t *table_at(uint32_t block, uint32_t position) {
  for (uint32_t i = 0; i < KEL_ASIC_DHS_ROWS; ++i) {
    const kel_asic_dhs_row_t *const row = &kel_asic_dhs_rows[i];
    const uint32_t registers = row->last - row->first + 1;
    if (row->block != (kel_asic_blk_t)block)
      continue;
    if (position < registers)
      return row;
    position -= registers;
  }
  return NULL;
}

/* Offset of a register from the base of its instance. */
static inline uint32_t register_offset(uint32_t block, uint32_t vreg) {
  const kel_asic_dhs_row_t *row;
  const int position = table_position(block, vreg, &row);
  return position < 0 ? 4 * vreg : table_start + (uint32_t)position * table_span;
}

/* Whether a register, or an entry of a table, has a word at this address. */
static inline bool has_word(uint32_t address) {
  const uint32_t window = address / instance_span - 1;
  const uint32_t block = window / instances;
  const uint32_t offset = address % instance_span;
  const kel_asic_dhs_row_t *row;
  if (address % 4 != 0 || address < instance_span || block >= KEL_ASIC_NUM_BLK)
    return false;
  if (offset < table_start)
    return offset / 4 < kel_asic_blocks[block].registers &&
           table_position(block, offset / 4, &row) < 0;
  row = table_at(block, (offset - table_start) / table_span);
  return row != NULL && (offset - table_start) % table_span < 4 * table_words(row);
}

#endif
