// Register programs: lists of register writes, each applied to every selected ASIC.
#include "reg_address.h"
#include "register_access.h"
#include "trace_log.h"

namespace {

constexpr uint32_t is_bit_map = 0x80000000;

// The ASICs that each step is written to, one bit per ASIC: the selected ones before the first
// number that does not exist.
uint32_t selected_asics(kel_asic_num_t asic) {
  const uint32_t selection =
      (asic & is_bit_map) != 0 ? asic & ~is_bit_map : UINT32_C(1) << (asic % 32);
  kel_asic_num_t end = 1;
  while (valid_asic(end))
    ++end;
  return selection & ((UINT32_C(1) << end) - 1);
}

syserr_t write_step(int module, kel_asic_num_t asic, const kel_asic_pgm_t &step,
                    const caller_id &caller) {
  KEL_TRACE('l', asic, "lib_mrv_asic_pgm: %d %d %x %x %x %x\n", module, static_cast<int>(asic),
            static_cast<unsigned>(step.block), step.instance, step.vreg, step.data);
  const symbolic_address address = {asic, step.block, step.instance, step.vreg};
  if (step.mask == whole_register)
    return write_register(module, address, step.data, KEL_ASIC_WR_SYMBOLIC, caller);
  return write_register_field(module, address, step.data, step.mask, KEL_ASIC_WR_SYMBOLIC, caller);
}

// Applies a step to each of the ASICs, also after a failure. Returns the result of the last write.
syserr_t sweep_step(int module, uint32_t asics, const kel_asic_pgm_t &step,
                    const caller_id &caller) {
  syserr_t status = 0;
  for (kel_asic_num_t asic = 0; asics >> asic != 0; ++asic) {
    if ((asics >> asic & 1) != 0)
      status = write_step(module, asic, step, caller);
  }
  return status;
}

syserr_t run_program(int module, kel_asic_num_t asic, const kel_asic_pgm_t *p_pgm, int pgm_len,
                     const caller_id &caller) {
  if (lib_init_done == 0 || !valid_module(module) || p_pgm == nullptr || pgm_len < 1)
    return SYSERR_KEL_ASIC_INVALID_ARG;
  const uint32_t asics = selected_asics(asic);
  for (int i = 0; i < pgm_len; ++i) {
    if (p_pgm[i].magic != KEL_ASIC_PGM_MAGIC)
      return SYSERR_KEL_ASIC_INVALID_ARG;
    const syserr_t status = sweep_step(module, asics, p_pgm[i], caller);
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
