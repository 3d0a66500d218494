// The layout of every record that crosses the interface, checked once at build time: clients, the
// platform and the driver service are built separately and share only the bytes.
#include <cstddef>

#include "kel_asic_blocks.h"
#include "kel_asic_dhs_tables.h"
#include "kel_asic_intf.h"
#include "kel_asic_lib_common.h"
#include "platform/system_service.h"

#define EXPECT_OFFSET(record, field, offset) \
  static_assert(offsetof(record, field) == (offset), #record "." #field " has moved")

EXPECT_OFFSET(kel_asic_pgm_t, magic, 0);
EXPECT_OFFSET(kel_asic_pgm_t, block, 4);
EXPECT_OFFSET(kel_asic_pgm_t, instance, 8);
EXPECT_OFFSET(kel_asic_pgm_t, vreg, 12);
EXPECT_OFFSET(kel_asic_pgm_t, data, 16);
EXPECT_OFFSET(kel_asic_pgm_t, mask, 20);

static_assert(sizeof(kel_asic_block_t) == 20);
EXPECT_OFFSET(kel_asic_block_t, block, 0);
EXPECT_OFFSET(kel_asic_block_t, name, 4);
EXPECT_OFFSET(kel_asic_block_t, registers, 12);
EXPECT_OFFSET(kel_asic_block_t, limit, 16);

static constexpr bool blocks_in_order() {
  uint32_t next = 0;
  for (const kel_asic_block_t &row : kel_asic_blocks) {
    if (row.block != next++)
      return false;
  }
  return next == KEL_ASIC_NUM_BLK;
}
static_assert(blocks_in_order(), "a block is the index of its row");

static_assert(sizeof(kel_asic_dhs_row_t) == 20);
EXPECT_OFFSET(kel_asic_dhs_row_t, block, 0);
EXPECT_OFFSET(kel_asic_dhs_row_t, first, 4);
EXPECT_OFFSET(kel_asic_dhs_row_t, last, 8);
EXPECT_OFFSET(kel_asic_dhs_row_t, highest_index, 12);
EXPECT_OFFSET(kel_asic_dhs_row_t, words, 16);

EXPECT_OFFSET(kel_asic_qos_pause_stats_t, flow_ctrl, 0);
EXPECT_OFFSET(kel_asic_qos_pause_stats_t, rx_xoff_cnt, 4);
EXPECT_OFFSET(kel_asic_qos_pause_stats_t, rx_xon_cnt, 12);
EXPECT_OFFSET(kel_asic_qos_pause_stats_t, tx_xoff_cnt, 20);
EXPECT_OFFSET(kel_asic_qos_pause_stats_t, tx_xon_cnt, 28);
EXPECT_OFFSET(kel_asic_qos_pause_stats_t, tx_pfc_xoff_cnt, 36);
EXPECT_OFFSET(kel_asic_qos_pause_stats_t, rx_pfc_xoff_cnt, 100);
EXPECT_OFFSET(kel_asic_qos_pause_stats_t, tx_pfc_cnt, 164);
EXPECT_OFFSET(kel_asic_qos_pause_stats_t, rx_pfc_cnt, 172);
EXPECT_OFFSET(kel_asic_qos_pause_stats_t, rx_xoff_status, 180);
EXPECT_OFFSET(kel_asic_qos_pause_stats_t, tx_xoff_status, 181);

EXPECT_OFFSET(kel_asic_qos_ss_dhs_stats_t, wr_rcvd_cnt, 0);
EXPECT_OFFSET(kel_asic_qos_ss_dhs_stats_t, wr_discard_cnt, 64);
EXPECT_OFFSET(kel_asic_qos_ss_dhs_stats_t, wr_discard_mcast_cnt, 72);
EXPECT_OFFSET(kel_asic_qos_ss_dhs_stats_t, wr_rcvd_err_cnt, 80);
EXPECT_OFFSET(kel_asic_qos_ss_dhs_stats_t, rd_sent_cnt, 88);

EXPECT_OFFSET(kel_asic_qos_oq_stats_t, flush_cnt, 0);
EXPECT_OFFSET(kel_asic_qos_oq_stats_t, tout_cnt, 8);

EXPECT_OFFSET(kel_asic_qos_drops_t, n2h_drops, 0);
EXPECT_OFFSET(kel_asic_qos_drops_t, h2n_drops, 384);

EXPECT_OFFSET(kel_asic_qos_stats_t, pause, 0);
EXPECT_OFFSET(kel_asic_qos_stats_t, ss_dhs, 184);
EXPECT_OFFSET(kel_asic_qos_stats_t, oq, 336);
EXPECT_OFFSET(kel_asic_qos_stats_t, drops, 352);

EXPECT_OFFSET(kel_asic_qos_stats_params_t, type, 0);
EXPECT_OFFSET(kel_asic_qos_stats_params_t, module, 4);
EXPECT_OFFSET(kel_asic_qos_stats_params_t, asic, 5);
EXPECT_OFFSET(kel_asic_qos_stats_params_t, port_type, 8);
EXPECT_OFFSET(kel_asic_qos_stats_params_t, port, 12);
EXPECT_OFFSET(kel_asic_qos_stats_params_t, stats, 16);
EXPECT_OFFSET(kel_asic_qos_stats_params_t, opts, 1136);

EXPECT_OFFSET(kel_asic_limits_t, max_modules, 0);
EXPECT_OFFSET(kel_asic_limits_t, max_asic, 4);
EXPECT_OFFSET(kel_asic_limits_t, max_ss, 8);
EXPECT_OFFSET(kel_asic_limits_t, max_ch, 12);
EXPECT_OFFSET(kel_asic_limits_t, max_mb, 16);
EXPECT_OFFSET(kel_asic_limits_t, max_hr, 20);
EXPECT_OFFSET(kel_asic_limits_t, max_nr, 24);
EXPECT_OFFSET(kel_asic_limits_t, max_hi, 28);
EXPECT_OFFSET(kel_asic_limits_t, max_ni, 32);
EXPECT_OFFSET(kel_asic_limits_t, max_si, 36);
EXPECT_OFFSET(kel_asic_limits_t, max_hf, 40);
EXPECT_OFFSET(kel_asic_limits_t, max_nf, 44);
EXPECT_OFFSET(kel_asic_limits_t, max_ci, 48);
EXPECT_OFFSET(kel_asic_limits_t, max_bi, 52);
EXPECT_OFFSET(kel_asic_limits_t, max_cc, 56);
EXPECT_OFFSET(kel_asic_limits_t, max_pc, 60);
EXPECT_OFFSET(kel_asic_limits_t, max_rs_edma, 64);
EXPECT_OFFSET(kel_asic_limits_t, max_rs_pcie, 68);
EXPECT_OFFSET(kel_asic_limits_t, max_misc, 72);
EXPECT_OFFSET(kel_asic_limits_t, max_qs, 76);
EXPECT_OFFSET(kel_asic_limits_t, max_xl, 80);

EXPECT_OFFSET(kel_asic_lib_debug_info_t, userdata, 0);
EXPECT_OFFSET(kel_asic_lib_debug_info_t, line, 4);
EXPECT_OFFSET(kel_asic_lib_debug_info_t, func, 8);
EXPECT_OFFSET(kel_asic_lib_debug_info_t, file, 40);

EXPECT_OFFSET(kel_asic_reg_access_params_t, type, 0);
EXPECT_OFFSET(kel_asic_reg_access_params_t, module, 4);
EXPECT_OFFSET(kel_asic_reg_access_params_t, asic, 8);
EXPECT_OFFSET(kel_asic_reg_access_params_t, addr, 12);
EXPECT_OFFSET(kel_asic_reg_access_params_t, data, 16);
EXPECT_OFFSET(kel_asic_reg_access_params_t, mask, 20);
EXPECT_OFFSET(kel_asic_reg_access_params_t, num, 24);
EXPECT_OFFSET(kel_asic_reg_access_params_t, info, 28);
EXPECT_OFFSET(kel_asic_reg_access_params_t, pdata, 196);

EXPECT_OFFSET(kel_asic_xn_entry_t, module, 0);
EXPECT_OFFSET(kel_asic_xn_entry_t, asic_map, 4);
EXPECT_OFFSET(kel_asic_xn_entry_t, reg, 8);
EXPECT_OFFSET(kel_asic_xn_entry_t, data, 12);
EXPECT_OFFSET(kel_asic_xn_entry_t, mask, 16);

EXPECT_OFFSET(kel_asic_xn_t, name, 0);
EXPECT_OFFSET(kel_asic_xn_t, reorder_allowed, 32);
EXPECT_OFFSET(kel_asic_xn_t, num, 36);
EXPECT_OFFSET(kel_asic_xn_t, xn, 40);

static_assert(offsetof(KEL_ASIC_fn, reg_dhs_entry_size) == 0);
static_assert(sizeof(KEL_ASIC_fn) == sizeof(void *));
static_assert(sizeof(sys_srvc_case_params_t) == 2 * sizeof(void *));
static_assert(offsetof(sys_srvc_case_params_t, caseId) == 0);
static_assert(offsetof(sys_srvc_case_params_t, params) == sizeof(void *));
