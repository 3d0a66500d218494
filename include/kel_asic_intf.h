/**
 * @file
 * The interface of libmorvaneusd: one programming interface to the Morvane switching ASIC.
 *
 * The library checks the arguments, translates the symbolic register address, packs the request
 * into a fixed-layout record and passes that to the driver service of the ASIC. It never accesses
 * the hardware itself.
 *
 *     uint32_t value;
 *     syserr_t err = lib_mrv_asic_init(slot, KEL_ASIC_DRIVER_MORVANE, KEL_ASIC_HERE);
 *     if (err == 0)
 *       err = lib_mrv_asic_read(0, 0, KEL_ASIC_BLK_HI, 2, HI_DHS_LVIF_OFFSET, &value,
 *                               KEL_ASIC_HERE);
 *
 * Five values name a register: module, ASIC number, block, block instance and virtual register (a
 * value of the block's register enumeration).
 *
 * The last four arguments of a register operation identify its caller: context (any number), file,
 * line and func; ::KEL_ASIC_HERE fills them in. The request carries them to the service, file
 * truncated to 127 and func to 31 characters. A null file or func is sent as an empty text.
 *
 * Threads: the library creates no threads and takes no locks. Each process has one context, one
 * transaction, one request buffer and one trace. Use the library from one thread at a time;
 * lib_mrv_asic_init must return before any other call.
 *
 * Ownership: the library frees nothing and keeps no pointer of the caller after a call returns.
 * No shutdown exists; context, buffer and trace log live until the process ends.
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

/**
 * The four caller arguments of an operation: context 0, and the file, line and function of this
 * place. The cast is what the prototypes need: the library only reads the text.
 *
 *     err = lib_mrv_asic_read(0, 0, KEL_ASIC_BLK_HI, 2, 40, &value, KEL_ASIC_HERE);
 */
#ifdef __cplusplus
#define KEL_ASIC_HERE 0, const_cast<char *>(__FILE__), __LINE__, __func__
#else
#define KEL_ASIC_HERE 0, (char *)(uintptr_t)__FILE__, __LINE__, __func__
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
 * KEL_ASIC_..._NUM_ENUM, their number. A value without a name is a register too. A value can
 * also be a hole, which the operations refuse.
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
 * command address. Any value except ::KEL_ASIC_WR_SYMBOLIC means the same; use this one.
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
  uint32_t mask; /**< 20: 0xFFFFFFFF: all bits; any other value: a field write with this mask */
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
  kel_asic_counter_t tout_cnt;  /**< 8: queue timeouts */
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

/** Kinds of QoS request. */
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

KEL_SIZE_IS(kel_asic_pgm_t, 24);
KEL_SIZE_IS(kel_asic_qos_pause_stats_t, 184);
KEL_SIZE_IS(kel_asic_qos_ss_dhs_stats_t, 152);
KEL_SIZE_IS(kel_asic_qos_oq_stats_t, 16);
KEL_SIZE_IS(kel_asic_qos_drops_t, 768);
KEL_SIZE_IS(kel_asic_qos_stats_t, 1120);
KEL_SIZE_IS(kel_asic_qos_stats_params_t, 1140);

/**
 * @defgroup init Initialisation and helpers
 * @{
 */

/**
 * Initialises the library for the ASIC of one card. Call it once, before any other function.
 *
 * The function asks the card-configuration service for the card, lets the register map fill the
 * limits, and allocates the request buffer. If the marker file /bootflash/kel_lib_debug exists, the
 * function enables the trace and opens the trace log. It does not call the driver service; an open
 * transaction is unchanged.
 *
 * After an initialisation that completed, a later call returns 0 and changes nothing. This is also
 * true if the initialisation returned ::SYSERR_KEL_ASIC_INVALID_ARG or the code of the register
 * map: every symbolic address and link pause are then refused, while raw writes, the other commands
 * and the QoS operations still reach the service. After 12 or 0xFFFFFFFF you may call the function
 * again.
 *
 * @param slot      slot of the card that carries the ASIC, 0 to 255
 * @param asic_type driver identifier that every service call carries,
 *                  ::KEL_ASIC_DRIVER_MORVANE; not checked
 * @param context   any number; passed to the register map
 * @param file      source file of the caller; passed to the register map
 * @param line      source line of the caller; passed to the register map
 * @param func      function of the caller; passed to the register map, and printed in the
 *                  first line of the trace log
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
 * Returns the name of a driver identifier. Does not call the service; an open transaction is
 * unchanged.
 *
 * @param asic_type driver identifier, any value
 * @return "Morvane" for 236, "BAD ASIC type" for any other; a constant that must not be written
 */
