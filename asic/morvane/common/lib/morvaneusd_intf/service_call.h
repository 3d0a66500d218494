// The register request and the service call of all operations.
#ifndef SERVICE_CALL_H
#define SERVICE_CALL_H

#include <cstring>

#include "kel_asic_lib_private.h"
#include "platform/system_service.h"

#pragma GCC visibility push(hidden)

// The caller of the operation; sent, but not used here.
struct caller_id {
  uint32_t context;
  const char *file;
  int line;
  const char *func;
};

constexpr uint32_t request_header_size = sizeof(kel_asic_reg_access_params_t);
constexpr uint32_t whole_register = 0xFFFFFFFF;

// The contents of a request.
struct register_access {
  kel_asic_access_type_t type;
  int module;
  kel_asic_num_t asic;
  uint32_t addr;
  uint32_t data;
  uint32_t mask;
  uint32_t num;
};

// Copies a text of the caller into a field of a record, truncated and padded with NUL. A null text
// counts as empty.
template <std::size_t size>
inline void copy_text(char (&field)[size], const char *text) {
  std::strncpy(field, text != nullptr ? text : "", size - 1);
  field[size - 1] = '\0';
}

// Fills the complete header of a request, but not the data words.
inline void fill_request(kel_asic_reg_access_params_t *request, const register_access &access,
                         const caller_id &caller) {
  request->type = access.type;
  request->module = access.module;
  request->asic = access.asic;
  request->addr = access.addr;
  request->data = access.data;
  request->mask = access.mask;
  request->num = access.num;
  request->info.userdata = caller.context;
  request->info.line = static_cast<uint32_t>(caller.line);
  copy_text(request->info.func, caller.func);
  copy_text(request->info.file, caller.file);
}

// Passes a record to the driver service. Returns the service's result.
inline int send_record(uint32_t case_code, void *record, uint32_t length) {
  sys_srvc_case_params_t case_params = {lib_ctx.driver_id, record};
  return sse_call2(case_code, &case_params, length);
}

// The result of an operation whose call has just failed.
__attribute__((cold, noinline)) syserr_t service_failure(int rc);

// Passes a record to the driver service. Returns the result of the operation.
inline syserr_t call_service(uint32_t case_code, void *record, uint32_t length) {
  const int rc = send_record(case_code, record, length);
  return rc == 0 ? 0 : service_failure(rc);
}

// Builds and sends a single-register request.
inline syserr_t send_request(uint32_t case_code, kel_asic_reg_access_params_t *request,
                             const register_access &access, const caller_id &caller) {
  fill_request(request, access, caller);
  return call_service(case_code, request, request_header_size);
}

#pragma GCC visibility pop

#endif
