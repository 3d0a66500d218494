// Words that were read: runs of registers and table entries, in rows.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "output/json.h"

namespace mrvctl {

// Words that were read, of which the service answered so many from the first on.
struct Words {
  std::vector<uint32_t> words;
  size_t answered = 0;
};

// Rows of eight words, each with its number in the run.
std::string run_text(const Words &run);

// Table entries: what was read, from an index on.
struct Entries {
  uint32_t first_index = 0;
  uint32_t entry_size = 1;
  Words run;
  std::optional<uint32_t> address;  // of the first entry, where addresses are wanted
};

std::string entries_text(const Entries &entries);
Json entries_json(const Entries &entries);

}  // namespace mrvctl
