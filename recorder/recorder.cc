// Records each service call between a program and its platform, and forwards it unchanged.
//
// It must not harm the program, whatever the program does. A call may come on a small stack, in a
// signal handler, in a thread of low priority, or be left by siglongjmp at any instruction. So the
// recorder needs at most 1 KiB of stack, waits for another thread for milliseconds only, and counts
// a call that it cannot record.
#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <iterator>

#include "compact_record.h"
#include "library_calls.h"
#include "next_function.h"
#include "platform/system_service.h"
#include "recorder.h"
#include "recording_file.h"
#include "ring.h"

// A program that contains its platform defines the service call under this name.
extern "C" __attribute__((weak)) int recorded_sse_call2(uint32_t case_code,
                                                        sys_srvc_case_params_t *case_params,
                                                        uint32_t length);

per_process per_process_state;
__attribute__((tls_model("initial-exec"))) __thread uintptr_t thread_frame;
__attribute__((tls_model("initial-exec"))) __thread bool thread_registered;

namespace {

using service_call = int (*)(uint32_t, sys_srvc_case_params_t *, uint32_t);

// How many calls the recorder keeps at once, in addition to the call in the header.
constexpr std::size_t max_concurrent = 32;

// How often a thread yields, and then sleeps for 100 us, before it gives up a note. The file takes
// longer to create than a note to write.
constexpr int max_yields = 20, max_sleeps = 100, max_sleeps_before_recording = 2000;

enum class stage : uint8_t {
  loaded,     // the environment has not been read
  ready,      // to record from the first call on
  recording,  // into the ring
  off         // no recording is requested, or it has failed
};

// A call that has begun and not returned.
struct begun_call {
  std::atomic<uint64_t> number;  // 0: none
  uintptr_t thread;
  const void *frame;  // of sse_call2
  uint8_t *request;   // what is kept of it
};

// Changed only by the thread that holds the lock, which no thread holds during a service call.
struct recorder_state {
  std::atomic<stage> now;
  recording_settings settings;
  ring notes;
  uint64_t calls;                        // that have begun in this recording
  std::atomic<uint32_t> missed;          // of them: those that have no note
  uint32_t recordings;                   // that have begun in this process and those it forked from
  begun_call begun[1 + max_concurrent];  // the first one is in the header
  uint8_t requests[max_concurrent][MREC_REQUEST_MAX];
};

recorder_state recorder;
next_function next_call("sse_call2", report_choice);
pthread_key_t thread_key = UINT32_MAX;  // invalid

// A recorded call, in the frame of sse_call2.
struct pending_call {
  mrec_call_t note;
  call_payload record;
  begun_call *place;
  uint32_t recording;
};

uintptr_t this_thread() {
  return static_cast<uintptr_t>(pthread_self());
}

// The child of a fork has its own recording, from its first call on. It has mapped what its parent
// has mapped.
void leave_recording_to_parent() {
  recorder.missed = 0;
  per_process_state.notes = nullptr;
  if (recorder.now == stage::recording) {
    recorder.now = stage::ready;
    unmap_recording(recorder.notes);
  }
  per_process_state.adopted = true;
}

// Not nanosleep(): the thread could be cancelled there.
void sleep_100_us() {
  const long duration[] = {0, 100000};
  syscall(SYS_nanosleep, duration, nullptr);
}

// Waits while another thread writes its note, which takes a few microseconds. That thread may be
// stopped, have no processor because of its priority, or have left its call by siglongjmp. So the
// caller gives up after some 15 ms, and each later caller at once until the lock is free again.
bool acquire(uintptr_t frame) {
  per_process &state = per_process_state;
  const uint32_t first = state.unlocks;
  const int sleeps = recorder.now == stage::recording ? max_sleeps : max_sleeps_before_recording;
  for (int attempt = 0; attempt < max_yields + sleeps; ++attempt) {
    uintptr_t none = 0;
    if (state.lock_frame.compare_exchange_strong(none, frame, std::memory_order_acquire))
      return true;
    if (state.given_up == state.unlocks + 1)
      return false;
    if (attempt < max_yields)
      sched_yield();
    else
      sleep_100_us();
  }
  state.given_up = first + 1;
  return false;
}

// Whether this thread has the lock, in a call that runs or that was left.
bool has_lock() {
  const uintptr_t frame = per_process_state.lock_frame.load(std::memory_order_relaxed);
  return frame != 0 && frame == thread_frame;
}

bool on_alternate_stack() {
  stack_t stack = {};
  return sigaltstack(nullptr, &stack) != 0 || (stack.ss_flags & SS_ONSTACK) != 0;
}

// False if the lock cannot be had. If this thread has it, a signal handler makes this call while
// the thread writes a note. But a handler's frame is below those that it interrupts: if it is not,
// the older call was left.
bool lock(const void *frame) {
  const auto own = reinterpret_cast<uintptr_t>(frame);
  if (has_lock()) {
    if (own < thread_frame || (own != thread_frame && on_alternate_stack()))
      return false;
    unlock_notes();
  }
  thread_frame = own;
  if (!acquire(own))
    return false;
  thread_frame = own;  // which a signal handler may have changed
  if (!per_process_state.adopted)
    leave_recording_to_parent();
  return true;
}

void hide_begun() {
  __atomic_store_n(&recorder.notes.header->begun.number, 0, __ATOMIC_RELAXED);
  __atomic_thread_fence(__ATOMIC_RELEASE);
}

void count_missed() {
  ++recorder.missed;
  if (recorder.now == stage::recording)
    __atomic_store_n(&recorder.notes.header->missed, recorder.missed, __ATOMIC_RELAXED);
}

// For a call that has no note. The caller may not have the lock.
void give_up(begun_call *place, uint64_t number) {
  if (number == 0 || !place->number.compare_exchange_strong(number, 0))
    return;
  count_missed();
  if (place == recorder.begun)
    hide_begun();
}

// A thread that ends returns to none of its calls, nor to a note that it has begun.
void end_thread(void *) {
  const uintptr_t thread = this_thread();
  thread_registered = false;
  if (has_lock())
    unlock_notes();
  if (!lock(&thread))
    return;
  if (recorder.now == stage::recording) {
    for (begun_call &call : recorder.begun) {
      if (call.thread == thread)
        give_up(&call, call.number);
    }
  }
  unlock_notes();
}

// For a kernel that is too old to wipe the page.
void wipe() {
  per_process_state.adopted = false;
  per_process_state.notes = nullptr;
  per_process_state.lock_frame = 0;
}

// At load, while the environment and the working directory are those that the program was given,
// and on the stack of a program that begins: the search for a function takes 4 KiB.
__attribute__((constructor)) void init_from_env() {
  if (recorder.now != stage::loaded)
    return;
  next_call.find_global(reinterpret_cast<void *>(recorded_sse_call2));
  find_library_functions();
  remember_standard_error();
  read_settings(&recorder.settings);
  const bool wanted = recorder.settings.directory[0] != '\0';
  if (wanted) {
    if (pthread_key_create(&thread_key, end_thread) != 0)
      thread_key = UINT32_MAX;
    pthread_atfork(nullptr, nullptr, wipe);
    madvise(&per_process_state, sizeof per_process_state, MADV_WIPEONFORK);
  }
  recorder.now = wanted ? stage::ready : stage::off;
}

void reset_begun() {
  recorder.calls = 0;
  for (std::size_t i = 0; i <= max_concurrent; ++i) {
    recorder.begun[i].number = 0;
    recorder.begun[i].request =
        i == 0 ? recorder.notes.header->begun.request : recorder.requests[i - 1];
  }
}

void start_recording() {
  int cancel_state = 0;  // of the thread, which must not end here
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state);
  init_from_env();
  if (recorder.now == stage::ready) {
    ++recorder.recordings;
    const bool created = create_recording(recorder.settings, &recorder.notes);
    if (created) {
      reset_begun();
      forget_sites();
      recorder.notes.header->missed = recorder.missed;
    }
    recorder.now = created ? stage::recording : stage::off;
    per_process_state.notes = created ? &recorder.notes : nullptr;
  }
  pthread_setcancelstate(cancel_state, nullptr);
}

