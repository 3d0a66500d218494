// dhs, dhs-read and dhs-write.
#include <unistd.h>

#include <algorithm>

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

struct TablesArgs {
  std::string name;
  std::optional<kel_asic_blk_t> block;
};

void check_block(TablesArgs &args) {
  if (!args.name.empty())
    args.block = parse_block(args.name);
}

void run_tables(Session &session, const TablesArgs &args) {
  Listing tables({{"block", "block "},
                  {"vreg", "number", Align::kRight},
                  {"entry_size", "words", Align::kRight},
                  {"highest_index", "indices     "},
                  {"register", "register"}});
  for (const Table &table : named_tables(session.map())) {
    if (args.block && table.block != *args.block)
      continue;
    const std::string indices =
        table.highest_index == kAnyIndex ? "any" : format("0 to %u", table.highest_index);
    tables.add({kel_asic_blk_names[table.block],
                table.vreg,
                table.entry_size,
                {indices, table.highest_index},
                register_name(table.block, table.vreg)});
  }
  session.report.result({{"command", "dhs"}, {"tables", tables.json()}}, tables.text());
}

// "3 entries of 8 words"
std::string entries_of_text(const Table &table, uint32_t count) {
  return count_text(count, "entry", "entries") + " of " +
         count_text(table.entry_size, "word", "words");
}

struct TableReadArgs {
  RegisterArgs reg;
  uint32_t index = 0;
  std::optional<uint32_t> count;
  std::string expected_path;
  bool addresses = false;
};

void check_table_read(TableReadArgs &args) {
  check_register(args.reg);
}

void run_table_read(Session &session, const TableReadArgs &args) {
  const Register &reg = args.reg.reg;
  const Table table = table_of(session, reg);
  std::vector<uint32_t> expected;
  if (!args.expected_path.empty())
    expected = read_entries(session.resolve(args.expected_path), table.entry_size);
  const auto in_file = static_cast<uint32_t>(expected.size() / table.entry_size);
  const uint32_t count = args.count.value_or(expected.empty() ? 1 : in_file);
  if (!expected.empty() && count != in_file)
    throw UsageError(format("%u entries to read, but the file has %u", count, in_file));

  const Transaction before = session.transaction;
  Entries entries = {args.index, table.entry_size, {}, std::nullopt};
  entries.run = read_block(session, reg, table, args.index, count);
  if (!expected.empty())
    expect_words(expected, entries.run, table.entry_size);
  if (args.addresses)
    entries.address = session.map().address(reg) + 4 * table.entry_size * args.index;

  Json object = register_json("dhs-read", reg);
  object["entry_size"] = table.entry_size;
  object["answered_words"] = entries.run.answered;
  object["transaction_sent"] = before.open();
  object["entries"] = entries_json(entries);
  std::string text = register_text(reg) + ": " + entries_of_text(table, count);
  if (entries.run.answered < entries.run.words.size())
    text += format(", %zu of %zu words answered", entries.run.answered, entries.run.words.size());
  if (!expected.empty())
    text += ", as expected\n";
  else
    text += "\n" + entries_text(entries);
  session.report.result(object, text + interruption_text(before));
}

struct TableWriteArgs {
  RegisterArgs reg;
  uint32_t index = 0;
  std::vector<std::string> words;
  std::vector<uint32_t> numbers;
  std::string path;
};

void check_table_write(TableWriteArgs &args) {
  check_register(args.reg);
  if (args.words.empty() == args.path.empty())
    throw UsageError("give either the words or --from FILE");
  for (const std::string &word : args.words)
    args.numbers.push_back(parse_word(word));
}

std::vector<uint32_t> words_to_write(Session &session, const TableWriteArgs &args,
                                     const Table &table) {
  if (!args.path.empty())
    return read_entries(session.resolve(args.path), table.entry_size);
  if (args.numbers.size() % table.entry_size != 0)
    throw UsageError(format("%zu words, but an entry of this table has %u", args.numbers.size(),
                            table.entry_size));
  return args.numbers;
}

// Shows on a terminal how far a long load is; the line ends with it.
void show_progress(uint32_t done, uint32_t count, bool ends) {
  if (count > kEntriesPerCall && isatty(STDERR_FILENO) != 0)
    std::fprintf(stderr, "\r%u of %u entries%s", done, count, ends ? "\n" : "");
}

