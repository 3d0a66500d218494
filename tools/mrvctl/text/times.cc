// Moments and durations.
#include "text/times.h"

#include <algorithm>

#include "text/errors.h"
#include "text/numbers.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr uint64_t kSecond = 1000000000;

[[noreturn]] void refuse(const std::string &text) {
  throw UsageError("'" + text +
                   "' is no time; write it like 2026-11-25 03:00:00, 03:00, -10m or @1764060000");
}

std::string date_text(const tm &date, char between) {
  return format("%04d-%02d-%02d%c%02d:%02d:%02d", date.tm_year + 1900, date.tm_mon + 1,
                date.tm_mday, between, date.tm_hour, date.tm_min, date.tm_sec);
}

tm local_date(uint64_t ns) {
  const auto seconds = static_cast<time_t>(ns / kSecond);
  tm date = {};
  localtime_r(&seconds, &date);
  return date;
}

// Seconds with a fraction of up to nine digits.
uint64_t parse_fraction(const std::string &text, uint64_t highest) {
  const std::vector<std::string> parts = split(text, '.');
  uint64_t ns = parse_u64(parts[0], 0, highest) * kSecond;
  if (parts.size() == 1)
    return ns;
  if (parts.size() > 2 || parts[1].empty() || parts[1].size() > 9)
    refuse(text);
  return ns + parse_u64("1" + parts[1] + std::string(9 - parts[1].size(), '0'), 0, 2 * kSecond) -
         kSecond;
}

// A number that stands in digits alone.
int parse_digits(const std::string &text, uint32_t low, uint32_t high) {
  if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos)
    refuse(text);
  return static_cast<int>(parse_number(text, low, high));
}

uint64_t parse_before_now(const std::string &text) {
  constexpr std::pair<char, uint64_t> kUnits[] = {{'s', 1}, {'m', 60}, {'h', 3600}, {'d', 86400}};
  const uint64_t now = now_ns();
  for (const auto &[letter, seconds] : kUnits) {
    const uint64_t unit = seconds * kSecond;
    if (text.back() == letter)  // at most since 1970
      return now - parse_u64(text.substr(1, text.size() - 2), 0, now / unit) * unit;
  }
  refuse(text);
}

// "03:00[:00[.5]]" of a day.
uint64_t parse_time_of_day(const std::string &text, Clock clock) {
  const std::vector<std::string> parts = split(text, ':');
  if (parts.size() < 2 || parts.size() > 3)
    refuse(text);
  clock.hour = parse_digits(parts[0], 0, 23);
  clock.minute = parse_digits(parts[1], 0, 59);
  return local_moment(clock) + (parts.size() == 3 ? parse_fraction(parts[2], 60) : 0);
}

uint64_t parse_date_and_time(const std::string &text) {
  const size_t behind = std::min(text.find_first_of(" T"), text.size());
  const std::vector<std::string> date = split(text.substr(0, behind), '-');
  if (date.size() != 3)
    refuse(text);
  const Clock day = {parse_digits(date[0], 1970, 2500),
                     parse_digits(date[1], 1, 12),
                     parse_digits(date[2], 1, 31),
                     0,
                     0,
                     0};
  return behind == text.size() ? local_moment(day)
                               : parse_time_of_day(text.substr(behind + 1), day);
}

}  // namespace

uint64_t now_ns() {
  timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<uint64_t>(now.tv_sec) * kSecond + static_cast<uint64_t>(now.tv_nsec);
}

std::string local_time_text(uint64_t ns) {
  return date_text(local_date(ns), ' ') +
         format(".%06u", static_cast<unsigned>(ns % kSecond / 1000));
}

std::string utc_time_text(uint64_t ns) {
  const auto seconds = static_cast<time_t>(ns / kSecond);
  tm date = {};
  gmtime_r(&seconds, &date);
  return date_text(date, 'T') + format(".%09uZ", static_cast<unsigned>(ns % kSecond));
}

std::string duration_text(uint64_t ns) {
  return format("%llu.%uus", static_cast<unsigned long long>(ns / 1000),
                static_cast<unsigned>(ns % 1000 / 100));
}

double monotonic_seconds() {
  timespec time = {};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

timespec timespec_of(double seconds) {
  timespec time = {};
  time.tv_sec = static_cast<time_t>(seconds);
  time.tv_nsec = static_cast<long>((seconds - static_cast<double>(time.tv_sec)) * 1e9);
  return time;
}

uint64_t local_moment(const Clock &clock) {
  tm date = {};
  date.tm_year = clock.year - 1900;
  date.tm_mon = clock.month - 1;
  date.tm_mday = clock.day;
  date.tm_hour = clock.hour;
  date.tm_min = clock.minute;
  date.tm_sec = clock.second;
  date.tm_isdst = -1;
  const time_t seconds = mktime(&date);
  return seconds < 0 ? 0 : static_cast<uint64_t>(seconds) * kSecond;
}

uint64_t parse_moment(const std::string &text) {
  if (text.empty())
    refuse(text);
  if (text[0] == '@')
    return parse_fraction(text.substr(1), UINT64_MAX / kSecond - 1);
  if (text[0] == '-')
    return parse_before_now(text);
  if (text.find('-') != std::string::npos)
    return parse_date_and_time(text);
  const tm today = local_date(now_ns());
  return parse_time_of_day(text, {today.tm_year + 1900, today.tm_mon + 1, today.tm_mday, 0, 0, 0});
}

}  // namespace mrvctl