char *kel_get_driver_string(uint32_t asic_type);

/**
 * Converts a card-configuration device type to a driver identifier. Does not call the service; an
 * open transaction is unchanged.
 *
 * @param asic_type device type, any value
 * @return 236 for 7, 10 for any other
 */
uint32_t kel_get_asic_type(uint32_t asic_type);

/**
 * Converts a driver identifier to a card-configuration device type. Does not call the service; an
 * open transaction is unchanged.
 *
 * @param asic_type driver identifier, any value
 * @return 7 for 236, 10 for any other
 */
uint32_t kel_get_cardcfg_asic_type(uint32_t asic_type);

/**
 * Checks whether the marker file that enables the trace exists.
 *
 * Prints "LIB debug enabled:" or "LIB debug disabled:", without a newline, on standard output.
 * Changes nothing: only lib_mrv_asic_init enables the trace. Does not call the service; an open
 * transaction is unchanged.
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
 * Makes one service call (::SYSSRV_REG_READ_CASE). An open transaction is committed first and
 * an empty one named "<Interrupted>" is opened, so that the read does not overtake earlier writes
 * and later writes are still collected. A refused read does not change the transaction.
 *
 * @param module   module number, 0 to 3
 * @param asic     ASIC number, 0 to the highest of the register map (0)
 * @param block    block, KEL_ASIC_BLK_SS to KEL_ASIC_BLK_XL
 * @param instance instance of the block, below the number that the card has
 * @param vreg     virtual register of the block; not a hole
 * @param p_data   receives the register's value on success; not written on failure; not null
 * @param context  any number; sent to the service
 * @param file     source file of the caller; sent, at most 127 characters
 * @param line     source line of the caller; sent
 * @param func     function of the caller; sent, at most 31 characters
 *
 * @retval 0                           read
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG the register does not exist, or p_data is null
 * @retval 0x82230000|errno            the service call failed; low 12 bits of its errno
 * @retval 0x82230005                  the service returned a positive value
 */
syserr_t lib_mrv_asic_read(int module, kel_asic_num_t asic, kel_asic_blk_t block, uint32_t instance,
                           kel_asic_reg_t vreg, uint32_t *p_data, uint32_t context, char *file,
                           int line, const char *func);

/**
 * Writes all bits of one register, or sends a command.
 *
 * Makes one service call (::SYSSRV_REG_WRITE_CASE). If a transaction is open, it adds one entry to
 * the transaction instead, and calls the service only to send a full transaction; a failure of this
 * write is then not reported.
 *
 * @param module   module number, 0 to 3
 * @param asic     ASIC number, 0 to the highest of the register map (0); a raw address accepts any
 * @param block    block, KEL_ASIC_BLK_SS to KEL_ASIC_BLK_XL; ignored with a raw address
 * @param instance instance of the block, below the number that the card has; ignored with a raw
 *                 address
 * @param vreg     virtual register of the block, not a hole; or the raw address, sent unchanged
 * @param data     value to write, any
 * @param code     ::KEL_ASIC_WR_SYMBOLIC for a symbolic address; any other value
 *                 (::KEL_ASIC_WR_RAW) for a raw one
 * @param context  any number; sent to the service
 * @param file     source file of the caller; sent, at most 127 characters
 * @param line     source line of the caller; sent
 * @param func     function of the caller; sent, at most 31 characters
 *
 * @retval 0                           written, or added to the open transaction
 * @retval SYSERR_KEL_ASIC_INVALID_ARG not initialised, a bad module, or a symbolic address
 *                                     without a register
 * @retval 0x82230000|errno            the service call failed; low 12 bits of its errno
 * @retval 0x82230005                  the service returned a positive value
 */
syserr_t lib_mrv_asic_write(int module, kel_asic_num_t asic, kel_asic_blk_t block,
                            uint32_t instance, kel_asic_reg_t vreg, uint32_t data, uint32_t code,
                            uint32_t context, char *file, int line, const char *func);

