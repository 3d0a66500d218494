// The library's context, and declarations for every file of the library.
#ifndef KEL_ASIC_LIB_PRIVATE_H
#define KEL_ASIC_LIB_PRIVATE_H

#include <cstddef>
#include <cstdint>

#include "kel_asic_intf.h"
#include "kel_asic_lib_common.h"
#include "kel_asic_syserr_def.h"
#include "platform/register_map.h"

// Each function call is a considerable part of the cost of a short access.
#define KEL_INLINE __attribute__((always_inline)) inline

// The declarations of the public headers are exported; all others are hidden.
#pragma GCC visibility push(hidden)

constexpr std::size_t kel_asic_slots = 4;

// One ASIC. The ASIC number is the index of its slot; initialisation fills only slot 0.
struct kel_asic_specific_context_t {
  uint32_t asic_type;                   // driver identifier found on the card
  kel_asic_ver_t asic_ver;              // revision, the register map's own
  kel_asic_limits_t limits;             // written by the register map
  uint32_t max_inst[KEL_ASIC_NUM_BLK];  // instances of each block
  uint32_t max_reg[KEL_ASIC_NUM_BLK];   // virtual registers of each block
  const kel_asic_reg_t **base_table;    // [block][instance]: base address
  const kel_asic_reg_t **reg_table;     // [block][vreg]: offset, or KEL_ASIC_NO_REGISTER
  KEL_ASIC_fn funcs;                    // hooks, written by the register map
};

struct kel_asic_lib_context_t {
  uint32_t driver_id;     // driver identifier that every service call carries
  uint32_t debug_enable;  // non-zero: the trace is on
  kel_asic_specific_context_t asic_specific[kel_asic_slots];
  kel_asic_reg_access_params_t *p_params;  // request buffer of the multi-word requests
  std::size_t buf_size;                    // its size in bytes
};

extern kel_asic_lib_context_t lib_ctx;
extern unsigned int lib_init_done;

#pragma GCC visibility pop

#endif
