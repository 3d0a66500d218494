// The fields of the records that a call carries, as values.
#ifndef MRVCTL_CALL_FIELDS_H
#define MRVCTL_CALL_FIELDS_H

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "kel_asic_lib_common.h"

namespace mrvctl {

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

// The fields of the record of a call, from its first bytes; none if the bytes do not fit the case
// and the length of the complete record.
Fields fields_of(uint32_t case_code, uint32_t length, const std::vector<uint8_t> &bytes);

// "TYPE_READ", "QOS_STATS_GET" ..., as the public headers call them.
const char *register_type_name(uint32_t type);
const char *qos_type_name(uint32_t type);

// "read", "write-field", "command", "transaction", "qos-get" ...; what is none of these, by its
// number.
std::string operation_name(uint32_t case_code, const Fields &request);

// Whether the service is asked to change something.
bool is_write(const Fields &request);

// Whether it is a write to a command address.
bool is_command(const RegisterFields &request);

// "LINK_PAUSE_ENABLE hif:3"
std::string command_text(uint32_t command, uint32_t port_word);

// "writes=5, reads=5, n2h_drops=0, h2n_drops=0"
std::string stats_text(const kel_asic_qos_stats_t &stats);

}  // namespace mrvctl

#endif
