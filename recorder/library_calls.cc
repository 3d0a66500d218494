// Notes each write that joins a transaction, with its caller, and forwards it unchanged. The record
// of the transaction does not have the callers.
//
// The note is written before the library gets the write, so that it exists if the process dies in
// the call, and precedes the note of a transaction that the write completes. A write that the
// library then refuses gets a second note.
#include "library_calls.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <ctime>

#include "constant_memory.h"
#include "kel_asic_dhs_tables.h"
#include "kel_asic_intf.h"
#include "kel_asic_lib_common.h"
#include "kel_asic_record_kinds.h"
#include "next_function.h"
#include "recorder.h"
#include "recording_file.h"

namespace {

constexpr uint32_t whole_register = 0xFFFFFFFF;
constexpr std::size_t max_func = 31, max_file = 127;  // as in a request

next_function next_write("lib_mrv_asic_write", report_choice);
next_function next_write_field("lib_mrv_asic_write_field", report_choice);
next_function next_write_dhs("lib_mrv_asic_write_dhs", report_choice);
next_function next_pgm("lib_mrv_asic_pgm", report_choice);
next_function next_start("mrv_asic_transaction_start", report_choice);
next_function next_commit("mrv_asic_transaction_commit", report_choice);

// The open transaction, as far as the recorder sees it: a caller can pass it by. The counts change
// under the lock, but for a request that is sent.
struct transaction_state {
  std::atomic<bool> open;
  std::atomic<uint32_t> words;   // that writes with a note have added to it
  std::atomic<uint32_t> number;  // of transactions and recordings, as far as they were seen
  uint32_t writes;               // that have a note
};
transaction_state transaction;

// Whether this thread sent a single write since it was false.
__attribute__((tls_model("initial-exec"))) __thread bool sent_alone;

// Where the library was called.
struct call_site {
  uint32_t context;
  const char *file;
  int line;
  const char *func;
};

// What a function of the library is to write.
struct write_target {
  uint8_t operation, flags;
  int module;
  uint32_t asic, block, instance, reg, index, entries, data, mask, words;
};

// The note of a write, as long as it is not overwritten. Number 0: none.
struct noted_write {
  uint32_t number;
  uint32_t offset;  // in the ring
  uint64_t position;
};

// The names of a calling function and its file.
struct known_site {
  const char *func, *file;
  uint32_t number;
  uint32_t transaction;  // in which it has a note
};

// Sites with a note in the open transaction. A constant text has the same content as long as it has
// the same address, so that a comparison of addresses replaces a copy.
constexpr uint32_t max_sites = 16;
known_site sites[max_sites];
uint32_t last_site;

known_site &place_of(const char *func, const char *file) {
  const uintptr_t both =
      (reinterpret_cast<uintptr_t>(func) >> 2) + (reinterpret_cast<uintptr_t>(file) >> 2);
  return sites[both % max_sites];
}

constexpr uint32_t rounded(uint32_t size) {
  constexpr uint32_t step = sizeof(mrec_note_t);
  return (size + step - 1) / step * step;
}

uint32_t text_size(const char *text, std::size_t max) {
  return text == nullptr ? 0 : static_cast<uint32_t>(strnlen(text, max));
}

// Returns the end of the copy.
uint8_t *copy_text(uint8_t *to, const char *text, uint32_t size) {
  if (size != 0)
    std::memcpy(to, text, size);
  return to + size;
}

// Returns the number of the site.
__attribute__((noinline)) uint32_t note_site(ring *notes, const char *func, const char *file) {
  const uint32_t func_size = text_size(func, max_func), file_size = text_size(file, max_file);
  const uint32_t size = rounded(uint32_t{sizeof(mrec_site_t)} + func_size + file_size);
  uint8_t *const bytes = ring_reserve(notes, size);
  auto *const note = reinterpret_cast<mrec_site_t *>(bytes);
  note->number = ++last_site;
  note->func_size = func_size;
  note->file_size = file_size;
  note->reserved = 0;
  copy_text(copy_text(bytes + sizeof *note, func, func_size), file, file_size);
  ring_publish(notes, MREC_NOTE_SITE, size);
  if (is_constant(func) && is_constant(file))
    place_of(func, file) = {func, file, last_site, transaction.number};
  return last_site;
}

inline uint32_t site_number(ring *notes, const char *func, const char *file) {
  const known_site &known = place_of(func, file);
  const bool has_note = known.func == func && known.file == file && known.number != 0 &&
                        known.transaction == transaction.number.load(std::memory_order_relaxed);
  return has_note ? known.number : note_site(notes, func, file);
}

// Notes a write if a transaction is open, with space for so many words. Inline, since the library
// needs as much time for a write as for a few calls. The frame is the address of an argument: that
// of a variable would cost a check of the stack.
__attribute__((always_inline)) inline noted_write note_join(const void *frame,
                                                            const write_target &to,
                                                            const call_site &by,
                                                            uint32_t space = 0) {
  if (!transaction.open.load(std::memory_order_relaxed))
    return {};
  ring *const notes = lock_notes(frame);
  if (notes == nullptr)
    return {};
  const uint32_t site = site_number(notes, by.func, by.file);
  const uint32_t size = rounded(uint32_t{sizeof(mrec_join_t)} + 4 * space);
  uint8_t *const bytes = ring_reserve(notes, size);
  auto *const note = reinterpret_cast<mrec_join_t *>(bytes);
  const noted_write noted = {transaction.writes + 1, static_cast<uint32_t>(bytes - notes->notes),
                             position(*notes).head};
  const uint32_t place = transaction.words.load(std::memory_order_relaxed);
  note->number = noted.number;
  note->operation = to.operation;
  note->flags = to.flags;
  note->kept = 0;
  note->module = to.module;
  note->asic = to.asic;
  note->block = to.block;
  note->instance = to.instance;
  note->reg = to.reg;
  note->index = to.index;
  note->entries = to.entries;
  note->data = to.data;
  note->mask = to.mask;
  note->place = place;
  note->words = to.words;
  note->context = by.context;
  note->line = static_cast<uint32_t>(by.line);
  note->site = site;
  transaction.writes = noted.number;
  transaction.words.store(place + to.words, std::memory_order_relaxed);
  ring_publish(notes, MREC_NOTE_JOIN, size);
  unlock_notes();
  sent_alone = false;
  return noted;
}

// Adds the last words of a table write to its note, unless other notes have overwritten it, or
// this is a new process with another recording.
void keep_words(const noted_write &write, const uint32_t *words, uint32_t kept) {
  ring *const notes = lock_notes(__builtin_frame_address(0));
  if (notes == nullptr)
    return;
  const ring_position &now = position(*notes);
  auto *const note = reinterpret_cast<mrec_join_t *>(notes->notes + write.offset);
  if (now.head - write.position <= now.used && note->number == write.number) {
    auto *const to = reinterpret_cast<uint32_t *>(note + 1);
    for (uint32_t i = 0; i < kept; ++i)  // mostly a few
      __atomic_store_n(to + i, words[i], __ATOMIC_RELAXED);
    __atomic_store_n(&note->kept, static_cast<uint16_t>(kept), __ATOMIC_RELEASE);
  }
  unlock_notes();
}

void note_refusal(uint32_t number, uint32_t writes, bool partly) {
  ring *const notes = lock_notes(__builtin_frame_address(0));
  if (notes == nullptr)
    return;
  auto *const note =
      reinterpret_cast<mrec_refusal_t *>(ring_reserve(notes, sizeof(mrec_refusal_t)));
  note->number = number;
  note->writes = writes;
  note->partly = partly ? 1 : 0;
  note->reserved = 0;
  ring_publish(notes, MREC_NOTE_REFUSAL, sizeof *note);
  unlock_notes();
}

__attribute__((noinline)) void note_start(const char *name) {
  ring *const notes = lock_notes(__builtin_frame_address(0));
  if (notes == nullptr)
    return;
  check_unloaded();
  forget_sites();
  auto *const note = reinterpret_cast<mrec_start_t *>(ring_reserve(notes, sizeof(mrec_start_t)));
  note->wall_ns = clock_ns(CLOCK_REALTIME);
  note->monotonic_ns = clock_ns(CLOCK_MONOTONIC);
  std::memset(note->name, 0, sizeof note->name);
  std::memcpy(note->name, name, strnlen(name, sizeof note->name - 1));
  ring_publish(notes, MREC_NOTE_START, sizeof *note);
  unlock_notes();
}

// After writes that the library has not added to the transaction, or not all of them.
__attribute__((cold, noinline)) void take_back(uint32_t number, uint32_t writes, uint32_t words,
                                               bool program) {
  const uint32_t added = transaction.words;
  transaction.words = added > words ? added - words : 0;
  if (sent_alone)  // a call that the recorder did not see has sent the transaction
    transaction.open = false;
  note_refusal(number, writes, program && !sent_alone);
}

// After the library returned from a write of one register.
inline void check_write(const noted_write &noted, syserr_t result) {
  if ((result != 0 || sent_alone) && noted.number != 0)
    take_back(noted.number, 1, 1, false);
}

// After the library took a table write, and has read the words. The note keeps as many as a
// transaction can have that is not sent.
void check_table_write(const noted_write &noted, const uint32_t *data, uint32_t words) {
  const uint32_t kept = std::min(words, MREC_JOIN_WORDS_MAX);
  if (kept != 0)
    keep_words(noted, data + words - kept, kept);
}

uint8_t raw_flag(uint32_t code) {
  return code == KEL_ASIC_WR_SYMBOLIC ? 0 : MREC_JOIN_RAW;
}

// Of each block: its first row in kel_asic_dhs_rows; then the end.
struct block_rows {
  uint8_t first[KEL_ASIC_NUM_BLK + 1];
};
constexpr block_rows table_rows = [] {
  block_rows rows = {};
  for (const kel_asic_dhs_row_t &row : kel_asic_dhs_rows) {
    for (uint32_t block = static_cast<uint32_t>(row.block) + 1; block <= KEL_ASIC_NUM_BLK; ++block)
      ++rows.first[block];
  }
  return rows;
}();

// The words of table entries; 0 if only the register map knows them.
uint32_t table_words(uint32_t block, kel_asic_reg_t vreg, uint32_t entries) {
  if (block >= KEL_ASIC_NUM_BLK)
    return 0;
  for (uint32_t i = table_rows.first[block]; i < table_rows.first[block + 1]; ++i) {
    const kel_asic_dhs_row_t &row = kel_asic_dhs_rows[i];
    if (vreg >= row.first && vreg <= row.last)
      return row.words * entries;
  }
  return 0;
}

// Notes the steps that the library may run on the one ASIC of a register map. Returns their number.
uint32_t note_steps(int module, kel_asic_num_t asic, const kel_asic_pgm_t *steps, int count,
                    const call_site &by, uint32_t *first) {
  constexpr uint32_t is_bit_map = 0x80000000;
  const bool is_selected = (asic & is_bit_map) != 0 ? (asic & 1) != 0 : asic % 32 == 0;
  if (!transaction.open || !is_selected || module < 0 || module > 3 || steps == nullptr)
    return 0;
  uint32_t noted = 0;
  for (int i = 0; i < count && steps[i].magic == KEL_ASIC_PGM_MAGIC; ++i) {
    const kel_asic_pgm_t &step = steps[i];
    const noted_write write =
        note_join(__builtin_frame_address(0),
                  {MREC_JOIN_PROGRAM, 0, module, 0, static_cast<uint32_t>(step.block),
                   step.instance, step.vreg, 0, 0, step.data, step.mask, 1},
                  by);
    if (write.number == 0)
      return noted;
    *first = noted == 0 ? write.number : *first;
    ++noted;
  }
  return noted;
}

template <typename Function>
Function *next_of(next_function &next, const void *caller) {
  return reinterpret_cast<Function *>(next.for_caller(caller));
}

// The program has no libmorvaneusd.
__attribute__((cold, noinline)) syserr_t no_library() {
  log_error({"no libmorvaneusd: no other library defines its functions"});
  return SYSERR_KEL_ASIC_UNINIT;
}

}  // namespace

