// Notes each write that joins a transaction, with its caller, and forwards it unchanged. The record
// of the transaction does not have the callers.
//
// The note is written before the library gets the write, so that it exists if the process dies in
// the call, and precedes the note of a transaction that the write completes. A write that the
// library then refuses gets a second note.
#include "library_calls.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>

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

// The open transaction, as far as the recorder sees it: a caller can pass it by. The fields change
// under the lock, except `open`.
struct transaction_state {
  std::atomic<bool> open;
  std::atomic<uint32_t> words;  // that writes with a note have added to it
  uint32_t writes;              // that have a note
};
transaction_state transaction;

// Whether this thread sent a single write since it was false.
__attribute__((tls_model("initial-exec"))) thread_local bool sent_alone;

struct call_site {
  uint32_t context;
  const char *file;
  int line;
  const char *func;
};

// A write, without its caller.
struct target {
  int module;
  uint32_t asic, block, instance, reg;
};
struct write_request {
  uint8_t operation, flags;
  uint32_t index, entries, data, mask, words;
};

uint8_t text_size(const char *text, std::size_t max) {
  return text == nullptr ? 0 : static_cast<uint8_t>(strnlen(text, max));
}

uint32_t rounded(uint32_t size) {
  constexpr uint32_t step = sizeof(mrec_note_t);
  return (size + step - 1) / step * step;
}

void write_join(ring *notes, const target &to, const write_request &write, const call_site &by) {
  const uint8_t func_size = text_size(by.func, max_func), file_size = text_size(by.file, max_file);
  const uint32_t size = rounded(uint32_t{sizeof(mrec_join_t)} + func_size + file_size);
  uint8_t *const bytes = ring_reserve(notes, size);
  auto *const note = reinterpret_cast<mrec_join_t *>(bytes);
  note->number = ++transaction.writes;
  note->operation = write.operation;
  note->flags = write.flags;
  note->func_size = func_size;
  note->file_size = file_size;
  note->module = to.module;
  note->asic = to.asic;
  note->block = to.block;
  note->instance = to.instance;
  note->reg = to.reg;
  note->index = write.index;
  note->entries = write.entries;
  note->data = write.data;
  note->mask = write.mask;
  note->place = transaction.words;
  note->words = write.words;
  note->context = by.context;
  note->line = static_cast<uint32_t>(by.line);
  note->reserved = 0;
  std::memcpy(bytes + sizeof *note, by.func, func_size);
  std::memcpy(bytes + sizeof *note + func_size, by.file, file_size);
  ring_publish(notes, MREC_NOTE_JOIN, size);
  transaction.words += write.words;
}

// Returns the number of the note, 0 if there is none.
__attribute__((noinline)) uint32_t note_write(const target &to, const write_request &write,
                                              const call_site &by) {
  const int old_errno = errno;
  ring *const notes = lock_notes(__builtin_frame_address(0));
  uint32_t number = 0;
  if (notes != nullptr) {
    write_join(notes, to, write, by);
    number = transaction.writes;
    unlock_notes();
  }
  sent_alone = false;
  errno = old_errno;
  return number;
}

__attribute__((noinline)) void note_result(uint32_t number, uint32_t writes, uint32_t fate,
                                           const uint32_t *words, uint32_t kept) {
  const int old_errno = errno;
  if (ring *const notes = lock_notes(__builtin_frame_address(0))) {
    const uint32_t size = rounded(uint32_t{sizeof(mrec_result_t)} + 4 * kept);
    uint8_t *const bytes = ring_reserve(notes, size);
    auto *const note = reinterpret_cast<mrec_result_t *>(bytes);
    note->number = number;
    note->writes = writes;
    note->fate = fate;
    note->kept = kept;
    if (kept != 0)
      std::memcpy(bytes + sizeof *note, words, 4 * kept);
    ring_publish(notes, MREC_NOTE_RESULT, size);
    unlock_notes();
  }
  errno = old_errno;
}

__attribute__((noinline)) void note_start(const char *name) {
  const int old_errno = errno;
  if (ring *const notes = lock_notes(__builtin_frame_address(0))) {
    auto *const note = reinterpret_cast<mrec_start_t *>(ring_reserve(notes, sizeof(mrec_start_t)));
    note->wall_ns = clock_ns(CLOCK_REALTIME);
    note->monotonic_ns = clock_ns(CLOCK_MONOTONIC);
    std::memset(note->name, 0, sizeof note->name);
    std::memcpy(note->name, name, strnlen(name, sizeof note->name - 1));
    ring_publish(notes, MREC_NOTE_START, sizeof *note);
    unlock_notes();
  }
  errno = old_errno;
}

bool is_transaction_open() {
  return transaction.open.load(std::memory_order_relaxed) && is_recording_wanted();
}

// After writes that the library has not added to the transaction, or not all of them.
__attribute__((cold, noinline)) void take_back(uint32_t number, uint32_t writes, uint32_t words,
                                               bool program) {
  const uint32_t added = transaction.words;
  transaction.words = added > words ? added - words : 0;
  if (sent_alone)  // a call that the recorder did not see has sent the transaction
    transaction.open = false;
  note_result(number, writes, program && !sent_alone ? MREC_RESULT_PARTLY : MREC_RESULT_REFUSED,
              nullptr, 0);
}

// Forwards a write of one register.
template <typename Forward>
syserr_t write_one(const target &to, const write_request &write, const call_site &by,
                   Forward forward) {
  if (!is_transaction_open())
    return forward();
  const uint32_t number = note_write(to, write, by);
  const syserr_t result = forward();
  if (number != 0 && (result != 0 || sent_alone))
    take_back(number, 1, 1, false);
  return result;
}

