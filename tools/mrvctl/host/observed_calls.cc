// The tool's own sse_call2: it hands on to the platform's and tells the observers.
#include "host/observed_calls.h"

#include <cerrno>
#include <cstdint>
#include <vector>

#include "host/forwarded.h"

namespace mrvctl {
namespace {

std::vector<CallObserver> &observers() {
  static std::vector<CallObserver> all;
  return all;
}

// The service answers in the record of the request, which is therefore kept as it was.
ServiceCall kept_request(const ServiceCall &call) {
  static std::vector<std::uint8_t> kept;
  const auto *bytes = static_cast<const std::uint8_t *>(call.record);
  if (bytes != nullptr)
    kept.assign(bytes, bytes + call.length);
  ServiceCall request = call;
  request.record = bytes == nullptr ? nullptr : kept.data();
  return request;
}

void tell_sent(const ServiceCall &request) {
  for (const CallObserver &observer : observers()) {
    if (observer.sent)
      observer.sent(request);
  }
}

void tell_answered(const ObservedCall &call) {
  for (const CallObserver &observer : observers()) {
    if (observer.answered)
      observer.answered(call);
  }
}

}  // namespace

void observe_calls(CallObserver observer) {
  observers().push_back(std::move(observer));
}

}  // namespace mrvctl

int sse_call2(uint32_t case_code, sys_srvc_case_params_t *case_params, uint32_t length) {
  using Clock = std::chrono::steady_clock;
  mrvctl::ServiceCall call = {case_code, case_params->caseId, case_params->params, length, 0, 0};
  const mrvctl::ServiceCall request = mrvctl::kept_request(call);
  mrvctl::tell_sent(request);
  const Clock::time_point begin = Clock::now();
  call.result = mrvctl::forwarded().sse_call2(case_code, case_params, length);
  const int error_number = errno;
  const Clock::duration duration = Clock::now() - begin;
  call.error_number = call.result < 0 ? error_number : 0;
  mrvctl::tell_answered({request, call, duration});
  errno = error_number;  // observers may have used it for their own
  return call.result;
}
