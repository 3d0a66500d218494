// One virtual switch: the ASICs with their driver service, and the card. There is one in each
// process, or one in morvaned for all its clients.
#ifndef VIRTUAL_SWITCH_H
#define VIRTUAL_SWITCH_H

#include <cstdint>

#include "driver_service.h"

struct VirtualSwitch {
  DriverService driver;
  uint32_t device_type = CARDCFG_DEV_TYPE_MORVANE;
  uint16_t sw_card_id = virtual_asic::kPlainCard;
};

#endif
