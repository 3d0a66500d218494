// A register map as text, for machines without the platform's library:
//
//     block HI 0x10000000 0x10100000        base address of each instance
//     register HI 40 0x000000a0             offset; then, if the map's hook makes it a table, the
//     register HI 1457 0x00058000 4 511     words of an entry and the highest index
//     end
#pragma once

#include <string>

#include "asic/asic_map.h"

namespace mrvctl {

std::string map_text(const RegisterMap &map);

// Throws OperationFailed if the file cannot be read or is not a complete register map.
RegisterMap read_map(const std::string &path);

}  // namespace mrvctl
