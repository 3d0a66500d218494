// Single-register access: read, write, field write.
#include "register_access.h"

syserr_t lib_mrv_asic_read(int module, kel_asic_num_t asic, kel_asic_blk_t block, uint32_t instance,
                           kel_asic_reg_t vreg, uint32_t *p_data, uint32_t context, char *file,
                           int line, const char *func) {
  KEL_TRACE_ENTER("lib_mrv_asic_read");
  real_address real;
  const syserr_t refusal = find_register(module, {asic, block, instance, vreg}, p_data, &real);
  if (refusal != 0)
    return refusal;
  KEL_TRACE('l', asic, "%s: block %s vreg 0x%x base address 0x%x rreg 0x%x\n", "lib_mrv_asic_read",
            kel_asic_blk_names[block], vreg, real.base, real.rreg);
  interrupt_transaction();
  kel_asic_reg_access_params_t request;
  const syserr_t result = send_request(SYSSRV_REG_READ_CASE, &request,
                                       {TYPE_READ, module, asic, real.rreg, 0, whole_register, 0},
                                       {context, file, line, func});
  if (result == 0) {
    KEL_TRACE('l', asic, "%s: sse call success: rreg 0x%x data 0x%x\n", "lib_mrv_asic_read",
              real.rreg, request.data);
    *p_data = request.data;
  }
  KEL_TRACE_EXIT("lib_mrv_asic_read");
  return result;
}

syserr_t lib_mrv_asic_write(int module, kel_asic_num_t asic, kel_asic_blk_t block,
                            uint32_t instance, kel_asic_reg_t vreg, uint32_t data, uint32_t code,
                            uint32_t context, char *file, int line, const char *func) {
  return write_register(module, {asic, block, instance, vreg}, data, code,
                        {context, file, line, func});
}

syserr_t lib_mrv_asic_write_field(int module, kel_asic_num_t asic, kel_asic_blk_t block,
                                  uint32_t instance, kel_asic_reg_t vreg, uint32_t field_value,
                                  uint32_t field_mask, uint32_t code, uint32_t context, char *file,
                                  int line, const char *func) {
  return write_register_field(module, {asic, block, instance, vreg}, field_value, field_mask, code,
                              {context, file, line, func});
}
