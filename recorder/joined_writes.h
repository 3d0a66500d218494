// The writes of a recording that joined a transaction, and which entry each of them became.
#ifndef RECORDER_JOINED_WRITES_H
#define RECORDER_JOINED_WRITES_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kel_asic_lib_common.h"
#include "recording_format.h"

namespace recording {

// Where a program called the library. The texts have printable characters only.
struct Caller {
  uint32_t context = 0;
  uint32_t line = 0;
  std::string func;
  std::string file;
};
using CallerPointer = std::shared_ptr<const Caller>;

// Where the words of a write go, by a register map.
struct WriteTarget {
  uint32_t address;  // of its first word
  uint32_t words;
};

// The target of a write that the library takes; empty if it refuses the write.
using FindTarget = std::function<std::optional<WriteTarget>(const mrec_join_t &)>;

// A write that joined a transaction, or the rest of one that was split between two.
struct JoinedWrite {
  mrec_join_t note{};
  std::optional<uint32_t> address;  // of its first word, if that is known
  CallerPointer caller;             // null if its site is unknown
  uint32_t done = 0;                // of its words: those that are in earlier transactions
  std::vector<uint32_t> words;      // the last ones of a table write, as many as are known
  bool of_failed_program = false;   // without a register map it is not known whether it has joined

  uint32_t words_left() const { return note.words < done ? 0 : note.words - done; }
};

// The transaction that a process has open, as its notes show it.
class OpenTransaction {
 public:
  // Without a register map, writes and entries are compared by their values only.
  explicit OpenTransaction(FindTarget find_target) : find_target_(std::move(find_target)) {}

  // Takes over a note of so many bytes. False if the note contradicts itself.
  bool start(const uint8_t *bytes, std::size_t size);
  bool site(const uint8_t *bytes, std::size_t size);
  bool join(const uint8_t *bytes, std::size_t size);
  bool refusal(const uint8_t *bytes, std::size_t size);

  // The transaction is sent at that time, with these entries. Returns the caller of each, null if
  // it is unknown.
  std::vector<CallerPointer> send(const std::vector<kel_asic_xn_entry_t> &entries, uint64_t wall_ns,
                                  uint64_t monotonic_ns);

  // The process was seen at that time: a transaction whose opening is unknown is not older.
  void seen(uint64_t wall_ns, uint64_t monotonic_ns);

  const std::string &name() const { return name_; }  // empty if its opening is unknown
  // When it was opened.
  uint64_t wall_ns() const { return wall_ns_; }
  uint64_t monotonic_ns() const { return monotonic_ns_; }
  const std::deque<JoinedWrite> &writes() const { return writes_; }

 private:
  uint32_t last_place() const;

  FindTarget find_target_;
  std::string name_;
  uint64_t wall_ns_ = 0, monotonic_ns_ = 0;
  std::map<uint32_t, Caller> sites_;  // of this transaction, without context and line
  std::deque<JoinedWrite> writes_;    // in their order
};

}  // namespace recording

#endif
