// Checks that write, to registers and tables that may be written. What they find there is kept
// first, and put back when the check is over.
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
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

constexpr uint32_t kMasks[] = {0x00000001, 0x80000000, 0x000000F0, 0x00FF0FF0};

// A different value for each number.
uint32_t pattern(uint32_t number) {
  return 0x9E3779B9 * (number + 1);
}

uint32_t merged(uint32_t word, uint32_t data, uint32_t mask) {
  return (word & ~mask) | (data & mask);
}

void keep_word(const CheckTarget &subject, uint32_t address, uint32_t word) {
  subject.found->keep(Registers(subject).entry(address, word));
}

// The scratch registers of a check, with what was found in them kept.
struct Scratch {
  explicit Scratch(const CheckTarget &subject) : registers(subject) {
    const RegisterMap map = queried_map();
    for (const Register &reg : subject.scratch)
      addresses.push_back(map.address(reg));
    for (const uint32_t address : addresses)
      keep_word(subject, address, registers.read(address));
  }

  uint32_t first() const { return addresses.front(); }

  Registers registers;
  std::vector<uint32_t> addresses;
};

// Those of them, from the first on, whose addresses follow each other.
std::vector<uint32_t> run_of(const Scratch &scratch) {
  std::vector<uint32_t> run;
  for (const uint32_t address : scratch.addresses) {
    if (!run.empty() && address != run.back() + 4)
      break;
    run.push_back(address);
  }
  if (run.size() < 2)
    throw Skip{"needs two scratch registers whose addresses are neighbours"};
  return run;
}

void reads_what_was_written(const CheckTarget &subject) {
  const Scratch scratch(subject);
  for (const uint32_t flip : {0U, UINT32_MAX}) {
    for (const uint32_t address : scratch.addresses)
      scratch.registers.write(address, pattern(address) ^ flip);
    for (const uint32_t address : scratch.addresses)
      scratch.registers.expect(address, pattern(address) ^ flip, "after a write");
  }
}

void changes_bits_under_the_mask(const CheckTarget &subject) {
  const Scratch scratch(subject);
  const uint32_t address = scratch.first();
  for (const uint32_t mask : kMasks) {
    for (const uint32_t word : {0U, UINT32_MAX}) {
      scratch.registers.write(address, word);
      scratch.registers.write_field(address, ~word, mask);
      scratch.registers.expect(address, merged(word, ~word, mask),
                               format("after a field write under mask 0x%08x", mask));
    }
  }
}

void takes_a_field_in_its_place(const CheckTarget &subject) {
  const Scratch scratch(subject);
  scratch.registers.write(scratch.first(), 0xAABBCCDD);
  scratch.registers.write_field(scratch.first(), 0x11223344, 0x00FF0FF0);
  scratch.registers.expect(scratch.first(), 0xAA22C34D, "after 0x11223344 under mask 0x00ff0ff0");
}

void reads_runs_in_order(const CheckTarget &subject) {
  const Scratch scratch(subject);
  const std::vector<uint32_t> run = run_of(scratch);
  for (const uint32_t address : run)
    scratch.registers.write(address, pattern(address));
  const auto words = scratch.registers.read_block(run[0], static_cast<uint32_t>(run.size()));
  for (size_t i = 0; i < run.size(); ++i)
    expect_word(pattern(run[i]), words[i], format("as word %zu of a run", i));
}

void writes_runs_in_order(const CheckTarget &subject) {
  const Scratch scratch(subject);
  const std::vector<uint32_t> run = run_of(scratch);
  const uint32_t behind = run.back();
  scratch.registers.write(behind, pattern(behind));
  std::vector<uint32_t> words;
  for (size_t i = 0; i + 1 < run.size(); ++i)
    words.push_back(~pattern(run[i]));
  scratch.registers.write_block(run[0], words);
  for (size_t i = 0; i < words.size(); ++i)
    scratch.registers.expect(run[i], words[i], "after a run was written");
  scratch.registers.expect(behind, pattern(behind), "after a run that was written");
}

