// Moments and durations, as nanoseconds; moments count from 1970. Waits are in seconds.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>

namespace mrvctl {

uint64_t now_ns();

// "2026-11-25 09:42:13.123456", local time
std::string local_time_text(uint64_t ns);

// "2026-11-25T09:42:13.123456789Z"
std::string utc_time_text(uint64_t ns);

// "12.3us": microseconds in a column compare at a glance, and sort.
std::string duration_text(uint64_t ns);

// "200 ms", "300 us", "5 s"
std::string wait_text(uint64_t microseconds);

// Reads a duration, "200ms", "1.5s", "300us" or "2m", in microseconds. Throws UsageError.
uint64_t parse_duration(const std::string &text, uint64_t max_us);

// Seconds by the monotonic clock, and seconds in the form of the system's waits.
double monotonic_seconds();
timespec timespec_of(double seconds);

// Reads a moment of local time: "2026-11-25", "2026-11-25 03:00[:00[.5]]", with T in place of the
// blank, "03:00[:00[.5]]" of today, "10m", "-10m" or "10 min ago" (seconds, minutes, hours, days)
// before now, or "@1764060000.5", seconds since 1970. Throws UsageError.
uint64_t parse_moment(const std::string &text);

}  // namespace mrvctl
