/**
 * @file
 * Name and meaning of each result of the library, and what to do about it, for messages and logs.
 *
 *     if (err != 0)
 *         fprintf(stderr, "%s: %s\n", kel_asic_syserr_name(err), kel_asic_syserr_meaning(err));
 *
 * All functions are inline: they need no library, and may be used before initialisation.
 */
#ifndef KEL_ASIC_SYSERR_TEXT_H
#define KEL_ASIC_SYSERR_TEXT_H

#include <stddef.h>
#include <string.h>

#include "kel_asic_syserr_def.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Name and meaning of a result. */
typedef struct kel_asic_syserr_words_t {
  const char *name;    /**< its enumerator or constant */
  const char *meaning; /**< what went wrong */
} kel_asic_syserr_words_t;

/**
 * Returns name and meaning of a library code.
 *
 * @param code any result
 * @return name and meaning, valid for the life of the process; null if the code is not a member of
 *         ::kel_asic_syserr_t
 */
static inline const kel_asic_syserr_words_t *kel_asic_syserr_library_words(syserr_t code) {
  /* By the number of the code. */
  static const kel_asic_syserr_words_t words[] = {
      {"SYSERR_KEL_ASIC_UNKNOWN", "not known what went wrong"},
      {"SYSERR_KEL_ASIC_FAILURE", "a failure"},
      {"SYSERR_KEL_ASIC_MALLOC", "no memory"},
      {"SYSERR_KEL_ASIC_INVALID_ARG", "a bad argument, or no register at that address"},
      {"SYSERR_KEL_ASIC_NO_DATA_IN_QUEUE", "no data in the queue"},
      {"SYSERR_KEL_ASIC_WR_CALL", "a write call failed"},
      {"SYSERR_KEL_ASIC_RD_CALL", "a read call failed"},
      {"SYSERR_KEL_ASIC_USD_INIT_FAILED", "the driver could not be initialised"},
      {"SYSERR_KEL_ASIC_GENERAL_ERROR", "a general error"},
      {"SYSERR_KEL_ASIC_INVALID_MTS_OPCODE",
       "a message with an operation code that does not exist"},
      {"SYSERR_KEL_ASIC_ASIC_INST_NOT_FOUND", "no such ASIC instance"},
      {"SYSERR_KEL_ASIC_PORT_NOT_FOUND", "no such port"},
      {"SYSERR_KEL_ASIC_COMMAND_UNSUPPORTED", "the command is not supported"},
      {"SYSERR_KEL_ASIC_SSE_NOT_IMPLEMENTED", "the service call is not implemented"},
      {"SYSERR_KEL_ASIC_ASIC_INST_INIT_FAILED", "the ASIC instance could not be initialised"},
      {"SYSERR_KEL_ASIC_XCVR_UNKNOWN", "transceiver: not known what went wrong"},
      {"SYSERR_KEL_ASIC_XCVR_FAILURE", "transceiver: a failure"},
      {"SYSERR_KEL_ASIC_XCVR_INVALID_ARG", "transceiver: a bad argument"},
      {"SYSERR_KEL_ASIC_XCVR_INVALID_TIMER_HDL", "transceiver: no such timer"},
      {"SYSERR_KEL_ASIC_XCVR_CRT_TMR_FLD", "transceiver: a timer could not be created"},
      {"SYSERR_KEL_ASIC_XCVR_LNKUP_TIMER_END", "transceiver: the link did not come up in time"},
      {"SYSERR_KEL_ASIC_XCVR_RESET_FAILED", "transceiver: the reset failed"},
      {"SYSERR_KEL_ASIC_XCVR_UNKNOWN_XCVR", "transceiver: a transceiver of no known kind"},
      {"SYSERR_KEL_ASIC_XCVR_PORT_ENABLE_FAILED", "transceiver: the port could not be enabled"},
      {"SYSERR_KEL_ASIC_XCVR_PORT_DISABLE_FAILED", "transceiver: the port could not be disabled"},
      {"SYSERR_KEL_ASIC_XCVR_PORT_LOOPBACK_FAILED", "transceiver: the loopback could not be set"},
      {"SYSERR_KEL_ASIC_XCVR_PORT_NOT_PRESENT", "transceiver: none is present in the port"},
      {"SYSERR_KEL_ASIC_XCVR_INTR_ENABLE_FAILED",
       "transceiver: its interrupt could not be enabled"},
      {"SYSERR_KEL_ASIC_XCVR_PORT_NOT_OPERATIONAL", "transceiver: the port does not operate"},
      {"SYSERR_KEL_ASIC_XCVR_CANNOT_DETECT_PMA", "transceiver: no PMA detected"},
      {"SYSERR_KEL_ASIC_XCVR_CANNOT_DETERMINE_PMA_10G_CAP",
       "transceiver: not known whether its PMA can do 10G"},
      {"SYSERR_KEL_ASIC_XCVR_CANNOT_DETERMINE_PMA_LOW_PWR_MODE",
       "transceiver: not known whether its PMA is in low-power mode"},
      {"SYSERR_KEL_ASIC_XCVR_CANNOT_DETECT_PCS", "transceiver: no PCS detected"},
      {"SYSERR_KEL_ASIC_XCVR_CANNOT_DETERMINE_PCS_10G_CAP",
       "transceiver: not known whether its PCS can do 10G"},
      {"SYSERR_KEL_ASIC_XCVR_CANNOT_DETERMINE_PCS_LOW_PWR_MODE",
       "transceiver: not known whether its PCS is in low-power mode"},
      {"SYSERR_KEL_ASIC_XCVR_CANNOT_DETECT_PHYXS", "transceiver: no PHY XS detected"},
      {"SYSERR_KEL_ASIC_XCVR_CANNOT_DETERMINE_PHYXS_10G_CAP",
       "transceiver: not known whether its PHY XS can do 10G"},
      {"SYSERR_KEL_ASIC_XCVR_CANNOT_DETERMINE_PHYXS_LOW_PWR_MODE",
       "transceiver: not known whether its PHY XS is in low-power mode"},
      {"SYSERR_KEL_ASIC_XCVR_CANNOT_READ_NVR_SERIAL_ID",
       "transceiver: its serial identification cannot be read"},
      {"SYSERR_KEL_ASIC_XCVR_CANNOT_READ_NVR_SERIAL_ID_CHKSUM_FAILED",
       "transceiver: the checksum of its serial identification is wrong"},
      {"SYSERR_KEL_ASIC_XCVR_CANNOT_READ_NVR_VENDOR_SPECIFIC_CRC_FAILED",
       "transceiver: the CRC of its vendor data is wrong"},
      {"SYSERR_KEL_ASIC_XCVR_SPEED_UNSUPPORTED", "transceiver: the speed is not supported"},
      {"SYSERR_KEL_ASIC_XCVR_INTR_DISABLE_FAILED",
       "transceiver: its interrupt could not be disabled"},
      {"SYSERR_KEL_ASIC_XCVR_INTR_HANDLE_FAILED",
       "transceiver: its interrupt could not be handled"},
      {"SYSERR_KEL_ASIC_XCVR_PORT_UPDATE_FAILED", "transceiver: the port could not be updated"},
      {"SYSERR_KEL_ASIC_XCVR_COMMAND_UNSUPPORTED", "transceiver: the command is not supported"},
      {"SYSERR_KEL_ASIC_UNINIT",
       "the library is not initialised (or a general error of a transceiver)"},
  };
  const syserr_t number = code - (syserr_t)SYSERR_KEL_ASIC_UNKNOWN;
  return number < sizeof words / sizeof words[0] ? &words[number] : NULL;
}

