/**
 * @file
 * The register map of the platform: the blocks and the register addresses of an ASIC revision.
 */
#ifndef PLATFORM_REGISTER_MAP_H
#define PLATFORM_REGISTER_MAP_H

#include <stdint.h>

#include "../kel_asic_lib_common.h"
#include "../kel_asic_syserr_def.h"
#include "fixed_enum.h"

#ifdef __cplusplus
extern "C" {
#endif

/** ASIC revision. The register map defines the values; the library only passes them back. */
typedef enum kel_asic_ver_t KEL_ENUM32 { KEL_ASIC_VER_A0 = 0, KEL_ASIC_VER_B0 = 1 } kel_asic_ver_t;

/** Entry of a register table for a virtual register number without a register (a hole). */
#define KEL_ASIC_NO_REGISTER UINT32_C(0xFFFFFFFF)

/**
 * Describes the Morvane: fills the three records.
 *
 * @param funcs    receives the hooks
 * @param limits   receives the numbers of modules, ASICs and block instances
 * @param asic_ver receives the revision, for the two table functions
 * @param context  the context argument of lib_mrv_asic_init, unchanged
 * @param file     source file of that call
 * @param line     source line of that call
 * @param func     function that made that call
 * @return 0 on success; any other value becomes the result of lib_mrv_asic_init. It must not be 12
 * or 0xFFFFFFFF, which mean to its callers that they may call it again
 */
syserr_t morvane_lib_init(KEL_ASIC_fn *funcs, kel_asic_limits_t *limits, kel_asic_ver_t *asic_ver,
                          uint32_t context, char *file, int line, const char *func);

/**
 * Returns the base addresses of the block instances of a revision.
 *
 * @param asic_ver the revision that morvane_lib_init returned
 * @return 19 pointers, one per block (::kel_asic_blk_t), each to one base address per instance;
 * valid for the life of the process
 */
const kel_asic_reg_t **kel_asic_get_all_base_table(kel_asic_ver_t asic_ver);

/**
 * Returns the register offsets of the blocks of a revision.
 *
 * @param asic_ver the revision that morvane_lib_init returned
 * @return 19 pointers, one per block (::kel_asic_blk_t), each to one offset per virtual register,
 *         ::KEL_ASIC_NO_REGISTER for a hole; valid for the life of the process
 */
const kel_asic_reg_t **kel_asic_get_all_reg_table(kel_asic_ver_t asic_ver);

#ifdef __cplusplus
}
#endif

#endif
