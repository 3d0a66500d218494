// The cells of a table of counters.
#include "output/cells.h"

#include <algorithm>

namespace mrvctl {
namespace {

// From a few to a flood: yellow, bright yellow, red, bright red. Every terminal has these.
const char *drop_style(double number) {
  if (number < 100)
    return "33";
  if (number < 10'000)
    return "1;33";
  return number < 1'000'000 ? "31" : "1;31";
}

}  // namespace

std::string cell(const std::string &text, size_t width, double number, Counts counts,
                 bool colours) {
  const std::string aligned = std::string(width - std::min(width, text.size()), ' ') + text;
  if (colours && number == 0)
    return styled("2", aligned);
  return colours && counts == Counts::kDrops ? styled(drop_style(number), aligned) : aligned;
}

std::string styled(const char *style, const std::string &text) {
  return std::string("\033[") + style + "m" + text + "\033[0m";
}

}  // namespace mrvctl
