// info, regs, read, write and write-field.
#include "asic/register_names.h"
#include "commands/commands.h"
#include "commands/reads.h"
#include "output/listing.h"
#include "text/text.h"

namespace mrvctl {
namespace {

std::string trace_text() {
  return trace_enabled() ? format("on (%s exists)", kTraceMarker)
                         : format("off (create %s to enable it)", kTraceMarker);
}

void run_info(Session &session) {
  const RegisterMap &map = session.map();
  const char *driver = kel_get_driver_string(KEL_ASIC_DRIVER_MORVANE);
  Listing blocks({{"block", "block"},
                  {"registers", "registers", Align::kRight},
                  {"named", "with a name", Align::kRight},
                  {"instances", "instances", Align::kRight}});
  for (const kel_asic_block_t &info : kel_asic_blocks) {
    blocks.add({kel_asic_blk_names[info.block], info.registers, named_registers(info.block).size(),
                map.instances(info.block)});
  }
  const std::string head =
      format("driver               %s (%u)\nhighest ASIC number  %u\ntrace                %s\n\n",
             driver, KEL_ASIC_DRIVER_MORVANE, map.limits().max_asic, trace_text().c_str());
  session.report.result({{"command", "info"},
                         {"driver", driver},
                         {"driver_id", KEL_ASIC_DRIVER_MORVANE},
                         {"max_asic", map.limits().max_asic},
                         {"trace", trace_enabled()},
                         {"blocks", blocks.json()}},
                        head + blocks.text());
}

struct RegsArgs {
  std::string name;
  kel_asic_blk_t block = {};
};

void check_block(RegsArgs &args) {
  args.block = parse_block(args.name);
}

void run_regs(Session &session, const RegsArgs &args) {
  const kel_asic_block_t &info = kel_asic_blocks[args.block];
  const std::vector<RegisterName> names = named_registers(info.block);
  Listing registers(
      {{"vreg", "number", Align::kRight}, {nullptr, "hex"}, {"register", "register"}});
  for (const RegisterName &named : names)
    registers.add({named.vreg, format("0x%03x", named.vreg), named.name});
  const std::string head =
      format("block %s: %u registers, 0 to %u\n", kel_asic_blk_names[info.block], info.registers,
             info.registers - 1);
  const std::string list = names.empty() ? "none of them has a name\n"
                                         : registers.text() + format("%zu others have no name\n",
                                                                     info.registers - names.size());
  session.report.result({{"command", "regs"},
                         {"block", kel_asic_blk_names[info.block]},
                         {"registers", info.registers},
                         {"named", registers.json()}},
                        head + list);
}

struct ReadArgs {
  RegisterArgs reg;
  bool all_instances = false;
  std::optional<uint32_t> count;
  std::vector<uint32_t> expected;
};

std::vector<uint32_t> parse_words(const std::string &text) {
  std::vector<uint32_t> words;
  for (const std::string &part : split(text, ','))
    words.push_back(parse_word(part));
  return words;
}

void check_read(ReadArgs &args) {
  const Instances instances = parse_instances(args.reg.place);
  args.all_instances = instances.all;
  args.reg.reg = {instances.block, instances.first, parse_vreg(instances.block, args.reg.name)};
  const size_t words = args.count.value_or(1);
  if (!args.expected.empty() && args.expected.size() != words)
    throw UsageError(format("%zu words to read, but %zu expected", words, args.expected.size()));
}

// The words of registers with successive numbers, in as many runs as the map makes of them.
Words read_registers(Session &session, const Register &first, uint32_t count) {
  const RegisterMap &map = session.map();
  std::vector<kel_asic_reg_t> numbers;
  for (uint32_t i = 0; i < count; ++i) {
    const Register reg = {first.block, first.instance, first.vreg + i};
    const std::string missing = map.missing(reg);
    if (i == 0 && !missing.empty())
      return read_block(session, first, count);  // the library refuses it
    if (!missing.empty())
      throw OperationFailed(format("word %u of the run: ", i) + missing);
    numbers.push_back(reg.vreg);
  }
  if (numbers.empty())
    return read_block(session, first, count);
  Words words;
  for (const RegisterBlock &run : map.runs(first.block, first.instance, numbers)) {
    const Words more = read_block(session, run.first, run.count);
    if (words.answered == words.words.size())
      words.answered += more.answered;
    words.words.insert(words.words.end(), more.words.begin(), more.words.end());
  }
  return words;
}

void read_one(Session &session, const Register &reg, const ReadArgs &args) {
  const Transaction before = session.transaction;
  const Words run = args.count ? read_registers(session, reg, *args.count)
                               : read_block(session, reg, std::nullopt);
  if (!args.expected.empty())
    expect_words(args.expected, run, 0);
  const std::vector<uint32_t> answered(
      run.words.begin(), run.words.begin() + static_cast<std::ptrdiff_t>(run.answered));
  Json object = register_json("read", reg);
  object["address"] = session.map().address(reg);
  object["words"] = answered;
  object["transaction_sent"] = before.open();
  std::string text = register_text(reg);
  if (!args.count)
    text += format(" = 0x%08x (%u)\n", run.words[0], run.words[0]);
  else if (run.answered == run.words.size())
    text += ": " + count_text(run.answered, "word", "words") + "\n" + run_text(run);
  else
    text += format(": %zu of %zu words answered\n", run.answered, run.words.size()) + run_text(run);
  session.report.result(object, text + interruption_text(before));
}

void run_read(Session &session, const ReadArgs &args) {
  Register reg = args.reg.reg;
  if (!args.all_instances)
    return read_one(session, reg, args);
  for (; reg.instance < session.map().instances(reg.block); ++reg.instance) {
    try {
      read_one(session, reg, args);
    } catch (const OperationFailed &failure) {
      throw OperationFailed(register_text(reg), failure);
    }
  }
}

// Where a write goes: a register, or a raw address.
struct Target {
  Register reg = {};
  uint32_t code = 0;
};

struct WriteArgs {
  std::vector<std::string> words;  // a register and the values; with a raw address the values alone
  std::string raw;
  Target target;
  std::vector<uint32_t> values;
};

void check_words(WriteArgs &args, size_t values) {
  const size_t before = args.raw.empty() ? 2 : 0;
  if (args.words.size() != before + values)
    throw UsageError(format("%zu arguments given, where %zu are needed (see --help)",
                            args.words.size(), before + values));
  args.target = args.raw.empty()
                    ? Target{parse_register(args.words[0], args.words[1]), KEL_ASIC_WR_SYMBOLIC}
                    : Target{{KEL_ASIC_NUM_BLK, 0, parse_number(args.raw)}, KEL_ASIC_WR_RAW};
  for (size_t i = before; i < args.words.size(); ++i)
    args.values.push_back(parse_word(args.words[i]));
}

void check_write(WriteArgs &args) {
  check_words(args, 1);
}

void check_write_field(WriteArgs &args) {
  check_words(args, 2);
}

std::string target_text(const Target &target) {
  if (target.code == KEL_ASIC_WR_SYMBOLIC)
    return register_text(target.reg);
  const char *command = command_name(target.reg.vreg);
  return format("address 0x%08x", target.reg.vreg) +
         (command == nullptr ? "" : std::string(" (") + command + ")");
}

morvane::target target_of(const Session &session, const Target &target) {
  if (target.code == KEL_ASIC_WR_SYMBOLIC)
    return session.at(target.reg);
  return morvane::raw(target.reg.vreg, session.on());
}

Json target_json(const char *command, const Target &target) {
  if (target.code == KEL_ASIC_WR_SYMBOLIC)
    return register_json(command, target.reg);
  return {{"command", command}, {"address", target.reg.vreg}};
}

void finish_write(Session &session, const Target &target, syserr_t result, Json object,
                  const std::string &text) {
  if (result != 0)
    throw OperationFailed(
        result, target.code == KEL_ASIC_WR_SYMBOLIC ? session.refusal_hint(target.reg) : "");
  session.transaction.add(1);
  throw_if_lost();
  object["queued"] = session.transaction.open();
  session.report.result(object, target_text(target) + text + ": " + write_status(session) + "\n");
}

void run_write(Session &session, const WriteArgs &args) {
  const Target &target = args.target;
  const uint32_t data = args.values[0];
  std::error_code ec;
  morvane::write(target_of(session, target), data, ec, session.caller());
  Json object = target_json("write", target);
  object["data"] = data;
  finish_write(session, target, result_of(ec), object, format(" <- 0x%08x", data));
}

void run_write_field(Session &session, const WriteArgs &args) {
  const Target &target = args.target;
  const uint32_t value = args.values[0];
  const uint32_t mask = args.values[1];
  std::error_code ec;
  morvane::write_field(target_of(session, target), value, mask, ec, session.caller());
  if (ec == SYSERR_KEL_ASIC_INVALID_ARG && mask == 0)
    throw OperationFailed(SYSERR_KEL_ASIC_INVALID_ARG, "a mask of 0 selects no bit");
  Json object = target_json("write-field", target);
  object["data"] = value;
  object["mask"] = mask;
  object["outside_mask"] = value & ~mask;
  std::string text = format(" <- 0x%08x mask 0x%08x", value, mask);
  if ((value & ~mask) != 0)
    text += format(" (bits 0x%08x of the value are outside the mask)", value & ~mask);
  finish_write(session, target, result_of(ec), object, text);
}

void describe_block(Arguments &arguments, RegsArgs &args) {
  arguments.word("BLOCK", args.name, "Block, like HI").required();
}

void describe_read(Arguments &arguments, ReadArgs &args) {
  describe_register(arguments, args.reg);
  const auto parse_count = [](const std::string &text) {
    return parse_number<uint32_t>(text, 0, kMaxBlockWords);
  };
  arguments.parsed(
      "COUNT", args.count, parse_count,
      format("Registers of a run that starts with this one (0 to %u)", kMaxBlockWords));
  arguments
      .parsed("--expect", args.expected, parse_words,
              "Fail unless these are the values read (0 to 0xFFFFFFFF each)")
      .type_name("VALUE,...");
}

void describe_target(Arguments &arguments, WriteArgs &args, const std::string &values) {
  arguments
      .word(
          "--raw", args.raw,
          "Write this register address, unchecked, or send this command address (0 to 0xFFFFFFFF)")
      .type_name("ADDRESS");
  arguments.words("WORDS", args.words,
                  "BLOCK.INST REGISTER " + values + "; behind --raw ADDRESS only " + values +
                      "; numbers from 0 to 0xFFFFFFFF");
}

void describe_write(Arguments &arguments, WriteArgs &args) {
  describe_target(arguments, args, "DATA");
}

void describe_write_field(Arguments &arguments, WriteArgs &args) {
  describe_target(arguments, args, "VALUE MASK");
}

}  // namespace

void add_register_commands(Parser &parser) {
  parser.add(
      {"info", "Registers", "Show the driver, the ASICs, the blocks, and whether the trace is on"},
      run_info);
  parser.add<RegsArgs>(
      {"regs", "Registers", "List the registers of a block that have a name", Requires::kNone},
      describe_block, check_block, run_regs);
  parser.add<ReadArgs>(
      {"read", "Registers",
       "Read a register, or a run of registers\n"
       "A run is registers with successive numbers. Where the map does not put one behind the "
       "other\n"
       "the tool reads it in parts. HI.* reads the register of every instance of the block.\n"
       "Inside a transaction a read sends the writes made so far first; later ones are queued on."},
      describe_read, check_read, run_read);
  parser.add<WriteArgs>({"write", "Registers",
                         "Write all bits of a register\n"
                         "  write BLOCK.INST REGISTER DATA\n  write --raw ADDRESS DATA\n"
                         "Inside a transaction the write is queued."},
                        describe_write, check_write, run_write);
  parser.add<WriteArgs>({"write-field", "Registers",
                         "Write the bits of a register under a mask\n"
                         "  write-field BLOCK.INST REGISTER VALUE MASK\n"
                         "  write-field --raw ADDRESS VALUE MASK\n"
                         "VALUE stands in its place in the register: it is not shifted, and its "
                         "bits outside the mask\n"
                         "are not written. Inside a transaction the write is queued."},
                        describe_write_field, check_write_field, run_write_field);
}

}  // namespace mrvctl
