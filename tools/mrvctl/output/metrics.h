// The counters of an ASIC's ports in Prometheus's text format.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "asic/qos_counters.h"

namespace mrvctl {

struct AsicMetrics {
  uint32_t module;
  uint32_t asic;
  bool up;  // the service answers
  std::vector<PortReading> ports;
};

// The families, each with the samples of all ports; those of a family are whole numbers modulo
// 2^53. `zero_drops` says whether the cells of the drop grids that are zero have samples.
std::string metrics_text(const AsicMetrics &metrics, bool zero_drops);

}  // namespace mrvctl
