// The counters of the QoS record of a port, under their names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "asic/port_reference.h"
#include "kel_asic_intf.h"

namespace mrvctl {

constexpr size_t kClasses = 8;   // of traffic, each with separate counters
constexpr size_t kDropRows = 6;  // of the grid of drops in one direction
constexpr size_t kGridCells = kDropRows * kClasses;

// By the counters' own type: a template would take them for words that are aligned to 8 bytes.
uint64_t counter_sum(const kel_asic_counter_t *counters, size_t count);

// One or more counters of the QoS record under their names.
struct Counters {
  const char *record;
  const char *field;
  const char *metric;  // its name where counters are collected; others' dashboards rely on it
  const char *label;
  const kel_asic_counter_t *values;
  size_t count = 1;             // 1, 8 or 48
  const char *index = nullptr;  // the label of eight counters
};

// What the service answered for one port.
struct PortReading {
  Port port;
  syserr_t result;
  kel_asic_qos_stats_t stats;  // zero unless the result is 0
  double at = 0;               // monotonic_seconds() when it came
};

std::vector<Counters> qos_counters(const kel_asic_qos_stats_t &stats);

}  // namespace mrvctl
