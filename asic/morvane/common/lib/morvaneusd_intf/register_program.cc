// Register programs: lists of register writes, each applied to every selected ASIC.
#include "kel_asic_lib_private.h"
#include "reg_address.h"
#include "service_call.h"
#include "trace_log.h"

namespace {

constexpr uint32_t is_bit_map = 0x80000000;

// The selected ASICs, a bit each.
uint32_t selected_asics(kel_asic_num_t asic) {
  if ((asic & is_bit_map) != 0)
    return asic & ~is_bit_map;
  return UINT32_C(1) << (asic % 32);
}

syserr_t write_step(int module, kel_asic_num_t asic, const kel_asic_pgm_t &step,
                    const caller_id &caller) {
  KEL_TRACE('l', asic, "lib_mrv_asic_pgm: %d %d %x %x %x %x\n", module, static_cast<int>(asic),
            static_cast<unsigned>(step.block), step.instance, step.vreg, step.data);
  char *file = const_cast<char *>(caller.file);
  if (step.mask == whole_register)
    return lib_mrv_asic_write(module, asic, step.block, step.instance, step.vreg, step.data,
                              KEL_ASIC_WR_SYMBOLIC, caller.context, file, caller.line, caller.func);
  return lib_mrv_asic_write_field(module, asic, step.block, step.instance, step.vreg, step.data,
                                  step.mask, KEL_ASIC_WR_SYMBOLIC, caller.context, file,
                                  caller.line, caller.func);
}

// Applies a step to each selected ASIC, also behind one that fails. The result is the last write's.
syserr_t sweep_step(int module, uint32_t asic_mask, const kel_asic_pgm_t &step,
                    const caller_id &caller) {
  syserr_t status = 0;
  kel_asic_num_t asic = 0;
  do {
    if ((asic_mask & (UINT32_C(1) << asic)) != 0)
      status = write_step(module, asic, step, caller);
    ++asic;
  } while (valid_asic(asic));
  return status;
}

syserr_t run_program(int module, kel_asic_num_t asic, const kel_asic_pgm_t *p_pgm, int pgm_len,
                     const caller_id &caller) {
  if (lib_init_done == 0 || !valid_module(module) || p_pgm == nullptr || pgm_len < 1)
    return SYSERR_KEL_ASIC_INVALID_ARG;
  const uint32_t asic_mask = selected_asics(asic);
  for (int i = 0; i < pgm_len; ++i) {
    if (p_pgm[i].magic != KEL_ASIC_PGM_MAGIC)
      return SYSERR_KEL_ASIC_INVALID_ARG;
    const syserr_t status = sweep_step(module, asic_mask, p_pgm[i], caller);
    if (status != 0)
      return status;
  }
  return 0;
}

}  // namespace

syserr_t lib_mrv_asic_pgm(int module, kel_asic_num_t asic, kel_asic_pgm_t *p_pgm, int pgm_len,
                          uint32_t context, char *file, int line, const char *func) {
  KEL_TRACE_ENTER("lib_mrv_asic_pgm");
  const syserr_t result = run_program(module, asic, p_pgm, pgm_len, {context, file, line, func});
  KEL_TRACE_EXIT("lib_mrv_asic_pgm");
  return result;
}
