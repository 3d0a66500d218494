// check: runs the conformance tests of docs/porting.md on a platform.
#include "check/check_table.h"

#include <cerrno>
#include <cstring>
#include <fstream>

#include "asic/port_reference.h"
#include "check/check_results.h"
#include "check/register_map_query.h"
#include "check/requests.h"
#include "commands/commands.h"
#include "kel_asic_dhs_tables.h"
#include "output/signals.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr uint32_t kMaxScratch = 512;

struct CheckArgs {
  CheckTarget subject;
  uint32_t time_limit = 10;  // seconds
  std::string junit;
};

Register parse_checked_register(const std::string &text) {
  return single_register(parse_register_reference(text));
}

Register parse_table(const std::string &text) {
  const Register reg = parse_checked_register(text);
  if (kel_asic_dhs_entry_size(reg.block, reg.vreg, 0) < 0)
    throw UsageError(register_text(reg) + " is not a table; 'mrvctl dhs' lists the tables");
  return reg;
}

// Reads "HI.2:40..47", or several such ranges with commas between them.
std::vector<Register> parse_registers(const std::string &text) {
  std::vector<Register> registers;
  for (const std::string &part : split(text, ',')) {
    const RegisterReference reference = parse_register_reference(part);
    require_registers(reference);
    if (!reference.instance || reference.entries)
      throw UsageError("'" + part + "' is not a range of registers; use for example HI.2:40..47");
    if (reference.registers->count() > kMaxScratch - registers.size())
      throw UsageError(format("more than %u scratch registers", kMaxScratch));
    Register reg = reference.first();
    for (; reg.vreg <= reference.registers->last; ++reg.vreg)
      registers.push_back(reg);
  }
  return registers;
}

void refuse_missing_port(const kel_asic_limits_t &limits, const Port &port) {
  const std::optional<uint32_t> most = max_ports(limits, port.type);
  if (most && port.number >= *most)
    throw skipped("--port: " + port_text(port) +
                  format(": the limits have %u ports of type ", *most) + port_type_text(port.type));
}

void refuse_missing_register(const RegisterMap &map, const std::string &option,
                             const Register &reg) {
  const std::string missing = map.missing(reg);
  if (!missing.empty())
    throw skipped(option + ": " + register_text(reg) + ": " + missing);
}

// Refuses registers and ports that the map lacks. The checks report a map that is wrong itself.
// Returns why there is no service; empty if there is one.
std::string refuse_missing(Session &session, const CheckTarget &subject,
                           std::chrono::seconds limit) {
  const auto work = [&] {
    try {
      session.open_platform();
    } catch (const OperationFailed &error) {
      throw Outcome{Verdict::kNoService, "", "", error.what(), {}};
    }
    const RegisterMap map = queried_map();
    for (const Register &reg : subject.scratch)
      refuse_missing_register(map, "--scratch", reg);
    if (subject.read)
      refuse_missing_register(map, "--read", *subject.read);
    if (subject.scratch_table)
      refuse_missing_register(map, "--scratch-table", *subject.scratch_table);
    for (const Port &port : subject.ports)
      refuse_missing_port(map.limits(), port);
    expect_service(subject);
  };
  const Outcome outcome = run_isolated(work, limit, interrupted);
  if (outcome.verdict == Verdict::kSkipped)
    throw UsageError(outcome.seen);
  return outcome.verdict == Verdict::kNoService ? outcome.seen : "";
}

// The values that were not put back, to append to a message; empty if there are none.
std::string leftovers_text(const SavedValues &found) {
  return found.empty() ? "" : "; not put back: " + found.text();
}

// Puts back what a check that has ended in the middle has left.
void put_back_leftovers(Session &session, SavedValues &found, std::chrono::seconds limit) {
  constexpr std::sig_atomic_t kNeverStop = 0;
  if (!found.empty())
    run_isolated(
        [&] {
          session.open_platform();
          found.restore();
        },
        limit, kNeverStop);
}

Outcome run_one(Session &session, const Check &check, const CheckTarget &subject,
                std::chrono::seconds limit) {
  const std::string missing = missing_options(check, subject);
  if (!missing.empty())
    return {Verdict::kSkipped, check.clause, "", "needs " + missing, {}};
  // The platform is opened in the process of the check, so that its threads live there.
  const auto work = [&] {
    session.open_platform();
    run_check_of(check, subject);
  };
  Outcome outcome = run_isolated(work, limit, interrupted);
  put_back_leftovers(session, *subject.found, limit);
  if (outcome.clause.empty())
    outcome.clause = check.clause;
  outcome.seen += leftovers_text(*subject.found);
  return outcome;
}

