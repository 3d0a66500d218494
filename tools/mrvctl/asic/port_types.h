// The port types by name.
#ifndef MRVCTL_PORT_TYPES_H
#define MRVCTL_PORT_TYPES_H

#include <cstdint>
#include <optional>
#include <string>

#include "kel_asic_lib_common.h"

namespace mrvctl {

// Reads a port type: hif, nif, cif, bif, or a number up to the highest. Throws UsageError.
uint32_t parse_port_type(const std::string &text, uint32_t highest);

// Its name, or its number where it has none.
std::string port_type_text(uint32_t port_type);

// "hif 3"
std::string port_text(uint32_t port_type, uint32_t port);

constexpr uint32_t kPortNumbers = 256;  // what records have room for

// How many ports of a type there may be, where the limits tell.
std::optional<uint32_t> max_ports(const kel_asic_limits_t &limits, uint32_t port_type);

}  // namespace mrvctl

#endif
