// The system-service transport of the virtual switch: it carries a record to the driver service, or
// lets the call go wrong as the controls ask, and tells the watcher.
#include "platform/system_service.h"

#include <cerrno>
#include <deque>

#include "driver_service.h"

namespace {

// How a call ends.
struct Outcome {
  int result;
  int error_number;  // where the result is negative
};

struct Transport {
  std::deque<Outcome> faults;  // of the calls to come, first come first served
  vp_watcher watcher = nullptr;
  void *user = nullptr;
};

// Never destroyed: calls may come as long as the process lives.
Transport &transport() {
  static auto *const instance = new Transport;
  return *instance;
}

void tell_watcher(vp_phase phase, const vp_call &call) {
  if (transport().watcher != nullptr)
    transport().watcher(phase, &call, transport().user);
}

Outcome deliver(uint32_t case_code, const sys_srvc_case_params_t *case_params, uint32_t length) {
  if (!transport().faults.empty()) {
    const Outcome fault = transport().faults.front();
    transport().faults.pop_front();
    return fault;
  }
  if (case_params == nullptr || case_params->params == nullptr)
    return {-1, EFAULT};
  if (case_params->caseId != KEL_ASIC_DRIVER_MORVANE)
    return {-1, ENODEV};
  const int refusal = driver_service().handle(case_code, case_params->params, length);
  return {refusal == 0 ? 0 : -1, refusal};
}

}  // namespace

int sse_call2(uint32_t case_code, sys_srvc_case_params_t *case_params, uint32_t length) {
  vp_call call = {case_code, 0, nullptr, length, 0, 0};
  if (case_params != nullptr) {
    call.driver_id = case_params->caseId;
    call.record = case_params->params;
  }
  tell_watcher(VP_CALL_SENT, call);
  const Outcome outcome = deliver(case_code, case_params, length);
  call.result = outcome.result;
  call.error_number = outcome.error_number;
  tell_watcher(VP_CALL_ANSWERED, call);
  // Last, as the watcher may have used errno for its own.
  if (outcome.result < 0)
    errno = outcome.error_number;
  return outcome.result;
}

void vp_fail_next_call(int error_number) {
  transport().faults.push_back({-1, error_number});
}

void vp_answer_next_call(int result) {
  transport().faults.push_back({result, result < 0 ? EIO : 0});
}

void vp_watch(vp_watcher watcher, void *user) {
  transport().watcher = watcher;
  transport().user = user;
}

void vp_reset(void) {
  transport() = Transport();
  driver_service() = DriverService();
  vp_set_card(CARDCFG_DEV_TYPE_MORVANE, virtual_asic::kPlainCard);
}
