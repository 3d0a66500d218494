// Reads the recordings of ended and live processes, and trusts no value in them.
#ifndef RECORDER_READER_H
#define RECORDER_READER_H

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "joined_writes.h"
#include "recording_format.h"

namespace recording {

// A file that cannot be read, or that is not a recording: which file, and why.
struct Unreadable : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The recorded process. All fields are empty or 0 if it had not begun to record.
struct Process {
  std::string program;  // printable characters only
  uint32_t pid = 0;
  uint32_t parent_pid = 0;
  uint32_t word_size = 0;     // bytes of its pointers
  uint64_t wall_ns = 0;       // when the recording began, by the wall clock since 1970
  uint64_t monotonic_ns = 0;  // the same moment by the monotonic clock, which runs since boot
  std::string boot_id;        // equal ids: monotonic times of two processes compare; may be empty
  uint64_t ring_size = 0;     // bytes
};

// A service call. kel_asic_lib_common.h and kel_asic_intf.h declare both records. They end at the
// last byte with a meaning, before length. Whatever the file contains, their sizes are
//   MREC_SHAPE_REGISTER     196 bytes, then at most num words: of a write in the request, of a
//                           read in the answer
//   MREC_SHAPE_TRANSACTION  40 bytes and num entries, num being 0 to 512; no answer
//   MREC_SHAPE_QOS          1140 bytes
//   MREC_SHAPE_OTHER        0 to 256 bytes
// Every value in them is as untrusted as the file.
struct Call {
  uint64_t number = 0;        // of the call in the process, from 1, in the order of beginning
  uint64_t wall_ns = 0;       // when it began, by the wall clock since 1970
  uint64_t monotonic_ns = 0;  // and by the monotonic clock
  uint64_t duration_ns = 0;
  uint32_t case_code = 0;
  uint32_t driver = 0;
  uint32_t length = 0;  // of the record, as the caller passed it; not bounded
  uint32_t shape = MREC_SHAPE_OTHER;
  bool returned = false;     // false: the call is in flight
  bool request_cut = false;  // words are missing
  bool answer_cut = false;
  int32_t result = 0;            // of sse_call2
  int32_t error_number = 0;      // errno, if result is below 0
  std::vector<uint8_t> request;  // the record that was sent
  std::vector<uint8_t> answer;   // the answer; empty if the call failed
  // Of a transaction: the caller that wrote each entry, null if it is unknown.
  std::vector<CallerPointer> callers;
};

// Converts the note of a call, of so many bytes, into the call. False if the note contradicts
// itself.
bool make_call(const uint8_t *bytes, std::size_t size, Call *call);

// One recording, read forwards up to its end at the last refresh. The file is open only during a
// refresh, so that there can be any number of readers.
class Reader {
 public:
  // Throws Unreadable. A file whose process had not yet begun to record has no calls.
  explicit Reader(std::string path, FindTarget find_target = nullptr);

  const std::string &path() const { return path_; }
  const Process &process() const { return process_; }

  // Returns the next call, in the order in which calls returned; false after the last one. Throws
  // Unreadable if the file can no longer be read.
  bool next(Call *call);

  // Reads the file again: next() continues with newer calls. Throws Unreadable.
  void refresh();

  // Returns the call that was in flight at the last refresh; false if there was none. To be used
  // after next() has returned the last call.
  bool under_way(Call *call) const;

  // Returns the transaction whose writes are in no call, neither a complete one nor the one in
  // flight. To be used like under_way().
  OpenTransaction uncommitted() const;

  // What next() has skipped so far: bytes that newer notes overwrote during the read, bytes that
  // are not notes, and notes of unknown kinds.
  uint64_t overwritten_bytes() const { return overwritten_; }
  uint64_t damaged_bytes() const { return damaged_; }
  uint64_t unknown_notes() const { return unknown_; }
  // Calls that the process could not record.
  uint64_t missed_calls() const { return header_.missed; }

 private:
  void check_same(uint64_t device, uint64_t inode) const;
  const uint8_t *next_bytes() const;
  uint64_t contiguous() const;
  bool is_note(const mrec_note_t &note) const;
  void skip(uint64_t size, uint64_t *count);
  bool fill(std::size_t wanted);
  bool take(const mrec_note_t &note, Call *call);
  bool in_flight(Call *call, OpenTransaction *transaction) const;

  std::string path_;
  Process process_;
  mrec_header_t header_{};  // at the last refresh; all 0 if recording had not begun
  uint64_t device_ = 0, inode_ = 0;
  uint64_t position_ = 0;  // of the next note
  std::vector<uint8_t> buffer_;
  uint64_t buffer_position_ = 0;  // of its first byte
  uint64_t last_number_ = 0;
  OpenTransaction transaction_;
  uint64_t overwritten_ = 0, damaged_ = 0, unknown_ = 0;
};

}  // namespace recording

#endif