/**
 * Writes the bits of one register that a mask selects.
 *
 * Value and mask are sent unchanged: the value is neither shifted nor masked. Makes one service
 * call (::SYSSRV_REG_WRITE_CASE). If a transaction is open, it adds one entry to the transaction
 * instead, and calls the service only to send a full transaction; a failure of this write is then
 * not reported.
 *
 * @param module      module number, 0 to 3
 * @param asic        ASIC number, 0 to the highest of the register map (0); not checked with a raw
 *                    address
 * @param block       block, KEL_ASIC_BLK_SS to KEL_ASIC_BLK_XL; ignored with a raw address
 * @param instance    instance of the block, below the number that the card has; ignored with a raw
 *                    address
 * @param vreg        virtual register of the block, not a hole; or the raw address, sent unchanged
 * @param field_value value of the field, at its position in the register
 * @param field_mask  bits of the register to write; not 0 with a symbolic address
 * @param code        ::KEL_ASIC_WR_SYMBOLIC for a symbolic address; any other value
 *                    (::KEL_ASIC_WR_RAW) for a raw one
 * @param context     any number; sent to the service
 * @param file        source file of the caller; sent, at most 127 characters
 * @param line        source line of the caller; sent
 * @param func        function of the caller; sent, at most 31 characters
 *
 * @retval 0                           written, or added to the open transaction
 * @retval SYSERR_KEL_ASIC_INVALID_ARG not initialised, a bad module, a symbolic address that does
 *                                     not exist, or a zero mask with a symbolic address
 * @retval 0x82230000|errno            the service call failed; low 12 bits of its errno
 * @retval 0x82230005                  the service returned a positive value
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
 * Reads consecutive words: word i is the content of the register's address + 4 * i.
 *
 * That is register vreg + i if the register map places registers with consecutive numbers at
 * consecutive addresses. It usually does, but not across a hole or a table. Only the first register
 * is checked: if the read goes past the last register of the block, the service decides. Makes one
 * service call (::SYSSRV_REG_READ_CASE). An open transaction is committed first and an empty one
 * named "<Interrupted>" is opened; a refused read does not change it. Up to 2048 words need no
 * allocation; a longer read enlarges the library's buffer permanently.
 *
 * @param module      module number, 0 to 3
 * @param asic        ASIC number, 0 to the highest of the register map (0)
 * @param block       block, KEL_ASIC_BLK_SS to KEL_ASIC_BLK_XL
 * @param instance    instance of the block, below the number that the card has
 * @param vreg        virtual register of the block, the first to read; not a hole
 * @param p_data      array of num_entries words, not null; on success receives the words that the
 *                    service answered, at most num_entries; not written on failure
 * @param num_entries number of words, 0 to 1073741774
 * @param context     any number; sent to the service
 * @param file        source file of the caller; sent, at most 127 characters
 * @param line        source line of the caller; sent
 * @param func        function of the caller; sent, at most 31 characters
 *
 * @retval 0                           read
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG the register does not exist, p_data is null, or
 *                                     num_entries is too large for a 32-bit size
 * @retval 12                          the buffer cannot grow; the transaction was committed
 * @retval 0x82230000|errno            the service call failed; low 12 bits of its errno
 * @retval 0x82230005                  the service returned a positive value
 */
syserr_t lib_mrv_asic_n_read(int module, kel_asic_num_t asic, kel_asic_blk_t block,
                             uint32_t instance, kel_asic_reg_t vreg, uint32_t *p_data,
                             uint32_t num_entries, uint32_t context, char *file, int line,
                             const char *func);

/**
 * Reads consecutive entries of a table (DHS) register.
 *
 * Only the first entry is checked against the range of the table. Makes one service call
 * (::SYSSRV_REG_READ_CASE) and asks the card-configuration service for the software identifier of
 * the card in slot 0: on cards 265, 266, 345 and 373 the request asks for one word less per entry
 * of HF_DHS_RESULT_00_OFFSET and three less of HF_DHS_POL_OFFSET. An open transaction is committed
 * first and an empty one named "<Interrupted>" is opened; a refused read does not change it. Up to
 * 2048 words need no allocation; a longer read enlarges the library's buffer permanently.
 *
 * @param module      module number, 0 to 3
 * @param asic        ASIC number, 0 to the highest of the register map (0)
 * @param block       block, KEL_ASIC_BLK_SS to KEL_ASIC_BLK_XL
 * @param instance    instance of the block, below the number that the card has
 * @param vreg        virtual register of the block; a table register
 * @param dhs_index   first entry, 0 to the highest index of the table
 * @param p_data      array of num_entries times the entry size words, not null; on success receives
 *                    the words that the service answered, at most that many; not written on
 *                    failure
 * @param num_entries number of entries; with the entry size at most 1073741774 words
 * @param context     any number; sent to the service
 * @param file        source file of the caller; sent, at most 127 characters
 * @param line        source line of the caller; sent
 * @param func        function of the caller; sent, at most 31 characters
 *
 * @retval 0                           read
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG the register does not exist or is not a table, p_data is
 *                                     null, dhs_index is out of range, or there are too many
 *                                     words for a 32-bit size
 * @retval 12                          the buffer cannot grow; the transaction was committed
 * @retval 0x82230000|errno            the service call failed; low 12 bits of its errno
 * @retval 0x82230005                  the service returned a positive value
 */