int no_service_call(uint32_t, sys_srvc_case_params_t *, uint32_t) {
  errno = ENOSYS;
  return -1;
}

// The function of the platform.
service_call next_service_call(const void *caller) {
  void *const next = next_call.for_caller(caller);
  if (next != nullptr)
    return reinterpret_cast<service_call>(next);
  log_error({"no service call: no other library defines sse_call2"});
  return no_service_call;
}

// A place for one more call: a free one, or that of the oldest call, which may have been left.
begun_call *spare_place() {
  begun_call *const first = recorder.begun + 1;
  begun_call *const place = std::min_element(
      first, first + max_concurrent,
      [](const auto &one, const auto &other) { return one.number < other.number; });
  give_up(place, place->number);
  return place;
}

// The header has the newest call of its thread, since the thread may have left an older call. The
// older one keeps its request elsewhere, in case a signal handler has interrupted it.
begun_call *claim_place(const void *frame) {
  begun_call *const shown = recorder.begun;
  const uintptr_t thread = this_thread();
  if (shown->frame == frame)
    give_up(shown, shown->number);
  if (shown->number == 0)
    return shown;
  begun_call *const spare = spare_place();
  if (shown->thread != thread)
    return spare;
  hide_begun();
  std::memcpy(spare->request, shown->request, MREC_REQUEST_MAX);
  spare->thread = thread;
  spare->frame = shown->frame;
  spare->number = shown->number.exchange(0);
  return shown;
}

// The number goes in last, and out first: a reader takes the rest as complete while the number
// stays the same.
void show_begun(const mrec_call_t &note) {
  mrec_begun_t &begun = recorder.notes.header->begun;
  begun.wall_ns = note.wall_ns;
  begun.monotonic_ns = note.monotonic_ns;
  begun.case_code = note.case_code;
  begun.driver = note.driver;
  begun.length = note.length;
  begun.shape = note.shape;
  begun.flags = note.flags;
  begun.request_size = note.request_size;
  __atomic_store_n(&begun.number, note.number, __ATOMIC_RELEASE);
}

