// The words that completion offers.
#pragma once

#include <string>
#include <vector>

#include "commands/arguments.h"

namespace mrvctl {

// Every command and option, and the names that values have: for programs that complete a word
// without its line.
std::vector<std::string> all_words(const Parser &parser);

}  // namespace mrvctl
