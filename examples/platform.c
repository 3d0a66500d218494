/* A smallest platform: where one of your own can start. Its ASIC has four instances of each block,
   and its service answers every request with success and does nothing. */
#include <platform/card_config.h>
#include <platform/register_map.h>
#include <platform/system_service.h>
#include <stddef.h>

enum { instances = 4 };

int sse_call2(uint32_t case_code, sys_srvc_case_params_t *case_params, uint32_t length) {
  /* Send the record at case_params->params to the service, wait, copy its answer back. */
  (void)case_code, (void)case_params, (void)length;
  return 0;
}

int cardcfg_get_real_asic_type(uint32_t slot, uint32_t asic_index, uint32_t *dev_type) {
  (void)slot, (void)asic_index;
  *dev_type = CARDCFG_DEV_TYPE_MORVANE;
  return 0;
}

int cardcfg_card_get_sw_card_id(uint32_t slot, uint16_t *sw_card_id) {
  (void)slot;
  *sw_card_id = 1;
  return 0;
}

syserr_t morvane_lib_init(KEL_ASIC_fn *funcs, kel_asic_limits_t *limits, kel_asic_ver_t *asic_ver,
                          uint32_t context, char *file, int line, const char *func) {
  const kel_asic_limits_t of_the_asic = {
      .max_modules = 4,
      .max_asic = 0,
      .max_ss = instances,
      .max_ch = instances,
      .max_mb = instances,
      .max_hr = instances,
      .max_nr = instances,
      .max_hi = instances,
      .max_ni = instances,
      .max_si = instances,
      .max_hf = instances,
      .max_nf = instances,
      .max_ci = instances,
      .max_bi = instances,
      .max_cc = instances,
      .max_pc = instances,
      .max_rs_edma = instances,
      .max_rs_pcie = instances,
      .max_misc = instances,
      .max_qs = instances,
      .max_xl = instances,
  };
  (void)context, (void)file, (void)line, (void)func;
  funcs->reg_dhs_entry_size = NULL;
  *limits = of_the_asic;
  *asic_ver = KEL_ASIC_VER_A0;
  return 0;
}

const kel_asic_reg_t **kel_asic_get_all_base_table(kel_asic_ver_t asic_ver) {
  static kel_asic_reg_t bases[KEL_ASIC_NUM_BLK][instances];
  static const kel_asic_reg_t *table[KEL_ASIC_NUM_BLK];
  (void)asic_ver;
  for (uint32_t block = 0; block < KEL_ASIC_NUM_BLK; ++block) {
    for (uint32_t i = 0; i < instances; ++i)
      bases[block][i] = block << 24 | i << 20;
    table[block] = bases[block];
  }
  return table;
}

const kel_asic_reg_t **kel_asic_get_all_reg_table(kel_asic_ver_t asic_ver) {
  /* One array for all blocks, as long as the largest needs; a real map has one for each. */
  static kel_asic_reg_t offsets[KEL_ASIC_SS_NUM_ENUM];
  static const kel_asic_reg_t *table[KEL_ASIC_NUM_BLK];
  (void)asic_ver;
  for (uint32_t vreg = 0; vreg < KEL_ASIC_SS_NUM_ENUM; ++vreg)
    offsets[vreg] = 4 * vreg;
  for (uint32_t block = 0; block < KEL_ASIC_NUM_BLK; ++block)
    table[block] = offsets;
  return table;
}