void run_table_write(Session &session, const TableWriteArgs &args) {
  const Register &reg = args.reg.reg;
  const Table table = table_of(session, reg);
  std::vector<uint32_t> words = words_to_write(session, args, table);
  const auto count = static_cast<uint32_t>(words.size() / table.entry_size);
  check_range(table, args.index, count);
  const morvane::caller who = session.caller();
  for (uint32_t done = 0; done < count;) {
    const uint32_t index = args.index + done;
    const uint32_t part = std::min(kEntriesPerCall, count - done);
    check_entry_size(session, table, index);
    const syserr_t result = lib_mrv_asic_write_dhs(
        static_cast<int>(session.module), session.asic, reg.block, reg.instance, reg.vreg, index,
        words.data() + static_cast<size_t>(done) * table.entry_size, part, who.context,
        const_cast<char *>(who.file), who.line, who.func);
    if (result != 0) {
      show_progress(done, count, true);
      throw_if_lost();
      const std::string before =
          done == 0 ? "" : format(" (%u entries before it are %s)", done, write_status(session));
      throw OperationFailed(result, index_hint(session, reg, table, index) + before);
    }
    session.transaction.add(static_cast<uint64_t>(part) * table.entry_size);
    done += part;
    show_progress(done, count, done == count);
  }
  throw_if_lost();
  Json object = register_json("dhs-write", reg);
  object["index"] = args.index;
  object["entries"] = count;
  object["entry_size"] = table.entry_size;
  object["queued"] = session.transaction.open();
  session.report.result(object,
                        register_text(reg) + ": " + entries_of_text(table, count) +
                            format(" from index %u: %s\n", args.index, write_status(session)));
}

void describe_tables(Arguments &arguments, TablesArgs &args) {
  arguments.word("BLOCK", args.name, "Only those of this block");
}

void describe_table_read(Arguments &arguments, TableReadArgs &args) {
  describe_register(arguments, args.reg);
  arguments.number("INDEX", args.index, "First entry").required();
  const auto parse_count = [](const std::string &text) {
    return parse_number<uint32_t>(text, 0, kMaxBlockWords);
  };
  arguments.parsed(
      "COUNT", args.count, parse_count,
      format("Number of entries (0 to %u, and at most as many words in all); 1 if left out",
             kMaxBlockWords));
  arguments.flag("--addresses", args.addresses, "Show the address of each entry");
  arguments
      .word("--expect-from", args.expected_path,
            "Fail unless these entries are read; COUNT is then their number")
      .type_name("FILE");
}

void describe_table_write(Arguments &arguments, TableWriteArgs &args) {
  describe_register(arguments, args.reg);
  arguments.number("INDEX", args.index, "First entry").required();
  arguments.words("WORDS", args.words, "Words of one or more entries (0 to 0xFFFFFFFF each)");
  arguments
      .word("--from", args.path,
            "Take the entries from a file; in a script, beside it; - for standard input")
      .type_name("FILE");
}

}  // namespace

void add_table_commands(Parser &parser) {
  parser.add<TablesArgs>(
      {"dhs", "Tables",
       "List the table (DHS) registers\n"
       "Entry sizes and index ranges are those that the library checks; no register is\n"
       "touched.",
       Requires::kRegisterMap},
      describe_tables, check_block, run_tables);
  parser.add<TableReadArgs>(
      {"dhs-read", "Tables",
       "Read entries of a table register\n"
       "Inside a transaction a read sends the writes made so far first; later ones are queued on."},
      describe_table_read, check_table_read, run_table_read);
  parser.add<TableWriteArgs>(
      {"dhs-write", "Tables",
       "Write entries of a table register\n"
       "Inside a transaction the words are queued. A file has an entry a line, its words between\n"
       "blanks; if its name ends in .csv, between commas, the first column a word like the "
       "others,\n"
       "and the first line may name the columns. Words are numbers as on the command line. # "
       "starts\n"
       "a comment. Nothing is written unless every line is right."},
      describe_table_write, check_table_write, run_table_write);
}

}  // namespace mrvctl
