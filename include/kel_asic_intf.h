/**
 * @file
 * The interface of libmorvaneusd: one programming interface to the Morvane switching ASIC.
 *
 * The library checks and translates symbolic register addresses, packs each request into a fixed
 * record and hands it to the driver service of the ASIC. It never touches the hardware itself.
 *
 *     uint32_t value;
 *     syserr_t err = lib_mrv_asic_init(slot, KEL_ASIC_DRIVER_MORVANE, 0, __FILE__, __LINE__,
 *                                      __func__);
 *     if (err == 0)
 *       err = lib_mrv_asic_read(0, 0, KEL_ASIC_BLK_HI, 2, HI_DHS_LVIF_OFFSET, &value, 0, __FILE__,
 *                               __LINE__, __func__);
 *
 * A register is named by five coordinates: module, ASIC number, block, block instance and virtual
 * register (a value of the block's register enumeration).
 *
 * The last four arguments of a register operation identify its caller: context (a number of the
 * caller's own), file, line and func. They travel in the request, cut to 127 (file) and 31 (func)
 * characters, so that the service can tell who asked. A null file or func is sent as an empty text.
 *
 * Threads: the library creates no threads and takes no locks. Its context, its pending transaction,
 * its request buffer and its trace are one per process. Use it from one thread at a time, and let
 * lib_mrv_asic_init return before any other call.
 *
 * Ownership: the library frees nothing and keeps no pointer of the caller's beyond a call. There is
 * no shutdown; context, buffer and trace log live until the process ends.
 */
#ifndef KEL_ASIC_INTF_H
#define KEL_ASIC_INTF_H

#include <stdint.h>

#include "kel_asic_syserr_def.h"
#include "platform/card_config.h"
#include "platform/fixed_enum.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The interface stays visible when it is built with hidden visibility. */
#pragma GCC visibility push(default)

/** Driver identifier of the Morvane: the asic_type of lib_mrv_asic_init. */
#define KEL_ASIC_DRIVER_MORVANE UINT32_C(236)

/** ASIC number: which ASIC of a module. */
typedef uint32_t kel_asic_num_t;

/** Virtual register (index in its block's enumeration), or a register address. */
typedef uint32_t kel_asic_reg_t;

/** Blocks of the ASIC. */
typedef enum kel_asic_blk_t KEL_ENUM32 {
  KEL_ASIC_BLK_SS = 0,
  KEL_ASIC_BLK_HR = 1,
  KEL_ASIC_BLK_NR = 2,
  KEL_ASIC_BLK_HI = 3,
  KEL_ASIC_BLK_NI = 4,
  KEL_ASIC_BLK_SI = 5,
  KEL_ASIC_BLK_HF = 6,
  KEL_ASIC_BLK_NF = 7,
  KEL_ASIC_BLK_CI = 8,
  KEL_ASIC_BLK_BI = 9,
  KEL_ASIC_BLK_CC = 10,
  KEL_ASIC_BLK_PC = 11,
  KEL_ASIC_BLK_RS_EDMA = 12,
  KEL_ASIC_BLK_RS_PCIE = 13,
  KEL_ASIC_BLK_MISC = 14,
  KEL_ASIC_BLK_CH = 15,
  KEL_ASIC_BLK_MB = 16,
  KEL_ASIC_BLK_QS = 17,
  KEL_ASIC_BLK_XL = 18,
  KEL_ASIC_NUM_BLK = 19 /**< number of blocks; names no block */
} kel_asic_blk_t;

/**
 * Printable names of the blocks, indexed by ::kel_asic_blk_t: "SS" to "XL", without an underscore
 * in "RSEDMA" and "RSPCIE". Read-only.
 */
extern const char *const kel_asic_blk_names[KEL_ASIC_NUM_BLK];

/**
 * @defgroup registers Register enumerations
 * The virtual registers of each block, from its KEL_ASIC_..._FIRST_ENUM to one before its
 * KEL_ASIC_..._NUM_ENUM, their number. Values without a name are registers all the same; a value
 * may also be a hole, which the operations refuse.
 * @{
 */

/** Registers of block SS. */
typedef enum kel_asic_ss_reg_t KEL_ENUM32 {
  KEL_ASIC_SS_FIRST_ENUM = 0,
  SS_CFG_CG_OFFSET = 0,
  SS_CFG_CG_WR_OFFSET = 1,
  SS_DHS_DD_OFFSET = 2690,
  SS_DHS_STATS_RAM_OFFSET = 2691,
  SS_DHS_ARB0_OFFSET = 2692,
  SS_DHS_ARB0_LO_OFFSET = 2693,
  SS_DHS_ARB0_HI_OFFSET = 2694,
  SS_DHS_ARB1_OFFSET = 2695,
  SS_DHS_ARB1_LO_OFFSET = 2696,
  SS_DHS_ARB1_HI_OFFSET = 2697,
  SS_DHS_ARB2_OFFSET = 2698,
  SS_DHS_ARB2_LO_OFFSET = 2699,
  SS_DHS_ARB2_HI_OFFSET = 2700,
  SS_DHS_ARB3_OFFSET = 2701,
  SS_DHS_ARB3_LO_OFFSET = 2702,
  SS_DHS_ARB3_HI_OFFSET = 2703,
  SS_DHS_ARB4_OFFSET = 2704,
  SS_DHS_ARB4_LO_OFFSET = 2705,
  SS_DHS_ARB4_HI_OFFSET = 2706,
  SS_DHS_ARB5_OFFSET = 2707,
  SS_DHS_ARB5_LO_OFFSET = 2708,
  SS_DHS_ARB5_HI_OFFSET = 2709,
  SS_DHS_ARB6_OFFSET = 2710,
  SS_DHS_ARB6_LO_OFFSET = 2711,
  SS_DHS_ARB6_HI_OFFSET = 2712,
  SS_DHS_ARB7_OFFSET = 2713,
  SS_DHS_ARB7_LO_OFFSET = 2714,
  SS_DHS_ARB7_HI_OFFSET = 2715,
  SS_DHS_ARB8_OFFSET = 2716,
  SS_DHS_ARB8_LO_OFFSET = 2717,
  SS_DHS_ARB8_HI_OFFSET = 2718,
  SS_DHS_ARB9_OFFSET = 2719,
  SS_DHS_ARB9_LO_OFFSET = 2720,
  SS_DHS_ARB9_HI_OFFSET = 2721,
  KEL_ASIC_SS_NUM_ENUM = 3933
} kel_asic_ss_reg_t;

