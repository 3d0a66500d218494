// The register request and the service call, one place for all operations.
#ifndef SERVICE_CALL_H
#define SERVICE_CALL_H

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
void copy_text(char *field, std::size_t size, const char *text);

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
  copy_text(request->info.func, sizeof request->info.func, caller.func);
  copy_text(request->info.file, sizeof request->info.file, caller.file);
}

// Hands a record to the driver service. Gives the service's own result.
int send_record(uint32_t case_code, void *record, uint32_t length);

// The same, with the result as an operation returns it.
syserr_t call_service(uint32_t case_code, void *record, uint32_t length);

// Builds a single-register request and hands it over.
inline syserr_t send_request(uint32_t case_code, kel_asic_reg_access_params_t *request,
                             const register_access &access, const caller_id &caller) {
  fill_request(request, access, caller);
  return call_service(case_code, request, request_header_size);
}

#pragma GCC visibility pop

#endif
