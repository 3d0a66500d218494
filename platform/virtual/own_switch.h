// The virtual switch of this process, for calls that do not go to another.
#ifndef OWN_SWITCH_H
#define OWN_SWITCH_H

#include <new>

#include "model/virtual_switch.h"

// Never destroyed, because calls may come until the process ends. In static memory, because C
// callers expect no exception.
inline VirtualSwitch &own_switch() {
  alignas(VirtualSwitch) static unsigned char memory[sizeof(VirtualSwitch)];
  static auto *const instance = new (memory) VirtualSwitch;
  return *instance;
}

#endif
