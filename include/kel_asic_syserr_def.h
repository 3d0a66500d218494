/**
 * @file
 * Result codes of the library.
 *
 * Every operation that can fail returns a syserr_t, and 0 is success. Three kinds of non-zero value
 * exist:
 *
 * | Kind         | Values                         | Meaning                                 |
 * |--------------|--------------------------------|-----------------------------------------|
 * | library code | 0x42230000 + n, n = 0 to 46    | a member of ::kel_asic_syserr_t         |
 * | system error | 0x82230000 + e, e = 0 to 0xFFF | a failed service call                   |
 * | plain number | 12 and 0xFFFFFFFF              | no memory; the trace log cannot be used |
 *
 *     syserr_t err = lib_mrv_asic_read(...);
 *     if ((err & KEL_ASIC_SYSERR_KIND_MASK) == KEL_ASIC_SYSERR_SERVICE)
 *         fprintf(stderr, "service: %s\n", strerror((int)(err & KEL_ASIC_SYSERR_ERRNO_MASK)));
 */
#ifndef KEL_ASIC_SYSERR_DEF_H
#define KEL_ASIC_SYSERR_DEF_H

#include <stdint.h>

#include "platform/fixed_enum.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Result of an operation: 0 for success, otherwise one of the values described above. */
typedef uint32_t syserr_t;

/** Bits of a syserr_t that distinguish library codes from system errors. */
#define KEL_ASIC_SYSERR_KIND_MASK UINT32_C(0xFFFFF000)

/** A failed service call: this value with the error number of the call in its low 12 bits. */
#define KEL_ASIC_SYSERR_SERVICE UINT32_C(0x82230000)

/** Bits of a system error that hold the error number (errno). */
#define KEL_ASIC_SYSERR_ERRNO_MASK UINT32_C(0x00000FFF)

/**
 * A service call that failed without an error number (a positive answer). It is the value that
 * error number 5 (EIO) gives, and a caller cannot distinguish the two.
 */
#define KEL_ASIC_SYSERR_SERVICE_ANSWER UINT32_C(0x82230005)

/** The request buffer cannot be allocated or cannot grow. */
#define KEL_ASIC_SYSERR_NO_BUFFER UINT32_C(12)

/** The trace log cannot be opened or positioned (initialisation only). */
#define KEL_ASIC_SYSERR_NO_TRACE_LOG UINT32_C(0xFFFFFFFF)

/**
 * Library codes.
 *
 * Of these the library itself returns ::SYSERR_KEL_ASIC_INVALID_ARG and ::SYSERR_KEL_ASIC_UNINIT;
 * the others are shared with the other software of the ASIC family.
 */
