// The cells of a table of counters: aligned, and on a terminal with colours shaded.
#ifndef MRVCTL_CELLS_H
#define MRVCTL_CELLS_H

#include <cstddef>
#include <string>

namespace mrvctl {

// What a counter counts: drops are shaded by how many they are.
enum class Counts { kFrames, kDrops };

// The text of a number, right-aligned; with colours dimmed if the number is zero.
std::string cell(const std::string &text, size_t width, double number, Counts counts, bool colours);

// A text in a colour or style of the terminal: the parameters of its sequence, like "1;31".
std::string styled(const char *style, const std::string &text);

}  // namespace mrvctl

#endif
