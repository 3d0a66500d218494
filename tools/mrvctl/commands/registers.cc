// info, regs, read, write and write-field.
#include <utility>

#include "asic/register_names.h"
#include "commands/commands.h"
#include "commands/reads.h"
#include "commands/switch.h"
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
  std::vector<Fact> facts = {
      {"driver", "driver", {format("%s (%u)", driver, KEL_ASIC_DRIVER_MORVANE), driver}},
      {"driver_id", nullptr, Json(KEL_ASIC_DRIVER_MORVANE)},
      {"max_asic", "highest ASIC number", map.limits().max_asic},
      {"trace", "trace", {trace_text(), trace_enabled()}}};
  for (Fact &fact : switch_facts(session))
    facts.push_back(std::move(fact));
  Json object;
  add_facts(facts, object);
  object["blocks"] = blocks.json();
  session.report.result(object, facts_text(facts) + "\n" + blocks.text());
}

void run_regs(Session &session, kel_asic_blk_t block) {
  const kel_asic_block_t &info = kel_asic_blocks[block];
  const std::vector<RegisterName> names = named_registers(block);
  Listing registers(
      {{"number", "number", Align::kRight}, {nullptr, "hex"}, {"register", "register"}});
  for (const RegisterName &named : names)
    registers.add(
        {named.vreg, format("0x%03x", named.vreg), every_register_text(block, named.vreg)});
  const std::string head = format("block %s: %u registers, 0 to %u\n", kel_asic_blk_names[block],
                                  info.registers, info.registers - 1);
  const std::string list = names.empty() ? "none of them has a name\n"
                                         : registers.text() + format("%zu others have no name\n",
                                                                     info.registers - names.size());
  session.report.result({{"block", kel_asic_blk_names[block]},
                         {"registers", info.registers},
                         {"named", registers.json()}},
                        head + list);
}

struct ReadArgs {
  RegisterReference reference;
  std::optional<uint32_t> count;
  std::vector<uint32_t> expected;
  WatchArgs watch;
};

void check_read(ReadArgs &args) {
  check_watch(args.watch);
  require_plain_registers(args.reference, "use dhs-read");
  const uint64_t registers = args.reference.registers->count();
  if (registers > 1 && args.count)
    throw UsageError("give either a range of registers or COUNT");
  if (registers > kMaxBlockWords)
    throw UsageError(format("at most %u registers at a time", kMaxBlockWords));
  if (registers > 1)
    args.count = static_cast<uint32_t>(registers);
  const size_t words = args.count.value_or(1);
  if (!args.expected.empty() && args.watch.interval > 0)
    throw UsageError("give either --expect or --watch");
  if (!args.expected.empty() && args.expected.size() != words)
    throw UsageError(format("%zu words to read, but %zu expected", words, args.expected.size()));
}

// The words of registers with successive numbers, in as many block reads as the map requires.
Words read_registers(Session &session, const Register &first, uint32_t count) {
  const RegisterMap &map = session.map();
  if (count == 0 || !map.missing(first).empty())
    return read_block(session, first, count);  // the library refuses it
  std::vector<kel_asic_reg_t> numbers;
  for (uint32_t i = 0; i < count; ++i) {
    const Register reg = {first.block, first.instance, first.vreg + i};
    const std::string missing = map.missing(reg);
    if (!missing.empty())
      throw OperationFailed(register_text(first, count) + ": " + missing, Status::kUsage);
    numbers.push_back(reg.vreg);
  }
  Words words;
  for (const RegisterBlock &run : map.runs(first.block, first.instance, numbers)) {
    const Words more = read_block(session, run.first, run.count);
    if (words.answered == words.words.size())
      words.answered += more.answered;
    words.words.insert(words.words.end(), more.words.begin(), more.words.end());
  }
  return words;
}

