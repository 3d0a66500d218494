// Reads the statistics of ports: of one, of those that were named, or of all that the ASIC has.
#pragma once

#include <vector>

#include "asic/qos_counters.h"
#include "commands/session.h"

namespace mrvctl {

// One service call.
PortReading read_port(Session &session, const Port &port, uint32_t opts);

// Whether the service has answered that the ASIC lacks the port.
bool no_such_port(syserr_t result);

// Reads the ports that were chosen, or where none were every port of the ASIC: each once, and those
// that a type stands for only where the ASIC has them. Nothing counts ports, so they are asked for:
// host and network ports as far as the limits of the register map reach, others until the service
// says that the ASIC lacks one.
//
// Throws OperationFailed where the service fails before it has answered once, or
// where the ASIC has no port of a type that was named; a port that fails later has its result.
std::vector<PortReading> read_ports(Session &session, const std::vector<PortChoice> &choices,
                                    uint32_t opts);

}  // namespace mrvctl