/** Registers of block HR. */
typedef enum kel_asic_hr_reg_t KEL_ENUM32 {
  KEL_ASIC_HR_FIRST_ENUM = 0,
  HR_DHS_OQ0_STATUS_OFFSET = 87,
  HR_DHS_OQ1_STATUS_OFFSET = 170,
  HR_DHS_OQ2_STATUS_OFFSET = 253,
  HR_DHS_OQ3_STATUS_OFFSET = 336,
  HR_DHS_ARB0_OFFSET = 344,
  HR_DHS_ARB1_OFFSET = 345,
  HR_DHS_ARB2_OFFSET = 346,
  HR_DHS_ARB3_OFFSET = 347,
  HR_DHS_ARB4_OFFSET = 348,
  HR_DHS_ARB5_OFFSET = 349,
  HR_DHS_ARB6_OFFSET = 350,
  HR_DHS_ARB7_OFFSET = 351,
  HR_DHS_ARB8_OFFSET = 352,
  HR_DHS_OQ4_STATUS_OFFSET = 416,
  HR_DHS_OQ5_STATUS_OFFSET = 481,
  KEL_ASIC_HR_NUM_ENUM = 544
} kel_asic_hr_reg_t;

/** Registers of block NR. */
typedef enum kel_asic_nr_reg_t KEL_ENUM32 {
  KEL_ASIC_NR_FIRST_ENUM = 0,
  NR_DHS_OQ0_STATUS_OFFSET = 87,
  NR_DHS_OQ1_STATUS_OFFSET = 178,
  NR_DHS_OQ2_STATUS_OFFSET = 269,
  NR_DHS_OQ3_STATUS_OFFSET = 360,
  NR_DHS_ARB0_OFFSET = 368,
  NR_DHS_ARB1_OFFSET = 369,
  NR_DHS_ARB2_OFFSET = 370,
  NR_DHS_ARB3_OFFSET = 371,
  NR_DHS_ARB4_OFFSET = 372,
  NR_DHS_ARB5_OFFSET = 373,
  NR_DHS_ARB6_OFFSET = 374,
  NR_DHS_ARB7_OFFSET = 375,
  NR_DHS_ARB8_OFFSET = 376,
  NR_DHS_ARB9_OFFSET = 377,
  NR_DHS_ARB10_OFFSET = 378,
  NR_DHS_ARB11_OFFSET = 379,
  NR_DHS_ARB12_OFFSET = 380,
  NR_DHS_ARB13_OFFSET = 381,
  NR_DHS_ARB14_OFFSET = 382,
  NR_DHS_ARB15_OFFSET = 383,
  NR_DHS_ARB16_OFFSET = 384,
  NR_DHS_ARB17_OFFSET = 385,
  NR_DHS_ARB18_OFFSET = 386,
  NR_DHS_ARB19_OFFSET = 387,
  NR_DHS_ARB20_OFFSET = 388,
  NR_DHS_ARB21_OFFSET = 389,
  NR_DHS_ARB22_OFFSET = 390,
  NR_DHS_ARB23_OFFSET = 391,
  NR_DHS_ARB24_OFFSET = 392,
  NR_DHS_ARB25_OFFSET = 393,
  NR_DHS_ARB26_OFFSET = 394,
  NR_DHS_ARB27_OFFSET = 395,
  NR_DHS_ARB28_OFFSET = 396,
  NR_DHS_ARB29_OFFSET = 397,
  NR_DHS_ARB30_OFFSET = 398,
  NR_DHS_ARB31_OFFSET = 399,
  NR_DHS_ARB32_OFFSET = 400,
  NR_DHS_ARB33_OFFSET = 401,
  NR_DHS_OQ4_STATUS_OFFSET = 494,
  NR_DHS_OQ5_STATUS_OFFSET = 585,
  NR_DHS_ARB34_OFFSET = 593,
  NR_DHS_ARB35_OFFSET = 594,
  NR_DHS_ARB36_OFFSET = 595,
  NR_DHS_ARB37_OFFSET = 596,
  NR_DHS_ARB38_OFFSET = 597,
  NR_DHS_ARB39_OFFSET = 598,
  NR_DHS_ARB40_OFFSET = 599,
  NR_DHS_ARB41_OFFSET = 600,
  NR_DHS_ARB42_OFFSET = 601,
  NR_DHS_ARB43_OFFSET = 602,
  NR_DHS_ARB44_OFFSET = 603,
  NR_DHS_ARB45_OFFSET = 604,
  NR_DHS_ARB46_OFFSET = 605,
  NR_DHS_ARB47_OFFSET = 606,
  NR_DHS_ARB48_OFFSET = 607,
  NR_DHS_ARB49_OFFSET = 608,
  KEL_ASIC_NR_NUM_ENUM = 842
} kel_asic_nr_reg_t;

/** Registers of block HI. */
typedef enum kel_asic_hi_reg_t KEL_ENUM32 {
  KEL_ASIC_HI_FIRST_ENUM = 0,
  HI_HI0_DHS_LVIF_TCAM_OFFSET = 309,
  HI_DHS_LVIF_TCAM_OFFSET = 1250,
  HI_DHS_LVIF_OFFSET = 1461,
  KEL_ASIC_HI_NUM_ENUM = 1584
} kel_asic_hi_reg_t;

/** Registers of block NI. */
typedef enum kel_asic_ni_reg_t KEL_ENUM32 {
  KEL_ASIC_NI_FIRST_ENUM = 0,
  KEL_ASIC_NI_NUM_ENUM = 1106
} kel_asic_ni_reg_t;

/** Registers of block SI. */
typedef enum kel_asic_si_reg_t KEL_ENUM32 {
  KEL_ASIC_SI_FIRST_ENUM = 0,
  KEL_ASIC_SI_NUM_ENUM = 786
} kel_asic_si_reg_t;

