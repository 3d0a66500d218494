// The shell: runs each line as a person types it, or as a program writes it to a pipe.
#pragma once

#include <string>
#include <vector>

#include "scripts.h"

namespace mrvctl {

// Adds shell and quit. `command_line` is the tool's own, which rlwrap runs again.
void add_shell_commands(Parser &parser, Runner &runner,
                        const std::vector<std::string> &command_line);

}  // namespace mrvctl
