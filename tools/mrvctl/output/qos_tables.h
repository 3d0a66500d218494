// The QoS statistics of a port as tables and as JSON, and the cells of such tables: aligned, and on
// a terminal with colours shaded.
#pragma once

#include <cstddef>
#include <string>

#include "kel_asic_intf.h"
#include "output/json.h"

namespace mrvctl {

// What a counter counts: drops are shaded by how many they are.
enum class Counts { kFrames, kDrops };

// The text of a number, right-aligned; with colours dimmed if the number is zero.
std::string cell(const std::string &text, size_t width, double number, Counts counts, bool colours);

// A text in a colour or style of the terminal: the parameters of its sequence, like "1;31".
std::string styled(const char *style, const std::string &text);

// Lines of 80 columns at most; `nonzero` omits the rows that are zero. With colours, zeros are
// dimmed and drops are shaded by how many they are.
std::string qos_text(const kel_asic_qos_stats_t &stats, bool nonzero, bool colours);
Json qos_json(const kel_asic_qos_stats_t &stats);

// How far each counter rose from one record to the next, and the states of the next; a counter that
// fell was cleared between.
kel_asic_qos_stats_t qos_delta(const kel_asic_qos_stats_t &before, const kel_asic_qos_stats_t &now);

// How fast counters rose that have delta so far in that time.
std::string rates_text(const kel_asic_qos_stats_t &delta, double seconds);
Json rates_json(const kel_asic_qos_stats_t &delta, double seconds);

}  // namespace mrvctl
