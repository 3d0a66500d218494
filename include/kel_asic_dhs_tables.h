/**
 * @file
 * The shapes of the table (DHS) registers of the Morvane: which registers are tables, how many
 * entries they have, and how many words an entry has. A caller that reads or writes entries takes
 * the size of its array from here:
 *
 *     enum { ENTRIES = 4 };
 *     int size = kel_asic_dhs_entry_size(KEL_ASIC_BLK_HF, HF_DHS_POL_OFFSET, 0);   // 8
 *     uint32_t *words = malloc(ENTRIES * (size_t)size * sizeof *words);
 *     err = lib_mrv_asic_read_dhs(0, 0, KEL_ASIC_BLK_HF, 0, HF_DHS_POL_OFFSET, 0, words, ENTRIES,
 *                                 KEL_ASIC_HERE);
 *
 * The library's checks are built from these rows. They are data: nothing here calls the library or
 * the service, needs an initialisation, or changes an open transaction. Any thread may read them at
 * any time.
 */
#ifndef KEL_ASIC_DHS_TABLES_H
#define KEL_ASIC_DHS_TABLES_H

#include <stddef.h>
#include <stdint.h>

#include "kel_asic_intf.h"

/** Instead of the words of an entry: the hook of the register map decides, also on the index. */
#define KEL_ASIC_DHS_BY_HOOK 0

/** One table register, or consecutive ones with the same shape. 20 bytes. */
typedef struct kel_asic_dhs_row_t {
  kel_asic_blk_t block;   /**< 0: the block */
  kel_asic_reg_t first;   /**< 4: the first register of the row */
  kel_asic_reg_t last;    /**< 8: the last register of the row */
  uint32_t highest_index; /**< 12: index of the last entry; 0 if the hook decides */
  uint32_t words;         /**< 16: 32-bit words in an entry, or ::KEL_ASIC_DHS_BY_HOOK */
} kel_asic_dhs_row_t;

#ifndef __cplusplus
/** How the rows are declared: in C++ as one constant of the program, for constant expressions. */
#define KEL_ASIC_DHS_DATA static const
/** How the lookup is declared: in C++ it is a constant expression. */
#define KEL_ASIC_DHS_FUNCTION static inline
#else
#define KEL_ASIC_DHS_DATA inline constexpr
#define KEL_ASIC_DHS_FUNCTION constexpr
#endif

