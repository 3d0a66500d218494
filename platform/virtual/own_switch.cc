#include "own_switch.h"

#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>

namespace {

using Bytes = std::vector<uint8_t>;

// In static memory, because C callers expect no exception.
template <typename Object>
Object &never_destroyed() {
  alignas(Object) static unsigned char memory[sizeof(Object)];
  static auto *const instance = new (memory) Object;
  return *instance;
}

int control_own_switch(remote::Kind kind, const void *body, uint32_t length, Bytes &answer) {
  try {
    answer.clear();
    return own_switch().control(kind, static_cast<const uint8_t *>(body), length, own_client(),
                                answer);
  } catch (const std::bad_alloc &) {
    return ENOMEM;
  }
}

}  // namespace

VirtualSwitch &own_switch() {
  return never_destroyed<VirtualSwitch>();
}

CallingClient own_client() {
  static char program[16];
  prctl(PR_GET_NAME, program);
  return {0, getpid(), program};
}

int request_control(remote::Kind kind, const void *body, uint32_t length, void *answer,
                    uint32_t answer_length) {
  if (remote::is_remote())
    return remote::control_request(kind, body, length, answer, answer_length);
  Bytes &last_answer = never_destroyed<Bytes>();
  const int error = control_own_switch(kind, body, length, last_answer);
  if (error == 0 && answer_length != 0)
    std::memcpy(answer, last_answer.data(), answer_length);
  return error;
}

int request_list(remote::Kind kind, const void **entries, uint32_t *length) {
  if (remote::is_remote())
    return remote::list_request(kind, entries, length);
  Bytes &last_answer = never_destroyed<Bytes>();
  const int error = control_own_switch(kind, nullptr, 0, last_answer);
  *entries = last_answer.data();
  *length = static_cast<uint32_t>(last_answer.size());
  return error;
}