/** Registers of block HF. */
typedef enum kel_asic_hf_reg_t KEL_ENUM32 {
  KEL_ASIC_HF_FIRST_ENUM = 0,
  HF_DHS_SVIF_MEM_OFFSET = 0,
  HF_DHS_SVIF_MEM_LO_OFFSET = 1,
  HF_DHS_SVIF_MEM_HI_OFFSET = 2,
  HF_DHS_LVIF_MEM_OFFSET = 3,
  HF_DHS_TCAM_OFFSET = 108,
  HF_DHS_RESULT_OFFSET = 109,
  HF_DHS_RESULT_00_OFFSET = 110,
  HF_DHS_RESULT_01_OFFSET = 111,
  HF_DHS_RESULT_02_OFFSET = 112,
  HF_DHS_NETFLOW_OFFSET = 113,
  HF_DHS_NETFLOW_LO_OFFSET = 114,
  HF_DHS_NETFLOW_HI_OFFSET = 115,
  HF_DHS_POL_OFFSET = 116,
  HF_DHS_POL_00_OFFSET = 117,
  HF_DHS_POL_01_OFFSET = 118,
  HF_DHS_POL_02_OFFSET = 119,
  HF_DHS_RESULT_LO_OFFSET = 225,
  HF_DHS_RESULT_HI_OFFSET = 226,
  KEL_ASIC_HF_NUM_ENUM = 246
} kel_asic_hf_reg_t;

/** Registers of block NF. */
typedef enum kel_asic_nf_reg_t KEL_ENUM32 {
  KEL_ASIC_NF_FIRST_ENUM = 0,
  NF_DHS_MCAST_MEM_OFFSET = 0,
  NF_DHS_MCAST_MEM_00_OFFSET = 1,
  NF_DHS_MCAST_MEM_01_OFFSET = 2,
  NF_DHS_MCAST_MEM_02_OFFSET = 3,
  NF_DHS_UCAST_MEM_OFFSET = 4,
  NF_DHS_UCAST_MEM_00_OFFSET = 5,
  NF_DHS_UCAST_MEM_01_OFFSET = 6,
  NF_DHS_UCAST_MEM_02_OFFSET = 7,
  NF_DHS_TCAM_OFFSET = 516,
  NF_DHS_RESULT_OFFSET = 517,
  NF_DHS_RESULT_00_OFFSET = 518,
  NF_DHS_RESULT_01_OFFSET = 519,
  NF_DHS_MCAST_MEMIF_DATA_OFFSET = 641,
  NF_DHS_MCAST_MEMIF_DATA_LO_OFFSET = 642,
  NF_DHS_MCAST_MEMIF_DATA_HI_OFFSET = 643,
  NF_DHS_UCAST_MEMIF_DATA_OFFSET = 644,
  NF_DHS_TCAM_MASK_OFFSET = 752,
  KEL_ASIC_NF_NUM_ENUM = 753
} kel_asic_nf_reg_t;

/** Registers of block CI. */
typedef enum kel_asic_ci_reg_t KEL_ENUM32 {
  KEL_ASIC_CI_FIRST_ENUM = 0,
  CI_DHS_MCAST_MEMIF_DATA_OFFSET = 130,
  KEL_ASIC_CI_NUM_ENUM = 169
} kel_asic_ci_reg_t;

/** Registers of block BI. */
typedef enum kel_asic_bi_reg_t KEL_ENUM32 {
  KEL_ASIC_BI_FIRST_ENUM = 0,
  KEL_ASIC_BI_NUM_ENUM = 184
} kel_asic_bi_reg_t;

/** Registers of block CC. */
typedef enum kel_asic_cc_reg_t KEL_ENUM32 {
  KEL_ASIC_CC_FIRST_ENUM = 0,
  KEL_ASIC_CC_NUM_ENUM = 36
} kel_asic_cc_reg_t;

/** Registers of block PC. */
typedef enum kel_asic_pc_reg_t KEL_ENUM32 {
  KEL_ASIC_PC_FIRST_ENUM = 0,
  KEL_ASIC_PC_NUM_ENUM = 38
} kel_asic_pc_reg_t;

/** Registers of block RS_EDMA. */
typedef enum kel_asic_rs_edma_reg_t KEL_ENUM32 {
  KEL_ASIC_RS_EDMA_FIRST_ENUM = 0,
  KEL_ASIC_RS_EDMA_NUM_ENUM = 364
} kel_asic_rs_edma_reg_t;

/** Registers of block RS_PCIE. */
typedef enum kel_asic_rs_pcie_reg_t KEL_ENUM32 {
  KEL_ASIC_RS_PCIE_FIRST_ENUM = 0,
  KEL_ASIC_RS_PCIE_NUM_ENUM = 309
} kel_asic_rs_pcie_reg_t;

/** Registers of block MISC. */
typedef enum kel_asic_misc_reg_t KEL_ENUM32 {
  KEL_ASIC_MISC_FIRST_ENUM = 0,
  KEL_ASIC_MISC_NUM_ENUM = 243
} kel_asic_misc_reg_t;

/** Registers of block CH. */
typedef enum kel_asic_ch_reg_t KEL_ENUM32 {
  KEL_ASIC_CH_FIRST_ENUM = 0,
  KEL_ASIC_CH_NUM_ENUM = 651
} kel_asic_ch_reg_t;

/** Registers of block MB. */
typedef enum kel_asic_mb_reg_t KEL_ENUM32 {
  KEL_ASIC_MB_FIRST_ENUM = 0,
  KEL_ASIC_MB_NUM_ENUM = 43
} kel_asic_mb_reg_t;

/** Registers of block QS. */
typedef enum kel_asic_qs_reg_t KEL_ENUM32 {
  KEL_ASIC_QS_FIRST_ENUM = 0,
  QS_DHS_OQ0_STATUS_OFFSET = 264,
  QS_DHS_OQ1_STATUS_OFFSET = 265,
  QS_DHS_OQ2_STATUS_OFFSET = 266,
  QS_DHS_OQ3_STATUS_OFFSET = 267,
  QS_DHS_OQ4_STATUS_OFFSET = 268,
  QS_DHS_OQ5_STATUS_OFFSET = 269,
  QS_DHS_OQ6_STATUS_OFFSET = 270,
  QS_DHS_OQ7_STATUS_OFFSET = 271,
  QS_DHS_OQ_BI_STATUS_OFFSET = 272,
  QS_DHS_OQ_MEMIF_DATA_02_OFFSET = 281,
  QS_DHS_ARB_NI_OFFSET = 282,
  QS_DHS_ARB_HI_OFFSET = 283,
  QS_DHS_ARB_BI_OFFSET = 284,
  QS_DHS_ARB_CI_OFFSET = 285,
  KEL_ASIC_QS_NUM_ENUM = 289
} kel_asic_qs_reg_t;

