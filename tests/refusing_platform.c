/* The virtual platform with a service that refuses every transaction. */
#include <dlfcn.h>
#include <errno.h>
#include <stddef.h>

#include "platform/system_service.h"

int sse_call2(uint32_t case_code, sys_srvc_case_params_t *case_params, uint32_t length) {
  int (*next)(uint32_t, sys_srvc_case_params_t *, uint32_t) = NULL;
  if (case_code == SYSSRV_MEM_WRITE_CASE) {
    errno = EPERM;
    return -1;
  }
  *(void **)&next = dlsym(RTLD_NEXT, "sse_call2");
  return next(case_code, case_params, length);
}
