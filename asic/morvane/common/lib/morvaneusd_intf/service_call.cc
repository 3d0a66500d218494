#include "service_call.h"

#include <cerrno>
#include <cstring>

namespace {

syserr_t service_result(int rc) {
  if (rc == 0)
    return 0;
  if (rc > 0)
    return KEL_ASIC_SYSERR_SERVICE_ANSWER;
  return KEL_ASIC_SYSERR_SERVICE | (static_cast<uint32_t>(errno) & KEL_ASIC_SYSERR_ERRNO_MASK);
}

}  // namespace

void copy_text(char *field, std::size_t size, const char *text) {
  std::strncpy(field, text != nullptr ? text : "", size - 1);
  field[size - 1] = '\0';
}

int send_record(uint32_t case_code, void *record, uint32_t length) {
  sys_srvc_case_params_t case_params = {lib_ctx.driver_id, record};
  return sse_call2(case_code, &case_params, length);
}

syserr_t call_service(uint32_t case_code, void *record, uint32_t length) {
  return service_result(send_record(case_code, record, length));
}
