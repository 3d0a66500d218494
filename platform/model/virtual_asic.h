// The size of the virtual switch: its modules, ASICs and ports, and its first card.
#ifndef VIRTUAL_ASIC_H
#define VIRTUAL_ASIC_H

#include <cstdint>

#include "platform/card_config.h"

namespace virtual_asic {

constexpr uint32_t kModules = 4;
constexpr uint32_t kHighestAsic = 0;
constexpr uint32_t kHostPorts = 32;
constexpr uint32_t kNetworkPorts = 8;

// Software identifier of the initial card.
constexpr uint16_t kPlainCard = 1;

// Ports of a type; 0 for types that the ASIC does not have.
constexpr uint32_t port_count(cardcfg_port_type_t type) {
  switch (type) {
    case CARDCFG_PORT_TYPE_HIF:
      return kHostPorts;
    case CARDCFG_PORT_TYPE_NIF:
      return kNetworkPorts;
    default:
      return 0;
  }
}

}  // namespace virtual_asic

#endif
