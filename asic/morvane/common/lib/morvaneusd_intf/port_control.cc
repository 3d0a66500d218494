// Port and queue control: commands to the driver service.
#include "kel_asic_lib_private.h"
#include "reg_address.h"
#include "service_call.h"
#include "trace_log.h"

namespace {

// The source file in requests of the library itself.
constexpr const char *library_path = "asic/morvane/common/lib/morvaneusd_intf";

// ASIC number, port type and port number in a command. No value is truncated to its width.
uint32_t port_word(int asic_id, uint32_t port_type, uint32_t port) {
  return static_cast<uint32_t>(asic_id) << 16 | port_type << 8 | port;
}

// 0 if a command for this ASIC may be sent.
syserr_t check_asic(int module, int asic_id) {
  if (lib_init_done == 0)
    return SYSERR_KEL_ASIC_UNINIT;
  if (!valid_module(module) || !valid_asic(static_cast<kel_asic_num_t>(asic_id)))
    return SYSERR_KEL_ASIC_INVALID_ARG;
  return 0;
}

bool pause_port_exists(int asic_id, cardcfg_port_type_t port_type, uint32_t port_idx) {
  const kel_asic_num_t asic = static_cast<kel_asic_num_t>(asic_id);
  if (port_type == CARDCFG_PORT_TYPE_NIF)
    return valid_nif(asic, port_idx);
  if (port_type == CARDCFG_PORT_TYPE_HIF)
    return valid_hif(asic, port_idx);
  return false;
}

// A command is a raw write: it joins an open transaction like any other.
syserr_t write_command(int module, uint32_t word, uint32_t command, int line,
                       const char *operation) {
  const syserr_t result =
      lib_mrv_asic_write(module, word, KEL_ASIC_NUM_BLK, 0xFFFFFFFF, command, 0, KEL_ASIC_WR_RAW, 0,
                         const_cast<char *>(library_path), line, operation);
  KEL_TRACE_EXIT(operation);
  return result;
}

syserr_t set_link_pause(const char *operation, uint32_t command, int module, int asic_id,
                        cardcfg_port_type_t port_type, uint32_t port_idx, int line) {
  KEL_TRACE_ENTER(operation);
  const syserr_t refusal = check_asic(module, asic_id);
  if (refusal != 0)
    return refusal;
  if (!pause_port_exists(asic_id, port_type, port_idx))
    return SYSERR_KEL_ASIC_INVALID_ARG;
  return write_command(module, port_word(asic_id, port_type, port_idx), command, line, operation);
}

}  // namespace

syserr_t lib_mrv_asic_link_pause_enable(int module, int asic_id, cardcfg_port_type_t port_type,
                                        unsigned int port_idx) {
  return set_link_pause("lib_mrv_asic_link_pause_enable", KEL_ASIC_CMD_LINK_PAUSE_ENABLE, module,
                        asic_id, port_type, port_idx, __LINE__);
}

syserr_t lib_mrv_asic_link_pause_disable(int module, int asic_id, cardcfg_port_type_t port_type,
                                         unsigned int port_idx) {
  return set_link_pause("lib_mrv_asic_link_pause_disable", KEL_ASIC_CMD_LINK_PAUSE_DISABLE, module,
                        asic_id, port_type, port_idx, __LINE__);
}

syserr_t lib_mrv_asic_set_nodrop_class_map(int module, int asic_id, uint32_t nodrop_cosmap) {
  constexpr const char *operation = "lib_mrv_asic_set_nodrop_class_map";
  KEL_TRACE_ENTER(operation);
  const syserr_t refusal = check_asic(module, asic_id);
  if (refusal != 0)
    return refusal;
  return write_command(module, port_word(asic_id, 0, nodrop_cosmap & 0xFF),
                       KEL_ASIC_CMD_NODROP_CLASS_MAP, __LINE__, operation);
}

syserr_t lib_mrv_asic_sfp_validation_failed(int module, int asic_id, unsigned int port_typ,
                                            unsigned int idx) {
  constexpr const char *operation = "lib_mrv_asic_sfp_validation_failed";
  KEL_TRACE_ENTER(operation);
  const syserr_t refusal = check_asic(module, asic_id);
  if (refusal != 0)
    return refusal;
  return write_command(module, port_word(asic_id, port_typ, idx),
                       KEL_ASIC_CMD_SFP_VALIDATION_FAILED, __LINE__, operation);
}

syserr_t lib_mrv_asic_prog_sp_timer(cardcfg_module_id_t module, cardcfg_dev_id_t asic,
                                    uint16_t time) {
  constexpr const char *operation = "lib_mrv_asic_prog_sp_timer";
  KEL_TRACE_ENTER(operation);
  const syserr_t refusal = check_asic(module, asic);
  if (refusal != 0)
    return refusal;
  // The service uses only these three fields; the rest is zero.
  kel_asic_reg_access_params_t request = {};
  request.module = module;
  request.asic = asic;
  request.data = time;
  const syserr_t result = call_service(SYSSRV_SP_TIME_CONFIGURE, &request, request_header_size);
  KEL_TRACE_EXIT(operation);
  return result;
}

syserr_t lib_mrv_asic_clear_all_drop_counters(void) {
  constexpr const char *operation = "lib_mrv_asic_clear_all_drop_counters";
  KEL_TRACE_ENTER(operation);
  if (lib_init_done == 0)
    return SYSERR_KEL_ASIC_UNINIT;
  // Sent immediately: it does not depend on the writes of an open transaction.
  kel_asic_reg_access_params_t request;
  const syserr_t result =
      send_request(SYSSRV_REG_WRITE_CASE, &request,
                   {TYPE_WRITE, 0, 0, KEL_ASIC_CMD_CLEAR_DROP_COUNTERS, 0, whole_register, 0},
                   {0, library_path, __LINE__, operation});
  if (result == 0)
    KEL_TRACE('l', 0, "%s: sse call success: CLEAR_DROP_COUNTERS \n", operation);
  KEL_TRACE_EXIT(operation);
  return result;
}
