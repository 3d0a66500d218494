// dump: registers, or table entries, as the lines of a script that writes them back.
#include <algorithm>
#include <numeric>

#include "asic/map_file.h"
#include "commands/commands.h"
#include "commands/reads.h"
#include "text/text.h"

namespace mrvctl {
namespace {

struct DumpArgs {
  RegisterReference reference;
  bool named = false;
};

void check_dump(const DumpArgs &args) {
  const RegisterReference &reference = args.reference;
  const uint32_t registers = kel_asic_blocks[reference.block].registers;
  if (reference.is_table && args.named)
    throw UsageError("--named is for registers, and '" + reference.text + "' is a table");
  if (reference.registers && reference.registers->last >= registers)
    throw UsageError(format("block %s has registers 0 to %u", kel_asic_blk_names[reference.block],
                            registers - 1));
}

// The numbers of the registers to dump, including holes.
std::vector<kel_asic_reg_t> numbers_to_dump(const DumpArgs &args) {
  const kel_asic_blk_t block = args.reference.block;
  const Range range =
      args.reference.registers.value_or(Range{0, kel_asic_blocks[block].registers - 1});
  std::vector<kel_asic_reg_t> numbers;
  if (!args.named) {
    numbers.resize(static_cast<size_t>(range.count()));
    std::iota(numbers.begin(), numbers.end(), range.first);
    return numbers;
  }
  for (const RegisterName &named : named_registers(block)) {
    if (range.contains(named.vreg))
      numbers.push_back(named.vreg);
  }
  numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
  return numbers;
}

// A dump lacks nothing that it was asked for: what is written back would lack it too.
void check_answered(const Words &run, const Register &first) {
  if (run.answered < run.words.size())
    throw OperationFailed(register_text(first) +
                          format(": %zu of %zu words answered", run.answered, run.words.size()));
}

void finish_dump(Session &session, const Json &object, const std::string &text,
                 const Transaction &before) {
  const std::string note = interruption_text(before);
  session.report.result(object, note.empty() ? text : "#" + note.substr(1) + text);
}

void add_register_line(const Register &reg, uint32_t data, Json &list, std::string &text) {
  const std::string name = plain_register_text(reg);
  const std::string comment =
      name == register_text(reg)
          ? ""
          : std::string("  # ") + kel_asic_register_name(reg.block, reg.vreg);
  text += "write " + name + format(" 0x%08x", data) + comment + "\n";
  list.push_back({{"command", "write"}, {"register", name}, {"data", data}});
}

void dump_registers(Session &session, const DumpArgs &args) {
  const std::vector<kel_asic_reg_t> numbers = numbers_to_dump(args);
  const Transaction before = session.transaction;
  Json list = Json::array();
  std::string text;
  for_each_instance(session, args.reference, [&](const Register &first) {
    if (first.instance >= session.map().instances(first.block))
      throw OperationFailed(SYSERR_KEL_ASIC_INVALID_ARG, session.refusal_hint(first));
    for (const RegisterBlock &run : session.map().runs(first.block, first.instance, numbers)) {
      const Words read = read_block(session, run.first, run.count);
      check_answered(read, run.first);
      Register reg = run.first;
      for (const uint32_t word : read.words) {
        add_register_line(reg, word, list, text);
        ++reg.vreg;
      }
    }
  });
  if (text.empty())
    text = "# " + args.reference.text + ": no register\n";
  finish_dump(session, {{"lines", list}}, text, before);
}

void dump_entries(Session &session, const Register &reg, const std::optional<Range> &wanted) {
  const Table table = table_of(session, reg);
  const Range entries = wanted.value_or(Range{0, table.highest_index});
  if (entries.last > table.highest_index)
    throw OperationFailed(format("indices are 0 to %u", table.highest_index), Status::kUsage);
  const Transaction before = session.transaction;
  const Words read = read_block(session, reg, table, entries);
  check_answered(read, reg);
  Json list = Json::array();
  std::string text;
  for (size_t begin = 0; begin < read.words.size(); begin += table.entry_size) {
    const uint32_t *entry = read.words.data() + begin;
    const std::vector<uint32_t> words(entry, entry + table.entry_size);
    const std::string name =
        entry_range_text(reg, entries.first + static_cast<uint32_t>(begin / table.entry_size));
    text += "dhs-write " + name;
    for (const uint32_t word : words)
      text += format(" 0x%08x", word);
    text += "\n";
    list.push_back({{"command", "dhs-write"}, {"register", name}, {"words", words}});
  }
  finish_dump(session, {{"lines", list}}, text, before);
}

void run_dump(Session &session, const DumpArgs &args) {
  const RegisterReference &reference = args.reference;
  if (!reference.is_table)
    return dump_registers(session, args);
  for_each_instance(session, reference,
                    [&](const Register &reg) { dump_entries(session, reg, reference.entries); });
}

void describe_dump(Arguments &arguments, DumpArgs &args) {
  describe_register(arguments, args.reference,
                    "HI for the block, HI.2 for an instance, HI.2:40..47, or a table:\n"
                    "HI.2:HI_DHS_LVIF, HI.2:HI_DHS_LVIF[0..3]");
  arguments.flag("--named", args.named, "Only the registers that have a name");
}

void run_dump_map(Session &session) {
  const std::string text = map_text(session.map());
  session.report.result({{"text", text}}, text);
}

}  // namespace

void add_dump_commands(Parser &parser) {
  parser.add<DumpArgs>(
      {"dump", "Look",
       "Print registers as a script that restores them\n"
       "The lines are mrvctl commands: mrvctl -f restores a dump, diff compares two. Numbers "
       "without a register are skipped. Warning: some registers change when they are read.",
       "mrvctl dump HI.2:40..47 > saved.mrv\n"
       "mrvctl -f saved.mrv"},
      describe_dump, check_dump, run_dump);
  parser.add(
      {"dump-map", "Look",
       "Print the register map for calls --map\n"
       "With the file, calls and last-write name registers on a machine without the platform "
       "library.",
       "mrvctl dump-map > switch.map", Requires::kRegisterMap},
      run_dump_map);
}

}  // namespace mrvctl
