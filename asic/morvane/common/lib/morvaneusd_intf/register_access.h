// The single-register writes, for the exported operations and register programs. They are inline:
// in a register program, passing their arguments costs as much as checking them.
#ifndef REGISTER_ACCESS_H
#define REGISTER_ACCESS_H

#include "kel_asic_lib_private.h"
#include "reg_address.h"
#include "service_call.h"
#include "trace_log.h"
#include "transaction.h"

#pragma GCC visibility push(hidden)

// While a transaction is open, a write becomes one of its entries and nothing is sent.
inline bool join_transaction(const register_access &access) {
  if (!kel_asic_transaction_pending())
    return false;
  kel_asic_transaction_add(access.module, access.asic, access.addr, access.data, access.mask);
  return true;
}

KEL_INLINE syserr_t check_and_write(int module, const symbolic_address &address, uint32_t data,
                                    uint32_t code, const caller_id &caller) {
  if (lib_init_done == 0 || !valid_module(module))
    return SYSERR_KEL_ASIC_INVALID_ARG;
  kel_asic_reg_t rreg = address.vreg;
  if (code == KEL_ASIC_WR_SYMBOLIC) {
    real_address real;
    if (!valid_address(address) || !translate_address(address, &real))
      return SYSERR_KEL_ASIC_INVALID_ARG;
    rreg = real.rreg;
    KEL_TRACE('l', address.asic,
              "%s:%u: block %s vreg 0x%x base address 0x%x rreg 0x%x data 0x%x\n",
              trace_text(caller.file), static_cast<unsigned>(caller.line),
              kel_asic_blk_names[address.block], address.vreg, real.base, rreg, data);
  }
  const register_access access = {TYPE_WRITE, module, address.asic, rreg, data, whole_register, 0};
  if (join_transaction(access))
    return 0;
  kel_asic_reg_access_params_t request;
  const syserr_t result = send_request(SYSSRV_REG_WRITE_CASE, &request, access, caller);
  if (result == 0)
    KEL_TRACE('l', address.asic, "%s: sse call success: rreg 0x%x data 0x%x\n",
              "lib_mrv_asic_write", rreg, request.data);
  return result;
}

KEL_INLINE syserr_t check_and_write_field(int module, const symbolic_address &address,
                                          uint32_t field_value, uint32_t field_mask, uint32_t code,
                                          const caller_id &caller) {
  if (lib_init_done == 0 || !valid_module(module))
    return SYSERR_KEL_ASIC_INVALID_ARG;
  kel_asic_reg_t rreg = address.vreg;
  if (code == KEL_ASIC_WR_SYMBOLIC) {
    real_address real;
    if (!valid_address(address) || field_mask == 0 || !translate_address(address, &real))
      return SYSERR_KEL_ASIC_INVALID_ARG;
    rreg = real.rreg;
    KEL_TRACE('l', address.asic, "%s: block %s vreg 0x%x base address 0x%x rreg 0x%x\n",
              "lib_mrv_asic_write_field", kel_asic_blk_names[address.block], address.vreg,
              real.base, rreg);
  }
  const register_access access = {TYPE_WRITE_FIELD, module, address.asic, rreg, field_value,
                                  field_mask,       0};
  if (join_transaction(access))
    return 0;
  kel_asic_reg_access_params_t request;
  const syserr_t result = send_request(SYSSRV_REG_WRITE_CASE, &request, access, caller);
  if (result == 0)
    KEL_TRACE('l', address.asic, "%s: sse call success: rreg 0x%x data 0x%xmask 0x%x\n",
              "lib_mrv_asic_write_field", rreg, request.data, request.mask);
  return result;
}

KEL_INLINE syserr_t write_register(int module, const symbolic_address &address, uint32_t data,
                                   uint32_t code, const caller_id &caller) {
  KEL_TRACE_ENTER("lib_mrv_asic_write");
  const syserr_t result = check_and_write(module, address, data, code, caller);
  KEL_TRACE_EXIT("lib_mrv_asic_write");
  return result;
}

KEL_INLINE syserr_t write_register_field(int module, const symbolic_address &address,
                                         uint32_t field_value, uint32_t field_mask, uint32_t code,
                                         const caller_id &caller) {
  KEL_TRACE_ENTER("lib_mrv_asic_write_field");
  const syserr_t result =
      check_and_write_field(module, address, field_value, field_mask, code, caller);
  KEL_TRACE_EXIT("lib_mrv_asic_write_field");
  return result;
}

#pragma GCC visibility pop

#endif
