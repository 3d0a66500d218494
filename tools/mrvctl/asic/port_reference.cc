// The parser and the text of a reference to a port.
#include "asic/port_reference.h"

#include <algorithm>

#include "kel_asic_reference_text.h"
#include "text/errors.h"
#include "text/numbers.h"
#include "text/text.h"

namespace mrvctl {
namespace {

uint32_t parse_port_type(const std::string &text, uint32_t highest) {
  for (uint32_t type = 0; type < CARDCFG_PORT_TYPE_MAX; ++type) {
    if (lower_case(text) == kel_asic_port_type_name(type))
      return type;
  }
  try {
    return parse_number<uint32_t>(text, 0, highest);
  } catch (const UsageError &error) {
    throw UsageError(std::string(error.what()) + ", and none of hif, nif, cif, bif");
  }
}

}  // namespace

PortChoice parse_port_choice(const std::string &text, uint32_t highest_type) {
  const size_t colon = text.find(':');
  PortChoice choice = {parse_port_type(text.substr(0, colon), highest_type), std::nullopt};
  if (colon != std::string::npos)
    choice.number = parse_number<uint32_t>(text.substr(colon + 1), 0, kPortNumbers - 1);
  return choice;
}

Port parse_port(const std::string &text, uint32_t highest_type) {
  const PortChoice choice = parse_port_choice(text, highest_type);
  if (!choice.number)
    throw UsageError("'" + text + "' has no port number; use for example hif:3");
  return {choice.type, *choice.number};
}

bool is_port_type(const std::string &word) {
  return word.find(':') == std::string::npos;
}

std::string port_type_text(uint32_t port_type) {
  const char *name = kel_asic_port_type_name(port_type);
  return name == nullptr ? std::to_string(port_type) : name;
}

std::string port_text(uint32_t port_type, uint32_t number) {
  return port_type_text(port_type) + ":" + std::to_string(number);
}

std::optional<uint32_t> max_ports(const kel_asic_limits_t &limits, uint32_t port_type) {
  if (port_type == CARDCFG_PORT_TYPE_HIF)
    return std::min(limits.max_hi, kPortNumbers);
  if (port_type == CARDCFG_PORT_TYPE_NIF)
    return std::min(limits.max_ni, kPortNumbers);
  return std::nullopt;
}

}  // namespace mrvctl
