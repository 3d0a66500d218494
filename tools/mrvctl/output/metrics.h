// The counters of an ASIC's ports in Prometheus's text format.
#ifndef MRVCTL_METRICS_H
#define MRVCTL_METRICS_H

#include <cstdint>
#include <string>
#include <vector>

#include "output/port_reading.h"

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

#endif
