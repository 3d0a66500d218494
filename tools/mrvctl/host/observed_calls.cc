// The tool's own sse_call2: it forwards to the platform's and notifies the observers.
#include "host/observed_calls.h"

#include <cerrno>
#include <chrono>
#include <vector>

#include "host/platform_library.h"

namespace mrvctl {
namespace {

std::vector<CallObserver> &observers() {
  static std::vector<CallObserver> all;
  return all;
}

void notify(const DecodedCall &call) {
  for (const CallObserver &observer : observers())
    observer(call);
}

std::vector<uint8_t> bytes_of(const void *record, uint32_t length) {
  const auto *bytes = static_cast<const uint8_t *>(record);
  return bytes == nullptr ? std::vector<uint8_t>() : std::vector<uint8_t>(bytes, bytes + length);
}

}  // namespace

void observe_calls(CallObserver observer) {
  observers().push_back(std::move(observer));
}

}  // namespace mrvctl

int sse_call2(uint32_t case_code, sys_srvc_case_params_t *case_params, uint32_t length) {
  using Clock = std::chrono::steady_clock;
  mrvctl::DecodedCall call;
  call.case_code = case_code;
  call.driver = case_params->caseId;
  call.length = length;
  // The service answers in the record of the request.
  call.request_bytes = mrvctl::bytes_of(case_params->params, length);
  decode(call);
  mrvctl::notify(call);
  const Clock::time_point begin = Clock::now();
  const int result = mrvctl::forwarded().sse_call2(case_code, case_params, length);
  const int error_number = errno;
  const std::chrono::nanoseconds duration = Clock::now() - begin;
  call.duration_ns = static_cast<uint64_t>(duration.count());
  call.result = result;
  call.error_number = result < 0 ? error_number : 0;
  if (result == 0)
    call.answer_bytes = mrvctl::bytes_of(case_params->params, length);
  decode(call);
  mrvctl::notify(call);
  errno = error_number;  // observers may have changed it
  return result;
}