/** Registers of block XL. */
typedef enum kel_asic_xl_reg_t KEL_ENUM32 {
  KEL_ASIC_XL_FIRST_ENUM = 0,
  KEL_ASIC_XL_NUM_ENUM = 184
} kel_asic_xl_reg_t;
/** @} */

/**
 * The code argument of the two single-register writes: a symbolic address, to be checked and
 * translated.
 */
#define KEL_ASIC_WR_SYMBOLIC UINT32_C(0xAB98DC56)

/**
 * The code argument of the two single-register writes: vreg is the register address itself, or a
 * command address. Any value but ::KEL_ASIC_WR_SYMBOLIC says so; this is the one to use.
 */
#define KEL_ASIC_WR_RAW UINT32_C(0x800CCBB2)

/**
 * @defgroup commands Command addresses
 * Register addresses that the service takes as commands.
 * @{
 */
#define KEL_ASIC_CMD_NODROP_CLASS_MAP UINT32_C(0xFFFFFFFC)      /**< set the no-drop class map */
#define KEL_ASIC_CMD_LINK_PAUSE_ENABLE UINT32_C(0xFFFFFFF8)     /**< enable link pause on a port */
#define KEL_ASIC_CMD_LINK_PAUSE_DISABLE UINT32_C(0xFFFFFFF4)    /**< disable link pause on a port */
#define KEL_ASIC_CMD_SFP_VALIDATION_FAILED UINT32_C(0xFFFFFFF0) /**< an SFP failed validation */
#define KEL_ASIC_CMD_CLEAR_DROP_COUNTERS UINT32_C(0xFFFFFFE4)   /**< clear all drop counters */
/** @} */

/** The magic of every step of a register program. */
#define KEL_ASIC_PGM_MAGIC UINT32_C(0x900DDEA1)

/** One step of a register program. 24 bytes. */
typedef struct kel_asic_pgm_t {
  uint32_t magic;       /**< 0: ::KEL_ASIC_PGM_MAGIC */
  kel_asic_blk_t block; /**< 4: block of the register */
  uint32_t instance;    /**< 8: instance of the block */
  uint32_t vreg;        /**< 12: virtual register */
  uint32_t data;        /**< 16: value, or field value, to write */
  uint32_t mask; /**< 20: 0xFFFFFFFF: the whole register; else a field write with this mask */
} kel_asic_pgm_t;

/**
 * A 64-bit counter of a wire record, aligned to 4 bytes on every machine. Read it by value: on a
 * 64-bit machine its address may be no valid uint64_t pointer.
 */
typedef uint64_t kel_asic_counter_t __attribute__((aligned(4)));

/** Flow-control setting of a port, as the service reports it. */
typedef uint16_t port_flow_ctrl_t;

/** Pause and priority flow control of a port. 184 bytes; counters count frames. */
typedef struct kel_asic_qos_pause_stats_t {
  port_flow_ctrl_t flow_ctrl;            /**< 0: flow-control setting; 2 bytes of padding follow */
  kel_asic_counter_t rx_xoff_cnt;        /**< 4: XOFF pause received */
  kel_asic_counter_t rx_xon_cnt;         /**< 12: XON pause received */
  kel_asic_counter_t tx_xoff_cnt;        /**< 20: XOFF pause sent */
  kel_asic_counter_t tx_xon_cnt;         /**< 28: XON pause sent */
  kel_asic_counter_t tx_pfc_xoff_cnt[8]; /**< 36: PFC XOFF sent, by priority */
  kel_asic_counter_t rx_pfc_xoff_cnt[8]; /**< 100: PFC XOFF received, by priority */
  kel_asic_counter_t tx_pfc_cnt;         /**< 164: PFC sent */
  kel_asic_counter_t rx_pfc_cnt;         /**< 172: PFC received */
  uint8_t rx_xoff_status;                /**< 180: receive side is in XOFF state */
  uint8_t tx_xoff_status;                /**< 181: transmit side is in XOFF state; 2 of padding */
} kel_asic_qos_pause_stats_t;

/** Writes and reads of a port. 152 bytes; the service defines the eight classes. */
typedef struct kel_asic_qos_ss_dhs_stats_t {
  kel_asic_counter_t wr_rcvd_cnt[8];       /**< 0: writes received */
  kel_asic_counter_t wr_discard_cnt;       /**< 64: writes discarded */
  kel_asic_counter_t wr_discard_mcast_cnt; /**< 72: multicast writes discarded */
  kel_asic_counter_t wr_rcvd_err_cnt;      /**< 80: writes received with an error */
  kel_asic_counter_t rd_sent_cnt[8];       /**< 88: reads sent */
} kel_asic_qos_ss_dhs_stats_t;

/** Queue counters of a port. 16 bytes. */
typedef struct kel_asic_qos_oq_stats_t {
  kel_asic_counter_t flush_cnt; /**< 0: queue flushes */
  kel_asic_counter_t tout_cnt;  /**< 8: queue time-outs */
} kel_asic_qos_oq_stats_t;

/** Drop counters of a port by direction. 768 bytes; the service defines both indices. */
typedef struct kel_asic_qos_drops_t {
  kel_asic_counter_t n2h_drops[6][8]; /**< 0: drops in the n2h direction */
  kel_asic_counter_t h2n_drops[6][8]; /**< 384: drops in the h2n direction */
} kel_asic_qos_drops_t;

/** QoS statistics of a port. 1120 bytes. */
typedef struct kel_asic_qos_stats_t {
  kel_asic_qos_pause_stats_t pause;   /**< 0: pause and priority flow control */
  kel_asic_qos_ss_dhs_stats_t ss_dhs; /**< 184: writes and reads */
  kel_asic_qos_oq_stats_t oq;         /**< 336: queues */
  kel_asic_qos_drops_t drops;         /**< 352: drops */
} kel_asic_qos_stats_t;

/** What a QoS request asks for. */
typedef enum kel_asic_qos_stats_type_t KEL_ENUM32 {
  QOS_STATS_GET = 0,      /**< read the statistics of one port */
  QOS_STATS_CLEAR = 1,    /**< clear the statistics of one port */
  QOS_STATS_CLEAR_ALL = 2 /**< clear the statistics of every port of an ASIC */
} kel_asic_qos_stats_type_t;

