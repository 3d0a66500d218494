// The controls of the switch, in this process or in morvaned. card_config.cc has the controls of
// the card; system_service.cc the watcher of this process's calls, and the reset.
#include <cerrno>
#include <cstring>

#include "own_switch.h"
#include "virtual_platform.h"
#include "wire/monitor_client.h"

namespace {

template <typename Entry>
int list(remote::Kind kind, const Entry **entries, uint32_t *count) {
  if (entries == nullptr || count == nullptr)
    return EFAULT;
  const void *bytes = nullptr;
  uint32_t length = 0;
  const int error = request_list(kind, &bytes, &length);
  *entries = static_cast<const Entry *>(bytes);
  *count = length / sizeof(Entry);
  return error;
}

// A fault of the next calls of this process.
vp_fault fault_of_this_process(vp_fault_action action, int32_t value) {
  vp_fault fault = {};
  fault.action = action;
  fault.value = value;
  fault.conditions = VP_IF_SELF;
  fault.every = fault.times = 1;
  return fault;
}

int send_traffic(remote::Kind kind, const remote::Port &port, const vp_traffic *traffic) {
  return traffic == nullptr ? EFAULT : send_control(kind, remote::Traffic{port, *traffic});
}

}  // namespace

int vp_connect(const char *address) {
  return remote::use_switch_at(address);
}

const char *vp_switch_address(void) {
  return remote::switch_address();
}

int vp_switch_info(vp_switch *shown) {
  if (shown == nullptr)
    return EFAULT;
  return request_control(remote::kShowSwitch, nullptr, 0, shown, sizeof *shown);
}

int vp_clients(const vp_client **clients, uint32_t *count) {
  return remote::is_remote() ? list(remote::kListClients, clients, count) : ENOTCONN;
}

int vp_monitor_open(vp_monitor **monitor) {
  return monitor == nullptr ? EFAULT : remote::open_monitor(monitor);
}

int vp_monitor_next(vp_monitor *monitor, int timeout_ms, const vp_note **note) {
  if (monitor == nullptr || note == nullptr)
    return EFAULT;
  return remote::next_note(*monitor, timeout_ms, note);
}

void vp_monitor_close(vp_monitor *monitor) {
  remote::close_monitor(monitor);
}

int vp_add_fault(const vp_fault *fault) {
  return fault == nullptr ? EFAULT : send_control(remote::kAddFault, *fault);
}

int vp_faults(const vp_fault **faults, uint32_t *count) {
  return list(remote::kListFaults, faults, count);
}

int vp_remove_fault(uint32_t number) {
  return send_control(remote::kRemoveFault, remote::FaultNumber{number});
}

int vp_fail_next_call(int error_number) {
  return send_control(remote::kAddFault, fault_of_this_process(VP_FAULT_ERRNO, error_number));
}

int vp_answer_next_call(int result) {
  return send_control(remote::kAddFault, fault_of_this_process(VP_FAULT_ANSWER, result));
}

int vp_answer_next_num(uint32_t num) {
  vp_fault fault = fault_of_this_process(VP_FAULT_NUM, static_cast<int32_t>(num));
  fault.conditions |= VP_IF_OPERATION;
  std::strcpy(fault.operation, "read-run");
  return send_control(remote::kAddFault, fault);
}

int vp_delay_calls(uint32_t milliseconds, uint32_t calls) {
  if (milliseconds > UINT32_MAX / 1000 || calls == 0)
    return EINVAL;
  vp_fault fault = fault_of_this_process(VP_FAULT_NONE, 0);
  fault.min_delay_us = fault.max_delay_us = milliseconds * 1000;
  fault.times = calls;
  return send_control(remote::kAddFault, fault);
}

int vp_save(const char **text, uint32_t *length) {
  return list(remote::kSave, text, length);
}

int vp_restore(const char *text, uint32_t length, uint32_t *line) {
  if (text == nullptr || line == nullptr)
    return EFAULT;
  remote::Restored restored = {};
  if (const int error = request_control(remote::kRestore, text, length, &restored, sizeof restored))
    return error;
  *line = restored.line;
  return restored.line == 0 ? 0 : EINVAL;
}

int vp_set_field(uint32_t module, uint32_t asic, cardcfg_port_type_t port_type, uint32_t port,
                 const char *name, uint64_t value) {
  remote::FieldValue given = {{{module, asic}, port_type, port}, value, {}};
  if (name == nullptr)
    return EFAULT;
  if (std::strlen(name) >= sizeof given.name)
    return EINVAL;
  std::strcpy(given.name, name);
  return send_control(remote::kSetField, given);
}

int vp_add_traffic(uint32_t module, uint32_t asic, cardcfg_port_type_t port_type, uint32_t port,
                   const vp_traffic *traffic) {
  return send_traffic(remote::kAddTraffic, {{module, asic}, port_type, port}, traffic);
}

int vp_add_flow(uint32_t module, uint32_t asic, cardcfg_port_type_t port_type, uint32_t port,
                const vp_traffic *rate) {
  return send_traffic(remote::kAddFlow, {{module, asic}, port_type, port}, rate);
}

int vp_stop_flows(uint32_t module, uint32_t asic, cardcfg_port_type_t port_type, uint32_t port) {
  return send_control(remote::kStopFlows, remote::Port{{module, asic}, port_type, port});
}

int vp_set_time(uint32_t run, uint64_t advance_ms) {
  return send_control(remote::kSetTime, remote::Time{run, 0, advance_ms});
}

int vp_asic_show(uint32_t module, uint32_t asic, vp_asic_state *state) {
  if (state == nullptr)
    return EFAULT;
  const remote::AsicNumber request = {module, asic};
  return request_control(remote::kShowAsic, &request, sizeof request, state, sizeof *state);
}

uint32_t vp_port_count(cardcfg_port_type_t port_type) {
  return virtual_asic::port_count(port_type);
}
