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

// A run of words without a gap: a table, or neighbouring registers.
struct Window {
  uint32_t begin;
  uint32_t size;

  bool has(uint32_t address) const { return address - begin < size; }
};

// The one that was found last. Neighbours are mostly asked for together.
extern Window cached_window;

// Finds the window that an address is in, if there is one.
bool find_window(uint32_t address);

// Whether a register, or an entry of a table register, has a word at this address.
inline bool has_word(uint32_t address) {
  return address % 4 == 0 && (cached_window.has(address) || find_window(address));
}

}  // namespace virtual_asic

#endif