/** All table registers, block by block. */
/* clang-format off */
KEL_ASIC_DHS_DATA kel_asic_dhs_row_t kel_asic_dhs_rows[] = {
  {KEL_ASIC_BLK_SS, SS_DHS_DD_OFFSET, SS_DHS_DD_OFFSET, 1023, 1},
  {KEL_ASIC_BLK_SS, SS_DHS_ARB0_OFFSET, SS_DHS_ARB9_HI_OFFSET, 1023, 2},
  {KEL_ASIC_BLK_HR, HR_DHS_OQ0_STATUS_OFFSET, HR_DHS_OQ0_STATUS_OFFSET, 402, 1},
  {KEL_ASIC_BLK_HR, HR_DHS_OQ1_STATUS_OFFSET, HR_DHS_OQ1_STATUS_OFFSET, 402, 1},
  {KEL_ASIC_BLK_HR, HR_DHS_OQ2_STATUS_OFFSET, HR_DHS_OQ2_STATUS_OFFSET, 402, 1},
  {KEL_ASIC_BLK_HR, HR_DHS_OQ3_STATUS_OFFSET, HR_DHS_OQ3_STATUS_OFFSET, 402, 1},
  {KEL_ASIC_BLK_HR, HR_DHS_OQ4_STATUS_OFFSET, HR_DHS_OQ4_STATUS_OFFSET, 402, 1},
  {KEL_ASIC_BLK_HR, HR_DHS_OQ5_STATUS_OFFSET, HR_DHS_OQ5_STATUS_OFFSET, 402, 1},
  {KEL_ASIC_BLK_HR, HR_DHS_ARB0_OFFSET, HR_DHS_ARB8_OFFSET, 31, 1},
  {KEL_ASIC_BLK_NR, NR_DHS_OQ0_STATUS_OFFSET, NR_DHS_OQ0_STATUS_OFFSET, 402, 1},
  {KEL_ASIC_BLK_NR, NR_DHS_OQ1_STATUS_OFFSET, NR_DHS_OQ1_STATUS_OFFSET, 402, 1},
  {KEL_ASIC_BLK_NR, NR_DHS_OQ2_STATUS_OFFSET, NR_DHS_OQ2_STATUS_OFFSET, 402, 1},
  {KEL_ASIC_BLK_NR, NR_DHS_OQ3_STATUS_OFFSET, NR_DHS_OQ3_STATUS_OFFSET, 402, 1},
  {KEL_ASIC_BLK_NR, NR_DHS_OQ4_STATUS_OFFSET, NR_DHS_OQ4_STATUS_OFFSET, 402, 1},
  {KEL_ASIC_BLK_NR, NR_DHS_OQ5_STATUS_OFFSET, NR_DHS_OQ5_STATUS_OFFSET, 402, 1},
  {KEL_ASIC_BLK_NR, NR_DHS_ARB0_OFFSET, NR_DHS_ARB33_OFFSET, 31, 1},
  {KEL_ASIC_BLK_NR, NR_DHS_ARB34_OFFSET, NR_DHS_ARB49_OFFSET, 31, 1},
  {KEL_ASIC_BLK_HI, HI_DHS_LVIF_TCAM_OFFSET, HI_DHS_LVIF_TCAM_OFFSET, 1023, 1},
  {KEL_ASIC_BLK_HI, HI_DHS_LVIF_OFFSET, HI_DHS_LVIF_OFFSET, 1023, 1},
  {KEL_ASIC_BLK_HI, HI_HI0_DHS_LVIF_TCAM_OFFSET, HI_HI0_DHS_LVIF_TCAM_OFFSET, 0, KEL_ASIC_DHS_BY_HOOK},
  {KEL_ASIC_BLK_HF, HF_DHS_SVIF_MEM_OFFSET, HF_DHS_SVIF_MEM_OFFSET, 16383, 1},
  {KEL_ASIC_BLK_HF, HF_DHS_SVIF_MEM_LO_OFFSET, HF_DHS_SVIF_MEM_LO_OFFSET, 16383, 2},
  {KEL_ASIC_BLK_HF, HF_DHS_LVIF_MEM_OFFSET, HF_DHS_LVIF_MEM_OFFSET, 4095, 1},
  {KEL_ASIC_BLK_HF, HF_DHS_TCAM_OFFSET, HF_DHS_TCAM_OFFSET, 2047, 16},
  {KEL_ASIC_BLK_HF, HF_DHS_RESULT_OFFSET, HF_DHS_RESULT_OFFSET, 1023, 1},
  {KEL_ASIC_BLK_HF, HF_DHS_RESULT_00_OFFSET, HF_DHS_RESULT_00_OFFSET, 0, KEL_ASIC_DHS_BY_HOOK},
  {KEL_ASIC_BLK_HF, HF_DHS_POL_OFFSET, HF_DHS_POL_OFFSET, 63, 8},
  {KEL_ASIC_BLK_HF, HF_DHS_RESULT_LO_OFFSET, HF_DHS_RESULT_HI_OFFSET, 1023, 2},
  {KEL_ASIC_BLK_NF, NF_DHS_MCAST_MEM_OFFSET, NF_DHS_MCAST_MEM_OFFSET, 16383, 1},
  {KEL_ASIC_BLK_NF, NF_DHS_MCAST_MEM_00_OFFSET, NF_DHS_MCAST_MEM_00_OFFSET, 0, KEL_ASIC_DHS_BY_HOOK},
  {KEL_ASIC_BLK_NF, NF_DHS_UCAST_MEM_OFFSET, NF_DHS_UCAST_MEM_00_OFFSET, 0, KEL_ASIC_DHS_BY_HOOK},
  {KEL_ASIC_BLK_NF, NF_DHS_TCAM_OFFSET, NF_DHS_TCAM_OFFSET, 2047, 16},
  {KEL_ASIC_BLK_NF, NF_DHS_RESULT_OFFSET, NF_DHS_RESULT_OFFSET, 1023, 2},
  {KEL_ASIC_BLK_NF, NF_DHS_RESULT_00_OFFSET, NF_DHS_RESULT_00_OFFSET, 0, KEL_ASIC_DHS_BY_HOOK},
  {KEL_ASIC_BLK_NF, NF_DHS_MCAST_MEMIF_DATA_OFFSET, NF_DHS_MCAST_MEMIF_DATA_OFFSET, 4095, 2},
  {KEL_ASIC_BLK_NF, NF_DHS_UCAST_MEMIF_DATA_OFFSET, NF_DHS_UCAST_MEMIF_DATA_OFFSET, 0, KEL_ASIC_DHS_BY_HOOK},
  {KEL_ASIC_BLK_NF, NF_DHS_TCAM_MASK_OFFSET, NF_DHS_TCAM_MASK_OFFSET, 2047, 16},
  {KEL_ASIC_BLK_CI, CI_DHS_MCAST_MEMIF_DATA_OFFSET, CI_DHS_MCAST_MEMIF_DATA_OFFSET, 255, 2},
  {KEL_ASIC_BLK_QS, QS_DHS_OQ0_STATUS_OFFSET, QS_DHS_OQ7_STATUS_OFFSET, 511, 1},
  {KEL_ASIC_BLK_QS, QS_DHS_ARB_NI_OFFSET, QS_DHS_ARB_HI_OFFSET, 255, 1},
  {KEL_ASIC_BLK_QS, QS_DHS_ARB_BI_OFFSET, QS_DHS_ARB_CI_OFFSET, 31, 1},
};
/* clang-format on */

