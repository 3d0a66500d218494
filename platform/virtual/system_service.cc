// The system-service transport of the virtual switch: it passes a record to the driver service, in
// this process or in another, or lets the call fail as the controls request, and calls the watcher.
#include "platform/system_service.h"

#include <cerrno>
#include <ctime>
#include <new>
#include <optional>
#include <vector>

#include "kel_asic_lib_common.h"
#include "own_switch.h"
#include "virtual_platform.h"
#include "wire/switch_client.h"

namespace {

using remote::Outcome;

// The requests of the controls for the calls of this process.
struct Transport {
  std::vector<Outcome> faults;  // of the next calls, in order
  std::optional<uint32_t> next_num;
  uint32_t delay = 0;  // milliseconds, for a number of calls
  uint32_t delayed_calls = 0;
  vp_watcher watcher = nullptr;
  void *user = nullptr;
};

// Never destroyed and in static memory, as own_switch().
Transport &transport() {
  alignas(Transport) static unsigned char memory[sizeof(Transport)];
  static auto *const instance = new (memory) Transport;
  return *instance;
}

void tell_watcher(vp_phase phase, const vp_call &call) {
  if (transport().watcher != nullptr)
    transport().watcher(phase, &call, transport().user);
}

Outcome carry(uint32_t case_code, const sys_srvc_case_params_t &params, uint32_t length) {
  if (remote::is_remote())
    return remote::call(case_code, params.caseId, params.params, length);
  const int refusal = own_switch().driver.handle(case_code, params.caseId, params.params, length);
  return {refusal == 0 ? 0 : -1, refusal};
}

// The answer to a block read has the number of words that the controls request.
void change_num(uint32_t case_code, void *record) {
  auto &request = *static_cast<kel_asic_reg_access_params_t *>(record);
  if (!transport().next_num || case_code != SYSSRV_REG_READ_CASE || request.type != TYPE_READ_DHS)
    return;
  request.num = *transport().next_num;
  transport().next_num.reset();
}

// A signal cannot interrupt a slow service.
void wait_as_asked() {
  if (transport().delayed_calls == 0)
    return;
  --transport().delayed_calls;
  const uint32_t delay = transport().delay;
  timespec left = {static_cast<time_t>(delay / 1000), static_cast<long>(delay % 1000) * 1000000};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

Outcome deliver(uint32_t case_code, const sys_srvc_case_params_t *case_params, uint32_t length) {
  if (!transport().faults.empty()) {
    const Outcome fault = transport().faults.front();
    transport().faults.erase(transport().faults.begin());
    return fault;
  }
  if (case_params == nullptr || case_params->params == nullptr)
    return {-1, EFAULT};
  const Outcome outcome = carry(case_code, *case_params, length);
  if (outcome.result == 0)
    change_num(case_code, case_params->params);
  return outcome;
}

}  // namespace

int sse_call2(uint32_t case_code, sys_srvc_case_params_t *case_params, uint32_t length) {
  vp_call call = {case_code, 0, nullptr, length, 0, 0};
  if (case_params != nullptr) {
    call.driver_id = case_params->caseId;
    call.record = case_params->params;
  }
  tell_watcher(VP_CALL_SENT, call);
  wait_as_asked();
  const Outcome outcome = deliver(case_code, case_params, length);
  call.result = outcome.result;
  call.error_number = outcome.error_number;
  tell_watcher(VP_CALL_ANSWERED, call);
  // Last, because the watcher may have changed errno.
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

void vp_delay_calls(uint32_t milliseconds, uint32_t calls) {
  transport().delay = milliseconds;
  transport().delayed_calls = calls;
}

void vp_watch(vp_watcher watcher, void *user) {
  transport().watcher = watcher;
  transport().user = user;
}

void vp_answer_next_num(uint32_t num) {
  transport().next_num = num;
}

int vp_reset(void) {
  transport() = Transport();
  if (remote::is_remote())
    return remote::control_request(remote::kReset, nullptr, 0, nullptr, 0);
  own_switch() = VirtualSwitch();
  return 0;
}
