// The results of checks in the forms that others read: TAP and JUnit.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "check/check_table.h"
#include "check/isolation.h"

namespace mrvctl {

struct CheckResult {
  Check check;
  Outcome outcome;
};

size_t count(const std::vector<CheckResult> &results, Verdict verdict);

// What precedes the results, and the lines of the last of them.
// A failure equal to an earlier one refers to it.
std::string tap_head(size_t planned);
std::string tap_lines(const std::vector<CheckResult> &results);

// Checks that were planned and did not run are errors.
std::string junit_text(const std::vector<Check> &planned, const std::vector<CheckResult> &results);

}  // namespace mrvctl
