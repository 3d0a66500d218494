// The transport of the fake platform, in a library loaded after the program: if a recorder is
// loaded, it is between the two.
#include "platform/system_service.h"

extern "C" int fake_service_call(uint32_t case_code, sys_srvc_case_params_t *case_params,
                                 uint32_t length);

int sse_call2(uint32_t case_code, sys_srvc_case_params_t *case_params, uint32_t length) {
  return fake_service_call(case_code, case_params, length);
}
