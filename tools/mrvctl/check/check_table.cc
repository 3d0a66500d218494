// The table of checks.
#include "check/check_table.h"

#include "check/isolation.h"
#include "text/text.h"

namespace mrvctl {

std::vector<Check> all_checks() {
  std::vector<Check> all;
  for (const auto part :
       {description_checks, call_checks, write_checks, port_checks, fault_checks}) {
    const std::vector<Check> checks = part();
    all.insert(all.end(), checks.begin(), checks.end());
  }
  return all;
}

std::string missing_options(const Check &check, const CheckTarget &subject) {
  const struct {
    Needs need;
    bool given;
    const char *option;
  } options[] = {{kRead, subject.read.has_value(), "--read"},
                 {kScratch, !subject.scratch.empty(), "--scratch"},
                 {kScratchTable, subject.scratch_table.has_value(), "--scratch-table"},
                 {kPort, !subject.ports.empty(), "--port"},
                 {kAllPorts, subject.all_ports, "--all-ports"},
                 {kSpTimer, subject.sp_timer.has_value(), "--sp-timer"},
                 {kFaults, subject.faults, "--faults"},
                 {kReadAll, subject.read_all, "--read-all"}};
  std::vector<std::string> missing;
  for (const auto &option : options) {
    if ((check.needs & option.need) != 0 && !option.given)
      missing.emplace_back(option.option);
  }
  return join(missing, ", ");
}

void run_check_of(const Check &check, const CheckTarget &subject) {
  const auto run = [&check](const CheckTarget &target) {
    check.run(target);
    target.found->restore();
  };
  if ((check.needs & kPort) == 0)
    return run(subject);
  std::vector<std::string> skips;
  for (const Port &port : subject.ports) {
    CheckTarget target = subject;
    target.port = port;
    try {
      run(target);
    } catch (Outcome &outcome) {
      if (outcome.verdict != Verdict::kSkipped) {
        outcome.seen += ", port " + port_text(port);
        throw;
      }
      skips.push_back(outcome.seen);
    }
  }
  if (skips.size() == subject.ports.size())
    throw skipped(skips.back());
}

}  // namespace mrvctl