/** QoS request, as it reaches the service. 1140 bytes. */
typedef struct kel_asic_qos_stats_params_t {
  uint32_t type;                 /**< 0: ::kel_asic_qos_stats_type_t */
  cardcfg_module_id_t module;    /**< 4: module number */
  cardcfg_dev_id_t asic;         /**< 5: ASIC number; 2 bytes of padding follow */
  cardcfg_port_type_t port_type; /**< 8: port type */
  cardcfg_port_id_t port;        /**< 12: port number; 3 bytes of padding follow */
  kel_asic_qos_stats_t stats;    /**< 16: the service's answer to a get; zero in a clear */
  uint32_t opts;                 /**< 1136: the caller's options, passed through */
} kel_asic_qos_stats_params_t;

/**
 * @defgroup init Initialisation and helpers
 * @{
 */

/**
 * Initialises the library for the ASIC of one card; call it once, before anything else.
 *
 * Asks the card-configuration service for the card, lets the register map fill the limits, and
 * allocates the request buffer. If the marker file /bootflash/kel_lib_debug exists, it switches the
 * trace on and opens the trace log. Calls no driver service; an open transaction is untouched.
 *
 * A call after an initialisation that ran to its end changes nothing and returns 0, also where that
 * end was ::SYSERR_KEL_ASIC_INVALID_ARG or the register map's code: every symbolic address is then
 * refused, while raw writes, commands and the QoS operations still reach the service. After 12 or
 * 0xFFFFFFFF the call may be repeated.
 *
 * @param slot      slot of the card that carries the ASIC, 0 to 255
 * @param asic_type driver identifier that every service call will carry
 *                  (::KEL_ASIC_DRIVER_MORVANE); not checked
 * @param context   the caller's own number, passed on to the register map
 * @param file      source file of the caller, passed on
 * @param line      source line of the caller, passed on
 * @param func      function of the caller, passed on and named in the trace log's first line
 *
 * @retval 0                           initialised, now or before
 * @retval SYSERR_KEL_ASIC_INVALID_ARG the card's ASIC is not a Morvane
 * @retval 12                          the request buffer cannot be allocated
 * @retval 0xFFFFFFFF                  the trace log cannot be opened or positioned
 * @retval "any other"                 the register map's own code, unchanged
 */
syserr_t lib_mrv_asic_init(slot_num_t slot, uint32_t asic_type, uint32_t context, char *file,
                           int line, const char *func);

/**
 * Names a driver identifier. Calls no service; an open transaction is untouched.
 *
 * @param asic_type driver identifier, any value
 * @return "Morvane" for 236, "BAD ASIC type" for any other; a constant that must not be written
 */
char *kel_get_driver_string(uint32_t asic_type);

/**
 * Converts a card-configuration device type to a driver identifier. Calls no service; an open
 * transaction is untouched.
 *
 * @param asic_type device type, any value
 * @return 236 for 7, 10 for any other
 */
uint32_t kel_get_asic_type(uint32_t asic_type);

/**
 * Converts a driver identifier to a card-configuration device type. Calls no service; an open
 * transaction is untouched.
 *
 * @param asic_type driver identifier, any value
 * @return 7 for 236, 10 for any other
 */
uint32_t kel_get_cardcfg_asic_type(uint32_t asic_type);

/**
 * Tells whether the marker file that switches the trace on is there.
 *
 * Prints "LIB debug enabled:" or "LIB debug disabled:", without a newline, on standard output. It
 * changes nothing: only lib_mrv_asic_init sets the switch. Calls no service; an open transaction is
 * untouched.
 *
 * @retval 1 the marker file can be opened for reading
 * @retval 0 it cannot
 */
int kel_check_lib_debug(void);

/** @} */

/**
 * @defgroup single Single-register access
 * @{
 */

/**
 * Reads one register.
 *
 * Makes one service call (::SYSSRV_REG_READ_CASE). An open transaction is committed first, and an
 * empty one named "<Interrupted>" is left open, so that the read does not overtake earlier writes
 * and later ones stay batched. A refused read leaves it alone.
 *
 * @param module   module number, 0 to 3
 * @param asic     ASIC number, as far as the ASIC limits reach (0)
 * @param block    block, KEL_ASIC_BLK_SS to KEL_ASIC_BLK_XL
 * @param instance instance of the block, below the number that the card has
 * @param vreg     virtual register of the block; not a hole
 * @param p_data   receives the register's value on success; not written on failure; not null
 * @param context  the caller's own number, sent along
 * @param file     source file of the caller, sent along (127 characters)
 * @param line     source line of the caller, sent along
 * @param func     function of the caller, sent along (31 characters)
 *
 * @retval 0                           read
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG an address that does not exist, or a null p_data
 * @retval 0x82230000|errno            the service call failed; the low 12 bits of errno
 * @retval 0x82230005                  the service answered with a positive value
 */
syserr_t lib_mrv_asic_read(int module, kel_asic_num_t asic, kel_asic_blk_t block, uint32_t instance,
                           kel_asic_reg_t vreg, uint32_t *p_data, uint32_t context, char *file,
                           int line, const char *func);

/**
 * Writes all bits of one register, or sends a command.
 *
 * Makes one service call (::SYSSRV_REG_WRITE_CASE). While a transaction is open it adds one entry
 * to the transaction instead, and calls the service only to send a transaction that is full; no
 * failure of this write is reported then.
 *
 * @param module   module number, 0 to 3
 * @param asic     ASIC number, as far as the ASIC limits reach (0); not checked with a raw address
 * @param block    block, KEL_ASIC_BLK_SS to KEL_ASIC_BLK_XL; ignored with a raw address
 * @param instance instance of the block, below the number that the card has; ignored with a raw
 *                 address
 * @param vreg     virtual register of the block, not a hole; or the raw address, sent as it is
 * @param data     value to write, any
 * @param code     ::KEL_ASIC_WR_SYMBOLIC for a symbolic address; anything else
 *                 (::KEL_ASIC_WR_RAW) for a raw one
 * @param context  the caller's own number, sent along
 * @param file     source file of the caller, sent along (127 characters)
 * @param line     source line of the caller, sent along
 * @param func     function of the caller, sent along (31 characters)
 *
 * @retval 0                           written, or added to the open transaction
 * @retval SYSERR_KEL_ASIC_INVALID_ARG not initialised, a bad module, or a symbolic address that
 *                                     does not exist
 * @retval 0x82230000|errno            the service call failed; the low 12 bits of errno
 * @retval 0x82230005                  the service answered with a positive value
 */
