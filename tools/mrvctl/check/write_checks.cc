// Checks that write, to registers and tables that may be written. What they find there is kept
// first, and put back when the check is over.
#include <sys/time.h>
#include <unistd.h>

#include <csignal>
#include <functional>

#include "asic/register_reference.h"
#include "asic/table_shapes.h"
#include "check/check_table.h"
#include "check/isolation.h"
#include "check/register_map_query.h"
#include "check/requests.h"
#include "host/platform_library.h"
#include "text/text.h"
#include "virtual_platform.h"

namespace mrvctl {
namespace {

// A different value for each number.
uint32_t pattern(uint32_t number) {
  return 0x9E3779B9 * (number + 1);
}

uint32_t merged(uint32_t word, uint32_t data, uint32_t mask) {
  return (word & ~mask) | (data & mask);
}

// The scratch registers of a check, whose values are kept.
struct Scratch : Registers {
  explicit Scratch(const CheckTarget &subject) : Registers(subject.asic) {
    const RegisterMap map = queried_map();
    for (const Register &reg : subject.scratch) {
      addresses.push_back(map.address(reg));
      subject.found->keep(entry(addresses.back(), read(addresses.back())));
    }
    first = addresses[0];
  }

  std::vector<uint32_t> addresses;
  uint32_t first;
};

// The scratch registers from the first on whose addresses follow each other.
struct ScratchBlock : Scratch {
  explicit ScratchBlock(const CheckTarget &subject) : Scratch(subject) {
    uint32_t count = 1;
    while (count < addresses.size() && addresses[count] == first + 4 * count)
      ++count;
    addresses.resize(count);
    if (count < 2)
      throw skipped("needs two scratch registers whose addresses are neighbours");
  }
};

void reads_what_was_written(const CheckTarget &subject) {
  const Scratch scratch(subject);
  for (const uint32_t flip : {0U, UINT32_MAX}) {
    for (const uint32_t address : scratch.addresses)
      scratch.write(address, pattern(address) ^ flip);
    for (const uint32_t address : scratch.addresses)
      scratch.expect(address, pattern(address) ^ flip, "after a write");
  }
}

// Both values are written, the second under the mask.
using WriteBoth = std::function<void(uint32_t word, uint32_t data, uint32_t mask)>;

void expect_bits_under_masks(const Scratch &scratch, const char *what, const WriteBoth &write) {
  for (const uint32_t mask : {0x00000001U, 0x80000000U, 0x000000F0U, 0x00FF0FF0U}) {
    for (const uint32_t word : {0U, UINT32_MAX}) {
      write(word, ~word, mask);
      scratch.expect(scratch.first, merged(word, ~word, mask),
                     format("after %s under mask 0x%08x", what, mask));
    }
  }
}

void changes_bits_under_the_mask(const CheckTarget &subject) {
  const Scratch scratch(subject);
  expect_bits_under_masks(scratch, "a field write",
                          [&](uint32_t word, uint32_t data, uint32_t mask) {
                            scratch.write(scratch.first, word);
                            scratch.write_field(scratch.first, data, mask);
                          });
}

void changes_bits_under_the_mask_of_an_entry(const CheckTarget &subject) {
  const Scratch scratch(subject);
  expect_bits_under_masks(scratch, "an entry", [&](uint32_t word, uint32_t data, uint32_t mask) {
    commit({scratch.entry(scratch.first, word), scratch.entry(scratch.first, data, mask)},
           "a transaction with a mask");
  });
}

void takes_a_field_in_its_place(const CheckTarget &subject) {
  const Scratch scratch(subject);
  scratch.write(scratch.first, 0xAABBCCDD);
  scratch.write_field(scratch.first, 0x11223344, 0x00FF0FF0);
  scratch.expect(scratch.first, 0xAA22C34D, "after 0x11223344 under mask 0x00ff0ff0");
}

void reads_runs_in_order(const CheckTarget &subject) {
  const ScratchBlock scratch(subject);
  const std::vector<uint32_t> &run = scratch.addresses;
  for (const uint32_t address : run)
    scratch.write(address, pattern(address));
  const auto words = scratch.read_block(run[0], static_cast<uint32_t>(run.size()));
  for (size_t i = 0; i < run.size(); ++i)
    expect_word(pattern(run[i]), words[i], format("as word %zu of a run", i));
}

void writes_runs_in_order(const CheckTarget &subject) {
  const ScratchBlock scratch(subject);
  const uint32_t behind = scratch.addresses.back();
  scratch.write(behind, pattern(behind));
  std::vector<uint32_t> words;
  for (size_t i = 0; i + 1 < scratch.addresses.size(); ++i)
    words.push_back(~pattern(scratch.addresses[i]));
  scratch.write_block(scratch.first, words);
  for (size_t i = 0; i < words.size(); ++i)
    scratch.expect(scratch.addresses[i], words[i], "after a run was written");
  scratch.expect(behind, pattern(behind), "after a run that was written");
}

// The last entry shows that it has come, in whatever order they are applied.
void delivers_all_entries(const CheckTarget &subject) {
  const Scratch scratch(subject);
  std::vector<kel_asic_xn_entry_t> entries(KEL_ASIC_XN_ENTRIES,
                                           scratch.entry(scratch.first, 0, 0x0000FFFF));
  scratch.write(scratch.first, pattern(1));
  entries.back() = scratch.entry(scratch.first, ~pattern(1), 0xFFFF0000);
  commit(entries, "a transaction of 512 entries");
  scratch.expect(scratch.first, ~pattern(1) & 0xFFFF0000, "after 512 entries");
}

void applies_entries_in_order(const CheckTarget &subject) {
  const Scratch scratch(subject);
  const auto count = static_cast<uint32_t>(scratch.addresses.size());
  std::vector<kel_asic_xn_entry_t> entries;
  for (uint32_t i = 0; i < KEL_ASIC_XN_ENTRIES; ++i)
    entries.push_back(scratch.entry(scratch.addresses[i % count], pattern(i)));
  commit(entries, "a transaction of 512 entries");
  for (uint32_t i = KEL_ASIC_XN_ENTRIES - count; i < KEL_ASIC_XN_ENTRIES; ++i)
    scratch.expect(entries[i].reg, entries[i].data, "after 512 entries in order");
}

void leaves_entries_beyond_num(const CheckTarget &subject) {
  const Scratch scratch(subject);
  const kel_asic_xn_entry_t counts = scratch.entry(scratch.first, pattern(1));
  const kel_asic_xn_entry_t leftover = scratch.entry(scratch.first, pattern(2));
  expect_success(send_transaction({counts, leftover, leftover}, 1), "a transaction of 1 entry");
  expect_success(send_transaction({leftover}, 0), "a transaction of no entries");
  scratch.expect(scratch.first, pattern(1),
                 "after transactions with leftovers after their entries");
}

void applies_nothing_of_a_refused_transaction(const CheckTarget &subject) {
  const Scratch scratch(subject);
  commit({scratch.entry(scratch.first, pattern(1))}, "a valid transaction");
  const kel_asic_xn_entry_t good = scratch.entry(scratch.first, pattern(2));
  const auto expect_refused = [&](const std::string &what,
                                  const std::vector<kel_asic_xn_entry_t> &entries, int32_t num,
                                  uint32_t length = sizeof(kel_asic_xn_t)) {
    expect_refusal(send_transaction(entries, num, length), "a transaction " + what);
    scratch.expect(scratch.first, pattern(1), "after a transaction " + what);
  };
  for (const int32_t num : {-1, 513})
    expect_refused(format("of %d entries", num), {KEL_ASIC_XN_ENTRIES, good}, num);
  for (const uint32_t length : wrong_lengths(sizeof(kel_asic_xn_t)))
    expect_refused(format("in a record of %u bytes", length), {good}, 1, length);
  for (const morvane::asic &asic : unknown_asics(subject.asic))
    expect_refused("with an entry for " + asic_text(asic),
                   {good, Registers(asic).entry(good.reg, good.data)}, 2);
  expect_refused("with an entry for no register",
                 {good, scratch.entry(KEL_ASIC_CMD_CLEAR_DROP_COUNTERS + 1, pattern(2))}, 2);
}

void changes_nothing_by_refused_writes(const CheckTarget &subject) {
  const Scratch scratch(subject);
  scratch.write(scratch.first, pattern(1));
  const auto expect_refused = [&](const std::string &what, const Request &request,
                                  uint32_t driver = KEL_ASIC_DRIVER_MORVANE) {
    expect_refusal(send_record(SYSSRV_REG_WRITE_CASE, request.memory(), driver), what);
    scratch.expect(scratch.first, pattern(1), "after " + what);
  };
  const kel_asic_xn_entry_t write = scratch.entry(scratch.first, pattern(2));
  expect_refused("a write of type 99", {kUnknownType, write});
  expect_refused("a read sent as a write", {TYPE_READ, write});
  expect_refused("a write of one register with data words", {TYPE_WRITE, write, 1});
  const Request cut_off(TYPE_WRITE_DHS, write, 1);
  cut_off->num = 2;
  expect_refused("a run of more words than its record has", cut_off);
  for (const morvane::asic &asic : unknown_asics(subject.asic))
    expect_refused("a write to " + asic_text(asic),
                   {TYPE_WRITE, Registers(asic).entry(write.reg, write.data)});
  expect_refused("a write for another driver", {TYPE_WRITE, write}, KEL_ASIC_DRIVER_MORVANE + 1);
}

void writes_through_the_library(const CheckTarget &subject) {
  init_library(subject.slot);
  const Scratch scratch(subject);
  const morvane::asic_reg first = subject.at(subject.scratch.front());
  morvane::write(first, pattern(1), kCaller);
  morvane::write_field(first, ~pattern(1), 0xFF, kCaller);
  const uint32_t word = merged(pattern(1), ~pattern(1), 0xFF);
  expect_word(word, morvane::read(first, kCaller), "after lib_mrv_asic_write_field");
  {
    const morvane::batch batch("check");
    morvane::write(subject.at(subject.scratch.back()), pattern(2), kCaller);
    morvane::write(first, pattern(3), kCaller);
  }
  expect_word(pattern(3), morvane::read(first, kCaller), "after mrv_asic_transaction_commit");
  expect_word(pattern(3), morvane::read_block(first, 1, kCaller)[0], "from lib_mrv_asic_n_read");
}

// Two registers hold different values, so that a late answer to an interrupted read is seen.
void survives_signals(const CheckTarget &subject) {
  const ScratchBlock scratch(subject);
  const std::vector<uint32_t> &run = scratch.addresses;
  for (const uint32_t address : {run[0], run[1]})
    scratch.write(address, pattern(address));
  const auto expect_own_answer = [&](uint32_t i) {
    const uint32_t address = run[i % 2];
    const Request request(TYPE_READ, scratch.entry(address));
    const CallResult result = request.send();
    if (result.result == 0)
      expect_word(pattern(address), request->data, "from a read under signals");
    return result;
  };
  struct sigaction action = {};
  action.sa_handler = [](int) {};  // without SA_RESTART: it interrupts
  sigaction(SIGALRM, &action, nullptr);
  const itimerval often = {{0, 200}, {0, 200}};
  setitimer(ITIMER_REAL, &often, nullptr);
  for (uint32_t i = 0; i < 2000; ++i)
    expect_own_answer(i);
  const itimerval never = {};
  setitimer(ITIMER_REAL, &never, nullptr);
  for (uint32_t i = 0; i < 4; ++i)
    expect_success(expect_own_answer(i), "a read after the signals");
}

// Does something in a child of this process, and meanwhile something else in this process. Throws a
// violation.
void in_two_processes(const std::function<void()> &in_child, const std::function<void()> &here,
                      const char *expected, const char *clause) {
  const pid_t child = fork();
  if (child == 0) {
    try {
      in_child();
      _exit(0);
    } catch (const Outcome &) {
      _exit(1);
    }
  }
  here();
  require(wait_for_end(child) == 0, expected, "a call in the child fails, or answers another value",
          clause);
}

void works_in_children(const CheckTarget &subject) {
  const Scratch scratch(subject);
  scratch.write(scratch.first, pattern(1));
  in_two_processes([&] { scratch.expect(scratch.first, pattern(1), "in a child"); }, [] {},
                   "calls of a child of the process that loaded the platform", "P31");
}

void shares_the_switch(const CheckTarget &subject) {
  if (has_private_switch())
    throw skipped("each process has its own virtual switch");
  const ScratchBlock scratch(subject);
  const std::vector<uint32_t> &run = scratch.addresses;
  const auto write_and_read = [&](uint32_t address) {
    for (uint32_t i = 0; i < 500; ++i) {
      scratch.write(address, pattern(i));
      scratch.expect(address, pattern(i), "while two processes call");
    }
  };
  in_two_processes([&] { write_and_read(run[1]); }, [&] { write_and_read(run[0]); },
                   "each process to read what it wrote", "P34");
  scratch.expect(run[1], pattern(499), "after another process wrote it");
}

// The first two entries and the last of the scratch table, with what was found in them kept.
struct ScratchTable : Registers {
  struct Entry {
    uint32_t index;
    uint32_t address;
  };

