// A service call in words, from its records alone: whoever has seen a call, live or in a file,
// shows it through this.
#ifndef MRVCTL_SERVICE_CALL_H
#define MRVCTL_SERVICE_CALL_H

#include <cstdint>
#include <cstring>
#include <string>

#include "kel_asic_lib_common.h"

namespace mrvctl {

// A call as it goes to the service, or as it came back.
struct ServiceCall {
  uint32_t case_code;
  uint32_t driver_id;
  const void *record;  // length bytes: before the call the request, after it the answer; or null
  uint32_t length;
  int result;
  int error_number;  // errno where the result is negative
};

// What kind of record a call carries; none where its length does not fit.
enum class Record { kNone, kRegister, kTimer, kTransaction, kQos };

Record record_of(const ServiceCall &call);

// The record of a call that has one of that kind: a copy, so that no field is read where it is not
// aligned.
template <typename Fields>
Fields copy_of(const ServiceCall &call) {
  Fields record;
  std::memcpy(&record, call.record, sizeof record);
  return record;
}

// A text field of a record, which may lack its NUL where the service wrote it.
template <size_t kSize>
std::string field_text(const char (&field)[kSize]) {
  return std::string(field, strnlen(field, kSize));
}

// "sse_call2(SYSSRV_REG_READ_CASE, 236, 196, {TYPE_READ, ...})"
std::string request_text(const ServiceCall &call);

// " = 0 {data=0x5}"
std::string answer_text(const ServiceCall &call);

}  // namespace mrvctl

#endif
