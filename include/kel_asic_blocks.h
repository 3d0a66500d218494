/**
 * @file
 * The blocks of the Morvane: name, number of registers, and the limit that counts the instances of
 * each one:
 *
 *     for (uint32_t i = 0; i < KEL_ASIC_NUM_BLK; ++i)
 *       printf("%s: %u instances\n", kel_asic_blocks[i].name,
 *              kel_asic_block_instances(&limits, kel_asic_blocks[i].block));
 *
 * The library's own checks are built from these rows. They are data: nothing here calls the library
 * or the service. Any thread may read them at any time.
 */
#ifndef KEL_ASIC_BLOCKS_H
#define KEL_ASIC_BLOCKS_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "kel_asic_intf.h"
#include "kel_asic_lib_common.h"

/** A block. 20 bytes. */
typedef struct kel_asic_block_t {
  kel_asic_blk_t block; /**< 0: the block */
  char name[8];         /**< 4: its enumerator after KEL_ASIC_BLK_; kel_asic_blk_names has the names
                             that the library prints, without an underscore */
  uint32_t registers;   /**< 12: number of virtual registers */
  uint32_t limit;       /**< 16: offset of its number of instances in ::kel_asic_limits_t */
} kel_asic_block_t;

/** All blocks, in the order of ::kel_asic_blk_t: a block is the index of its row. */
/* clang-format off */
#ifdef __cplusplus
inline constexpr
#else
static const
#endif
kel_asic_block_t kel_asic_blocks[] = {
  {KEL_ASIC_BLK_SS, "SS", KEL_ASIC_SS_NUM_ENUM, offsetof(kel_asic_limits_t, max_ss)},
  {KEL_ASIC_BLK_HR, "HR", KEL_ASIC_HR_NUM_ENUM, offsetof(kel_asic_limits_t, max_hr)},
  {KEL_ASIC_BLK_NR, "NR", KEL_ASIC_NR_NUM_ENUM, offsetof(kel_asic_limits_t, max_nr)},
  {KEL_ASIC_BLK_HI, "HI", KEL_ASIC_HI_NUM_ENUM, offsetof(kel_asic_limits_t, max_hi)},
  {KEL_ASIC_BLK_NI, "NI", KEL_ASIC_NI_NUM_ENUM, offsetof(kel_asic_limits_t, max_ni)},
  {KEL_ASIC_BLK_SI, "SI", KEL_ASIC_SI_NUM_ENUM, offsetof(kel_asic_limits_t, max_si)},
  {KEL_ASIC_BLK_HF, "HF", KEL_ASIC_HF_NUM_ENUM, offsetof(kel_asic_limits_t, max_hf)},
  {KEL_ASIC_BLK_NF, "NF", KEL_ASIC_NF_NUM_ENUM, offsetof(kel_asic_limits_t, max_nf)},
  {KEL_ASIC_BLK_CI, "CI", KEL_ASIC_CI_NUM_ENUM, offsetof(kel_asic_limits_t, max_ci)},
  {KEL_ASIC_BLK_BI, "BI", KEL_ASIC_BI_NUM_ENUM, offsetof(kel_asic_limits_t, max_bi)},
  {KEL_ASIC_BLK_CC, "CC", KEL_ASIC_CC_NUM_ENUM, offsetof(kel_asic_limits_t, max_cc)},
  {KEL_ASIC_BLK_PC, "PC", KEL_ASIC_PC_NUM_ENUM, offsetof(kel_asic_limits_t, max_pc)},
  {KEL_ASIC_BLK_RS_EDMA, "RS_EDMA", KEL_ASIC_RS_EDMA_NUM_ENUM, offsetof(kel_asic_limits_t, max_rs_edma)},
  {KEL_ASIC_BLK_RS_PCIE, "RS_PCIE", KEL_ASIC_RS_PCIE_NUM_ENUM, offsetof(kel_asic_limits_t, max_rs_pcie)},
  {KEL_ASIC_BLK_MISC, "MISC", KEL_ASIC_MISC_NUM_ENUM, offsetof(kel_asic_limits_t, max_misc)},
  {KEL_ASIC_BLK_CH, "CH", KEL_ASIC_CH_NUM_ENUM, offsetof(kel_asic_limits_t, max_ch)},
  {KEL_ASIC_BLK_MB, "MB", KEL_ASIC_MB_NUM_ENUM, offsetof(kel_asic_limits_t, max_mb)},
  {KEL_ASIC_BLK_QS, "QS", KEL_ASIC_QS_NUM_ENUM, offsetof(kel_asic_limits_t, max_qs)},
  {KEL_ASIC_BLK_XL, "XL", KEL_ASIC_XL_NUM_ENUM, offsetof(kel_asic_limits_t, max_xl)},
};
/* clang-format on */

/**
 * Returns the number of instances of a block.
 *
 * @param limits the limits of an ASIC
 * @param block  the block, KEL_ASIC_BLK_SS to KEL_ASIC_BLK_XL
 *
 * @return its number of instances
 */
static inline uint32_t kel_asic_block_instances(const kel_asic_limits_t *limits,
                                                kel_asic_blk_t block) {
  uint32_t instances;
  memcpy(&instances, (const char *)limits + kel_asic_blocks[block].limit, sizeof instances);
  return instances;
}

#endif
