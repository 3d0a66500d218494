// The shape of the virtual switch: how much of it there is, and which addresses its registers have.
#ifndef VIRTUAL_ASIC_H
#define VIRTUAL_ASIC_H

#include <cstdint>

namespace virtual_asic {

constexpr uint32_t kModules = 4;
constexpr uint32_t kHighestAsic = 0;
constexpr uint32_t kHostPorts = 32;
constexpr uint32_t kNetworkPorts = 8;

// Software identifier of the card that is plugged in at the start.
constexpr uint16_t kPlainCard = 1;

// Whether a register, or an entry of a table register, has a word at this address.
bool has_word(uint32_t address);

}  // namespace virtual_asic

#endif