void find_library_functions() {
  for (next_function *next :
       {&next_write, &next_write_field, &next_write_dhs, &next_pgm, &next_start, &next_commit})
    next->find_global();
}

void forget_sites() {
  ++transaction.number;
}

void observe_request(const call_payload &record) {
  if (record.case_code == SYSSRV_REG_WRITE_CASE)
    sent_alone = true;
  if (record.case_code != SYSSRV_MEM_WRITE_CASE || record.bytes == nullptr ||
      record.length != sizeof(kel_asic_xn_t)) {
    return;
  }
  // The library goes on in another transaction if this one is full.
  const uint32_t sent = kel_asic_record_field(record.bytes, offsetof(kel_asic_xn_t, num));
  const uint32_t words = transaction.words;
  transaction.words = sent == KEL_ASIC_XN_ENTRIES && words > sent ? words - sent : 0;
  forget_sites();
}

#pragma GCC visibility push(default)

syserr_t lib_mrv_asic_write(int module, kel_asic_num_t asic, kel_asic_blk_t block,
                            uint32_t instance, kel_asic_reg_t vreg, uint32_t data, uint32_t code,
                            uint32_t context, char *file, int line, const char *func) {
  auto *const next = next_of<decltype(lib_mrv_asic_write)>(next_write, __builtin_return_address(0));
  if (next == nullptr)
    return no_library();
  const noted_write noted =
      note_join(&module,
                {MREC_JOIN_WRITE, raw_flag(code), module, asic, static_cast<uint32_t>(block),
                 instance, vreg, 0, 0, data, whole_register, 1},
                {context, file, line, func});
  const syserr_t result =
      next(module, asic, block, instance, vreg, data, code, context, file, line, func);
  check_write(noted, result);
  return result;
}

