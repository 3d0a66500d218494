// The controls of the switch, in this process or in morvaned. card_config.cc has the controls of
// the card; system_service.cc those of this process's calls, and the reset.
#include <cerrno>

#include "own_switch.h"
#include "virtual_platform.h"
#include "wire/switch_client.h"

int vp_connect(const char *address) {
  return remote::use_switch_at(address);
}

int vp_clients(const vp_client **clients, uint32_t *count) {
  if (clients == nullptr || count == nullptr)
    return EFAULT;
  return remote::is_remote() ? remote::list_clients(clients, count) : ENOTCONN;
}

int vp_add_traffic(uint32_t module, uint32_t asic, cardcfg_port_type_t port_type, uint32_t port,
                   const vp_traffic *traffic) {
  if (traffic == nullptr)
    return EFAULT;
  if (remote::is_remote()) {
    const remote::Traffic request = {{module, asic}, port_type, port, *traffic};
    return remote::control_request(remote::kAddTraffic, &request, sizeof request, nullptr, 0);
  }
  return own_switch().driver.add_traffic(module, asic, port_type, port, *traffic);
}

int vp_asic_show(uint32_t module, uint32_t asic, vp_asic_state *state) {
  if (state == nullptr)
    return EFAULT;
  if (remote::is_remote()) {
    const remote::AsicNumber request = {module, asic};
    return remote::control_request(remote::kShowAsic, &request, sizeof request, state,
                                   sizeof *state);
  }
  const VirtualAsic *const found = own_switch().driver.find_asic(module, asic);
  if (found == nullptr)
    return ENXIO;
  *state = found->commands;
  return 0;
}

uint32_t vp_port_count(cardcfg_port_type_t port_type) {
  return virtual_asic::port_count(port_type);
}
