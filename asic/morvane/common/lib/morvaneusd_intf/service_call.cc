#include "service_call.h"

#include <cerrno>

syserr_t service_failure(int rc) {
  if (rc > 0)
    return KEL_ASIC_SYSERR_SERVICE_ANSWER;
  return KEL_ASIC_SYSERR_SERVICE | (static_cast<uint32_t>(errno) & KEL_ASIC_SYSERR_ERRNO_MASK);
}
