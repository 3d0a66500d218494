// The results of checks as TAP and as JUnit.
#include "check/check_results.h"

#include <algorithm>
#include <map>

#include "output/json.h"
#include "text/text.h"

namespace mrvctl {
namespace {

// A text as the value of an attribute, without the characters that XML cannot hold.
std::string attribute(const std::string &text) {
  static const std::map<char, std::string> kEscapes = {
      {'&', "&amp;"}, {'<', "&lt;"}, {'"', "&quot;"}};
  std::string result;
  for (const char c : text) {
    const auto escape = kEscapes.find(c);
    if (escape != kEscapes.end())
      result += escape->second;
    else
      result += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
  }
  return result;
}

std::string case_begin(const std::string &name, const std::string &clause, double seconds) {
  return format("  <testcase classname=\"porting.%s\" name=\"%s\" time=\"%.6f\"", clause.c_str(),
                attribute(name).c_str(), seconds);
}

std::string case_text(const CheckResult &result) {
  const Outcome &outcome = result.outcome;
  std::string text = case_begin(result.check.name, outcome.clause, outcome.duration.count());
  if (outcome.verdict == Verdict::kRight)
    return text + "/>\n";
  const bool skipped = outcome.verdict == Verdict::kSkipped;
  const std::string message = skipped ? outcome.seen
                                      : "clause " + outcome.clause + ": expected " +
                                            outcome.expected + "; seen " + outcome.seen;
  return text + ">\n    <" + (skipped ? "skipped" : "failure") + " message=\"" +
         attribute(message) + "\"/>\n  </testcase>\n";
}

}  // namespace

size_t count(const std::vector<CheckResult> &results, Verdict verdict) {
  return static_cast<size_t>(std::count_if(
      results.begin(), results.end(),
      [verdict](const CheckResult &result) { return result.outcome.verdict == verdict; }));
}

std::string tap_head(size_t planned) {
  return format("TAP version 14\n1..%zu\n# version %d of the clauses in docs/porting.md\n", planned,
                kClauseVersion);
}

std::string tap_lines(const std::vector<CheckResult> &results) {
  const CheckResult &result = results.back();
  const Outcome &outcome = result.outcome;
  const std::string line = format("ok %zu - %s", results.size(), result.check.name);
  if (outcome.verdict == Verdict::kRight)
    return line + "\n";
  if (outcome.verdict == Verdict::kSkipped)
    return line + " # SKIP " + outcome.seen + "\n";
  const std::string head = "not " + line + "\n  ---\n  clause: " + outcome.clause;
  const auto first =
      std::find_if(results.begin(), results.end() - 1, [&](const CheckResult &earlier) {
        return earlier.outcome.verdict == Verdict::kWrong &&
               earlier.outcome.clause == outcome.clause &&
               earlier.outcome.expected == outcome.expected && earlier.outcome.seen == outcome.seen;
      });
  if (first != results.end() - 1)
    return head + format("\n  same as: %td\n  ...\n", first - results.begin() + 1);
  return head + "\n  expected: " + json_text(outcome.expected) +
         "\n  seen: " + json_text(outcome.seen) + "\n  ...\n";
}

std::string junit_text(const std::vector<Check> &planned, const std::vector<CheckResult> &results) {
  double seconds = 0;
  for (const CheckResult &result : results)
    seconds += result.outcome.duration.count();
  const std::string counts =
      format("tests=\"%zu\" failures=\"%zu\" errors=\"%zu\" skipped=\"%zu\" time=\"%.6f\"",
             planned.size(), count(results, Verdict::kWrong), planned.size() - results.size(),
             count(results, Verdict::kSkipped), seconds);
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites " + counts +
                     ">\n <testsuite name=\"mrvctl check\" " + counts + ">\n";
  for (const CheckResult &result : results)
    text += case_text(result);
  for (size_t i = results.size(); i < planned.size(); ++i)
    text += case_begin(planned[i].name, planned[i].clause, 0) +
            ">\n    <error message=\"it did not run\"/>\n  </testcase>\n";
  return text + " </testsuite>\n</testsuites>\n";
}

}  // namespace mrvctl