syserr_t lib_mrv_asic_write(int module, kel_asic_num_t asic, kel_asic_blk_t block,
                            uint32_t instance, kel_asic_reg_t vreg, uint32_t data, uint32_t code,
                            uint32_t context, char *file, int line, const char *func);

/**
 * Writes the bits of one register that a mask selects.
 *
 * Value and mask are sent as they are: the value is neither shifted nor masked. Makes one service
 * call (::SYSSRV_REG_WRITE_CASE). While a transaction is open it adds one entry to the transaction
 * instead, and calls the service only to send a transaction that is full; no failure of this write
 * is reported then.
 *
 * @param module      module number, 0 to 3
 * @param asic        ASIC number, as far as the ASIC limits reach (0); not checked with a raw
 *                    address
 * @param block       block, KEL_ASIC_BLK_SS to KEL_ASIC_BLK_XL; ignored with a raw address
 * @param instance    instance of the block, below the number that the card has; ignored with a raw
 *                    address
 * @param vreg        virtual register of the block, not a hole; or the raw address, sent as it is
 * @param field_value value of the field, in its place in the register
 * @param field_mask  bits of the register to write; not 0 with a symbolic address
 * @param code        ::KEL_ASIC_WR_SYMBOLIC for a symbolic address; anything else
 *                    (::KEL_ASIC_WR_RAW) for a raw one
 * @param context     the caller's own number, sent along
 * @param file        source file of the caller, sent along (127 characters)
 * @param line        source line of the caller, sent along
 * @param func        function of the caller, sent along (31 characters)
 *
 * @retval 0                           written, or added to the open transaction
 * @retval SYSERR_KEL_ASIC_INVALID_ARG not initialised, a bad module, a symbolic address that does
 *                                     not exist, or a zero mask with a symbolic address
 * @retval 0x82230000|errno            the service call failed; the low 12 bits of errno
 * @retval 0x82230005                  the service answered with a positive value
 */
syserr_t lib_mrv_asic_write_field(int module, kel_asic_num_t asic, kel_asic_blk_t block,
                                  uint32_t instance, kel_asic_reg_t vreg, uint32_t field_value,
                                  uint32_t field_mask, uint32_t code, uint32_t context, char *file,
                                  int line, const char *func);

/** @} */

/**
 * @defgroup multi Multi-word access
 * @{
 */

/**
 * Reads a run of words: word i is what stands at the register's address + 4 * i.
 *
 * That is register vreg + i where the register map puts registers with successive numbers one
 * behind the other, as it mostly does, but not across a hole or behind a register that is followed
 * by a table. Only the first register is checked: a run that reaches past the block's last register
 * is the service's to judge. Makes one service call (::SYSSRV_REG_READ_CASE). An open transaction
 * is committed first, and an empty one named "<Interrupted>" is left open; a refused read leaves it
 * alone. Runs of up to 2048 words need no allocation; a longer one grows the library's buffer for
 * good.
 *
 * @param module      module number, 0 to 3
 * @param asic        ASIC number, as far as the ASIC limits reach (0)
 * @param block       block, KEL_ASIC_BLK_SS to KEL_ASIC_BLK_XL
 * @param instance    instance of the block, below the number that the card has
 * @param vreg        virtual register of the block, the first of the run; not a hole
 * @param p_data      array of num_entries words, not null; on success receives as many words as the
 *                    service answered, at most num_entries; not written on failure
 * @param num_entries number of words, 0 to 1073741774
 * @param context     the caller's own number, sent along
 * @param file        source file of the caller, sent along (127 characters)
 * @param line        source line of the caller, sent along
 * @param func        function of the caller, sent along (31 characters)
 *
 * @retval 0                           read
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG an address that does not exist, a null p_data, or a run too
 *                                     long for a 32-bit size
 * @retval 12                          the buffer cannot grow; the transaction is committed already
 * @retval 0x82230000|errno            the service call failed; the low 12 bits of errno
 * @retval 0x82230005                  the service answered with a positive value
 */
syserr_t lib_mrv_asic_n_read(int module, kel_asic_num_t asic, kel_asic_blk_t block,
                             uint32_t instance, kel_asic_reg_t vreg, uint32_t *p_data,
                             uint32_t num_entries, uint32_t context, char *file, int line,
                             const char *func);

/**
 * Reads consecutive entries of a table (DHS) register.
 *
 * Only the first entry is checked against the table's range. Makes one service call
 * (::SYSSRV_REG_READ_CASE) and asks the card-configuration service for the software identifier of
 * the card in slot 0: on cards 265, 266, 345 and 373 the request asks for one word less per entry
 * of HF_DHS_RESULT_00_OFFSET and three less of HF_DHS_POL_OFFSET. An open transaction is committed
 * first, and an empty one named "<Interrupted>" is left open; a refused read leaves it alone. Reads
 * of up to 2048 words need no allocation; a longer one grows the library's buffer for good.
 *
 * @param module      module number, 0 to 3
 * @param asic        ASIC number, as far as the ASIC limits reach (0)
 * @param block       block, KEL_ASIC_BLK_SS to KEL_ASIC_BLK_XL
 * @param instance    instance of the block, below the number that the card has
 * @param vreg        virtual register of the block; a table register
 * @param dhs_index   first entry, 0 to the highest index of the table
 * @param p_data      array of num_entries times the entry size words, not null; on success receives
 *                    as many words as the service answered, at most that many; not written on
 *                    failure
 * @param num_entries number of entries; with the entry size at most 1073741774 words
 * @param context     the caller's own number, sent along
 * @param file        source file of the caller, sent along (127 characters)
 * @param line        source line of the caller, sent along
 * @param func        function of the caller, sent along (31 characters)
 *
 * @retval 0                           read
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG an address that does not exist, a null p_data, no table
 *                                     register, an index out of range, or a run too long for a
 *                                     32-bit size
 * @retval 12                          the buffer cannot grow; the transaction is committed already
 * @retval 0x82230000|errno            the service call failed; the low 12 bits of errno
 * @retval 0x82230005                  the service answered with a positive value
 */
