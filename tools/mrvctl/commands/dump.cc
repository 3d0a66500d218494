// dump: registers, or table entries, as the lines of a script that writes them back.
#include <algorithm>
#include <numeric>

#include "asic/register_names.h"
#include "commands/commands.h"
#include "commands/reads.h"
#include "text/text.h"

namespace mrvctl {
namespace {

struct IndexRange {
  uint32_t first;
  uint32_t last;
};

struct DumpArgs {
  std::string place;  // BLOCK, BLOCK.* or BLOCK.INST
  std::string table;  // register, where entries are dumped
  bool named = false;
  std::string from;
  std::string to;
  std::optional<IndexRange> entries;
  // As checked:
  Register reg = {};  // the table, or of the first instance
  bool all_instances = false;
  std::vector<kel_asic_reg_t> numbers;  // of registers, holes and all
};

// "I..J", or "I" alone.
IndexRange parse_index_range(const std::string &text) {
  const size_t dots = text.find("..");
  const uint32_t first = parse_number(text.substr(0, dots));
  const uint32_t last = dots == std::string::npos ? first : parse_number(text.substr(dots + 2));
  if (last < first)
    throw UsageError("'" + text + "' ends before it begins");
  return {first, last};
}

kel_asic_reg_t parse_bound(kel_asic_blk_t block, const std::string &text, kel_asic_reg_t if_none) {
  const kel_asic_reg_t vreg = text.empty() ? if_none : parse_vreg(block, text);
  const uint32_t registers = kel_asic_blocks[block].registers;
  if (vreg >= registers)
    throw UsageError(
        format("block %s has registers 0 to %u", kel_asic_blk_names[block], registers - 1));
  return vreg;
}

std::vector<kel_asic_reg_t> numbers_to_dump(kel_asic_blk_t block, const DumpArgs &args) {
  const kel_asic_reg_t first = parse_bound(block, args.from, 0);
  const kel_asic_reg_t last = parse_bound(block, args.to, kel_asic_blocks[block].registers - 1);
  if (last < first)
    throw UsageError(format("register %u stands behind register %u", first, last));
  std::vector<kel_asic_reg_t> numbers;
  if (!args.named) {
    numbers.resize(last - first + 1);
    std::iota(numbers.begin(), numbers.end(), first);
    return numbers;
  }
  for (const RegisterName &named : named_registers(block)) {
    if (named.vreg >= first && named.vreg <= last)
      numbers.push_back(named.vreg);
  }
  numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
  return numbers;
}

void check_dump(DumpArgs &args) {
  if (!args.table.empty()) {
    if (args.named || !args.from.empty() || !args.to.empty())
      throw UsageError("--named, --from and --to are for registers; --entries is for a table");
    args.reg = parse_register(args.place, args.table);
    return;
  }
  if (args.entries)
    throw UsageError("--entries is for the entries of a table: name its register");
  const bool block_alone = args.place.find('.') == std::string::npos;
  const Instances instances = parse_instances(args.place + (block_alone ? ".*" : ""));
  args.all_instances = instances.all;
  args.reg = {instances.block, instances.first, 0};
  args.numbers = numbers_to_dump(args.reg.block, args);
}

std::vector<RegisterBlock> runs_to_dump(Session &session, const DumpArgs &args) {
  const RegisterMap &map = session.map();
  const uint32_t instances = map.instances(args.reg.block);
  if (args.reg.instance >= instances)
    throw OperationFailed(SYSERR_KEL_ASIC_INVALID_ARG, session.refusal_hint(args.reg));
  const uint32_t end = args.all_instances ? instances : args.reg.instance + 1;
  std::vector<RegisterBlock> runs;
  for (uint32_t instance = args.reg.instance; instance < end; ++instance) {
    const std::vector<RegisterBlock> more = map.runs(args.reg.block, instance, args.numbers);
    runs.insert(runs.end(), more.begin(), more.end());
  }
  return runs;
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

void dump_registers(Session &session, const DumpArgs &args) {
  const std::vector<RegisterBlock> runs = runs_to_dump(session, args);
  const Transaction before = session.transaction;
  Json list = Json::array();
  std::string text = runs.empty() ? "# " + args.place + ": no register\n" : "";
  for (const RegisterBlock &run : runs) {
    const Words read = read_block(session, run.first, run.count);
    check_answered(read, run.first);
    Register reg = run.first;
    for (const uint32_t word : read.words) {
      text += "write " + register_text(reg) + format(" 0x%08x\n", word);
      Json line = register_json("write", reg);
      line["data"] = word;
      list.push_back(std::move(line));
      ++reg.vreg;
    }
  }
  finish_dump(session, {{"command", "dump"}, {"lines", list}}, text, before);
}

void dump_entries(Session &session, const DumpArgs &args) {
  const Register &reg = args.reg;
  const Table table = table_of(session, reg);
  const IndexRange entries = args.entries.value_or(IndexRange{0, table.highest_index});
  if (entries.last > table.highest_index)
    throw OperationFailed(format("indices are 0 to %u", table.highest_index));
  const uint64_t count = uint64_t{entries.last} - entries.first + 1;
  if (count > kMaxBlockWords)
    throw UsageError(format("at most %u entries at a time", kMaxBlockWords));
  const Transaction before = session.transaction;
  const Words read = read_block(session, reg, table, entries.first, static_cast<uint32_t>(count));
  check_answered(read, reg);
  Json list = Json::array();
  std::string text;
  for (size_t begin = 0; begin < read.words.size(); begin += table.entry_size) {
    const uint32_t *entry = read.words.data() + begin;
    const std::vector<uint32_t> words(entry, entry + table.entry_size);
    const auto index = static_cast<uint32_t>(entries.first + begin / table.entry_size);
    text += "dhs-write " + register_text(reg) + format(" %u", index);
    for (const uint32_t word : words)
      text += format(" 0x%08x", word);
    text += "\n";
    Json line = register_json("dhs-write", reg);
    line["index"] = index;
    line["words"] = words;
    list.push_back(std::move(line));
  }
  finish_dump(session, {{"command", "dump"}, {"lines", list}}, text, before);
}

void run_dump(Session &session, const DumpArgs &args) {
  if (args.table.empty())
    dump_registers(session, args);
  else
    dump_entries(session, args);
}

void describe_dump(Arguments &arguments, DumpArgs &args) {
  arguments
      .word("BLOCK[.INST]", args.place,
            "Block and instance, like HI.2; the block alone, or HI.*, for all")
      .required();
  arguments.word("REGISTER", args.table, "Table register whose entries are dumped (see dhs)");
  arguments.flag("--named", args.named, "Only the registers that have a name");
  arguments.word("--from", args.from, "First register, by name or number; 0 if left out")
      .type_name("N");
  arguments.word("--to", args.to, "Last register, by name or number; the block's if left out")
      .type_name("M");
  arguments
      .parsed("--entries", args.entries, parse_index_range,
              "First and last entry of the table; all of them if left out")
      .type_name("I..J");
}

}  // namespace

void add_dump_command(Parser &parser) {
  parser.add<DumpArgs>(
      {"dump", "Registers",
       "Print registers, or table entries, as the lines of a script that writes them back\n"
       "  dump BLOCK[.INST] [--named] [--from N] [--to M]\n"
       "  dump BLOCK.INST REGISTER [--entries I..J]\n"
       "mrvctl -f restores a dump, and diff compares two. Holes are left out. What was asked for "
       "is\n"
       "read, and nothing else; but some registers change by being read."},
      describe_dump, check_dump, run_dump);
}

}  // namespace mrvctl