// With the words of the round before it shows what has changed.
void read_one(Session &session, const Register &reg, const ReadArgs &args, Words &last) {
  const Transaction before = session.transaction;
  const Words run = args.count ? read_registers(session, reg, *args.count)
                               : read_block(session, reg, std::nullopt);
  if (!args.expected.empty())
    expect_words(args.expected, run, 0);
  if (const Words was = std::exchange(last, run); !was.words.empty())
    return report_changes(session, was, run, [&](uint32_t word) {
      return plain_register_text({reg.block, reg.instance, reg.vreg + word});
    });
  const std::vector<uint32_t> answered(run.words.data(), run.words.data() + run.answered);
  const std::string name = plain_register_text(reg, args.count.value_or(1));
  std::string text = name;
  if (!args.count)
    text += format(" = 0x%08x (%u)\n", run.words[0], run.words[0]);
  else if (run.answered == run.words.size())
    text += ": " + count_text(run.answered, "word", "words") + "\n" + run_text(run);
  else
    text += format(": %zu of %zu words answered\n", run.answered, run.words.size()) + run_text(run);
  session.report.result({{"register", name},
                         {"address", session.map().address(reg)},
                         {"words", answered},
                         {"transaction_sent", before.open()}},
                        text + interruption_text(before));
}

void run_read(Session &session, const ReadArgs &args) {
  read_instances(session, args.reference, args.watch,
                 [&](const Register &reg, Words &last) { read_one(session, reg, args, last); });
}

struct WriteArgs {
  std::string place;  // a register, or a raw address
  bool raw = false;
  bool force = false;
  uint32_t data = 0;
  uint32_t mask = 0;
  // As checked, one of these:
  Register reg = {};
  uint32_t address = 0;
};

void check_write(WriteArgs &args) {
  if (args.raw) {
    args.address = parse_number(args.place);
    return;
  }
  const RegisterReference reference = parse_register_reference(args.place);
  require_plain_registers(reference, "use dhs-write");
  args.reg = single_register(reference);
}

void check_write_field(WriteArgs &args) {
  check_write(args);
  const uint32_t outside = args.data & ~args.mask;
  if (args.force || args.mask == 0 || outside == 0)
    return;
  const uint64_t shifted = uint64_t{args.data} * (args.mask & -args.mask);
  const bool fits = (shifted & ~uint64_t{args.mask}) == 0;
  throw UsageError(
      format("VALUE 0x%x has bits 0x%x outside MASK 0x%x; ", args.data, outside, args.mask) +
      (fits ? format("for %u in the field write 0x%x, or ", args.data,
                     static_cast<uint32_t>(shifted))
            : "") +
      "use --force to ignore them");
}

morvane::target target_of(const Session &session, const WriteArgs &args) {
  if (args.raw)
    return morvane::raw(args.address, session.on());
  return session.at(args.reg);
}

std::string target_text(const WriteArgs &args) {
  if (!args.raw)
    return plain_register_text(args.reg);
  const char *command = kel_asic_command_name(args.address);
  return format("address 0x%08x", args.address) +
         (command == nullptr ? "" : std::string(" (") + command + ")");
}

void finish_write(Session &session, const WriteArgs &args, const std::error_code &ec,
                  const Json &values, const std::string &text) {
  if (ec)
    throw OperationFailed(result_of(ec), args.raw ? "" : session.refusal_hint(args.reg));
  session.transaction.add(1);
  throw_if_lost();
  Json object = args.raw ? Json({{"address", args.address}})
                         : Json({{"register", plain_register_text(args.reg)}});
  object.update(values);
  object["queued"] = session.transaction.open();
  session.report.result(object, target_text(args) + text + ": " + write_status(session) + "\n");
}

void run_write(Session &session, const WriteArgs &args) {
  std::error_code ec;
  morvane::write(target_of(session, args), args.data, ec, session.caller());
  finish_write(session, args, ec, {{"data", args.data}}, format(" <- 0x%08x", args.data));
}