void applies_a_transaction_of_one(const CheckTarget &subject) {
  const Scratch scratch(subject);
  commit({scratch.registers.entry(scratch.first(), pattern(1))}, "a transaction of 1 entry");
  scratch.registers.expect(scratch.first(), pattern(1), "after a transaction of 1 entry");
}

// The last entry shows that it has come, in whatever order they are applied.
void delivers_all_entries(const CheckTarget &subject) {
  const Scratch scratch(subject);
  const uint32_t address = scratch.first();
  std::vector<kel_asic_xn_entry_t> entries(KEL_ASIC_XN_ENTRIES,
                                           scratch.registers.entry(address, 0, 0x0000FFFF));
  scratch.registers.write(address, pattern(1));
  entries.back() = scratch.registers.entry(address, ~pattern(1), 0xFFFF0000);
  commit(entries, "a transaction of 512 entries");
  scratch.registers.expect(address, ~pattern(1) & 0xFFFF0000, "after 512 entries");
}

void applies_entries_in_order(const CheckTarget &subject) {
  const Scratch scratch(subject);
  const auto count = static_cast<uint32_t>(scratch.addresses.size());
  std::vector<kel_asic_xn_entry_t> entries;
  for (uint32_t i = 0; i < KEL_ASIC_XN_ENTRIES; ++i)
    entries.push_back(scratch.registers.entry(scratch.addresses[i % count], pattern(i)));
  commit(entries, "a transaction of 512 entries");
  for (uint32_t i = KEL_ASIC_XN_ENTRIES - count; i < KEL_ASIC_XN_ENTRIES; ++i)
    scratch.registers.expect(entries[i].reg, entries[i].data, "after 512 entries in order");
}

void leaves_entries_beyond_num(const CheckTarget &subject) {
  const Scratch scratch(subject);
  const uint32_t address = scratch.first();
  const kel_asic_xn_entry_t counts = scratch.registers.entry(address, pattern(1));
  const kel_asic_xn_entry_t leftover = scratch.registers.entry(address, pattern(2));
  expect_success(send_transaction({counts, leftover, leftover}, 1), "a transaction of 1 entry");
  scratch.registers.expect(address, pattern(1), "after an entry with leftovers after it");
  expect_success(send_transaction({leftover}, 0), "a transaction of no entries");
  scratch.registers.expect(address, pattern(1), "after no entry with leftovers after it");
}

void changes_bits_under_the_mask_of_an_entry(const CheckTarget &subject) {
  const Scratch scratch(subject);
  const uint32_t address = scratch.first();
  for (const uint32_t mask : kMasks) {
    commit({scratch.registers.entry(address, pattern(mask)),
            scratch.registers.entry(address, ~pattern(mask), mask)},
           "a transaction with a mask");
    scratch.registers.expect(address, merged(pattern(mask), ~pattern(mask), mask),
                             format("after an entry under mask 0x%08x", mask));
  }
}

void applies_nothing_of_a_refused_transaction(const CheckTarget &subject) {
  const Scratch scratch(subject);
  const uint32_t address = scratch.first();
  commit({scratch.registers.entry(address, pattern(1))}, "a valid transaction");
  const kel_asic_xn_entry_t good = scratch.registers.entry(address, pattern(2));
  const auto expect_refused = [&](const std::string &what,
                                  const std::vector<kel_asic_xn_entry_t> &entries, int32_t num,
                                  uint32_t length = sizeof(kel_asic_xn_t)) {
    expect_refusal(send_transaction(entries, num, length), "a transaction " + what);
    scratch.registers.expect(address, pattern(1), "after a transaction " + what);
  };
  expect_refused("of -1 entries", {good}, -1);
  expect_refused("of 513 entries", {KEL_ASIC_XN_ENTRIES, good}, 513);
  for (const uint32_t length : wrong_lengths(sizeof(kel_asic_xn_t)))
    expect_refused(format("in a record of %u bytes", length), {good}, 1, length);
  for (const AsicPlace &place : unknown_places(subject)) {
    kel_asic_xn_entry_t bad = good;
    bad.module = place.module;
    bad.asic_map = static_cast<int32_t>(place.asic);
    expect_refused("with an entry for " + place_text(place), {good, bad}, 2);
  }
  kel_asic_xn_entry_t bad = good;
  bad.reg = KEL_ASIC_CMD_CLEAR_DROP_COUNTERS + 1;
  expect_refused("with an entry for no register", {good, bad}, 2);
}