syserr_t lib_mrv_asic_read_dhs(int module, kel_asic_num_t asic, kel_asic_blk_t block,
                               uint32_t instance, kel_asic_reg_t vreg, uint32_t dhs_index,
                               uint32_t *p_data, uint32_t num_entries, uint32_t context, char *file,
                               int line, const char *func);

/**
 * Writes consecutive entries of a table (DHS) register.
 *
 * Only the first entry is checked against the table's range. Makes one service call
 * (::SYSSRV_REG_WRITE_CASE); while a transaction is open it adds one entry a word to the
 * transaction instead, which makes a call only where the transaction is full. The commit then
 * reports no failure of these words. Writes of up to 2048 words need no allocation; a longer one
 * outside a transaction grows the library's buffer for good.
 *
 * @param module      module number, 0 to 3
 * @param asic        ASIC number, as far as the ASIC limits reach (0)
 * @param block       block, KEL_ASIC_BLK_SS to KEL_ASIC_BLK_XL
 * @param instance    instance of the block, below the number that the card has
 * @param vreg        virtual register of the block; a table register
 * @param dhs_index   first entry, 0 to the highest index of the table
 * @param p_data      array of num_entries times the entry size words to write, not null; only read
 * @param num_entries number of entries; with the entry size at most 1073741774 words
 * @param context     the caller's own number, sent along
 * @param file        source file of the caller, sent along (127 characters)
 * @param line        source line of the caller, sent along
 * @param func        function of the caller, sent along (31 characters)
 *
 * @retval 0                           written, or added to the open transaction
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG an address that does not exist, a null p_data, no table
 *                                     register, an index out of range, or a run too long for a
 *                                     32-bit size
 * @retval 12                          the buffer cannot grow
 * @retval 0x82230000|errno            the service call failed; the low 12 bits of errno
 * @retval 0x82230005                  the service answered with a positive value
 */
syserr_t lib_mrv_asic_write_dhs(int module, kel_asic_num_t asic, kel_asic_blk_t block,
                                uint32_t instance, kel_asic_reg_t vreg, uint32_t dhs_index,
                                uint32_t *p_data, uint32_t num_entries, uint32_t context,
                                char *file, int line, const char *func);

/** @} */

/**
 * @defgroup batch Transactions and programs
 * @{
 */

/**
 * Opens a write transaction: from now on each written word becomes one of its entries, up to 512,
 * and is sent by the commit. A 513th word sends the first 512 and continues in a transaction named
 * "Contd XN..", without reordering.
 *
 * Calls no service. While a transaction is open the call changes nothing: the open one keeps its
 * name and its flag. It does not need an initialised library.
 *
 * @param xn_name name of the transaction, cut to 31 characters; an empty or a null name opens none
 * @param reorder whether the service may reorder the entries, passed through to it
 *
 * @retval 0 always
 */
int mrv_asic_transaction_start(char *xn_name, int reorder);

/**
 * Sends the open transaction in one service call (::SYSSRV_MEM_WRITE_CASE) and closes it. With no
 * transaction open it does nothing.
 *
 * A commit whose call fails loses its entries, which the trace tells, not the caller. It does not
 * need an initialised library, but before initialisation it sends to driver 0.
 *
 * @retval 0 always
 */
int mrv_asic_transaction_commit(void);

/**
 * Runs a register program: each step is written to every selected ASIC, in increasing order of the
 * ASIC numbers, before the next step starts.
 *
 * Each write goes through lib_mrv_asic_write, or lib_mrv_asic_write_field where the step's mask is
 * not 0xFFFFFFFF: one service call each, or one entry each of an open transaction. The program
 * stops behind the first step whose last write failed and at the first step without its magic; what
 * was written stays written. The first ASIC number that does not exist ends each step's round: it
 * and those above it are not written, and that is no failure.
 *
 * @param module  module number, 0 to 3
 * @param asic    an ASIC number; or, with bit 31 set, a bit map of ASIC numbers in bits 0 to 30
 * @param p_pgm   the steps, not null; only read
 * @param pgm_len number of steps, at least 1
 * @param context the caller's own number, sent along
 * @param file    source file of the caller, sent along (127 characters)
 * @param line    source line of the caller, sent along
 * @param func    function of the caller, sent along (31 characters)
 *
 * @retval 0                           every step applied
 * @retval SYSERR_KEL_ASIC_INVALID_ARG not initialised, a bad module, no program, a step without its
 *                                     magic, or a step that a write refused
 * @retval 0x82230000|errno            a service call failed; the low 12 bits of errno
 * @retval 0x82230005                  the service answered with a positive value
 */
syserr_t lib_mrv_asic_pgm(int module, kel_asic_num_t asic, kel_asic_pgm_t *p_pgm, int pgm_len,
                          uint32_t context, char *file, int line, const char *func);

/** @} */

/**
 * @defgroup qos QoS statistics
 * @{
 */

/**
 * Reads the QoS statistics of one port.
 *
 * Makes one service call (::SYSSRV_MEM_READ_CASE). An open transaction is neither sent nor changed.
 *
 * @param module    module number, 0 to 3
 * @param asic      ASIC number, as far as the ASIC limits reach (0)
 * @param port_type port type; the service judges it
 * @param port      port number within its type; the service judges it
 * @param stats     receives the statistics, whole, on success; not written on failure; not null
 * @param opts      options, passed through to the service
 *
 * @retval 0                           read
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG a bad module or ASIC number, or a null stats
 * @retval 0x82230000|errno            the service call failed; the low 12 bits of errno
 * @retval 0x82230005                  the service answered with a positive value
 */
syserr_t lib_mrv_asic_get_qos_stats(cardcfg_module_id_t module, cardcfg_dev_id_t asic,
                                    cardcfg_port_type_t port_type, cardcfg_port_id_t port,
                                    kel_asic_qos_stats_t *stats, uint32_t opts);

/**
 * Clears the QoS statistics of one port.
 *
 * Makes one service call (::SYSSRV_MEM_READ_CASE). An open transaction is neither sent nor changed.
 *
 * @param module    module number, 0 to 3
 * @param asic      ASIC number, as far as the ASIC limits reach (0)
 * @param port_type port type; the service judges it
 * @param port      port number within its type; the service judges it
 * @param opts      options, passed through to the service
 *
 * @retval 0                           cleared
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG a bad module or ASIC number
 * @retval 0x82230000|errno            the service call failed; the low 12 bits of errno
 * @retval 0x82230005                  the service answered with a positive value
 */