typedef enum kel_asic_syserr_t KEL_ENUM32 {
  SYSERR_KEL_ASIC_UNKNOWN = 0x42230000,
  SYSERR_KEL_ASIC_FAILURE = 0x42230001,
  SYSERR_KEL_ASIC_MALLOC = 0x42230002,
  SYSERR_KEL_ASIC_INVALID_ARG = 0x42230003, /**< a bad argument of any kind */
  SYSERR_KEL_ASIC_NO_DATA_IN_QUEUE = 0x42230004,
  SYSERR_KEL_ASIC_WR_CALL = 0x42230005,
  SYSERR_KEL_ASIC_RD_CALL = 0x42230006,
  SYSERR_KEL_ASIC_USD_INIT_FAILED = 0x42230007,
  SYSERR_KEL_ASIC_GENERAL_ERROR = 0x42230008,
  SYSERR_KEL_ASIC_INVALID_MTS_OPCODE = 0x42230009,
  SYSERR_KEL_ASIC_ASIC_INST_NOT_FOUND = 0x4223000A,
  SYSERR_KEL_ASIC_PORT_NOT_FOUND = 0x4223000B,
  SYSERR_KEL_ASIC_COMMAND_UNSUPPORTED = 0x4223000C,
  SYSERR_KEL_ASIC_SSE_NOT_IMPLEMENTED = 0x4223000D,
  SYSERR_KEL_ASIC_ASIC_INST_INIT_FAILED = 0x4223000E,
  SYSERR_KEL_ASIC_XCVR_UNKNOWN = 0x4223000F,
  SYSERR_KEL_ASIC_XCVR_FAILURE = 0x42230010,
  SYSERR_KEL_ASIC_XCVR_INVALID_ARG = 0x42230011,
  SYSERR_KEL_ASIC_XCVR_INVALID_TIMER_HDL = 0x42230012,
  SYSERR_KEL_ASIC_XCVR_CRT_TMR_FLD = 0x42230013,
  SYSERR_KEL_ASIC_XCVR_LNKUP_TIMER_END = 0x42230014,
  SYSERR_KEL_ASIC_XCVR_RESET_FAILED = 0x42230015,
  SYSERR_KEL_ASIC_XCVR_UNKNOWN_XCVR = 0x42230016,
  SYSERR_KEL_ASIC_XCVR_PORT_ENABLE_FAILED = 0x42230017,
  SYSERR_KEL_ASIC_XCVR_PORT_DISABLE_FAILED = 0x42230018,
  SYSERR_KEL_ASIC_XCVR_PORT_LOOPBACK_FAILED = 0x42230019,
  SYSERR_KEL_ASIC_XCVR_PORT_NOT_PRESENT = 0x4223001A,
  SYSERR_KEL_ASIC_XCVR_INTR_ENABLE_FAILED = 0x4223001B,
  SYSERR_KEL_ASIC_XCVR_PORT_NOT_OPERATIONAL = 0x4223001C,
  SYSERR_KEL_ASIC_XCVR_CANNOT_DETECT_PMA = 0x4223001D,
  SYSERR_KEL_ASIC_XCVR_CANNOT_DETERMINE_PMA_10G_CAP = 0x4223001E,
  SYSERR_KEL_ASIC_XCVR_CANNOT_DETERMINE_PMA_LOW_PWR_MODE = 0x4223001F,
  SYSERR_KEL_ASIC_XCVR_CANNOT_DETECT_PCS = 0x42230020,
  SYSERR_KEL_ASIC_XCVR_CANNOT_DETERMINE_PCS_10G_CAP = 0x42230021,
  SYSERR_KEL_ASIC_XCVR_CANNOT_DETERMINE_PCS_LOW_PWR_MODE = 0x42230022,
  SYSERR_KEL_ASIC_XCVR_CANNOT_DETECT_PHYXS = 0x42230023,
  SYSERR_KEL_ASIC_XCVR_CANNOT_DETERMINE_PHYXS_10G_CAP = 0x42230024,
  SYSERR_KEL_ASIC_XCVR_CANNOT_DETERMINE_PHYXS_LOW_PWR_MODE = 0x42230025,
  SYSERR_KEL_ASIC_XCVR_CANNOT_READ_NVR_SERIAL_ID = 0x42230026,
  SYSERR_KEL_ASIC_XCVR_CANNOT_READ_NVR_SERIAL_ID_CHKSUM_FAILED = 0x42230027,
  SYSERR_KEL_ASIC_XCVR_CANNOT_READ_NVR_VENDOR_SPECIFIC_CRC_FAILED = 0x42230028,
  SYSERR_KEL_ASIC_XCVR_SPEED_UNSUPPORTED = 0x42230029,
  SYSERR_KEL_ASIC_XCVR_INTR_DISABLE_FAILED = 0x4223002A,
  SYSERR_KEL_ASIC_XCVR_INTR_HANDLE_FAILED = 0x4223002B,
  SYSERR_KEL_ASIC_XCVR_PORT_UPDATE_FAILED = 0x4223002C,
  SYSERR_KEL_ASIC_XCVR_COMMAND_UNSUPPORTED = 0x4223002D,
  SYSERR_KEL_ASIC_XCVR_GENERAL_ERROR = 0x4223002E,
  /** An operation was called before initialisation; shares its value with the name before it. */
  SYSERR_KEL_ASIC_UNINIT = SYSERR_KEL_ASIC_XCVR_GENERAL_ERROR
} kel_asic_syserr_t;

#ifdef __cplusplus
}
#endif

#endif