void changes_nothing_by_refused_writes(const CheckTarget &subject) {
  const Scratch scratch(subject);
  const uint32_t address = scratch.first();
  scratch.registers.write(address, pattern(1));
  const auto expect_refused = [&](const std::string &what, kel_asic_access_type_t type,
                                  uint32_t room = 0, uint32_t num = 0,
                                  std::optional<AsicPlace> place = std::nullopt,
                                  uint32_t driver = KEL_ASIC_DRIVER_MORVANE) {
    const Request request(type, scratch.registers.entry(address, pattern(2)), room);
    request->num = num;
    if (place) {
      request->module = place->module;
      request->asic = place->asic;
    }
    expect_refusal(send_record(SYSSRV_REG_WRITE_CASE, request.memory(), driver), what);
    scratch.registers.expect(address, pattern(1), "after " + what);
  };
  expect_refused("a write of type 99", static_cast<kel_asic_access_type_t>(99));
  expect_refused("a read sent as a write", TYPE_READ);
  expect_refused("a write of one register with data words", TYPE_WRITE, 1);
  expect_refused("a run of more words than its record has", TYPE_WRITE_DHS, 1, 2);
  for (const AsicPlace &place : unknown_places(subject))
    expect_refused("a write to " + place_text(place), TYPE_WRITE, 0, 0, place);
  expect_refused("a write for another driver", TYPE_WRITE, 0, 0, std::nullopt,
                 KEL_ASIC_DRIVER_MORVANE + 1);
}

