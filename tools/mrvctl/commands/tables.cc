// dhs, dhs-read and dhs-write.
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "asic/table_shapes.h"
#include "commands/commands.h"
#include "commands/data_file.h"
#include "commands/reads.h"
#include "output/listing.h"
#include "text/text.h"

namespace mrvctl {
namespace {

// A load goes to the library in parts of so many entries.
constexpr uint32_t kEntriesPerCall = 256;

constexpr uint32_t kAnyIndex = UINT32_MAX;

void run_tables(Session &session, const std::optional<kel_asic_blk_t> &block) {
  Listing tables({{"number", "number", Align::kRight},
                  {"entry_size", "words", Align::kRight},
                  {"highest_index", "indices     "},
                  {"register", "register"}});
  for (const RegisterName &named : kel_asic_register_names) {
    const std::optional<Table> table = find_table(session.map(), named.block, named.vreg);
    if (!table || (block && table->block != *block))
      continue;
    const std::string indices =
        table->highest_index == kAnyIndex ? "any" : format("0 to %u", table->highest_index);
    tables.add({table->vreg,
                table->entry_size,
                {indices, table->highest_index},
                every_register_text(table->block, table->vreg)});
  }
  session.report.result({{"tables", tables.json()}}, tables.text());
}

// "3 entries of 8 words"
std::string entries_of_text(const Table &table, uint32_t count) {
  return count_text(count, "entry", "entries") + " of " +
         count_text(table.entry_size, "word", "words");
}

void check_table(const RegisterReference &reference) {
  require_registers(reference);
  if (reference.registers->count() > 1)
    throw UsageError("'" + reference.text + "' is more than one table");
}

struct TableReadArgs {
  RegisterReference reference;
  std::optional<uint32_t> index;
  uint32_t count = 0;  // 0 if it is not given
  std::string expected_path;
  bool addresses = false;
  WatchArgs watch;
  // As checked:
  std::optional<Range> entries;  // empty for all
};

void check_table_read(TableReadArgs &args) {
  check_watch(args.watch);
  if (!args.expected_path.empty() && args.watch.interval > 0)
    throw UsageError("give either --expect-from or --watch");
  check_table(args.reference);
  args.entries = args.reference.entries;
  if (!args.index)
    return;
  if (args.entries)
    throw UsageError("give the entries either in brackets or as INDEX and COUNT");
  args.entries = {*args.index, *args.index + std::max(args.count, 1U) - 1};
  if (args.entries->last < args.entries->first)
    throw UsageError(
        format("%u entries from index %u end past the last index", args.count, *args.index));
}

// The entries to read; a file of expected ones says how many, if nothing else does.
Range entries_to_read(const TableReadArgs &args, const Table &table, size_t in_file) {
  Range entries = args.entries.value_or(Range{0, table.highest_index});
  if (in_file == 0)
    return entries;
  if (entries.count() == 1 && args.count == 0)
    entries.last = entries.first + static_cast<uint32_t>(in_file) - 1;
  if (entries.count() != in_file)
    throw UsageError(format("%llu entries to read, but the file has %zu",
                            static_cast<unsigned long long>(entries.count()), in_file));
  return entries;
}

// With the words of the round before it shows what has changed.
void read_table(Session &session, const Register &reg, const TableReadArgs &args, Words &last) {
  const Table table = table_of(session, reg);
  std::vector<uint32_t> expected;
  if (!args.expected_path.empty())
    expected = read_entries(session.resolve(args.expected_path), table.entry_size);
  const Range range = entries_to_read(args, table, expected.size() / table.entry_size);

  const Transaction before = session.transaction;
  Entries entries = {range.first, table.entry_size, {}, std::nullopt};
  entries.run = read_block(session, reg, table, range);
  if (!expected.empty())
    expect_words(expected, entries.run, table.entry_size);
  if (const Words was = std::exchange(last, entries.run); !was.words.empty())
    return report_changes(session, was, entries.run, [&](uint32_t word) {
      const std::string entry = entry_range_text(reg, range.first + word / table.entry_size);
      return table.entry_size == 1 ? entry : entry + format(".%u", word % table.entry_size);
    });
  if (args.addresses)
    entries.address = session.map().address(reg) + 4 * table.entry_size * range.first;

  const std::string name = entry_range_text(reg, range.first, range.count());
  std::string text = name + ": " + entries_of_text(table, static_cast<uint32_t>(range.count()));
  if (entries.run.answered < entries.run.words.size())
    text += format(", %zu of %zu words answered", entries.run.answered, entries.run.words.size());
  if (!expected.empty())
    text += ", as expected\n";
  else
    text += "\n" + entries_text(entries);
  session.report.result({{"register", name},
                         {"entry_size", table.entry_size},
                         {"answered_words", entries.run.answered},
                         {"transaction_sent", before.open()},
                         {"entries", entries_json(entries)}},
                        text + interruption_text(before));
}

void run_table_read(Session &session, const TableReadArgs &args) {
  read_instances(session, args.reference, args.watch,
                 [&](const Register &reg, Words &last) { read_table(session, reg, args, last); });
}

struct TableWriteArgs {
  RegisterReference reference;
  std::vector<std::string> words;
  std::vector<uint32_t> numbers;
  std::string path;
};

// Without an entry in brackets the first word is the index.
void take_index(TableWriteArgs &args) {
  if (args.reference.entries)
    return;
  if (args.words.empty())
    throw UsageError("'" + args.reference.text + "' has no entry; use for example " +
                     "HI.2:HI_DHS_LVIF[5]");
  const uint32_t index = parse_number(args.words.front());
  args.reference.entries = {index, index};
  args.words.erase(args.words.begin());
}

void check_table_write(TableWriteArgs &args) {
  check_table(args.reference);
  if (!args.reference.instance || args.reference.word)
    throw UsageError("'" + args.reference.text + "' is not an entry of one table");
  take_index(args);
  if (args.words.empty() == args.path.empty())
    throw UsageError("give either the words or --from FILE");
  for (const std::string &word : args.words)
    args.numbers.push_back(parse_word(word));
}

std::vector<uint32_t> words_to_write(Session &session, const TableWriteArgs &args,
                                     const Table &table) {
  std::vector<uint32_t> words =
      args.path.empty() ? args.numbers : read_entries(session.resolve(args.path), table.entry_size);
  if (words.size() % table.entry_size != 0)
    throw UsageError(
        format("%zu words, but an entry of this table has %u", words.size(), table.entry_size));
  const uint64_t entries = args.reference.entries->count();
  if (entries > 1 && entries != words.size() / table.entry_size)
    throw UsageError(format("%llu entries to write, but %zu given",
                            static_cast<unsigned long long>(entries),
                            words.size() / table.entry_size));
  return words;
}

// Shows on a terminal how far a long load is; the line ends with it.
void show_progress(uint32_t done, uint32_t count, bool ends) {
  if (count > kEntriesPerCall && isatty(STDERR_FILENO) != 0)
    std::fprintf(stderr, "\r%u of %u entries%s", done, count, ends ? "\n" : "");
}

void run_table_write(Session &session, const TableWriteArgs &args) {
  const Register reg = args.reference.first();
  const uint32_t first = args.reference.entries->first;
  const Table table = table_of(session, reg);
  std::vector<uint32_t> words = words_to_write(session, args, table);
  const auto count = static_cast<uint32_t>(words.size() / table.entry_size);
  check_range(table, first, count);
  const morvane::caller who = session.caller();
  for (uint32_t done = 0; done < count;) {
    const uint32_t index = first + done;
    const uint32_t part = std::min(kEntriesPerCall, count - done);
    check_entry_size(session, table, index);
    const morvane::asic on = session.on();
    const syserr_t result =
        lib_mrv_asic_write_dhs(on.module, on.number, reg.block, reg.instance, reg.vreg, index,
                               words.data() + static_cast<size_t>(done) * table.entry_size, part,
                               who.context, const_cast<char *>(who.file), who.line, who.func);
    if (result != 0) {
      show_progress(done, count, true);
      throw_if_lost();
      const std::string before =
          done == 0 ? ""
                    : format(" (%u entries before it are %s)", done, write_status(session).c_str());
      throw OperationFailed(result, index_hint(session, reg, table, index) + before);
    }
    session.transaction.add(static_cast<uint64_t>(part) * table.entry_size);
    done += part;
    show_progress(done, count, done == count);
  }
  throw_if_lost();
  const std::string name = entry_range_text(reg, first, count);
  session.report.result(
      {{"register", name},
       {"entries", count},
       {"entry_size", table.entry_size},
       {"queued", session.transaction.open()}},
      name + ": " + entries_of_text(table, count) + ": " + write_status(session) + "\n");
}

void describe_tables(Arguments &arguments, std::optional<kel_asic_blk_t> &block) {
  arguments.parsed("[BLOCK]", block, parse_block, "Only those of this block");
}

void describe_table_read(Arguments &arguments, TableReadArgs &args) {
  describe_register(arguments, args.reference,
                    "HI.2:HI_DHS_LVIF[5], [0..3] for several entries, or no brackets for all",
                    "TABLE");
  arguments.number("[INDEX]", args.index, "First entry, in place of the brackets");
  arguments.number("[COUNT]", args.count,
                   "Number of entries from INDEX, and at most as many words (default: 1)", 1U,
                   kMaxBlockWords);
  arguments.flag("--addresses", args.addresses, "Show the address of each entry");
  arguments.word("--expect-from FILE", args.expected_path,
                 "Fail unless these entries are read; COUNT is then their number");
  describe_watch(arguments, args.watch);
}

void describe_table_write(Arguments &arguments, TableWriteArgs &args) {
  describe_register(arguments, args.reference, "The first entry, HI.2:HI_DHS_LVIF[5]", "TABLE");
  arguments.words("[WORDS]", args.words,
                  "Words of one or more entries (0 to 0xFFFFFFFF each); without brackets the index "
                  "comes first");
  arguments.word(
      "--from FILE", args.path,
      "Read the entries from a file; in a script, relative to the script; - for standard input");
}

}  // namespace

void add_table_commands(Parser &parser) {
  parser.add<std::optional<kel_asic_blk_t>>(
      {"dhs", "Look",
       "List the table (DHS) registers\n"
       "Entry sizes and index ranges are the limits that the library checks. No "
       "register is accessed.",
       "mrvctl dhs HI", Requires::kRegisterMap},
      describe_tables, run_tables);
  parser.add<TableReadArgs>(
      {"dhs-read", "Look",
       "Read entries of a table register\n"
       "Inside a transaction a read first sends the queued writes. Later writes are queued. "
       "--watch prints a line for each word that changes, like that of read.",
       "mrvctl dhs-read HI.2:HI_DHS_LVIF[0..3]"},
      describe_table_read, check_table_read, run_table_read);
  parser.add<TableWriteArgs>(
      {"dhs-write", "Change",
       "Write entries of a table register\n"
       "Inside a transaction the words are queued. A file has one entry per line, its words "
       "separated by blanks, or by commas if its name ends in .csv. The first line of a .csv file "
       "may name the columns. # starts a comment. Nothing is written unless every line is valid.",
       "mrvctl dhs-write HF.0:HF_DHS_POL[0] --from examples/bringup-policers.csv"},
      describe_table_write, check_table_write, run_table_write);
}

}  // namespace mrvctl
