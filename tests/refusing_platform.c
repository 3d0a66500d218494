/*
 * The virtual platform with a service that refuses every transaction, and that answers for each
 * counter of a port with another number, which rises by as much with each reading. It has the ports
 * of type cif that CIF_PORTS gives, like 2:5, and fails with that errno for the next ones.
 */
#include <dlfcn.h>
#include <errno.h>
#include <stddef.h>
#include <stdlib.h>
#include <string.h>

#include "kel_asic_lib_common.h"
#include "platform/system_service.h"

/* Pauses and drops each put the ports into another order. */
static uint32_t turn_of(size_t offset) {
  if (offset >= offsetof(kel_asic_qos_stats_t, drops))
    return 5;
  return offset < offsetof(kel_asic_qos_stats_t, ss_dhs) ? 3 : 0;
}

/* Counters of 64 bits, around the status of the pause in word 45: received, and sent. */
static void number_counters(kel_asic_qos_stats_params_t *params) {
  static uint32_t readings[256];
  const uint32_t port = params->port, reading = ++readings[port];
  uint32_t words[sizeof params->stats / 4] = {0};
  for (uint32_t i = 0; i < sizeof words / 4; ++i)
    words[i] =
        i == 0 || (i > 45) == (i % 2 == 0) ? ((i + 1) << 8 | (port ^ turn_of(4 * i))) * reading : 0;
  words[45] = (port & 1) << 8 | port;
  memcpy(&params->stats, words, sizeof words);
}

int sse_call2(uint32_t case_code, sys_srvc_case_params_t *case_params, uint32_t length) {
  int (*next)(uint32_t, sys_srvc_case_params_t *, uint32_t) = NULL;
  if (case_code == SYSSRV_MEM_WRITE_CASE) {
    errno = EPERM;
    return -1;
  }
  kel_asic_qos_stats_params_t *const qos = case_params->params;
  const char *const cif_ports = getenv("CIF_PORTS");
  if (case_code == SYSSRV_MEM_READ_CASE && cif_ports != NULL &&
      qos->port_type == CARDCFG_PORT_TYPE_CIF) {
    errno = atoi(strchr(cif_ports, ':') + 1);
    return qos->port < atoi(cif_ports) ? 0 : -1;
  }
  *(void **)&next = dlsym(RTLD_NEXT, "sse_call2");
  const int result = next(case_code, case_params, length);
  if (result == 0 && case_code == SYSSRV_MEM_READ_CASE)
    number_counters(case_params->params);
  return result;
}