/** Number of rows. */
#define KEL_ASIC_DHS_ROWS (sizeof kel_asic_dhs_rows / sizeof kel_asic_dhs_rows[0])

/**
 * Returns the number of the row of a table register.
 *
 * @param block the block of the register; any other value has no table
 * @param vreg  number of the register within its block
 *
 * @return its place in ::kel_asic_dhs_rows; ::KEL_ASIC_DHS_ROWS if the register is not a table
 */
KEL_ASIC_DHS_FUNCTION uint32_t kel_asic_dhs_row(kel_asic_blk_t block, kel_asic_reg_t vreg) {
  uint32_t number = 0;
  while (number < KEL_ASIC_DHS_ROWS &&
         (kel_asic_dhs_rows[number].block != block || vreg < kel_asic_dhs_rows[number].first ||
          vreg > kel_asic_dhs_rows[number].last))
    ++number;
  return number;
}

/**
 * Returns the number of words of a table entry.
 *
 * @param block the block of the register; any other value has no table
 * @param vreg  number of the register within its block
 * @param index number of the entry, 0 to the table's highest index
 *
 * @return 1 to 16, the words of the entry; ::KEL_ASIC_DHS_BY_HOOK (0) if the hook of the register
 *         map decides, for any index; -1 if the register is not a table or has no such entry
 */
KEL_ASIC_DHS_FUNCTION int kel_asic_dhs_entry_size(kel_asic_blk_t block, kel_asic_reg_t vreg,
                                                  uint32_t index) {
  const uint32_t row = kel_asic_dhs_row(block, vreg);
  const int has_entry =
      row < KEL_ASIC_DHS_ROWS && (kel_asic_dhs_rows[row].words == KEL_ASIC_DHS_BY_HOOK ||
                                  index <= kel_asic_dhs_rows[row].highest_index);
  return has_entry ? (int)kel_asic_dhs_rows[row].words : -1;
}

#endif
