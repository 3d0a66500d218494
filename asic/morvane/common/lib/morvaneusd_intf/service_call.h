// The register request and the service call, one place for all operations.
#ifndef SERVICE_CALL_H
#define SERVICE_CALL_H

#include <cstring>

#include "kel_asic_lib_private.h"
#include "platform/system_service.h"

#pragma GCC visibility push(hidden)

// Who called the operation; sent along and never looked at.
struct caller_id {
  uint32_t context;
  const char *file;
  int line;
  const char *func;
};

constexpr uint32_t request_header_size = sizeof(kel_asic_reg_access_params_t);
constexpr uint32_t whole_register = 0xFFFFFFFF;

// What a request asks for.
struct register_access {
  kel_asic_access_type_t type;
  int module;
  kel_asic_num_t asic;
  uint32_t addr;
  uint32_t data;
  uint32_t mask;
  uint32_t num;
};

// Copies a text of the caller's into a field of a record: cut so that a NUL ends it, the rest of
// the field NUL. A null text is an empty one.
template <std::size_t size>
inline void copy_text(char (&field)[size], const char *text) {
  std::strncpy(field, text != nullptr ? text : "", size - 1);
  field[size - 1] = '\0';
}

// Fills the whole header of a request; the data words are left alone.
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

// Hands a record to the driver service. Gives the service's own result.
inline int send_record(uint32_t case_code, void *record, uint32_t length) {
  sys_srvc_case_params_t case_params = {lib_ctx.driver_id, record};
  return sse_call2(case_code, &case_params, length);
}

// What an operation returns for a call that has just failed.
__attribute__((cold, noinline)) syserr_t service_failure(int rc);

// Hands a record to the driver service. Gives the result as an operation returns it.
inline syserr_t call_service(uint32_t case_code, void *record, uint32_t length) {
  const int rc = send_record(case_code, record, length);
  return rc == 0 ? 0 : service_failure(rc);
}

// Builds a single-register request and hands it over.
inline syserr_t send_request(uint32_t case_code, kel_asic_reg_access_params_t *request,
                             const register_access &access, const caller_id &caller) {
  fill_request(request, access, caller);
  return call_service(case_code, request, request_header_size);
}

#pragma GCC visibility pop

#endif
