// Reads as several commands make them.
#include "commands/reads.h"

#include <algorithm>
#include <map>

#include "commands/call_monitor.h"
#include "text/errors.h"
#include "text/text.h"
#include "text/times.h"

namespace mrvctl {
namespace {

// Notes that a read was made; throws OperationFailed if it failed, or if the transaction that was
// open before it did. `refusal` is why the library may have refused it; empty if it had no reason.
void finish_read(Session &session, syserr_t result, const std::string &refusal) {
  const Transaction before = session.transaction;
  session.transaction.after_read(result);
  throw_if_lost();
  const bool sent = refusal.empty() && before.open();
  if (result != 0)
    throw OperationFailed(result, sent ? "transaction \"" + before.name() +
                                             "\" was sent first: " + before.pending_text()
                                       : refusal);
}

}  // namespace

void for_each_instance(Session &session, const RegisterReference &reference,
                       const std::function<void(const Register &)> &use) {
  Register reg = reference.first();
  if (reference.instance)
    return use(reg);
  for (; reg.instance < session.map().instances(reg.block); ++reg.instance) {
    try {
      use(reg);
    } catch (const OperationFailed &failure) {
      throw OperationFailed(register_text(reg), failure);
    }
  }
}

void read_instances(Session &session, const RegisterReference &reference, const WatchArgs &watch,
                    const std::function<void(const Register &, Words &last)> &read) {
  std::map<uint32_t, Words> last;  // by instance
  run_rounds(watch, [&] {
    for_each_instance(session, reference,
                      [&](const Register &reg) { read(reg, last[reg.instance]); });
  });
}

Words read_block(Session &session, const Register &reg, std::optional<uint32_t> count) {
  Words run;
  run.words.resize(count.value_or(1));
  std::error_code ec;
  if (count)
    morvane::read_block(session.at(reg), run.words, ec, session.caller());
  else
    run.words[0] = morvane::read(session.at(reg), ec, session.caller());
  finish_read(session, result_of(ec), session.refusal_hint(reg));
  run.answered = count ? answered_words(run.words.size()) : 1;
  return run;
}

Words read_block(Session &session, const Register &reg, const Table &table, const Range &entries) {
  const uint32_t index = entries.first;
  const uint64_t count = entries.count();
  if (count > kMaxBlockWords / table.entry_size)
    throw UsageError(format("entries of %u words: at most %u of them at a time", table.entry_size,
                            kMaxBlockWords / table.entry_size));
  check_range(table, index, count);
  check_entry_size(session, table, index);
  Words run;
  run.words.resize(static_cast<size_t>(table.entry_size * count));
  std::error_code ec;
  morvane::read_entries(morvane::table(session.at(reg), table.entry_size), index, run.words, ec,
                        session.caller());
  finish_read(session, result_of(ec), index_hint(session, reg, table, index));
  run.answered = answered_words(run.words.size());
  return run;
}

void expect_words(const std::vector<uint32_t> &expected, const Words &run, size_t per_entry) {
  if (expected.size() != run.words.size())
    throw UsageError(
        format("%zu words to read, but %zu expected", run.words.size(), expected.size()));
  for (size_t i = 0; i < expected.size(); ++i) {
    if (i < run.answered && run.words[i] == expected[i])
      continue;
    std::string text = per_entry == 0
                           ? format("word %zu is ", i)
                           : format("word %zu of entry %zu is ", i % per_entry, i / per_entry);
    text += i < run.answered ? format("0x%08x", run.words[i]) : "not answered";
    text += format(", expected 0x%08x", expected[i]);
    throw OperationFailed(text);
  }
}

void report_changes(Session &session, const Words &before, const Words &now,
                    const std::function<std::string(uint32_t word)> &name) {
  constexpr size_t kTimeOfDay = 11, kSeconds = 8;
  const uint64_t time = now_ns();
  for (uint32_t i = 0; i < std::min(before.answered, now.answered); ++i) {
    const uint32_t was = before.words[i], is = now.words[i];
    if (was == is)
      continue;
    session.report.result({{"time", utc_time_text(time)},
                           {"register", name(i)},
                           {"before", was},
                           {"data", is},
                           {"changed", was ^ is}},
                          local_time_text(time).substr(kTimeOfDay, kSeconds) + " " + name(i) +
                              format(" 0x%08x -> 0x%08x, bits 0x%08x\n", was, is, was ^ is));
  }
}

std::string interruption_text(const Transaction &before) {
  const bool sent = before.open() && !(before.interrupted() && before.pending() == 0);
  return sent ? "  (transaction \"" + before.name() +
                    "\" was sent first: " + before.pending_text() + ")\n"
              : "";
}

Table table_of(Session &session, const Register &reg) {
  const std::optional<Table> table = find_table(session.map(), reg.block, reg.vreg);
  if (table)
    return *table;
  const std::string missing = session.map().missing(reg);
  throw OperationFailed(SYSERR_KEL_ASIC_INVALID_ARG,
                        missing.empty()
                            ? register_text(reg) + " is not a table; 'mrvctl dhs' lists the tables"
                            : missing);
}

void check_entry_size(Session &session, const Table &table, uint32_t index) {
  if (!table.by_hook)
    return;
  const int size = session.map().hook_entry_size(table.block, table.vreg, index);
  if (size >= 1 && size != static_cast<int>(table.entry_size))
    throw OperationFailed(
        format("entry %u has %d words, but entry 0 has %u: mrvctl requires entries of one "
               "size",
               index, size, table.entry_size));
}

void check_range(const Table &table, uint32_t index, uint64_t count) {
  const uint64_t end = uint64_t{index} + count;
  if (index <= table.highest_index && end > uint64_t{table.highest_index} + 1)
    throw OperationFailed(format("entries %u to %llu, but indices are 0 to %u", index,
                                 static_cast<unsigned long long>(end - 1), table.highest_index),
                          Status::kUsage);
}

std::string index_hint(Session &session, const Register &reg, const Table &table, uint32_t index) {
  if (index > table.highest_index)
    return format("indices are 0 to %u", table.highest_index);
  return session.refusal_hint(reg);
}

}  // namespace mrvctl
