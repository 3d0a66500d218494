// A service call in words and fields, from its records alone: whoever has seen a call, live or in a
// file, shows and compares it through this.
#ifndef MRVCTL_SERVICE_CALL_H
#define MRVCTL_SERVICE_CALL_H

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <variant>
#include <vector>

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

// The fields of the four records.

struct RegisterFields {
  uint32_t type = 0;
  int32_t module = 0;
  uint32_t asic = 0;  // or the port word of a command
  uint32_t address = 0;
  uint32_t data = 0;
  uint32_t mask = 0;
  uint32_t num = 0;
  uint32_t context = 0;
  uint32_t line = 0;
  std::string func;
  std::string file;
  std::vector<uint32_t> words;  // as many of the num as the record has
};

struct TimerFields {
  int32_t module = 0;
  uint32_t asic = 0;
  uint32_t time = 0;
};

struct TransactionFields {
  std::string name;
  int32_t reorder = 0;
  int32_t num = 0;
  std::vector<kel_asic_xn_entry_t> entries;  // as many of the num as the record has
};

struct QosFields {
  uint32_t type = 0;
  uint32_t module = 0;
  uint32_t asic = 0;
  uint32_t port_type = 0;
  uint32_t port = 0;
  uint32_t opts = 0;
  std::shared_ptr<const kel_asic_qos_stats_t> stats;  // apart, as most calls have none
};

using Fields =
    std::variant<std::monostate, RegisterFields, TimerFields, TransactionFields, QosFields>;

// The fields of a call's record, of which `kept` bytes are there; none where they do not fit.
Fields fields_of(const ServiceCall &call, size_t kept);
inline Fields fields_of(const ServiceCall &call) {
  return fields_of(call, call.length);
}

// "read", "write-field", "command", "transaction", "qos-get" ...; what is none of these, by its
// number.
std::string operation_name(uint32_t case_code, const Fields &request);

// Whether the service is asked to change something.
bool is_write(const Fields &request);

// Whether it is a write to a command address.
bool is_command(const RegisterFields &request);

// "LINK_PAUSE_ENABLE hif 3"
std::string command_text(uint32_t command, uint32_t port_word);

// "writes=5, reads=5, n2h_drops=0, h2n_drops=0"
std::string stats_text(const kel_asic_qos_stats_t &stats);

// "sse_call2(SYSSRV_REG_READ_CASE, 236, 196, {TYPE_READ, ...})"
std::string request_text(const ServiceCall &call);

// " = 0 {data=0x5}"
std::string answer_text(const ServiceCall &call);

}  // namespace mrvctl

#endif