syserr_t lib_mrv_asic_read_dhs(int module, kel_asic_num_t asic, kel_asic_blk_t block,
                               uint32_t instance, kel_asic_reg_t vreg, uint32_t dhs_index,
                               uint32_t *p_data, uint32_t num_entries, uint32_t context, char *file,
                               int line, const char *func);

/**
 * Writes consecutive entries of a table (DHS) register.
 *
 * Only the first entry is checked against the range of the table. Makes one service call
 * (::SYSSRV_REG_WRITE_CASE). If a transaction is open, it adds one entry per word to the
 * transaction instead, and calls the service only to send a full transaction; a failure of these
 * words is then not reported. Up to 2048 words need no allocation; a longer write outside a
 * transaction enlarges the library's buffer permanently.
 *
 * @param module      module number, 0 to 3
 * @param asic        ASIC number, 0 to the highest of the register map (0)
 * @param block       block, KEL_ASIC_BLK_SS to KEL_ASIC_BLK_XL
 * @param instance    instance of the block, below the number that the card has
 * @param vreg        virtual register of the block; a table register
 * @param dhs_index   first entry, 0 to the highest index of the table
 * @param p_data      array of num_entries times the entry size words to write, not null; only read
 * @param num_entries number of entries; with the entry size at most 1073741774 words
 * @param context     any number; sent to the service
 * @param file        source file of the caller; sent, at most 127 characters
 * @param line        source line of the caller; sent
 * @param func        function of the caller; sent, at most 31 characters
 *
 * @retval 0                           written, or added to the open transaction
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG the register does not exist or is not a table, p_data is
 *                                     null, dhs_index is out of range, or there are too many
 *                                     words for a 32-bit size
 * @retval 12                          the buffer cannot grow
 * @retval 0x82230000|errno            the service call failed; low 12 bits of its errno
 * @retval 0x82230005                  the service returned a positive value
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
 * Opens a write transaction. Each word that is written from now on becomes one of its entries, up
 * to 512; the commit sends them. A 513th word sends the first 512 and continues in a transaction
 * named "Contd XN..", without reordering.
 *
 * Does not call the service. If a transaction is already open, the function changes nothing: the
 * open transaction keeps its name and its flag. The library need not be initialised.
 *
 * @param xn_name name of the transaction, truncated to 31 characters; an empty or null name does
 *                not open a transaction
 * @param reorder not 0: the service may reorder the entries
 *
 * @retval 0 always
 */
int mrv_asic_transaction_start(char *xn_name, int reorder);

/**
 * Sends the open transaction in one service call (::SYSSRV_MEM_WRITE_CASE) and closes it. If no
 * transaction is open, it does nothing.
 *
 * If the call fails, the entries are lost. The trace shows that; the caller is not informed. The
 * library need not be initialised, but before initialisation the commit goes to driver 0.
 *
 * @retval 0 always
 */
int mrv_asic_transaction_commit(void);