void run_write_field(Session &session, const WriteArgs &args) {
  std::error_code ec;
  morvane::write_field(target_of(session, args), args.data, args.mask, ec, session.caller());
  if (ec == SYSERR_KEL_ASIC_INVALID_ARG && args.mask == 0)
    throw OperationFailed(SYSERR_KEL_ASIC_INVALID_ARG, "a mask of 0 selects no bit");
  const uint32_t outside = args.data & ~args.mask;
  std::string text = format(" <- 0x%08x mask 0x%08x", args.data, args.mask);
  if (outside != 0)
    text += format(" (bits 0x%08x of the value are outside the mask)", outside);
  finish_write(session, args, ec,
               {{"data", args.data}, {"mask", args.mask}, {"outside_mask", outside}}, text);
}

void describe_regs(Arguments &arguments, kel_asic_blk_t &block) {
  arguments.parsed("BLOCK", block, parse_block, "Block, like HI");
}

void describe_read(Arguments &arguments, ReadArgs &args) {
  describe_register(arguments, args.reference,
                    "HI.2:40, HI.2:40..47, or HI.*:40 for all instances");
  arguments.number("[COUNT]", args.count, "Number of registers, in place of a range", 0U,
                   kMaxBlockWords);
  arguments.list("--expect VALUE,...", args.expected, parse_word,
                 "Fail unless these values are read (0 to 0xFFFFFFFF each)");
  describe_watch(arguments, args.watch);
}

void describe_target(Arguments &arguments, WriteArgs &args) {
  const auto parse_place = [](const std::string &text) { return text; };
  arguments.reference("REGISTER", args.place, parse_place, is_block_instance,
                      "HI.2:40; regs lists the names");
  arguments.flag("--raw", args.raw,
                 "REGISTER is an address, which is not checked, or a command address");
}

void describe_word(Arguments &arguments, const std::string &name, uint32_t &value) {
  arguments.parsed(name, value, parse_word, "0 to 0xFFFFFFFF");
}

void describe_write(Arguments &arguments, WriteArgs &args) {
  describe_target(arguments, args);
  describe_word(arguments, "DATA", args.data);
}

void describe_write_field(Arguments &arguments, WriteArgs &args) {
  describe_target(arguments, args);
  describe_word(arguments, "VALUE", args.data);
  describe_word(arguments, "MASK", args.mask);
  arguments.flag("--force", args.force, "Ignore bits of VALUE outside MASK");
}

}  // namespace

void add_register_commands(Parser &parser) {
  parser.add({"info", "Look", "Show the driver, the blocks and the trace state", "mrvctl info"},
             run_info);
  parser.add<kel_asic_blk_t>(
      {"regs", "Look", "List the named registers of a block", "mrvctl regs HI", Requires::kNone},
      describe_regs, run_regs);
  parser.add<ReadArgs>(
      {"read", "Look",
       "Read one or more registers\n"
       "Several reads are made if registers with consecutive numbers do not have "
       "consecutive addresses. Inside a transaction a read first sends the queued "
       "writes. Later writes are queued. --watch prints a line for each change, with the "
       "old and the new value and the changed bits, until ^C.",
       "mrvctl read HI.2:40\n"
       "mrvctl read HI.2:40..47\n"
       "mrvctl read HI.2:40 --watch 0.5 --count 2"},
      describe_read, check_read, run_read);
  parser.add<WriteArgs>({"write", "Change",
                         "Write all bits of a register\n"
                         "Inside a transaction the write is queued.",
                         "mrvctl write HI.2:40 0x5"},
                        describe_write, check_write, run_write);
  parser.add<WriteArgs>({"write-field", "Change",
                         "Write the bits of a register under a mask\n"
                         "VALUE is not shifted: bits outside the mask are an error. Inside a "
                         "transaction the write is queued.",
                         "mrvctl write-field HI.2:40 0x30 0xf0"},
                        describe_write_field, check_write_field, run_write_field);
}

}  // namespace mrvctl