  explicit ScratchTable(const CheckTarget &subject)
      : Registers(subject.asic), reg(*subject.scratch_table) {
    const RegisterMap map = queried_map();
    const uint32_t begin = map.address(reg);
    const std::optional<Table> table = find_table(map, reg.block, reg.vreg);
    if (!table || table->highest_index == 0)
      throw skipped(register_text(reg) + " has no two entries");
    size = table->entry_size;
    for (const uint32_t index : {0U, 1U, table->highest_index})
      entries.push_back({index, begin + 4 * size * index});
    for (const Entry &kept : entries) {
      const std::vector<uint32_t> words = read_block(kept.address, size);
      for (uint32_t i = 0; i < size; ++i)
        subject.found->keep(entry(kept.address + 4 * i, words[i]));
    }
  }

  std::vector<uint32_t> words(uint32_t number, uint32_t count) const {
    std::vector<uint32_t> words;
    for (uint32_t i = 0; i < count * size; ++i)
      words.push_back(pattern(1000 * number + i));
    return words;
  }

  Register reg;
  uint32_t size;  // words in an entry
  std::vector<Entry> entries;
};

void expect_entry(const std::vector<uint32_t> &expected, const std::vector<uint32_t> &seen,
                  const char *where) {
  for (size_t i = 0; i < expected.size(); ++i)
    expect_word(expected[i], seen[i], format("as word %zu ", i) + where);
}

void places_entries_where_addresses_say(const CheckTarget &subject) {
  const ScratchTable table(subject);
  for (const ScratchTable::Entry &entry : table.entries)
    table.write_block(entry.address, table.words(entry.index, 1));
  for (const ScratchTable::Entry &entry : table.entries)
    expect_entry(table.words(entry.index, 1), table.read_block(entry.address, table.size),
                 "of an entry, written by itself");
}

void takes_entries_in_transactions(const CheckTarget &subject) {
  const ScratchTable table(subject);
  const auto words = table.words(7, 1);
  std::vector<kel_asic_xn_entry_t> writes;
  for (uint32_t i = 0; i < table.size; ++i)
    writes.push_back(table.entry(table.entries[1].address + 4 * i, words[i]));
  commit(writes, "a transaction of the words of an entry");
  expect_entry(words, table.read_block(table.entries[1].address, table.size),
               "of entry 1, written by a transaction");
}

void moves_entries_through_the_library(const CheckTarget &subject) {
  init_library(subject.slot);
  const ScratchTable table(subject);
  const morvane::table entries(subject.at(table.reg), table.size);
  const auto both = table.words(3, 2);
  morvane::write_entries(entries, 0, both, kCaller);
  expect_entry(both, table.read_block(table.entries[0].address, 2 * table.size),
               "of two entries, from lib_mrv_asic_write_dhs");
  const auto last = table.words(4, 1);
  table.write_block(table.entries[2].address, last);
  expect_entry(last, morvane::read_entries(entries, table.entries[2].index, 1, kCaller),
               "of the last entry, from lib_mrv_asic_read_dhs");
}

}  // namespace

std::vector<Check> write_checks() {
  return {
      {"a register reads as it was written", "P22", kScratch, reads_what_was_written},
      {"a field write changes only the bits under its mask", "P26", kScratch,
       changes_bits_under_the_mask},
      {"the value of a field write is in its place", "P26", kScratch, takes_a_field_in_its_place},
      {"a run is read in order, in steps of 4", "P27", kScratch, reads_runs_in_order},
      {"a run is written in order, in steps of 4", "P27", kScratch, writes_runs_in_order},
      {"a transaction of 512 entries arrives completely", "P1", kScratch, delivers_all_entries},
      {"entries are applied in order", "P24", kScratch, applies_entries_in_order},
      {"entries beyond num are not looked at", "P24", kScratch, leaves_entries_beyond_num},
      {"an entry changes only the bits under its mask", "P26", kScratch,
       changes_bits_under_the_mask_of_an_entry},
      {"nothing of a refused transaction is applied", "P23", kScratch,
       applies_nothing_of_a_refused_transaction},
      {"a refused write changes nothing", "P23", kScratch, changes_nothing_by_refused_writes},
      {"a signal gives no call the answer of another", "P28", kScratch, survives_signals},
      {"a child of the process makes calls", "P31", kScratch, works_in_children},
      {"two processes share the switch", "P34", kScratch, shares_the_switch},
      {"the library writes through it", "P22", kScratch, writes_through_the_library},
      {"the entries of a table are at their addresses", "P27", kScratchTable,
       places_entries_where_addresses_say},
      {"the words of an entry are taken in a transaction", "P24", kScratchTable,
       takes_entries_in_transactions},
      {"the library moves entries through it", "P27", kScratchTable,
       moves_entries_through_the_library},
  };
}

}  // namespace mrvctl