uint8_t raw_flag(uint32_t code) {
  return code == KEL_ASIC_WR_SYMBOLIC ? 0 : MREC_JOIN_RAW;
}

// The words of table entries; 0 if only the register map knows them.
uint32_t table_words(const target &to, uint32_t index, uint32_t entries) {
  const int size = kel_asic_dhs_entry_size(static_cast<kel_asic_blk_t>(to.block), to.reg, index);
  return size < 1 ? 0 : static_cast<uint32_t>(size) * entries;
}

// The library has read the words. Those that no transaction has sent yet are kept.
void keep_unsent_words(uint32_t number, const uint32_t *data, uint32_t words) {
  const uint32_t kept = std::min({words, transaction.words.load(), uint32_t{KEL_ASIC_XN_ENTRIES}});
  if (kept != 0)
    note_result(number, 1, MREC_RESULT_WORDS, data + words - kept, kept);
}

// The steps that the library may run on the one ASIC of a register map. Returns their number.
uint32_t note_steps(int module, kel_asic_num_t asic, const kel_asic_pgm_t *steps, int count,
                    const call_site &by, uint32_t *first) {
  constexpr uint32_t is_bit_map = 0x80000000;
  const bool is_selected = (asic & is_bit_map) != 0 ? (asic & 1) != 0 : asic % 32 == 0;
  uint32_t noted = 0;
  if (!is_selected || module < 0 || module > 3 || steps == nullptr)
    return 0;
  for (const kel_asic_pgm_t *step = steps;
       step != steps + count && step->magic == KEL_ASIC_PGM_MAGIC; ++step) {
    const uint32_t number =
        note_write({module, 0, static_cast<uint32_t>(step->block), step->instance, step->vreg},
                   {MREC_JOIN_PROGRAM, 0, 0, 0, step->data, step->mask, 1}, by);
    if (number == 0)
      return noted;
    *first = noted == 0 ? number : *first;
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
}

#pragma GCC visibility push(default)

syserr_t lib_mrv_asic_write(int module, kel_asic_num_t asic, kel_asic_blk_t block,
                            uint32_t instance, kel_asic_reg_t vreg, uint32_t data, uint32_t code,
                            uint32_t context, char *file, int line, const char *func) {
  auto *const next = next_of<decltype(lib_mrv_asic_write)>(next_write, __builtin_return_address(0));
  if (next == nullptr)
    return no_library();
  return write_one({module, asic, static_cast<uint32_t>(block), instance, vreg},
                   {MREC_JOIN_WRITE, raw_flag(code), 0, 0, data, whole_register, 1},
                   {context, file, line, func}, [&] {
                     return next(module, asic, block, instance, vreg, data, code, context, file,
                                 line, func);
                   });
}

syserr_t lib_mrv_asic_write_field(int module, kel_asic_num_t asic, kel_asic_blk_t block,
                                  uint32_t instance, kel_asic_reg_t vreg, uint32_t field_value,
                                  uint32_t field_mask, uint32_t code, uint32_t context, char *file,
                                  int line, const char *func) {
  auto *const next =
      next_of<decltype(lib_mrv_asic_write_field)>(next_write_field, __builtin_return_address(0));
  if (next == nullptr)
    return no_library();
  return write_one({module, asic, static_cast<uint32_t>(block), instance, vreg},
                   {MREC_JOIN_FIELD, raw_flag(code), 0, 0, field_value, field_mask, 1},
                   {context, file, line, func}, [&] {
                     return next(module, asic, block, instance, vreg, field_value, field_mask, code,
                                 context, file, line, func);
                   });
}

syserr_t lib_mrv_asic_write_dhs(int module, kel_asic_num_t asic, kel_asic_blk_t block,
                                uint32_t instance, kel_asic_reg_t vreg, uint32_t dhs_index,
                                uint32_t *p_data, uint32_t num_entries, uint32_t context,
                                char *file, int line, const char *func) {
  auto *const next =
      next_of<decltype(lib_mrv_asic_write_dhs)>(next_write_dhs, __builtin_return_address(0));
  if (next == nullptr)
    return no_library();
  if (!is_transaction_open() || num_entries == 0)
    return next(module, asic, block, instance, vreg, dhs_index, p_data, num_entries, context, file,
                line, func);
  const target to = {module, asic, static_cast<uint32_t>(block), instance, vreg};
  const uint32_t words = table_words(to, dhs_index, num_entries);
  const uint32_t number =
      note_write(to, {MREC_JOIN_TABLE, 0, dhs_index, num_entries, 0, whole_register, words},
                 {context, file, line, func});
  const syserr_t result = next(module, asic, block, instance, vreg, dhs_index, p_data, num_entries,
                               context, file, line, func);
  if (number == 0)
    return result;
  if (result != 0 || sent_alone)
    take_back(number, 1, words, false);
  else
    keep_unsent_words(number, p_data, words);
  return result;
}

syserr_t lib_mrv_asic_pgm(int module, kel_asic_num_t asic, kel_asic_pgm_t *p_pgm, int pgm_len,
                          uint32_t context, char *file, int line, const char *func) {
  auto *const next = next_of<decltype(lib_mrv_asic_pgm)>(next_pgm, __builtin_return_address(0));
  if (next == nullptr)
    return no_library();
  uint32_t first = 0, noted = 0;
  if (is_transaction_open())
    noted = note_steps(module, asic, p_pgm, pgm_len, {context, file, line, func}, &first);
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
  transaction.open = false;
  transaction.words = 0;
  return result;
}

#pragma GCC visibility pop