syserr_t lib_mrv_asic_write_field(int module, kel_asic_num_t asic, kel_asic_blk_t block,
                                  uint32_t instance, kel_asic_reg_t vreg, uint32_t field_value,
                                  uint32_t field_mask, uint32_t code, uint32_t context, char *file,
                                  int line, const char *func) {
  auto *const next =
      next_of<decltype(lib_mrv_asic_write_field)>(next_write_field, __builtin_return_address(0));
  if (next == nullptr)
    return no_library();
  const noted_write noted =
      note_join(&module,
                {MREC_JOIN_FIELD, raw_flag(code), module, asic, static_cast<uint32_t>(block),
                 instance, vreg, 0, 0, field_value, field_mask, 1},
                {context, file, line, func});
  const syserr_t result = next(module, asic, block, instance, vreg, field_value, field_mask, code,
                               context, file, line, func);
  check_write(noted, result);
  return result;
}

syserr_t lib_mrv_asic_write_dhs(int module, kel_asic_num_t asic, kel_asic_blk_t block,
                                uint32_t instance, kel_asic_reg_t vreg, uint32_t dhs_index,
                                uint32_t *p_data, uint32_t num_entries, uint32_t context,
                                char *file, int line, const char *func) {
  auto *const next =
      next_of<decltype(lib_mrv_asic_write_dhs)>(next_write_dhs, __builtin_return_address(0));
  if (next == nullptr)
    return no_library();
  noted_write noted = {};
  uint32_t words = 0;
  if (transaction.open && num_entries != 0) {
    words = table_words(static_cast<uint32_t>(block), vreg, num_entries);
    noted = note_join(&module,
                      {MREC_JOIN_TABLE, 0, module, asic, static_cast<uint32_t>(block), instance,
                       vreg, dhs_index, num_entries, 0, whole_register, words},
                      {context, file, line, func}, std::min(words, MREC_JOIN_WORDS_MAX));
  }
  const syserr_t result = next(module, asic, block, instance, vreg, dhs_index, p_data, num_entries,
                               context, file, line, func);
  if (noted.number == 0)
    return result;
  if (result != 0 || sent_alone)
    take_back(noted.number, 1, words, false);
  else
    check_table_write(noted, p_data, words);
  return result;
}