syserr_t lib_mrv_asic_clear_qos_stats(cardcfg_module_id_t module, cardcfg_dev_id_t asic,
                                      cardcfg_port_type_t port_type, cardcfg_port_id_t port,
                                      uint32_t opts);

/**
 * Clears the QoS statistics of every port of one ASIC.
 *
 * Makes one service call (::SYSSRV_MEM_READ_CASE). An open transaction is neither sent nor changed.
 *
 * @param module module number, 0 to 3
 * @param asic   ASIC number, as far as the ASIC limits reach (0)
 * @param opts   options, passed through to the service
 *
 * @retval 0                           cleared
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG a bad module or ASIC number
 * @retval 0x82230000|errno            the service call failed; the low 12 bits of errno
 * @retval 0x82230005                  the service answered with a positive value
 */
syserr_t lib_mrv_asic_clear_all_qos_stats(cardcfg_module_id_t module, cardcfg_dev_id_t asic,
                                          uint32_t opts);

/** @} */

/**
 * @defgroup port Port and queue control
 *
 * The first four operations write a command address through lib_mrv_asic_write, with a port word in
 * place of the ASIC number: the ASIC number in bits 31 to 16, the port type in bits 15 to 8, the
 * port number (or the class map) in bits 7 to 0.
 * @{
 */

/**
 * Enables link pause on one port.
 *
 * Makes one service call (::SYSSRV_REG_WRITE_CASE). While a transaction is open it adds one entry
 * to the transaction instead, and calls the service only to send a transaction that is full.
 *
 * @param module    module number, 0 to 3
 * @param asic_id   ASIC number, as far as the ASIC limits reach (0)
 * @param port_type ::CARDCFG_PORT_TYPE_NIF or ::CARDCFG_PORT_TYPE_HIF
 * @param port_idx  port number, below the number of network or host interfaces
 *
 * @retval 0                           enabled, or added to the open transaction
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG a bad module, ASIC number, port type or port number
 * @retval 0x82230000|errno            the service call failed; the low 12 bits of errno
 * @retval 0x82230005                  the service answered with a positive value
 */
syserr_t lib_mrv_asic_link_pause_enable(int module, int asic_id, cardcfg_port_type_t port_type,
                                        unsigned int port_idx);

/**
 * Disables link pause on one port.
 *
 * Makes one service call (::SYSSRV_REG_WRITE_CASE). While a transaction is open it adds one entry
 * to the transaction instead, and calls the service only to send a transaction that is full.
 *
 * @param module    module number, 0 to 3
 * @param asic_id   ASIC number, as far as the ASIC limits reach (0)
 * @param port_type ::CARDCFG_PORT_TYPE_NIF or ::CARDCFG_PORT_TYPE_HIF
 * @param port_idx  port number, below the number of network or host interfaces
 *
 * @retval 0                           disabled, or added to the open transaction
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG a bad module, ASIC number, port type or port number
 * @retval 0x82230000|errno            the service call failed; the low 12 bits of errno
 * @retval 0x82230005                  the service answered with a positive value
 */
syserr_t lib_mrv_asic_link_pause_disable(int module, int asic_id, cardcfg_port_type_t port_type,
                                         unsigned int port_idx);

/**
 * Sets the no-drop class-of-service map of an ASIC.
 *
 * Makes one service call (::SYSSRV_REG_WRITE_CASE). While a transaction is open it adds one entry
 * to the transaction instead, and calls the service only to send a transaction that is full.
 *
 * @param module        module number, 0 to 3
 * @param asic_id       ASIC number, as far as the ASIC limits reach (0)
 * @param nodrop_cosmap the map, a bit a class; only bits 0 to 7 are sent
 *
 * @retval 0                           set, or added to the open transaction
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG a bad module or ASIC number
 * @retval 0x82230000|errno            the service call failed; the low 12 bits of errno
 * @retval 0x82230005                  the service answered with a positive value
 */
syserr_t lib_mrv_asic_set_nodrop_class_map(int module, int asic_id, uint32_t nodrop_cosmap);

/**
 * Reports that the SFP transceiver of a port failed its validation.
 *
 * Makes one service call (::SYSSRV_REG_WRITE_CASE). While a transaction is open it adds one entry
 * to the transaction instead, and calls the service only to send a transaction that is full.
 *
 * @param module   module number, 0 to 3
 * @param asic_id  ASIC number, as far as the ASIC limits reach (0)
 * @param port_typ port type, below 256; not checked: a larger value runs into the ASIC number
 * @param idx      port number, below 256; not checked: a larger value runs into the port type
 *
 * @retval 0                           reported, or added to the open transaction
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG a bad module or ASIC number
 * @retval 0x82230000|errno            the service call failed; the low 12 bits of errno
 * @retval 0x82230005                  the service answered with a positive value
 */
syserr_t lib_mrv_asic_sfp_validation_failed(int module, int asic_id, unsigned int port_typ,
                                            unsigned int idx);

/**
 * Programs the SP timer.
 *
 * Makes one service call (::SYSSRV_SP_TIME_CONFIGURE), also while a transaction is open, which
 * stays as it is.
 *
 * @param module module number, 0 to 3
 * @param asic   ASIC number, as far as the ASIC limits reach (0)
 * @param time   time to program, in the service's unit
 *
 * @retval 0                           programmed
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG a bad module or ASIC number
 * @retval 0x82230000|errno            the service call failed; the low 12 bits of errno
 * @retval 0x82230005                  the service answered with a positive value
 */
syserr_t lib_mrv_asic_prog_sp_timer(cardcfg_module_id_t module, cardcfg_dev_id_t asic,
                                    uint16_t time);

/**
 * Clears all drop counters of module 0, ASIC 0.
 *
 * Makes one service call (::SYSSRV_REG_WRITE_CASE), also while a transaction is open, which stays
 * as it is.
 *
 * @retval 0                      cleared
 * @retval SYSERR_KEL_ASIC_UNINIT the library is not initialised
 * @retval 0x82230000|errno       the service call failed; the low 12 bits of errno
 * @retval 0x82230005             the service answered with a positive value
 */
syserr_t lib_mrv_asic_clear_all_drop_counters(void);

/** @} */

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
