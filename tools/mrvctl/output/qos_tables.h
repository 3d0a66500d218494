// The QoS statistics of a port as tables and as JSON.
#ifndef MRVCTL_QOS_TABLES_H
#define MRVCTL_QOS_TABLES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "kel_asic_intf.h"
#include "output/json.h"

namespace mrvctl {

constexpr size_t kClasses = 8;   // of traffic, each with counters of its own
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
  size_t count;       // 1, 8 or 48
  const char *index;  // what tells eight of them apart
};

std::vector<Counters> qos_counters(const kel_asic_qos_stats_t &stats);

// With colours, zeros are dimmed and drops are shaded by how many they are.
std::string qos_text(const kel_asic_qos_stats_t &stats, bool colours);
Json qos_json(const kel_asic_qos_stats_t &stats);

// How far each counter rose from one record to the next, and the states of the next; a counter that
// fell was cleared between.
kel_asic_qos_stats_t qos_delta(const kel_asic_qos_stats_t &before, const kel_asic_qos_stats_t &now);

// How fast counters rose that have delta so far in that time.
std::string rates_text(const kel_asic_qos_stats_t &delta, double seconds);
Json rates_json(const kel_asic_qos_stats_t &delta, double seconds);

}  // namespace mrvctl

#endif
