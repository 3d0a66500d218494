// The recording of this process, for the functions that the recorder stands in for.
#ifndef RECORDER_RECORDER_H
#define RECORDER_RECORDER_H

#include <sys/single_threaded.h>

#include <atomic>
#include <cstdint>

#include "ring.h"

#pragma GCC visibility push(hidden)

// Empty in a forked process: the kernel wipes the page after any kind of fork. Another thread may
// have held the lock, which does not exist in the new process.
struct alignas(4096) per_process {
  std::atomic<uintptr_t> lock_frame;  // address in the frame of the call that has the lock; 0: none
  std::atomic<uint32_t> unlocks;
  std::atomic<uint32_t> given_up;  // 1 + the number of unlocks at which a thread waited in vain
  bool adopted;                    // what the process has mapped is its own
  ring *notes;                     // null unless this process is recorded
};
extern per_process per_process_state;

// The last call of this thread that had the lock, or waited for it.
extern __attribute__((tls_model("initial-exec"))) __thread uintptr_t thread_frame;

// Whether the recorder is told when this thread ends.
extern __attribute__((tls_model("initial-exec"))) __thread bool thread_registered;

// False if calls are only forwarded.
bool is_recording_wanted();

// The same as lock_notes(), for the first note of a process or thread, and if the lock is held.
ring *lock_notes_patiently(const void *frame);

// Locks the recording for one note, for the function that has this address in its frame. Returns
// null if there is no recording, or if another note is being written: then the note is given up.
inline ring *lock_notes(const void *frame) {
  per_process &state = per_process_state;
  const auto own = reinterpret_cast<uintptr_t>(frame);
  uintptr_t none = state.lock_frame.load(std::memory_order_relaxed);
  if (state.notes == nullptr || !thread_registered || none != 0)
    return lock_notes_patiently(frame);
  thread_frame = own;
  if (__libc_single_threaded)
    state.lock_frame.store(own, std::memory_order_relaxed);
  else if (!state.lock_frame.compare_exchange_strong(none, own, std::memory_order_acquire))
    return lock_notes_patiently(frame);
  thread_frame = own;  // which a signal handler may have changed
  return state.notes;
}

inline void unlock_notes() {
  per_process &state = per_process_state;
  state.unlocks.store(state.unlocks.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  state.lock_frame.store(0, std::memory_order_release);
}

// Reports on standard error which of several libraries gets the calls of a function.
void report_choice(const char *name, const char *library);

#pragma GCC visibility pop

#endif
