// Results of the library and error numbers in words.
#include "base/errors.h"

#include <strings.h>

#include <cerrno>
#include <cstring>

#include "base/named_value.h"
#include "base/text.h"

namespace mrvctl {
namespace {

#include "codes.inc"

constexpr int kHighestErrno = static_cast<int>(KEL_ASIC_SYSERR_ERRNO_MASK);

bool is_service_failure(syserr_t code) {
  return (code & KEL_ASIC_SYSERR_KIND_MASK) == KEL_ASIC_SYSERR_SERVICE;
}

int service_errno(syserr_t code) {
  return static_cast<int>(code & KEL_ASIC_SYSERR_ERRNO_MASK);
}

}  // namespace

OperationFailed::OperationFailed(syserr_t code, const std::string &hint)
    : std::runtime_error(result_text(code) + (hint.empty() ? "" : ": " + hint)), code_(code) {
}

std::string errno_name(int error_number) {
  const char *name = strerrorname_np(error_number);
  return name == nullptr ? std::to_string(error_number) : name;
}

int errno_of_name(const std::string &name) {
  for (int number = 1; number <= kHighestErrno; ++number) {
    const char *known = strerrorname_np(number);
    if (known != nullptr && strcasecmp(known, name.c_str()) == 0)
      return number;
  }
  return 0;
}

std::string result_name(syserr_t code) {
  if (is_service_failure(code))
    return errno_name(service_errno(code));
  if (code == KEL_ASIC_SYSERR_NO_BUFFER)
    return "KEL_ASIC_SYSERR_NO_BUFFER";
  if (code == KEL_ASIC_SYSERR_NO_TRACE_LOG)
    return "KEL_ASIC_SYSERR_NO_TRACE_LOG";
  const char *name = name_of(kCodes, code);
  return name == nullptr ? "unknown code" : name;
}

std::string result_text(syserr_t code) {
  if (code == KEL_ASIC_SYSERR_SERVICE_ANSWER)
    return format("service call failed: %s, or a positive answer (0x%08X)",
                  std::strerror(service_errno(code)), code);
  if (is_service_failure(code))
    return format("service call failed: %s (0x%08X)", std::strerror(service_errno(code)), code);
  if (code == KEL_ASIC_SYSERR_NO_BUFFER)
    return "no memory: the request buffer cannot be allocated or cannot grow (12)";
  if (code == KEL_ASIC_SYSERR_NO_TRACE_LOG)
    return format("the trace log cannot be opened or positioned (0x%08X)", code);
  return format("%s (0x%08X)", result_name(code).c_str(), code);
}

}  // namespace mrvctl
