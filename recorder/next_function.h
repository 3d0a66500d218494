// The functions that an object stands in for: where a call would go without it.
#ifndef RECORDER_NEXT_FUNCTION_H
#define RECORDER_NEXT_FUNCTION_H

#include <atomic>
#include <cstddef>
#include <cstdint>

#pragma GCC visibility push(hidden)

// Reports that several libraries define a function, and which of them is used.
using choice_report = void (*)(const char *name, const char *library);

// Searches the global scope after this object, then the libraries that were loaded with RTLD_LOCAL:
// first those that were loaded together with the object of the caller. The library with the
// function stays loaded. Returns null if no object has the function. Needs several KiB of stack.
void *find_next_function(const char *name, const void *caller, choice_report report);

// The same, but remembers what it has found.
class next_function {
 public:
  constexpr next_function(const char *name, choice_report report) : name_(name), report_(report) {}

  // Searches the global scope only, unless the function is given.
  void find_global(void *function = nullptr);

  // Null if there is none now.
  void *for_caller(const void *caller) {
    void *const global = global_.load(std::memory_order_relaxed);
    return global != nullptr ? global : find_local(caller);
  }

 private:
  // The function for the callers in one object.
  struct local_function {
    std::atomic<uintptr_t> begin;  // of the object; 0: unused
    uintptr_t end;
    void *function;
  };

  __attribute__((noinline)) void *find_local(const void *caller);
  void remember(const void *caller, void *function);

  const char *name_;
  choice_report report_;
  std::atomic<void *> global_{nullptr};
  std::atomic<uint32_t> used_{0};
  local_function locals_[8]{};
};

#pragma GCC visibility pop

#endif