/**
 * Returns whether a result is of a service call that failed.
 *
 * @param code any result
 * @return 1 if it is, 0 otherwise
 */
static inline int kel_asic_syserr_is_service(syserr_t code) {
  return (code & KEL_ASIC_SYSERR_KIND_MASK) == KEL_ASIC_SYSERR_SERVICE;
}

/**
 * Returns the error number of a service call that failed.
 *
 * @param code a result of which kel_asic_syserr_is_service is 1
 * @return the error number, 0 to 4095
 */
static inline int kel_asic_syserr_errno(syserr_t code) {
  return (int)(code & KEL_ASIC_SYSERR_ERRNO_MASK);
}

/**
 * Returns the name of a result.
 *
 * @param code any result
 * @return the name of its enumerator or constant. If two share a value, it is the one that the
 *         library returns: SYSERR_KEL_ASIC_UNINIT. For a failed service call with any error number
 *         it is "KEL_ASIC_SYSERR_SERVICE", for 0 "success", for a value that the library does not
 *         define "unknown code". Valid for the life of the process.
 */
static inline const char *kel_asic_syserr_name(syserr_t code) {
  const kel_asic_syserr_words_t *words = kel_asic_syserr_library_words(code);
  if (words != NULL)
    return words->name;
  if (kel_asic_syserr_is_service(code))
    return "KEL_ASIC_SYSERR_SERVICE";
  if (code == KEL_ASIC_SYSERR_NO_BUFFER)
    return "KEL_ASIC_SYSERR_NO_BUFFER";
  if (code == KEL_ASIC_SYSERR_NO_TRACE_LOG)
    return "KEL_ASIC_SYSERR_NO_TRACE_LOG";
  return code == 0 ? "success" : "unknown code";
}

/**
 * Returns the meaning of a result.
 *
 * @param code any result
 * @return a text without a newline. For a failed service call it is the text of strerror for the
 *         error number, which the next call of strerror may overwrite. Any other text is valid for
 *         the life of the process.
 */
static inline const char *kel_asic_syserr_meaning(syserr_t code) {
  const kel_asic_syserr_words_t *words = kel_asic_syserr_library_words(code);
  if (words != NULL)
    return words->meaning;
  if (code == KEL_ASIC_SYSERR_SERVICE_ANSWER)
    return "the service call failed with an I/O error, or with a positive answer";
  if (kel_asic_syserr_is_service(code))
    return strerror(kel_asic_syserr_errno(code));
  if (code == KEL_ASIC_SYSERR_NO_BUFFER)
    return "no memory: the request buffer cannot be allocated or cannot grow";
  if (code == KEL_ASIC_SYSERR_NO_TRACE_LOG)
    return "the trace log cannot be opened or positioned";
  return code == 0 ? "no error"
                   : "not a result code of this library (it may come from the register map)";
}

/**
 * Returns what to do about a result.
 *
 * @param code any result except 0
 * @return a text without a newline, valid for the life of the process
 */
static inline const char *kel_asic_syserr_advice(syserr_t code) {
  if (code == KEL_ASIC_SYSERR_SERVICE_ANSWER)
    return "see the log of the driver service";
  if (kel_asic_syserr_is_service(code))
    return "check that the driver service runs and has what was requested; the library does not "
           "retry";
  switch (code) {
    case SYSERR_KEL_ASIC_INVALID_ARG:
      return "check the arguments, and that lib_mrv_asic_init succeeded";
    case SYSERR_KEL_ASIC_UNINIT:
      return "call lib_mrv_asic_init first";
    case KEL_ASIC_SYSERR_NO_BUFFER:
      return "move fewer words at a time";
    case KEL_ASIC_SYSERR_NO_TRACE_LOG:
      return "make /tmp writable, or remove the marker file";
    default:
      return "it comes from the register map or other software of the ASIC family: see there";
  }
}

#ifdef __cplusplus
}
#endif

#endif
