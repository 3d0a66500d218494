// QoS statistics of the ports: get, clear, clear all.
#include <cstring>

#include "kel_asic_lib_private.h"
#include "reg_address.h"
#include "service_call.h"
#include "trace_log.h"

namespace {

// The service reads and answers the request; only a get receives the answer.
syserr_t request_stats(const char *operation, kel_asic_qos_stats_type_t type,
                       cardcfg_module_id_t module, cardcfg_dev_id_t asic,
                       cardcfg_port_type_t port_type, cardcfg_port_id_t port, uint32_t opts,
                       kel_asic_qos_stats_t *stats) {
  KEL_TRACE_ENTER(operation);
  if (lib_init_done == 0)
    return SYSERR_KEL_ASIC_UNINIT;
  if (!valid_module(module) || !valid_asic(asic) || (type == QOS_STATS_GET && stats == nullptr))
    return SYSERR_KEL_ASIC_INVALID_ARG;
  // Both records have padding, which an initialiser or an assignment may not clear.
  kel_asic_qos_stats_params_t request;
  std::memset(&request, 0, sizeof request);
  request.type = type;
  request.module = module;
  request.asic = asic;
  request.port_type = port_type;
  request.port = port;
  request.opts = opts;
  const syserr_t result = call_service(SYSSRV_MEM_READ_CASE, &request, sizeof request);
  if (result == 0 && type == QOS_STATS_GET)
    std::memcpy(stats, &request.stats, sizeof *stats);
  KEL_TRACE_EXIT(operation);
  return result;
}

}  // namespace

syserr_t lib_mrv_asic_get_qos_stats(cardcfg_module_id_t module, cardcfg_dev_id_t asic,
                                    cardcfg_port_type_t port_type, cardcfg_port_id_t port,
                                    kel_asic_qos_stats_t *stats, uint32_t opts) {
  return request_stats("lib_mrv_asic_get_qos_stats", QOS_STATS_GET, module, asic, port_type, port,
                       opts, stats);
}

syserr_t lib_mrv_asic_clear_qos_stats(cardcfg_module_id_t module, cardcfg_dev_id_t asic,
                                      cardcfg_port_type_t port_type, cardcfg_port_id_t port,
                                      uint32_t opts) {
  return request_stats("lib_mrv_asic_clear_qos_stats", QOS_STATS_CLEAR, module, asic, port_type,
                       port, opts, nullptr);
}

syserr_t lib_mrv_asic_clear_all_qos_stats(cardcfg_module_id_t module, cardcfg_dev_id_t asic,
                                          uint32_t opts) {
  return request_stats("lib_mrv_asic_clear_all_qos_stats", QOS_STATS_CLEAR_ALL, module, asic,
                       CARDCFG_PORT_TYPE_CIF, 0, opts, nullptr);
}
