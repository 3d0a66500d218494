// pgm: register programs.
#include <set>

#include "commands/commands.h"
#include "commands/data_file.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr uint32_t kMaxInMap = 30;

struct ProgramArgs {
  std::string path;
  std::optional<uint32_t> asic;
  std::set<uint32_t> asics;
};

void check_program(ProgramArgs &args) {
  if (args.asic && !args.asics.empty())
    throw UsageError("--asic and --asics exclude each other");
  if (args.asic)
    args.asics = {*args.asic};
}

// One ASIC is named by its number, several by a map.
morvane::asic_set selection(const std::set<uint32_t> &asics, int module) {
  if (asics.size() == 1)
    return morvane::asic{module, *asics.begin()};
  uint32_t map = 0;
  for (const uint32_t asic : asics)
    map |= UINT32_C(1) << asic;
  return morvane::asic_set::map(map, module);
}

// Refuses a program with a step that names no register, or that selects no bit, before any of it
// runs.
void check_steps(const Program &program) {
  for (size_t i = 0; i < program.steps.size(); ++i) {
    char wrong[64];
    kel_asic_step_refusal_text(wrong, sizeof wrong, 0, &program.steps[i]);
    if (wrong[0] != '\0')
      throw OperationFailed(SYSERR_KEL_ASIC_INVALID_ARG,
                            program.positions[i] + wrong + "; nothing is written");
  }
}

// The step whose service call failed: each made as many calls as there are ASICs.
std::string failed_step_text(const Program &program, uint64_t calls, size_t asics) {
  const size_t step = (static_cast<size_t>(calls) - 1) / asics;
  if (calls == 0 || step >= program.steps.size())
    return "";
  const kel_asic_pgm_t &failed = program.steps[step];
  return program.positions[step] + register_text({failed.block, failed.instance, failed.vreg}) +
         "; ";
}

void run_program(Session &session, const ProgramArgs &args) {
  const Program program = read_program(session.resolve(args.path));
  const std::vector<kel_asic_pgm_t> &steps = program.steps;
  const std::set<uint32_t> asics = args.asics.empty() ? std::set{session.asic} : args.asics;
  std::vector<std::string> existing, missing;
  for (const uint32_t asic : asics) {
    const bool exists = asic <= session.map().limits().max_asic;
    (exists ? existing : missing).push_back(std::to_string(asic));
  }
  if (existing.empty())
    throw OperationFailed("no such ASIC: " + join(missing, ", ") + "; nothing is written",
                          Status::kUsage);
  check_steps(program);
  const uint64_t calls_before = calls_so_far();
  std::error_code ec;
  morvane::run(steps, selection(asics, session.on().module), ec, session.caller());
  if (ec) {
    session.transaction.add_some();
    throw_if_lost();
    throw OperationFailed(
        result_of(ec), failed_step_text(program, calls_so_far() - calls_before, existing.size()) +
                           "the steps before the one that failed are " + write_status(session));
  }
  session.transaction.add(uint64_t{existing.size()} * steps.size());
  throw_if_lost();
  std::string text = count_text(steps.size(), "step", "steps") + " for ASIC " +
                     join(existing, ", ") + ": " + write_status(session);
  if (!missing.empty())
    text += "; no such ASIC: " + join(missing, ", ");
  session.report.result({{"steps", steps.size()},
                         {"asics", std::vector<uint32_t>(asics.begin(), asics.end())},
                         {"existing_asics", existing.size()},
                         {"queued", session.transaction.open()}},
                        text + "\n");
}

void describe_program(Arguments &arguments, ProgramArgs &args) {
  arguments.word("FILE", args.path, "File with the steps; in a script, relative to the script");
  arguments.number("--asic N", args.asic, "Run it on this ASIC", 0U, kMaxInMap);
  const auto parse = [](const std::string &text) { return parse_number(text, 0U, kMaxInMap); };
  arguments.list("--asics N,...", args.asics, parse,
                 format("Run it on these ASICs (0 to %u each)", kMaxInMap));
}

}  // namespace

void add_program_commands(Parser &parser) {
  parser.add<ProgramArgs>(
      {"pgm", "Programs",
       "Run a register program from a file\n"
       "One step per line: BLOCK INSTANCE REGISTER DATA [MASK]. Without a mask all bits are "
       "written. # starts a comment, and - is standard input. Inside a transaction the writes are "
       "queued. ASICs that do not exist are skipped. The program does not start if no ASIC exists "
       "or a step names no register.",
       "mrvctl pgm examples/bringup.pgm"},
      describe_program, check_program, run_program);
}

}  // namespace mrvctl