syserr_t lib_mrv_asic_pgm(int module, kel_asic_num_t asic, kel_asic_pgm_t *p_pgm, int pgm_len,
                          uint32_t context, char *file, int line, const char *func) {
  auto *const next = next_of<decltype(lib_mrv_asic_pgm)>(next_pgm, __builtin_return_address(0));
  if (next == nullptr)
    return no_library();
  uint32_t first = 0;
  const uint32_t noted =
      note_steps(module, asic, p_pgm, pgm_len, {context, file, line, func}, &first);
  const syserr_t result = next(module, asic, p_pgm, pgm_len, context, file, line, func);
  if (noted != 0 && (result != 0 || sent_alone))
    take_back(first, noted, noted, true);
  return result;
}

int mrv_asic_transaction_start(char *xn_name, int reorder) {
  auto *const next =
      next_of<decltype(mrv_asic_transaction_start)>(next_start, __builtin_return_address(0));
  if (next == nullptr)
    return static_cast<int>(no_library());
  const int result = next(xn_name, reorder);
  if (!is_recording_wanted() || transaction.open || xn_name == nullptr || xn_name[0] == '\0')
    return result;
  transaction.open = true;
  transaction.words = 0;
  note_start(xn_name);
  return result;
}

int mrv_asic_transaction_commit(void) {
  auto *const next =
      next_of<decltype(mrv_asic_transaction_commit)>(next_commit, __builtin_return_address(0));
  if (next == nullptr)
    return static_cast<int>(no_library());
  const int result = next();
  const uint32_t unseen = transaction.words;
  if (transaction.open && unseen != 0)  // the recorder did not see the request
    note_refusal(transaction.writes - unseen + 1, unseen, false);
  transaction.open = false;
  transaction.words = 0;
  return result;
}

#pragma GCC visibility pop
