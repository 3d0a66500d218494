// The register address: the checks and the translation for all operations.
#ifndef REG_ADDRESS_H
#define REG_ADDRESS_H

#include "kel_asic_lib_private.h"

#pragma GCC visibility push(hidden)

// The predicates. All compare as unsigned, so that a negative number is refused like a large one.
// Those with an asic_id require valid_asic first, those with a block require valid_block first.
inline bool valid_module(int module) {
  return static_cast<uint32_t>(module) <= 3;
}

inline bool valid_asic(kel_asic_num_t asic) {
  return asic < kel_asic_slots && asic <= lib_ctx.asic_specific[asic].limits.max_asic;
}

inline bool valid_block(kel_asic_blk_t blk) {
  return blk < KEL_ASIC_NUM_BLK;
}

inline bool valid_instance(kel_asic_num_t asic_id, kel_asic_blk_t blk, uint32_t inst) {
  return inst < lib_ctx.asic_specific[asic_id].max_inst[blk];
}

inline bool valid_register_address(kel_asic_num_t asic_id, kel_asic_blk_t blk,
                                   kel_asic_reg_t vreg) {
  return vreg < lib_ctx.asic_specific[asic_id].max_reg[blk];
}

inline bool valid_hif(kel_asic_num_t asic_id, uint32_t hif_idx) {
  return hif_idx < lib_ctx.asic_specific[asic_id].limits.max_hi;
}

inline bool valid_nif(kel_asic_num_t asic_id, uint32_t nif_idx) {
  return nif_idx < lib_ctx.asic_specific[asic_id].limits.max_ni;
}

// A symbolic address from the caller, without the module.
struct symbolic_address {
  kel_asic_num_t asic;
  kel_asic_blk_t block;
  uint32_t instance;
  kel_asic_reg_t vreg;
};

struct real_address {
  uint32_t base;        // of the block instance
  kel_asic_reg_t rreg;  // of the register
};

// In this order: each check uses a value that the previous one has accepted as an index.
inline bool valid_address(const symbolic_address &address) {
  return valid_asic(address.asic) && valid_block(address.block) &&
         valid_instance(address.asic, address.block, address.instance) &&
         valid_register_address(address.asic, address.block, address.vreg);
}

// The first checks of each read and each table access; 0 if the address can be translated.
KEL_INLINE syserr_t check_access(int module, const symbolic_address &address,
                                 const uint32_t *p_data) {
  if (lib_init_done == 0)
    return SYSERR_KEL_ASIC_UNINIT;
  if (!valid_module(module) || !valid_address(address) || p_data == nullptr)
    return SYSERR_KEL_ASIC_INVALID_ARG;
  return 0;
}

// Reports a hole in the trace.
__attribute__((cold, noinline)) void trace_invalid_vreg(const symbolic_address &address);

// Translates an address that valid_address has accepted. False for a hole, which is reported in the
// trace.
inline bool translate_address(const symbolic_address &address, real_address *real) {
  const kel_asic_specific_context_t &slot = lib_ctx.asic_specific[address.asic];
  const uint32_t offset = slot.reg_table[address.block][address.vreg];
  if (offset == KEL_ASIC_NO_REGISTER) {
    trace_invalid_vreg(address);
    return false;
  }
  real->base = slot.base_table[address.block][address.instance];
  real->rreg = real->base + offset;
  return true;
}

// The checks and the translation of a read.
KEL_INLINE syserr_t find_register(int module, const symbolic_address &address,
                                  const uint32_t *p_data, real_address *real) {
  const syserr_t refusal = check_access(module, address, p_data);
  if (refusal != 0)
    return refusal;
  return translate_address(address, real) ? 0 : uint32_t{SYSERR_KEL_ASIC_INVALID_ARG};
}

#pragma GCC visibility pop

#endif
