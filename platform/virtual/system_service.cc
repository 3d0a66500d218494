// The system-service transport of the virtual switch: it passes a record to the switch, in this
// process or in another, and calls the watcher.
#include "platform/system_service.h"

#include <cerrno>
#include <ctime>

#include "own_switch.h"
#include "virtual_platform.h"

namespace {

struct Watcher {
  vp_watcher function = nullptr;
  void *user = nullptr;
};

Watcher current;

void tell_watcher(vp_phase phase, const vp_call &call) {
  if (current.function != nullptr)
    current.function(phase, &call, current.user);
}

// A signal cannot interrupt a slow switch.
void wait(uint32_t microseconds) {
  timespec left = {static_cast<time_t>(microseconds / 1000000),
                   static_cast<long>(microseconds % 1000000) * 1000};
  while (microseconds != 0 && nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

remote::Outcome call_own_switch(const ServiceCall &call) {
  const CallingClient client = own_switch().has_faults() ? own_client() : CallingClient();
  const VirtualSwitch::Outcome outcome = own_switch().call(call, client);
  wait(outcome.delay_us);
  return {outcome.result, outcome.error_number};
}

remote::Outcome deliver(const ServiceCall &call) {
  if (!remote::is_remote())
    return call_own_switch(call);
  if (call.record == nullptr)
    return {-1, EFAULT};
  return remote::call(call.case_code, call.driver_id, call.record, call.length);
}

}  // namespace

int sse_call2(uint32_t case_code, sys_srvc_case_params_t *case_params, uint32_t length) {
  ServiceCall sent = {case_code, 0, nullptr, length};
  if (case_params != nullptr) {
    sent.driver_id = case_params->caseId;
    sent.record = case_params->params;
  }
  vp_call call = {case_code, sent.driver_id, sent.record, length, 0, 0};
  tell_watcher(VP_CALL_SENT, call);
  const remote::Outcome outcome = deliver(sent);
  call.result = outcome.result;
  call.error_number = outcome.error_number;
  tell_watcher(VP_CALL_ANSWERED, call);
  // Last, because the watcher may have changed errno.
  if (outcome.result < 0)
    errno = outcome.error_number;
  return outcome.result;
}

void vp_watch(vp_watcher watcher, void *user) {
  current = {watcher, user};
}

int vp_reset(void) {
  current = Watcher();
  return request_control(remote::kReset, nullptr, 0, nullptr, 0);
}
