/**
 * @file
 * The calls that the driver service receives: the kind and the length of the record of each case.
 * A service checks a call before it uses any field of the record:
 *
 *     int handle(uint32_t case_code, void *record, uint32_t length) {
 *       const int error = kel_asic_record_error(case_code, record, length);
 *       if (error != 0)
 *         return error;
 *       switch (kel_asic_record_kind(case_code, length)) {
 *         case KEL_ASIC_RECORD_TRANSACTION:
 *           return apply((const kel_asic_xn_t *)record);
 *         ...
 *
 * Nothing here calls the library or the service. Records need no alignment. Any thread may use it
 * at any time.
 */
#ifndef KEL_ASIC_RECORD_KINDS_H
#define KEL_ASIC_RECORD_KINDS_H

#include <errno.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "kel_asic_intf.h"
#include "kel_asic_lib_common.h"
#include "platform/system_service.h"

/** Kinds of record. */
typedef enum kel_asic_record_kind_t KEL_ENUM32 {
  KEL_ASIC_RECORD_NONE = 0,        /**< unknown case, or a length that does not fit the case */
  KEL_ASIC_RECORD_REGISTER = 1,    /**< ::kel_asic_reg_access_params_t, a read, write or command */
  KEL_ASIC_RECORD_TIMER = 2,       /**< ::kel_asic_reg_access_params_t, the SP timer */
  KEL_ASIC_RECORD_TRANSACTION = 3, /**< ::kel_asic_xn_t */
  KEL_ASIC_RECORD_QOS = 4          /**< ::kel_asic_qos_stats_params_t */
} kel_asic_record_kind_t;

/** A case. 44 bytes. */
typedef struct kel_asic_case_t {
  uint32_t case_code;          /**< 0: the case code */
  kel_asic_record_kind_t kind; /**< 4: its kind of record */
  uint32_t min_length;         /**< 8: shortest length of the record in bytes */
  uint32_t max_length;         /**< 12: longest length; a register record may have data words */
  char name[28];               /**< 16: name of the case code, for logs */
} kel_asic_case_t;

/** All cases. */
/* clang-format off */
#ifdef __cplusplus
inline constexpr
#else
static const
#endif
kel_asic_case_t kel_asic_cases[] = {
  {SYSSRV_REG_READ_CASE, KEL_ASIC_RECORD_REGISTER,
   sizeof(kel_asic_reg_access_params_t), UINT32_MAX, "SYSSRV_REG_READ_CASE"},
  {SYSSRV_REG_WRITE_CASE, KEL_ASIC_RECORD_REGISTER,
   sizeof(kel_asic_reg_access_params_t), UINT32_MAX, "SYSSRV_REG_WRITE_CASE"},
  {SYSSRV_MEM_READ_CASE, KEL_ASIC_RECORD_QOS,
   sizeof(kel_asic_qos_stats_params_t), sizeof(kel_asic_qos_stats_params_t), "SYSSRV_MEM_READ_CASE"},
  {SYSSRV_MEM_WRITE_CASE, KEL_ASIC_RECORD_TRANSACTION,
   sizeof(kel_asic_xn_t), sizeof(kel_asic_xn_t), "SYSSRV_MEM_WRITE_CASE"},
  {SYSSRV_SP_TIME_CONFIGURE, KEL_ASIC_RECORD_TIMER,
   sizeof(kel_asic_reg_access_params_t), sizeof(kel_asic_reg_access_params_t), "SYSSRV_SP_TIME_CONFIGURE"},
};
/* clang-format on */

/**
 * Returns the row of a case.
 *
 * @param case_code the case code of a call
 *
 * @return its row of kel_asic_cases, or NULL if the case is unknown
 */
static inline const kel_asic_case_t *kel_asic_find_case(uint32_t case_code) {
  for (size_t i = 0; i < sizeof kel_asic_cases / sizeof kel_asic_cases[0]; ++i) {
    if (kel_asic_cases[i].case_code == case_code)
      return &kel_asic_cases[i];
  }
  return NULL;
}

/**
 * Returns the kind of record that a call carries.
 *
 * @param case_code the case code of the call
 * @param length    length of its record in bytes
 *
 * @return the kind; ::KEL_ASIC_RECORD_NONE if the case is unknown or the length does not fit it
 */
static inline kel_asic_record_kind_t kel_asic_record_kind(uint32_t case_code, uint32_t length) {
  const kel_asic_case_t *row = kel_asic_find_case(case_code);
  return row != NULL && length >= row->min_length && length <= row->max_length
             ? row->kind
             : KEL_ASIC_RECORD_NONE;
}

/**
 * Reads a 32-bit field of a record.
 *
 * @param record the record
 * @param offset offset of the field in bytes
 *
 * @return the value of the field
 */
static inline uint32_t kel_asic_record_field(const void *record, size_t offset) {
  uint32_t value;
  memcpy(&value, (const char *)record + offset, sizeof value);
  return value;
}

/**
 * Returns the number of data words of a register record: its num, or the number of words that its
 * length has room for, whichever is smaller.
 *
 * @param record a record of the kind ::KEL_ASIC_RECORD_REGISTER
 * @param length its length in bytes
 *
 * @return the number of words at pdata that are part of the record
 */
static inline uint32_t kel_asic_record_words(const void *record, uint32_t length) {
  const uint32_t num = kel_asic_record_field(record, offsetof(kel_asic_reg_access_params_t, num));
  const uint32_t room = (length - (uint32_t)sizeof(kel_asic_reg_access_params_t)) / 4;
  return num < room ? num : room;
}

