// Files of table entries and of register program steps.
#pragma once

#include <string>
#include <vector>

#include "kel_asic_intf.h"

namespace mrvctl {

// The words of a file of table entries, one entry a line: words between blanks, and # comments. A
// file whose name ends in .csv has commas between them; its first column is a word like the others,
// and its first line may name the columns. "-" is standard input. Throws UsageError, with file and
// line, unless each line has `entry_size` words.
std::vector<uint32_t> read_entries(const std::string &path, uint32_t entry_size);

// A register program, and the place of each step: "FILE:LINE: ".
struct Program {
  std::vector<kel_asic_pgm_t> steps;
  std::vector<std::string> positions;
};

// Reads a register program, a step a line: block, instance, register, data and a mask, which may be
// left out for the whole register; # comments. Throws UsageError with file and line.
Program read_program(const std::string &path);

}  // namespace mrvctl
