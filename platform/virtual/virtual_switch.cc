#include "virtual_switch.h"

// Never destroyed: calls may come as long as the process lives.
VirtualSwitch &own_switch() {
  static auto *const instance = new VirtualSwitch;
  return *instance;
}