void note_request(pending_call *call, uint32_t driver) {
  begun_call *const place = claim_place(call);
  place->thread = this_thread();
  place->frame = call;
  place->number.store(++recorder.calls, std::memory_order_relaxed);
  const compact_record kept = keep_request(call->record, place->request);
  mrec_call_t &note = call->note;
  note = {};
  note.number = place->number;
  note.case_code = call->record.case_code;
  note.driver = driver;
  note.length = call->record.length;
  note.shape = kept.shape;
  note.flags = kept.flags;
  note.request_size = kept.size;
  note.wall_ns = clock_ns(CLOCK_REALTIME);
  note.monotonic_ns = clock_ns(CLOCK_MONOTONIC);
  if (place == recorder.begun)
    show_begun(note);
  call->place = place;
  call->recording = recorder.recordings;
}

// Gives up a note because of a thread that has the lock. It may never come back, so its call is not
// shown any longer.
void miss_call() {
  count_missed();
  if (recorder.now == stage::recording)
    hide_begun();
}

void register_thread() {
  if (thread_registered)
    return;
  thread_registered = true;
  pthread_setspecific(thread_key, &recorder);
}

// False if the call is not recorded.
bool begin_note(pending_call *call, uint32_t driver) {
  if (lock_notes(call) == nullptr) {
    if (is_recording_wanted())  // the lock cannot be had
      miss_call();
    return false;
  }
  note_request(call, driver);
  unlock_notes();
  return true;
}

void write_note(const pending_call &call, const uint8_t *kept, const compact_record &answer) {
  const uint32_t size = note_size(call.note);
  uint8_t *const note = ring_reserve(&recorder.notes, size);
  uint8_t *const request = note + sizeof call.note;
  std::memcpy(note, &call.note, sizeof call.note);
  std::memcpy(request, kept, call.note.request_size);
  keep_answer(call.record, answer, request + call.note.request_size);
  ring_publish(&recorder.notes, MREC_NOTE_CALL, size);
}

// Null if the place has been given to another call.
begun_call *place_of(const pending_call &call) {
  if (call.place->number == call.note.number)
    return call.place;
  begun_call *const end = std::end(recorder.begun);
  begun_call *const found = std::find_if(recorder.begun, end, [&call](const begun_call &other) {
    return other.number == call.note.number;
  });
  return found == end ? nullptr : found;
}

void write_answer(pending_call *call, begun_call *place) {
  compact_record answer = {call->note.shape, 0, 0};
  if (call->note.result == 0)
    answer = measure_answer(call->record, call->note.shape, place->request);
  call->note.flags |= answer.flags;
  call->note.answer_size = answer.size;
  write_note(*call, place->request, answer);
  if (place == recorder.begun)
    hide_begun();
  place->number.store(0, std::memory_order_relaxed);
}

void note_answer(pending_call *call, int result, int error_number) {
  call->note.duration_ns = clock_ns(CLOCK_MONOTONIC) - call->note.monotonic_ns;
  call->note.result = result;
  call->note.error_number = result < 0 ? error_number : 0;
  const bool locked = lock(call);
  // During the call the process may have forked, and this may be the child.
  if (recorder.now == stage::recording && call->recording == recorder.recordings) {
    if (!locked)
      give_up(call->place, call->note.number);
    else if (begun_call *const place = place_of(*call))
      write_answer(call, place);
  }
  if (locked)
    unlock_notes();
}

}  // namespace

void report_choice(const char *name, const char *library) {
  log_error({"several libraries define ", name, "; calls go to ", library});
}

bool is_recording_wanted() {
  return recorder.now.load(std::memory_order_relaxed) != stage::off;
}

ring *lock_notes_patiently(const void *frame) {
  const int old_errno = errno;
  register_thread();
  const bool locked = lock(frame);
  if (locked && recorder.now != stage::recording)
    start_recording();
  const bool recording = locked && recorder.now == stage::recording;
  if (locked && !recording)
    unlock_notes();
  errno = old_errno;
  return recording ? &recorder.notes : nullptr;
}

__attribute__((visibility("default"))) int sse_call2(uint32_t case_code,
                                                     sys_srvc_case_params_t *case_params,
                                                     uint32_t length) {
  const int old_errno = errno;
  const service_call next = next_service_call(__builtin_return_address(0));
  pending_call call;
  call.record = {case_code, nullptr, length};
  if (case_params != nullptr)
    call.record.bytes = static_cast<const uint8_t *>(case_params->params);
  observe_request(call.record);
  const bool recorded =
      is_recording_wanted() && begin_note(&call, case_params == nullptr ? 0 : case_params->caseId);
  errno = old_errno;
  const int result = next(case_code, case_params, length);
  if (!recorded)
    return result;
  const int error_number = errno;
  note_answer(&call, result, error_number);
  errno = error_number;
  return result;
}
