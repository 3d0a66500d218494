/**
 * @file
 * The system-service transport: what the library asks of the platform to reach the driver service
 * that owns the ASIC.
 *
 * The library declares this interface and leaves it undefined; the program that links the library
 * chooses the platform that provides it.
 */
#ifndef PLATFORM_SYSTEM_SERVICE_H
#define PLATFORM_SYSTEM_SERVICE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Identifier of the driver service that receives a record. */
typedef uint32_t sys_srvc_case_id_t;

/** Case codes: the kinds of call. */
#define SYSSRV_REG_READ_CASE UINT32_C(0x40000000)     /**< register and table reads */
#define SYSSRV_REG_WRITE_CASE UINT32_C(0x40000001)    /**< register and table writes, commands */
#define SYSSRV_MEM_READ_CASE UINT32_C(0x40000002)     /**< QoS statistics */
#define SYSSRV_MEM_WRITE_CASE UINT32_C(0x40000003)    /**< write transactions */
#define SYSSRV_SP_TIME_CONFIGURE UINT32_C(0x40000056) /**< the SP timer */

/**
 * Case record: the driver service and the record.
 *
 * 8 bytes on a 32-bit machine. 16 bytes with a 64-bit pointer, which is at offset 8.
 */
typedef struct sys_srvc_case_params_t {
  sys_srvc_case_id_t caseId; /**< 0: the driver identifier */
  void *params;              /**< 4: address of the record, which also receives the answer */
} sys_srvc_case_params_t;

/**
 * Passes a record to the driver service, and returns when the record contains the answer.
 *
 * @param case_code   one of the case codes above
 * @param case_params the driver identifier and the record; valid during the call
 * @param length      length of the record in bytes
 *
 * @retval 0         the service has answered; the record contains the answer
 * @retval "below 0" the call failed; errno has the reason
 * @retval "above 0" any other failure; errno has no meaning
 */
int sse_call2(uint32_t case_code, sys_srvc_case_params_t *case_params, uint32_t length);

#ifdef __cplusplus
}
#endif

#endif
