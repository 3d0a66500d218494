/**
 * @file
 * The records that the library and the platform share: the limits and hooks that the register map
 * fills, and the records that the driver service receives.
 *
 * All records are little-endian and without gaps. The comment after a field starts with its offset
 * in bytes.
 */
#ifndef KEL_ASIC_LIB_COMMON_H
#define KEL_ASIC_LIB_COMMON_H

#include <stdint.h>

#include "kel_asic_intf.h"
#include "platform/fixed_enum.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Instance counts and other limits of an ASIC. 84 bytes. */
typedef struct kel_asic_limits_t {
  uint32_t max_modules; /**< 0: number of modules; the library ignores it */
  uint32_t max_asic;    /**< 4: highest valid ASIC number */
  uint32_t max_ss;      /**< 8: instances of block SS */
  uint32_t max_ch;      /**< 12: instances of block CH */
  uint32_t max_mb;      /**< 16: instances of block MB */
  uint32_t max_hr;      /**< 20: instances of block HR */
  uint32_t max_nr;      /**< 24: instances of block NR */
  uint32_t max_hi;      /**< 28: instances of block HI, and host-interface ports */
  uint32_t max_ni;      /**< 32: instances of block NI, and network-interface ports */
  uint32_t max_si;      /**< 36: instances of block SI */
  uint32_t max_hf;      /**< 40: instances of block HF */
  uint32_t max_nf;      /**< 44: instances of block NF */
  uint32_t max_ci;      /**< 48: instances of block CI */
  uint32_t max_bi;      /**< 52: instances of block BI */
  uint32_t max_cc;      /**< 56: instances of block CC */
  uint32_t max_pc;      /**< 60: instances of block PC */
  uint32_t max_rs_edma; /**< 64: instances of block RS_EDMA */
  uint32_t max_rs_pcie; /**< 68: instances of block RS_PCIE */
  uint32_t max_misc;    /**< 72: instances of block MISC */
  uint32_t max_qs;      /**< 76: instances of block QS */
  uint32_t max_xl;      /**< 80: instances of block XL */
} kel_asic_limits_t;

/** Hooks of an ASIC. One code pointer, at offset 0. */
typedef struct KEL_ASIC_fn {
  /**
   * Returns the entry size of a table (DHS) register for which the library asks the register map.
   *
   * @return number of 32-bit words in one entry; below 1 for anything that it does not accept
   */
  int (*reg_dhs_entry_size)(kel_asic_blk_t block, kel_asic_reg_t vreg, uint32_t dhs_index);
} KEL_ASIC_fn;

/** Kinds of register request. */
typedef enum kel_asic_access_type_t KEL_ENUM32 {
  TYPE_READ = 0,        /**< read one register */
  TYPE_WRITE = 1,       /**< write one register, or a command */
  TYPE_WRITE_FIELD = 2, /**< write the bits under the mask */
  TYPE_READ_DHS = 3,    /**< read consecutive words */
  TYPE_WRITE_DHS = 4    /**< write consecutive words */
} kel_asic_access_type_t;

/** The caller. 168 bytes; the library passes it on without interpreting it. */
typedef struct kel_asic_lib_debug_info_t {
  uint32_t userdata; /**< 0: the caller's context */
  uint32_t line;     /**< 4: the caller's line */
  char func[32];     /**< 8: the caller's function, NUL-padded; byte 31 is NUL */
  char file[128];    /**< 40: the caller's file, NUL-padded; byte 127 is NUL */
} kel_asic_lib_debug_info_t;

#ifdef __cplusplus
/* A flexible array member is C99; the compilers that build C++ clients have it too. */
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
#endif

/** Register request and answer. A header of 196 bytes, then num data words. */
typedef struct kel_asic_reg_access_params_t {
  kel_asic_access_type_t type;    /**< 0: kind of access */
  int32_t module;                 /**< 4: module number */
  kel_asic_num_t asic;            /**< 8: ASIC number, or the port word of a command */
  uint32_t addr;                  /**< 12: address of the (first) register, or the command */
  uint32_t data;                  /**< 16: value of a single-register access; else 0 */
  uint32_t mask;                  /**< 20: bits of a field write; 0xFFFFFFFF, or 0 of the timer */
  uint32_t num;                   /**< 24: number of data words; 0 in a single-register request */
  kel_asic_lib_debug_info_t info; /**< 28: the caller */
  uint32_t pdata[];               /**< 196: data words; in a read request old data */
} kel_asic_reg_access_params_t;

#ifdef __cplusplus
#pragma GCC diagnostic pop
#endif

/** One write of a transaction. 20 bytes. */
typedef struct kel_asic_xn_entry_t {
  int32_t module; /**< 0: module number */
  int32_t
      asic_map;  /**< 4: ASIC number of the write (not a bit map), or the port word of a command */
  uint32_t reg;  /**< 8: register address, or command address */
  uint32_t data; /**< 12: value to write */
  uint32_t mask; /**< 16: bits to write; 0xFFFFFFFF for all bits */
} kel_asic_xn_entry_t;

/** Maximum number of entries in a transaction. */
#define KEL_ASIC_XN_ENTRIES 512

/**
 * Write transaction. 10280 bytes are always sent. Entries from num on contain old data, which the
 * service must ignore.
 */
typedef struct kel_asic_xn_t {
  char name[32];                               /**< 0: its name, byte 31 NUL; empty: not open */
  int32_t reorder_allowed;                     /**< 32: the service may reorder the entries */
  int32_t num;                                 /**< 36: number of entries, 0 to 512 */
  kel_asic_xn_entry_t xn[KEL_ASIC_XN_ENTRIES]; /**< 40: the entries, in the order of the writes */
} kel_asic_xn_t;

KEL_SIZE_IS(kel_asic_limits_t, 84);
KEL_SIZE_IS(kel_asic_lib_debug_info_t, 168);
KEL_SIZE_IS(kel_asic_reg_access_params_t, 196);
KEL_SIZE_IS(kel_asic_xn_entry_t, 20);
KEL_SIZE_IS(kel_asic_xn_t, 10280);

#ifdef __cplusplus
}
#endif

#endif
