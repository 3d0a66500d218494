// Results of the library and error numbers in words.
#include "text/errors.h"

#include <strings.h>

#include <cerrno>
#include <cstring>

#include "kel_asic_syserr_text.h"
#include "text/numbers.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr int kMaxErrno = static_cast<int>(KEL_ASIC_SYSERR_ERRNO_MASK);

// 0 if there is no such name.
int errno_of_name(const std::string &name) {
  for (int number = 1; number <= kMaxErrno; ++number) {
    const char *known = strerrorname_np(number);
    if (known != nullptr && strcasecmp(known, name.c_str()) == 0)
      return number;
  }
  return 0;
}

}  // namespace

OperationFailed::OperationFailed(syserr_t code, const std::string &hint, Status status)
    : std::runtime_error(result_text(code) + (hint.empty() ? "" : ": " + hint)),
      code_(code),
      status_(status) {
}

std::string errno_name(int error_number) {
  const char *name = strerrorname_np(error_number);
  return name == nullptr ? std::to_string(error_number) : name;
}

std::vector<std::string> errno_names() {
  std::vector<std::string> names;
  for (int number = 1; number <= kMaxErrno; ++number) {
    const char *name = strerrorname_np(number);
    if (name != nullptr)
      names.emplace_back(name);
  }
  return names;
}

int parse_errno(const std::string &text) {
  if (const int number = errno_of_name(text); number != 0)
    return number;
  if (begins_as_number(text))
    return static_cast<int>(parse_u64(text, 1, static_cast<uint64_t>(kMaxErrno)));
  throw UsageError("'" + text + "' is not the name of an errno or a number from 1 to " +
                   std::to_string(kMaxErrno) + suggestion(upper_case(text), errno_names()));
}

syserr_t parse_result(const std::string &text) {
  if (begins_as_number(text))
    return parse_number(text);
  std::vector<std::string> names = errno_names();
  for (const syserr_t code : named_results()) {
    names.emplace_back(kel_asic_syserr_name(code));
    if (strcasecmp(names.back().c_str(), text.c_str()) == 0)
      return code;
  }
  if (const int number = errno_of_name(text); number != 0)
    return KEL_ASIC_SYSERR_SERVICE | static_cast<syserr_t>(number);
  throw UsageError("'" + text + "' is not a result; 'mrvctl error' lists all" +
                   suggestion(upper_case(text), names));
}

std::vector<syserr_t> named_results() {
  std::vector<syserr_t> codes;
  for (syserr_t code = SYSERR_KEL_ASIC_UNKNOWN; kel_asic_syserr_library_words(code) != nullptr;
       ++code)
    codes.push_back(code);
  codes.push_back(KEL_ASIC_SYSERR_NO_BUFFER);
  codes.push_back(KEL_ASIC_SYSERR_NO_TRACE_LOG);
  return codes;
}

std::string result_name(syserr_t code) {
  return kel_asic_syserr_is_service(code) ? errno_name(kel_asic_syserr_errno(code))
                                          : kel_asic_syserr_name(code);
}

std::string result_meaning(syserr_t code) {
  const std::string meaning = kel_asic_syserr_meaning(code);
  return kel_asic_syserr_is_service(code) && code != KEL_ASIC_SYSERR_SERVICE_ANSWER
             ? "the service call failed: " + meaning
             : meaning;
}

std::string result_text(syserr_t code) {
  if (code == KEL_ASIC_SYSERR_SERVICE_ANSWER)
    return format("service call failed: %s, or a positive answer (0x%08X)",
                  std::strerror(kel_asic_syserr_errno(code)), code);
  if (kel_asic_syserr_is_service(code))
    return format("service call failed: %s (0x%08X)", kel_asic_syserr_meaning(code), code);
  if (code == KEL_ASIC_SYSERR_NO_BUFFER)
    return format("%s (%u)", kel_asic_syserr_meaning(code), code);
  if (code == KEL_ASIC_SYSERR_NO_TRACE_LOG)
    return format("%s (0x%08X)", kel_asic_syserr_meaning(code), code);
  return format("%s (0x%08X)", kel_asic_syserr_name(code), code);
}

}  // namespace mrvctl
