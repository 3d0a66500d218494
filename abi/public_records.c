/* Every public type that no exported function names: the records of the service and the register
 * map, and the enumerations. Built only for the interface guard, which reads their layout from its
 * debug information. */
#include "kel_asic_blocks.h"
#include "kel_asic_dhs_tables.h"
#include "kel_asic_intf.h"
#include "kel_asic_lib_common.h"
#include "kel_asic_record_kinds.h"
#include "platform/card_config.h"
#include "platform/register_map.h"
#include "platform/system_service.h"

struct public_types {
  const kel_asic_limits_t *limits;
  const KEL_ASIC_fn *fn;
  const kel_asic_reg_access_params_t *reg_access_params;
  const kel_asic_xn_t *xn;
  const kel_asic_qos_stats_params_t *qos_stats_params;
  const sys_srvc_case_params_t *sys_srvc_case_params;
  kel_asic_access_type_t access_type;
  kel_asic_syserr_t syserr;
  kel_asic_qos_stats_type_t qos_stats_type;
  kel_asic_ver_t ver;
  cardcfg_dev_type_t cardcfg_dev_type;
  kel_asic_ss_reg_t ss_reg;
  kel_asic_hr_reg_t hr_reg;
  kel_asic_nr_reg_t nr_reg;
  kel_asic_hi_reg_t hi_reg;
  kel_asic_ni_reg_t ni_reg;
  kel_asic_si_reg_t si_reg;
  kel_asic_hf_reg_t hf_reg;
  kel_asic_nf_reg_t nf_reg;
  kel_asic_ci_reg_t ci_reg;
  kel_asic_bi_reg_t bi_reg;
  kel_asic_cc_reg_t cc_reg;
  kel_asic_pc_reg_t pc_reg;
  kel_asic_rs_edma_reg_t rs_edma_reg;
  kel_asic_rs_pcie_reg_t rs_pcie_reg;
  kel_asic_misc_reg_t misc_reg;
  kel_asic_ch_reg_t ch_reg;
  kel_asic_mb_reg_t mb_reg;
  kel_asic_qs_reg_t qs_reg;
  kel_asic_xl_reg_t xl_reg;
  const kel_asic_dhs_row_t *dhs_row;
  const kel_asic_case_t *service_case;
  const kel_asic_block_t *block;
};

const struct public_types *public_types(void);

const struct public_types *public_types(void) {
  static const struct public_types none;
  return &none;
}
