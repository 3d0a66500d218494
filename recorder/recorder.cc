// Stands between a program and its platform: notes each service call and hands it on unchanged.
#include <dlfcn.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>

#include "compact_record.h"
#include "platform/system_service.h"
#include "recording_file.h"
#include "ring.h"

namespace {

using service_call = int (*)(uint32_t, sys_srvc_case_params_t *, uint32_t);

enum class stage : uint8_t {
  loaded,     // the environment has not been read
  ready,      // to record from the first call on
  recording,  // into the ring
  off         // nothing is asked for, or it has failed
};

// Changed by the thread alone that holds the lock. Nobody holds it during a service call.
struct recorder_state {
  std::atomic<stage> now;
  recording_settings settings;
  ring notes;
  uint64_t calls;       // that have begun in this recording
  bool slot_busy;       // the header's, for the call under way
  uint32_t recordings;  // that have begun in this process and those that it was forked from
};

// Empty in a forked process: the kernel wipes the page, however it was forked. The lock may have
// been held by a thread that is not there.
struct alignas(4096) per_process {
  std::atomic<uintptr_t> lock_owner;
  bool adopted;  // what the process has mapped is its own
};

recorder_state recorder;
per_process per_process_state;

// A call on its way, and what is known of it.
struct pending_call {
  mrec_call_t note;
  call_payload record;
  uint8_t *request;  // what is kept of it
  uint32_t recording;
};

// For a kernel that is too old to do it.
void wipe() {
  per_process_state.adopted = false;
  per_process_state.lock_owner = 0;
}

// At load, while the environment and the working directory are those that the program was given.
__attribute__((constructor)) void init_from_env() {
  if (recorder.now != stage::loaded)
    return;
  read_settings(&recorder.settings);
  const bool wanted = recorder.settings.directory[0] != '\0';
  if (wanted) {
    pthread_atfork(nullptr, nullptr, wipe);
    madvise(&per_process_state, sizeof per_process_state, MADV_WIPEONFORK);
  }
  recorder.now = wanted ? stage::ready : stage::off;
}

// The child of a fork has a recording of its own, from its first call on. What its parent has
// mapped is mapped here too.
void leave_recording_to_parent() {
  if (recorder.now == stage::recording) {
    unmap_recording(recorder.notes);
    recorder.now = stage::ready;
  }
  per_process_state.adopted = true;
}

// False where this very thread has it: a signal handler makes a call amid a note.
bool lock() {
  const auto self = static_cast<uintptr_t>(pthread_self());
  uintptr_t owner = 0;
  while (
      !per_process_state.lock_owner.compare_exchange_weak(owner, self, std::memory_order_acquire)) {
    if (owner == self)
      return false;
    owner = 0;
    sched_yield();
  }
  if (!per_process_state.adopted)
    leave_recording_to_parent();
  return true;
}

void unlock() {
  per_process_state.lock_owner.store(0, std::memory_order_release);
}

void start_recording() {
  const int error_number = errno;
  init_from_env();
  if (recorder.now == stage::ready) {
    const bool created = create_recording(recorder.settings, &recorder.notes);
    recorder.calls = 0;
    recorder.slot_busy = false;
    ++recorder.recordings;
    recorder.now = created ? stage::recording : stage::off;
  }
  errno = error_number;
}

int no_service_call(uint32_t, sys_srvc_case_params_t *, uint32_t) {
  errno = ENOSYS;
  return -1;
}

// That of the platform: the next library's.
service_call find_service_call() {
  const int error_number = errno;
  auto next = reinterpret_cast<service_call>(dlsym(RTLD_NEXT, "sse_call2"));
  if (next == nullptr) {
    log_error("no service call: no library behind this one defines sse_call2");
    next = no_service_call;
  }
  errno = error_number;
  return next;
}

service_call next_service_call() {
  static std::atomic<service_call> found;
  service_call next = found.load(std::memory_order_relaxed);
  if (next == nullptr) {
    next = find_service_call();
    found.store(next, std::memory_order_relaxed);
  }
  return next;
}

// Takes a number for a call, and the header's room for its request where that is free. False where
// the call is not to be noted.
bool begin_note(pending_call *call) {
  if (!lock()) {
    if (recorder.now == stage::recording)
      __atomic_add_fetch(&recorder.notes.header->missed, 1, __ATOMIC_RELAXED);
    return false;
  }
  if (recorder.now != stage::recording)
    start_recording();
  const bool recording = recorder.now == stage::recording;
  if (recording) {
    call->note = {};
    call->note.number = ++recorder.calls;
    call->recording = recorder.recordings;
    call->request = recorder.slot_busy ? nullptr : recorder.notes.header->begun.request;
    recorder.slot_busy = true;
  }
  unlock();
  return recording;
}

bool in_header(const pending_call &call) {
  return call.request == recorder.notes.header->begun.request;
}

// The number goes in last, and out first: a reader takes the rest for whole while it stays the
// same.
void show_under_way(const mrec_call_t &note) {
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

void clear_under_way() {
  __atomic_store_n(&recorder.notes.header->begun.number, 0, __ATOMIC_RELAXED);
  __atomic_thread_fence(__ATOMIC_RELEASE);
  recorder.slot_busy = false;
}

void note_request(pending_call *call, uint32_t driver) {
  const compact_record kept = keep_request(call->record, call->request);
  call->note.case_code = call->record.case_code;
  call->note.driver = driver;
  call->note.length = call->record.length;
  call->note.shape = kept.shape;
  call->note.flags = kept.flags;
  call->note.request_size = kept.size;
  call->note.wall_ns = clock_ns(CLOCK_REALTIME);
  call->note.monotonic_ns = clock_ns(CLOCK_MONOTONIC);
  if (in_header(*call))
    show_under_way(call->note);
}

void write_note(const pending_call &call, const compact_record &answer) {
  constexpr uint32_t step = sizeof(mrec_note_t);
  const uint32_t used =
      static_cast<uint32_t>(sizeof call.note) + call.note.request_size + answer.size;
  const uint32_t size = (used + step - 1) / step * step;
  uint8_t *const room = ring_reserve(&recorder.notes, size);
  uint8_t *const request = room + sizeof call.note;
  std::memcpy(room, &call.note, sizeof call.note);
  std::memcpy(request, call.request, call.note.request_size);
  keep_answer(call.record, answer, request + call.note.request_size);
  ring_publish(&recorder.notes, MREC_NOTE_CALL, size);
}

void note_answer(pending_call *call, int result, int error_number) {
  call->note.duration_ns = clock_ns(CLOCK_MONOTONIC) - call->note.monotonic_ns;
  call->note.result = result;
  call->note.error_number = result < 0 ? error_number : 0;
  // Below the platform the process may have forked, and this be the child.
  if (!lock())
    return;
  if (recorder.now == stage::recording && call->recording == recorder.recordings) {
    compact_record answer = {call->note.shape, 0, 0};
    if (result == 0)
      answer = measure_answer(call->record, call->note.shape, call->request);
    call->note.flags |= answer.flags;
    call->note.answer_size = answer.size;
    write_note(*call, answer);
    if (in_header(*call))
      clear_under_way();
  }
  unlock();
}

int forward(pending_call *call, service_call next, sys_srvc_case_params_t *case_params) {
  note_request(call, case_params == nullptr ? 0 : case_params->caseId);
  const int result = next(call->record.case_code, case_params, call->record.length);
  const int error_number = errno;
  note_answer(call, result, error_number);
  errno = error_number;
  return result;
}

// Beside a call of another thread. The library that is recorded has no such calls, so that none but
// they pay for the room on the stack.
__attribute__((noinline)) int forward_concurrent(pending_call *call, service_call next,
                                                 sys_srvc_case_params_t *case_params) {
  uint8_t request[MREC_REQUEST_MAX];
  call->request = request;
  return forward(call, next, case_params);
}

}  // namespace

__attribute__((visibility("default"))) int sse_call2(uint32_t case_code,
                                                     sys_srvc_case_params_t *case_params,
                                                     uint32_t length) {
  const service_call next = next_service_call();
  pending_call call;
  if (recorder.now.load(std::memory_order_relaxed) == stage::off || !begin_note(&call))
    return next(case_code, case_params, length);
  call.record = {case_code, nullptr, length};
  if (case_params != nullptr)
    call.record.bytes = static_cast<const uint8_t *>(case_params->params);
  return call.request == nullptr ? forward_concurrent(&call, next, case_params)
                                 : forward(&call, next, case_params);
}
