// Programs that the tool runs.
#pragma once

#include <string>
#include <vector>

namespace mrvctl {

// The file of a program that PATH leads to; its name if there is none.
std::string file_of_program(const std::string &name);

// Replaces the tool by a program. Throws OperationFailed.
[[noreturn]] void become_program(const std::vector<std::string> &words);

// Runs a program, and ends it if the tool is told to end. Returns what waitpid() reports. Throws
// OperationFailed if the program cannot be run.
int run_program(const std::vector<std::string> &words);

// Why the recorder gets no call of a program, as far as the program's file shows it.
std::string why_not_recorded(const std::string &program);

}  // namespace mrvctl
