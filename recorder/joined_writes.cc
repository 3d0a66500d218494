#include "joined_writes.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "kel_asic_record_kinds.h"
#include "note_values.h"

namespace recording {
namespace {

using Entries = std::vector<kel_asic_xn_entry_t>;

constexpr std::size_t kFull = KEL_ASIC_XN_ENTRIES;

bool is_table(const mrec_join_t &note) {
  return note.operation == MREC_JOIN_TABLE;
}

bool is_raw(const mrec_join_t &note) {
  return (note.flags & MREC_JOIN_RAW) != 0;
}

// Whether an entry can be this word of a write.
bool is_word_of(const JoinedWrite &write, std::size_t word, const kel_asic_xn_entry_t &entry) {
  const mrec_join_t &note = write.note;
  if (entry.module != note.module || static_cast<uint32_t>(entry.asic_map) != note.asic ||
      entry.mask != note.mask || (!is_table(note) && entry.data != note.data)) {
    return false;
  }
  return write.address ? entry.reg == *write.address + 4 * word
                       : kel_asic_is_command(entry.reg) == 0;
}

// The entry that a write begins with; the end if there is none. A caller that passes the recorder
// by, or a command, may have added entries before it.
std::size_t find_begin(const JoinedWrite &write, std::size_t from, const Entries &entries) {
  const bool is_certain = !write.of_failed_program || write.address;
  const std::size_t end = is_certain ? entries.size() : std::min(from + 1, entries.size());
  for (std::size_t i = from; i < end; ++i) {
    if (is_word_of(write, write.done, entries[i]))
      return i;
  }
  return entries.size();
}

// The entries from the first on that are words of the write, which have consecutive addresses.
std::size_t count_words(const JoinedWrite &write, std::size_t begin, std::size_t limit,
                        const Entries &entries) {
  std::size_t count = 0;
  while (count < limit && begin + count < entries.size() &&
         is_word_of(write, write.done + count, entries[begin + count]) &&
         entries[begin + count].reg == entries[begin].reg + 4 * count)
    ++count;
  return count;
}

// Only the register map knows the entry size of some tables. The entries that the other writes
// leave are theirs; two such tables in one transaction are taken for equal.
uint32_t deduce_entry_size(const std::deque<JoinedWrite> &writes, std::size_t entries) {
  std::size_t known = 0, table_entries = 0;
  for (const JoinedWrite &write : writes) {
    known += write.words_left();
    table_entries += write.note.words == 0 ? write.note.entries : 0;
  }
  return table_entries == 0 || known > entries
             ? 0
             : static_cast<uint32_t>((entries - known) / table_entries);
}

// What a full transaction leaves to the next one of a write that has so many words in it.
JoinedWrite rest_of(JoinedWrite write, std::size_t words) {
  constexpr auto full = static_cast<uint32_t>(kFull);
  uint32_t &place = write.note.place;
  write.done += static_cast<uint32_t>(words);
  place = place < full ? 0 : place - full;
  return write;
}

struct Match {
  std::vector<CallerPointer> callers;  // of the entries
  std::deque<JoinedWrite> rest;        // of the writes, for the next transaction
  bool is_empty = true;
};

Match match(const std::deque<JoinedWrite> &writes, const Entries &entries) {
  Match found;
  found.callers.resize(entries.size());
  const uint32_t entry_size = deduce_entry_size(writes, entries.size());
  std::size_t next = 0;
  for (const JoinedWrite &write : writes) {
    const mrec_join_t &note = write.note;
    const std::size_t begin = find_begin(write, std::max<std::size_t>(next, note.place), entries);
    const std::size_t words =
        note.words == 0 ? entry_size * std::size_t{note.entries} : write.words_left();
    const std::size_t count = count_words(write, begin, words, entries);
    std::fill_n(found.callers.begin() + static_cast<std::ptrdiff_t>(begin), count, write.caller);
    if (count != 0) {
      found.is_empty = false;
      found.rest.clear();  // writes before this one would be in this transaction, too
      next = begin + count;
    }
    if (entries.size() == kFull && (count == 0 ? note.place != 0 : count < words))
      found.rest.push_back(rest_of(write, count));
  }
  return found;
}

}  // namespace

bool OpenTransaction::start(const uint8_t *bytes, std::size_t size) {
  if (size != sizeof(mrec_start_t))
    return false;
  const auto note = value_at<mrec_start_t>(bytes);
  name_ = text_of(note.name);
  wall_ns_ = note.wall_ns;
  monotonic_ns_ = note.monotonic_ns;
  sites_.clear();
  writes_.clear();
  return true;
}

bool OpenTransaction::site(const uint8_t *bytes, std::size_t size) {
  if (size < sizeof(mrec_site_t))
    return false;
  const auto note = value_at<mrec_site_t>(bytes);
  const std::size_t room = size - sizeof note;
  if (note.func_size > room || note.file_size > room - note.func_size)
    return false;
  const auto *const func = reinterpret_cast<const char *>(bytes + sizeof note);
  sites_[note.number] = {0, 0, printable_text(func, note.func_size),
                         printable_text(func + note.func_size, note.file_size)};
  return true;
}

// The place of the last write. The recorder does not count the steps of a failed program.
uint32_t OpenTransaction::last_place() const {
  const auto last = std::find_if(writes_.rbegin(), writes_.rend(),
                                 [](const JoinedWrite &write) { return !write.of_failed_program; });
  return last == writes_.rend() ? 0 : last->note.place;
}

bool OpenTransaction::join(const uint8_t *bytes, std::size_t size) {
  if (size < sizeof(mrec_join_t))
    return false;
  JoinedWrite write;
  write.note = value_at<mrec_join_t>(bytes);
  const mrec_join_t &note = write.note;
  if (note.operation < MREC_JOIN_WRITE || note.operation > MREC_JOIN_PROGRAM ||
      (!is_table(note) && note.words != 1) || note.kept > MREC_JOIN_WORDS_MAX ||
      note.kept * sizeof(uint32_t) > size - sizeof note) {
    return false;
  }
  if (is_raw(note)) {
    write.address = note.reg;
  } else if (const auto target = find_target_ ? find_target_(note) : std::nullopt) {
    write.address = target->address;
    write.note.words = target->words;
  }
  write.words.resize(note.kept);
  if (note.kept != 0)
    std::memcpy(write.words.data(), bytes + sizeof note, note.kept * sizeof(uint32_t));
  const auto site = sites_.find(note.site);
  if (site != sites_.end())
    write.caller = std::make_shared<Caller>(
        Caller{note.context, note.line, site->second.func, site->second.file});
  // The transaction of the writes so far was sent by a call that could not be recorded.
  if (note.place < last_place())
    writes_.clear();
  writes_.push_back(std::move(write));
  return true;
}

bool OpenTransaction::refusal(const uint8_t *bytes, std::size_t size) {
  if (size != sizeof(mrec_refusal_t))
    return false;
  const auto note = value_at<mrec_refusal_t>(bytes);
  const auto is_meant = [&note](const JoinedWrite &write) {
    return write.note.number - note.number < note.writes;
  };
  auto refused = std::find_if(writes_.begin(), writes_.end(), is_meant);
  const auto end = std::find_if_not(refused, writes_.end(), is_meant);
  if (note.partly != 0) {
    std::for_each(refused, end, [](JoinedWrite &step) { step.of_failed_program = true; });
    refused = std::find_if(refused, end, [this](const JoinedWrite &step) {
      return find_target_ && (!step.address || step.note.mask == 0);
    });
  }
  writes_.erase(refused, end);
  return true;
}

void OpenTransaction::seen(uint64_t wall_ns, uint64_t monotonic_ns) {
  if (!name_.empty())
    return;
  wall_ns_ = wall_ns;
  monotonic_ns_ = monotonic_ns;
}

std::vector<CallerPointer> OpenTransaction::send(const Entries &entries, uint64_t wall_ns,
                                                 uint64_t monotonic_ns) {
  Match found = match(writes_, entries);
  if (found.is_empty) {  // the register map may be that of another machine
    for (JoinedWrite &write : writes_) {
      if (!is_raw(write.note))
        write.address.reset();
    }
    found = match(writes_, entries);
  }
  sites_.clear();
  writes_ = std::move(found.rest);
  name_ = writes_.empty() ? "<Interrupted>" : "Contd XN..";
  wall_ns_ = wall_ns;
  monotonic_ns_ = monotonic_ns;
  return std::move(found.callers);
}

}  // namespace recording