/**
 * Checks a register record, whose type must belong to the case. A request for several words may
 * have room for more words than its num; the record of a single access has no words.
 *
 * @param case_code ::SYSSRV_REG_READ_CASE or ::SYSSRV_REG_WRITE_CASE
 * @param record    a record of the kind ::KEL_ASIC_RECORD_REGISTER
 * @param length    its length in bytes
 *
 * @return 0, or EMSGSIZE or EINVAL as kel_asic_record_error() does
 */
static inline int kel_asic_register_record_error(uint32_t case_code, const void *record,
                                                 uint32_t length) {
  const uint32_t type = kel_asic_record_field(record, offsetof(kel_asic_reg_access_params_t, type));
  const uint32_t num = kel_asic_record_field(record, offsetof(kel_asic_reg_access_params_t, num));
  const uint32_t room = length - (uint32_t)sizeof(kel_asic_reg_access_params_t);
  const int is_read = case_code == SYSSRV_REG_READ_CASE;
  if (type == (is_read ? TYPE_READ_DHS : TYPE_WRITE_DHS))
    return room % 4 == 0 && num == kel_asic_record_words(record, length) ? 0 : EMSGSIZE;
  if (is_read ? type != TYPE_READ : type != TYPE_WRITE && type != TYPE_WRITE_FIELD)
    return EINVAL;
  return room == 0 ? 0 : EMSGSIZE;
}

/**
 * Checks whether a record is well-formed for its case and length. It does not check whether the
 * switch has the module, ASIC, port or address.
 *
 * @param case_code the case code of the call
 * @param record    the record; not NULL
 * @param length    its length in bytes
 *
 * @retval 0        the record is well-formed
 * @retval ENOSYS   the case is unknown
 * @retval EMSGSIZE the length does not fit the case, the type or the number of words
 * @retval EINVAL   the type does not belong to the case, or a transaction has less than 0 or more
 *                  than 512 entries
 */
static inline int kel_asic_record_error(uint32_t case_code, const void *record, uint32_t length) {
  switch (kel_asic_record_kind(case_code, length)) {
    case KEL_ASIC_RECORD_REGISTER:
      return kel_asic_register_record_error(case_code, record, length);
    case KEL_ASIC_RECORD_TRANSACTION:
      return kel_asic_record_field(record, offsetof(kel_asic_xn_t, num)) <= KEL_ASIC_XN_ENTRIES
                 ? 0
                 : EINVAL;
    case KEL_ASIC_RECORD_QOS:
      return kel_asic_record_field(record, offsetof(kel_asic_qos_stats_params_t, type)) <=
                     QOS_STATS_CLEAR_ALL
                 ? 0
                 : EINVAL;
    case KEL_ASIC_RECORD_TIMER:
      return 0;
    default:
      return kel_asic_find_case(case_code) == NULL ? ENOSYS : EMSGSIZE;
  }
}

/**
 * Returns whether a write of the complete register to this address is a command.
 *
 * @param address the address
 *
 * @return 1 for the address of a command, else 0
 */
static inline int kel_asic_is_command(uint32_t address) {
  switch (address) {
    case KEL_ASIC_CMD_CLEAR_DROP_COUNTERS:
    case KEL_ASIC_CMD_NODROP_CLASS_MAP:
    case KEL_ASIC_CMD_LINK_PAUSE_ENABLE:
    case KEL_ASIC_CMD_LINK_PAUSE_DISABLE:
    case KEL_ASIC_CMD_SFP_VALIDATION_FAILED:
      return 1;
    default:
      return 0;
  }
}

/** Names of the operations: five types of register request, then the other records. */
#ifdef __cplusplus
inline constexpr const char *
#else
static const char *const
#endif
    kel_asic_operations[] = {"read",      "write",     "write-field",  "read-run",
                             "write-run", "command",   "sp-timer",     "transaction",
                             "qos-get",   "qos-clear", "qos-clear-all"};

/**
 * Returns the name of the operation that a call requests, as recordings and faults show it. It does
 * not check whether the record is well-formed.
 *
 * @param case_code the case code of the call
 * @param record    the record; not NULL
 * @param length    its length in bytes
 *
 * @return its name, at most 15 characters; NULL if the case, the length or the type is unknown
 */
static inline const char *kel_asic_operation(uint32_t case_code, const void *record,
                                             uint32_t length) {
  enum { COMMAND = 5, TIMER = 6, TRANSACTION = 7, QOS = 8 };
  const kel_asic_record_kind_t kind = kel_asic_record_kind(case_code, length);
  if (kind == KEL_ASIC_RECORD_NONE)
    return NULL;
  const uint32_t type = kel_asic_record_field(record, 0); /* of a register or QoS record */
  switch (kind) {
    case KEL_ASIC_RECORD_REGISTER:
      if (type == TYPE_WRITE && kel_asic_is_command(kel_asic_record_field(
                                    record, offsetof(kel_asic_reg_access_params_t, addr))))
        return kel_asic_operations[COMMAND];
      return type <= TYPE_WRITE_DHS ? kel_asic_operations[type] : NULL;
    case KEL_ASIC_RECORD_QOS:
      return type <= QOS_STATS_CLEAR_ALL ? kel_asic_operations[QOS + type] : NULL;
    default:
      return kel_asic_operations[kind == KEL_ASIC_RECORD_TIMER ? TIMER : TRANSACTION];
  }
}

#endif
