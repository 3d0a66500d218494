// Moments and durations.
#include "text/times.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <optional>

#include "text/errors.h"
#include "text/numbers.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr uint64_t kSecond = 1000000000;

[[noreturn]] void refuse(const std::string &text) {
  throw UsageError(
      "'" + text +
      "' is not a time; use for example 2026-11-25 03:00:00, 03:00, 10m, '5 min ago' or "
      "@1764060000");
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

// Seconds with a fraction of up to nine digits, in a text.
uint64_t parse_fraction(const std::string &text, const std::string &seconds, uint64_t highest) {
  const std::vector<std::string> parts = split(seconds, '.');
  uint64_t ns = parse_u64(parts[0], 0, highest) * kSecond;
  if (parts.size() == 1)
    return ns;
  if (parts.size() > 2 || parts[1].empty() || parts[1].size() > 9)
    refuse(text);
  return ns + parse_u64("1" + parts[1] + std::string(9 - parts[1].size(), '0'), 0, 2 * kSecond) -
         kSecond;
}

// "5m", "-5m", "5 min", "5 minutes ago": a unit may be shortened. Empty if it is none of these.
std::optional<uint64_t> parse_before_now(const std::string &text) {
  constexpr std::pair<const char *, uint64_t> kUnits[] = {
      {"seconds", 1}, {"minutes", 60}, {"hours", 3600}, {"days", 86400}};
  const size_t first = text[0] == '-' ? 1 : 0;
  const size_t end = std::min(text.find_first_not_of("0123456789", first), text.size());
  std::string word = text.substr(end);
  if (word.size() > 4 && word.rfind(" ago") == word.size() - 4)
    word.resize(word.size() - 4);
  word.erase(0, word.find_first_not_of(' '));
  const uint64_t now = now_ns();
  for (const auto &[name, seconds] : kUnits) {
    const uint64_t unit = seconds * kSecond;
    if (end > first && !word.empty() && std::string(name).rfind(word, 0) == 0)
      return now - parse_u64(text.substr(first, end - first), 0, now / unit) * unit;
  }
  return std::nullopt;
}

uint64_t parse_local_time(const std::string &text) {
  constexpr const char *kPatterns[] = {
      "%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M:%S", "%Y-%m-%d %H:%M", "%Y-%m-%dT%H:%M",
      "%Y-%m-%d",          "%H:%M:%S",          "%H:%M"};
  for (const std::string pattern : kPatterns) {
    tm date = local_date(now_ns());
    date.tm_hour = date.tm_min = date.tm_sec = 0;
    date.tm_isdst = -1;
    const char *const rest = strptime(text.c_str(), pattern.c_str(), &date);
    const bool has_fraction = rest != nullptr && *rest == '.' && pattern.back() == 'S';
    if (rest == nullptr || (*rest != '\0' && !has_fraction))
      continue;
    const time_t seconds = mktime(&date);
    if (seconds < 0)
      break;
    return static_cast<uint64_t>(seconds) * kSecond +
           parse_fraction(text, "0" + std::string(rest), 0);
  }
  refuse(text);
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

uint64_t parse_moment(const std::string &text) {
  if (text.empty())
    refuse(text);
  if (text[0] == '@')
    return parse_fraction(text, text.substr(1), UINT64_MAX / kSecond - 1);
  const std::optional<uint64_t> before_now = parse_before_now(text);
  return before_now ? *before_now : parse_local_time(text);
}

std::string wait_text(uint64_t microseconds) {
  const auto number = static_cast<unsigned long long>(microseconds);
  if (number % 1000 != 0)
    return format("%llu us", number);
  return number % 1000000 != 0 ? format("%llu ms", number / 1000)
                               : format("%llu s", number / 1000000);
}

uint64_t parse_duration(const std::string &text, uint64_t max_us) {
  constexpr std::pair<const char *, double> kUnits[] = {
      {"us", 1}, {"ms", 1e3}, {"s", 1e6}, {"m", 60e6}};
  const size_t digits = text.find_first_not_of("0123456789.");
  for (const auto &[unit, microseconds] : kUnits) {
    if (digits == 0 || digits == std::string::npos || text.substr(digits) != unit)
      continue;
    char *end = nullptr;
    const double value = std::strtod(text.c_str(), &end) * microseconds;
    if (end == &text[digits] && value <= static_cast<double>(max_us))
      return static_cast<uint64_t>(std::llround(value));
  }
  throw UsageError("'" + text + "' is not a duration of at most " + wait_text(max_us) +
                   "; use for example 200ms, 1.5s or 300us");
}

}  // namespace mrvctl
