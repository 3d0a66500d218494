// What the service answered for one port of the ASIC, for whatever shows several of them.
#ifndef MRVCTL_PORT_READING_H
#define MRVCTL_PORT_READING_H

#include "asic/port_reference.h"
#include "kel_asic_intf.h"

namespace mrvctl {

struct PortReading {
  Port port;
  syserr_t result;
  kel_asic_qos_stats_t stats;  // zero unless the result is 0
};

}  // namespace mrvctl

#endif
