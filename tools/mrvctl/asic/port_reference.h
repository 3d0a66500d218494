// References to ports, as people write them and as everything prints them: "hif:3".
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "kel_asic_lib_common.h"

namespace mrvctl {

constexpr uint32_t kPortNumbers = 256;  // of each type, as many as the records have room for

struct Port {
  uint32_t type = 0;  // a cardcfg_port_type_t; a service may know others
  uint32_t number = 0;

  bool operator==(const Port &other) const { return type == other.type && number == other.number; }
};

// One port, or all ports of a type.
struct PortChoice {
  uint32_t type;
  std::optional<uint32_t> number;
};

// Reads "hif:3". The type is hif, nif, cif, bif, or a number up to the highest. Throws UsageError.
Port parse_port(const std::string &text, uint32_t highest_type = UINT32_MAX);

// Reads "hif:3", or "hif" for all ports of the type. Throws UsageError.
PortChoice parse_port_choice(const std::string &text, uint32_t highest_type = UINT32_MAX);

// Whether a word is the first of the two in "hif 3".
bool is_port_type(const std::string &word);

// The name of a type, or its number if it has none.
std::string port_type_text(uint32_t port_type);

// "hif:3"
std::string port_text(uint32_t port_type, uint32_t number);
inline std::string port_text(const Port &port) {
  return port_text(port.type, port.number);
}

// How many ports of a type there may be, if the limits say so.
std::optional<uint32_t> max_ports(const kel_asic_limits_t &limits, uint32_t port_type);

}  // namespace mrvctl