/**
 * Runs a register program. Each step is written to every selected ASIC, in increasing order of the
 * ASIC numbers, before the next step starts.
 *
 * Each write is a lib_mrv_asic_write, or a lib_mrv_asic_write_field if the mask of the step is not
 * 0xFFFFFFFF: one service call each, or one entry each of an open transaction. The program stops
 * after the first step whose last write failed, and at the first step without the magic; earlier
 * writes are not undone. The first ASIC number that does not exist ends the writes of each step: it
 * and higher numbers are not written, which is not a failure.
 *
 * @param module  module number, 0 to 3
 * @param asic    an ASIC number n, which selects bit n modulo 32; or, with bit 31 set, a bit map of
 *                ASIC numbers in bits 30 to 0
 * @param p_pgm   the steps; not null, only read
 * @param pgm_len number of steps, at least 1
 * @param context any number; sent to the service
 * @param file    source file of the caller; sent, at most 127 characters
 * @param line    source line of the caller; sent
 * @param func    function of the caller; sent, at most 31 characters
 *
 * @retval 0                           every step applied
 * @retval SYSERR_KEL_ASIC_INVALID_ARG not initialised, a bad module, no program, a step without
 *                                     the magic, or a step that a write refused
 * @retval 0x82230000|errno            a service call failed; low 12 bits of its errno
 * @retval 0x82230005                  the service returned a positive value
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
 * Makes one service call (::SYSSRV_MEM_READ_CASE). An open transaction is unchanged.
 *
 * @param module    module number, 0 to 3
 * @param asic      ASIC number, 0 to the highest of the register map (0)
 * @param port_type port type; the service checks it
 * @param port      port number within its type; the service checks it
 * @param stats     receives the statistics on success; not written on failure; not null
 * @param opts      options, passed through to the service
 *
 * @retval 0                           read
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG a bad module or ASIC number, or a null stats
 * @retval 0x82230000|errno            the service call failed; low 12 bits of its errno
 * @retval 0x82230005                  the service returned a positive value
 */
syserr_t lib_mrv_asic_get_qos_stats(cardcfg_module_id_t module, cardcfg_dev_id_t asic,
                                    cardcfg_port_type_t port_type, cardcfg_port_id_t port,
                                    kel_asic_qos_stats_t *stats, uint32_t opts);

/**
 * Clears the QoS statistics of one port.
 *
 * Makes one service call (::SYSSRV_MEM_READ_CASE). An open transaction is unchanged.
 *
 * @param module    module number, 0 to 3
 * @param asic      ASIC number, 0 to the highest of the register map (0)
 * @param port_type port type; the service checks it
 * @param port      port number within its type; the service checks it
 * @param opts      options, passed through to the service
 *
 * @retval 0                           cleared
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG a bad module or ASIC number
 * @retval 0x82230000|errno            the service call failed; low 12 bits of its errno
 * @retval 0x82230005                  the service returned a positive value
 */
syserr_t lib_mrv_asic_clear_qos_stats(cardcfg_module_id_t module, cardcfg_dev_id_t asic,
                                      cardcfg_port_type_t port_type, cardcfg_port_id_t port,
                                      uint32_t opts);

/**
 * Clears the QoS statistics of every port of one ASIC.
 *
 * Makes one service call (::SYSSRV_MEM_READ_CASE). An open transaction is unchanged.
 *
 * @param module module number, 0 to 3
 * @param asic   ASIC number, 0 to the highest of the register map (0)
 * @param opts   options, passed through to the service
 *
 * @retval 0                           cleared
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG a bad module or ASIC number
 * @retval 0x82230000|errno            the service call failed; low 12 bits of its errno
 * @retval 0x82230005                  the service returned a positive value
 */
syserr_t lib_mrv_asic_clear_all_qos_stats(cardcfg_module_id_t module, cardcfg_dev_id_t asic,
                                          uint32_t opts);

/** @} */

/**
 * @defgroup port Port and queue control
 *
 * The first four operations write to a command address with lib_mrv_asic_write. The ASIC number of
 * the request is then a port word: ASIC number in bits 31 to 16, port type in bits 15 to 8, port
 * number in bits 7 to 0. For the class map, bits 7 to 0 are the map and bits 15 to 8 are 0.
 * @{
 */

/**
 * Enables link pause on one port.
 *
 * Makes one service call (::SYSSRV_REG_WRITE_CASE). If a transaction is open, it adds one entry to
 * the transaction instead, and calls the service only to send a full transaction.
 *
 * @param module    module number, 0 to 3
 * @param asic_id   ASIC number, 0 to the highest of the register map (0)
 * @param port_type ::CARDCFG_PORT_TYPE_NIF or ::CARDCFG_PORT_TYPE_HIF
 * @param port_idx  port number, below the number of network or host interfaces
 *
 * @retval 0                           enabled, or added to the open transaction
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG a bad module, ASIC number, port type or port number
 * @retval 0x82230000|errno            the service call failed; low 12 bits of its errno
 * @retval 0x82230005                  the service returned a positive value
 */