Json result_json(size_t number, const CheckResult &result) {
  constexpr const char *kVerdicts[] = {"ok", "not ok", "skipped"};  // by Verdict
  const Outcome &outcome = result.outcome;
  Json object = {{"number", number},
                 {"name", result.check.name},
                 {"clause", outcome.clause},
                 {"result", kVerdicts[static_cast<int>(outcome.verdict)]},
                 {"seconds", outcome.duration.count()}};
  if (outcome.verdict == Verdict::kWrong) {
    object["expected"] = outcome.expected;
    object["seen"] = outcome.seen;
  } else if (outcome.verdict == Verdict::kSkipped) {
    object["why"] = outcome.seen;
  }
  return object;
}

void write_junit(const std::string &path, const std::string &text) {
  std::ofstream file(path);
  file << text;
  file.close();
  if (!file)
    throw OperationFailed("cannot write " + path + ": " + std::strerror(errno));
}

// Text goes out as it comes; the object of JSON once, at the end.
void show(Session &session, const std::string &text) {
  if (!session.report.json)
    session.report.result({}, text);
}

std::vector<CheckResult> run_all(Session &session, const CheckArgs &args,
                                 const std::vector<Check> &checks) {
  SavedValues found;
  CheckTarget subject = args.subject;
  subject.slot = session.slot;
  subject.asic = session.on();
  subject.found = &found;
  const Interrupt interrupts_are_noted;
  const std::chrono::seconds limit(args.time_limit);
  const std::string no_service = refuse_missing(session, subject, limit);
  std::vector<CheckResult> results;
  show(session, tap_head(checks.size()));
  if (!no_service.empty()) {
    show(session, "Bail out! no service: " + no_service + "\n");
    throw OperationFailed("no service: " + no_service);
  }
  for (const Check &check : checks) {
    const Outcome outcome = run_one(session, check, subject, limit);
    if (interrupted != 0) {
      show(session, "Bail out! interrupted" + leftovers_text(found) + "\n");
      break;
    }
    results.push_back({check, outcome});
    show(session, tap_lines(results));
  }
  return results;
}

void run_check(Session &session, const CheckArgs &args) {
  if (session.transaction.open())
    throw OperationFailed("a transaction is open: commit it first");
  const std::vector<Check> checks = all_checks();
  const std::vector<CheckResult> results = run_all(session, args, checks);
  const size_t wrong = count(results, Verdict::kWrong);
  Json list = Json::array();
  for (size_t i = 0; i < results.size(); ++i)
    list.push_back(result_json(i + 1, results[i]));
  session.report.result({{"planned", checks.size()},
                         {"ran", results.size()},
                         {"failed", wrong},
                         {"skipped", count(results, Verdict::kSkipped)},
                         {"checks", list}},
                        "");
  if (!args.junit.empty())
    write_junit(session.resolve(args.junit), junit_text(checks, results));
  if (results.size() < checks.size())
    throw OperationFailed(
        format("%zu of %zu checks did not run", checks.size() - results.size(), checks.size()));
  if (wrong > 0)
    throw OperationFailed(format("%zu of %zu checks failed", wrong, checks.size()));
}

void describe_check(Arguments &arguments, CheckArgs &args) {
  CheckTarget &subject = args.subject;
  arguments.parsed("--read REGISTER", subject.read, parse_checked_register,
                   "A register that may be read, like HI.2:40");
  arguments.flag("--read-all", subject.read_all, "One register of each block instance may be read");
  arguments.parsed("--scratch REGISTER,...", subject.scratch, parse_registers,
                   "Registers that may be written, at least two with\n"
                   "consecutive addresses if possible, like HI.2:40..47");
  arguments.parsed("--scratch-table TABLE", subject.scratch_table, parse_table,
                   "A table whose entries may be written, like HF.0:HF_DHS_POL");
  const auto parse = [](const std::string &text) { return parse_port(text); };
  arguments.list("--port PORT,...", subject.ports, parse,
                 "Ports whose statistics may be cleared and whose link pause may be switched,\n"
                 "like hif:3,nif:1");
  arguments.flag("--all-ports", subject.all_ports,
                 "The statistics and drop counters of every port may be cleared too");
  arguments.number<uint16_t>("--sp-timer TIME", subject.sp_timer,
                             "The SP timer may be set to TIME; it is not restored");
  arguments.flag("--faults", subject.faults, "Make calls fail, on a platform that supports it");
  arguments.number<uint32_t>("--time-limit N", args.time_limit,
                             "Time limit of a check in seconds (default: 10)", 1, 3600);
  arguments.word("--junit FILE", args.junit, "Write the results to this file as JUnit XML");
}

}  // namespace

void add_check_commands(Parser &parser) {
  parser.add<CheckArgs>(
      {"check", "Platform",
       "Run the conformance tests for a platform\n"
       "The output is TAP. A failed check names the clause of docs/porting.md that is broken. Only "
       "registers, tables and ports that an option names are read or written. Registers, tables "
       "and link pause are restored.",
       "mrvctl check --read HI.2:40 --scratch HI.2:40..47 --port hif:3", Requires::kNone},
      describe_check, run_check);
}

}  // namespace mrvctl
