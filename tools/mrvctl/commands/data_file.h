// Files of table entries and of register program steps.
#ifndef MRVCTL_DATA_FILE_H
#define MRVCTL_DATA_FILE_H

#include <functional>
#include <string>
#include <vector>

#include "kel_asic_intf.h"

namespace mrvctl {

// The words of a file of table entries, one entry a line: words in hexadecimal between blanks, and
// # comments. A file whose name ends in .csv has commas between them; its first column is a word
// like the others. Throws UsageError, with file and line, unless each line has `entry_size` words.
std::vector<uint32_t> read_entries(const std::string &path, uint32_t entry_size);

// The steps of a register program, one a line: block, instance, register, data and a mask, which
// may be left out for the whole register; # comments. Throws UsageError with file and line.
std::vector<kel_asic_pgm_t> read_program(const std::string &path);

}  // namespace mrvctl

#endif