syserr_t lib_mrv_asic_link_pause_enable(int module, int asic_id, cardcfg_port_type_t port_type,
                                        unsigned int port_idx);

/**
 * Disables link pause on one port.
 *
 * Makes one service call (::SYSSRV_REG_WRITE_CASE). If a transaction is open, it adds one entry to
 * the transaction instead, and calls the service only to send a full transaction.
 *
 * @param module    module number, 0 to 3
 * @param asic_id   ASIC number, 0 to the highest of the register map (0)
 * @param port_type ::CARDCFG_PORT_TYPE_NIF or ::CARDCFG_PORT_TYPE_HIF
 * @param port_idx  port number, below the number of network or host interfaces
 *
 * @retval 0                           disabled, or added to the open transaction
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG a bad module, ASIC number, port type or port number
 * @retval 0x82230000|errno            the service call failed; low 12 bits of its errno
 * @retval 0x82230005                  the service returned a positive value
 */
syserr_t lib_mrv_asic_link_pause_disable(int module, int asic_id, cardcfg_port_type_t port_type,
                                         unsigned int port_idx);

/**
 * Sets the no-drop class-of-service map of an ASIC.
 *
 * Makes one service call (::SYSSRV_REG_WRITE_CASE). If a transaction is open, it adds one entry to
 * the transaction instead, and calls the service only to send a full transaction.
 *
 * @param module        module number, 0 to 3
 * @param asic_id       ASIC number, 0 to the highest of the register map (0)
 * @param nodrop_cosmap one bit per class, bit 0 for class 0; only bits 7 to 0 are sent
 *
 * @retval 0                           set, or added to the open transaction
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG a bad module or ASIC number
 * @retval 0x82230000|errno            the service call failed; low 12 bits of its errno
 * @retval 0x82230005                  the service returned a positive value
 */
syserr_t lib_mrv_asic_set_nodrop_class_map(int module, int asic_id, uint32_t nodrop_cosmap);

/**
 * Reports that the SFP transceiver of a port failed its validation.
 *
 * Makes one service call (::SYSSRV_REG_WRITE_CASE). If a transaction is open, it adds one entry to
 * the transaction instead, and calls the service only to send a full transaction.
 *
 * @param module   module number, 0 to 3
 * @param asic_id  ASIC number, 0 to the highest of the register map (0)
 * @param port_typ port type, 0 to 255; not checked: a larger value changes the ASIC number
 * @param idx      port number, 0 to 255; not checked: a larger value changes the port type
 *
 * @retval 0                           reported, or added to the open transaction
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG a bad module or ASIC number
 * @retval 0x82230000|errno            the service call failed; low 12 bits of its errno
 * @retval 0x82230005                  the service returned a positive value
 */
syserr_t lib_mrv_asic_sfp_validation_failed(int module, int asic_id, unsigned int port_typ,
                                            unsigned int idx);

/**
 * Programs the SP timer.
 *
 * Makes one service call (::SYSSRV_SP_TIME_CONFIGURE). An open transaction is unchanged.
 *
 * @param module module number, 0 to 3
 * @param asic   ASIC number, 0 to the highest of the register map (0)
 * @param time   time, 0 to 65535; the service defines the unit
 *
 * @retval 0                           programmed
 * @retval SYSERR_KEL_ASIC_UNINIT      the library is not initialised
 * @retval SYSERR_KEL_ASIC_INVALID_ARG a bad module or ASIC number
 * @retval 0x82230000|errno            the service call failed; low 12 bits of its errno
 * @retval 0x82230005                  the service returned a positive value
 */
syserr_t lib_mrv_asic_prog_sp_timer(cardcfg_module_id_t module, cardcfg_dev_id_t asic,
                                    uint16_t time);

/**
 * Clears all drop counters of module 0, ASIC 0.
 *
 * Makes one service call (::SYSSRV_REG_WRITE_CASE). An open transaction is unchanged.
 *
 * @retval 0                      cleared
 * @retval SYSERR_KEL_ASIC_UNINIT the library is not initialised
 * @retval 0x82230000|errno       the service call failed; low 12 bits of its errno
 * @retval 0x82230005             the service returned a positive value
 */
syserr_t lib_mrv_asic_clear_all_drop_counters(void);

/** @} */

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
