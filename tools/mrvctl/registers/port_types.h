// The port types by name.
#ifndef MRVCTL_PORT_TYPES_H
#define MRVCTL_PORT_TYPES_H

#include <cstdint>
#include <string>

namespace mrvctl {

// Reads a port type: hif, nif, cif, bif, or a number up to the highest. Throws UsageError.
uint32_t parse_port_type(const std::string &text, uint32_t highest);

// Its name, or its number where it has none.
std::string port_type_text(uint32_t port_type);

}  // namespace mrvctl

#endif