void writes_through_the_library(const CheckTarget &subject) {
  init_library(subject.slot);
  const Scratch scratch(subject);
  const morvane::asic_reg first = subject.at(subject.scratch.front());
  morvane::write(first, pattern(1), kCaller);
  expect_word(pattern(1), morvane::read(first, kCaller), "after lib_mrv_asic_write");
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
  const Scratch scratch(subject);
  const std::vector<uint32_t> run = run_of(scratch);
  for (const uint32_t address : {run[0], run[1]})
    scratch.registers.write(address, pattern(address));
  const auto expect_own_answer = [&](uint32_t i) {
    const uint32_t address = run[i % 2];
    const Request request(TYPE_READ, scratch.registers.entry(address));
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

// Does something in a child of this process, and meanwhile something else in this process. Throws
// Violation.
void in_two_processes(const std::function<void()> &in_child, const std::function<void()> &here,
                      const char *expected, const char *clause) {
  const pid_t child = fork();
  if (child == 0) {
    try {
      in_child();
      _exit(0);
    } catch (const Violation &) {
      _exit(1);
    }
  }
  here();
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  require(status == 0, expected, "a call in the child fails, or answers another value", clause);
}

void works_in_children(const CheckTarget &subject) {
  const Scratch scratch(subject);
  scratch.registers.write(scratch.first(), pattern(1));
  in_two_processes([&] { scratch.registers.expect(scratch.first(), pattern(1), "in a child"); },
                   [] {}, "calls of a child of the process that loaded the platform", "P31");
  scratch.registers.expect(scratch.first(), pattern(1), "after a child has read it");
}

void shares_the_switch(const CheckTarget &subject) {
  if (has_private_switch())
    throw Skip{"each process has its own virtual switch"};
  const Scratch scratch(subject);
  const std::vector<uint32_t> run = run_of(scratch);
  const auto write_and_read = [&](uint32_t address) {
    for (uint32_t i = 0; i < 500; ++i) {
      scratch.registers.write(address, pattern(i));
      scratch.registers.expect(address, pattern(i), "while two processes call");
    }
  };
  in_two_processes([&] { write_and_read(run[1]); }, [&] { write_and_read(run[0]); },
                   "each process to read what it wrote", "P34");
  scratch.registers.expect(run[1], pattern(499), "after another process wrote it");
}

// The first two entries and the last of the scratch table, with what was found in them kept.
struct ScratchTable {
  struct Entry {
    uint32_t index;
    uint32_t address;
  };

  explicit ScratchTable(const CheckTarget &subject)
      : registers(subject), reg(*subject.scratch_table) {
    const RegisterMap map = queried_map();
    const uint32_t begin = map.address(reg);
    const std::optional<Table> table = find_table(map, reg.block, reg.vreg);
    if (!table || table->highest_index == 0)
      throw Skip{register_text(reg) + " has no two entries"};
    size = table->entry_size;
    for (const uint32_t index : {0U, 1U, table->highest_index})
      entries.push_back({index, begin + 4 * size * index});
    for (const Entry &entry : entries) {
      const std::vector<uint32_t> words = registers.read_block(entry.address, size);
      for (uint32_t i = 0; i < size; ++i)
        keep_word(subject, entry.address + 4 * i, words[i]);
    }
  }

  std::vector<uint32_t> words(uint32_t number, uint32_t count) const {
    std::vector<uint32_t> words;
    for (uint32_t i = 0; i < count * size; ++i)
      words.push_back(pattern(1000 * number + i));
    return words;
  }

  Registers registers;
  Register reg;
  uint32_t size = 0;  // words in an entry
  std::vector<Entry> entries;
};

void expect_entry(const std::vector<uint32_t> &expected, const std::vector<uint32_t> &seen,
                  const char *where) {
  for (size_t i = 0; i < expected.size(); ++i)
    expect_word(expected[i], seen[i], format("as word %zu ", i) + where);
}

void places_entries_where_addresses_say(const CheckTarget &subject) {
  const ScratchTable table(subject);
  const Registers &registers = table.registers;
  const auto both = table.words(1, 2);
  registers.write_block(table.entries[0].address, both);
  expect_entry({both.end() - static_cast<std::ptrdiff_t>(table.size), both.end()},
               registers.read_block(table.entries[1].address, table.size),
               "of entry 1, written with entry 0");
  for (const ScratchTable::Entry &entry : table.entries)
    registers.write_block(entry.address, table.words(entry.index, 1));
  for (const ScratchTable::Entry &entry : table.entries)
    expect_entry(table.words(entry.index, 1), registers.read_block(entry.address, table.size),
                 "of an entry, written by itself");
}

void takes_entries_in_transactions(const CheckTarget &subject) {
  const ScratchTable table(subject);
  const auto words = table.words(7, 1);
  std::vector<kel_asic_xn_entry_t> writes;
  for (uint32_t i = 0; i < table.size; ++i)
    writes.push_back(table.registers.entry(table.entries[1].address + 4 * i, words[i]));
  commit(writes, "a transaction of the words of an entry");
  expect_entry(words, table.registers.read_block(table.entries[1].address, table.size),
               "of entry 1, written by a transaction");
}

void moves_entries_through_the_library(const CheckTarget &subject) {
  init_library(subject.slot);
  const ScratchTable table(subject);
  const morvane::table entries(subject.at(table.reg), table.size);
  const auto both = table.words(3, 2);
  morvane::write_entries(entries, 0, both, kCaller);
  expect_entry(both, table.registers.read_block(table.entries[0].address, 2 * table.size),
               "of two entries, from lib_mrv_asic_write_dhs");
  const auto last = table.words(4, 1);
  table.registers.write_block(table.entries[2].address, last);
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
      {"a transaction of 1 entry is applied", "P24", kScratch, applies_a_transaction_of_one},
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
