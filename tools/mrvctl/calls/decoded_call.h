// A decoded call: the same object for a live call and for a call of a recording. Tables, JSON,
// packets and replay use it.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "kel_asic_intf.h"
#include "kel_asic_lib_common.h"

namespace mrvctl {

// The place in the source where the library was called.
struct Caller {
  uint32_t context = 0;
  uint32_t line = 0;
  std::string func;
  std::string file;
};

// The fields of the four records.

struct RegisterFields : Caller {
  uint32_t type = 0;
  int32_t module = 0;
  uint32_t asic = 0;  // or the port word of a command
  uint32_t address = 0;
  uint32_t data = 0;
  uint32_t mask = 0;
  uint32_t num = 0;
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
  // Of each entry; null if it is unknown. The record does not have them, a recording can.
  std::vector<std::shared_ptr<const Caller>> callers;
};

using QosFields = kel_asic_qos_stats_params_t;

using Fields =
    std::variant<std::monostate, RegisterFields, TimerFields, TransactionFields, QosFields>;

// The process that made the call.
struct CallingProcess {
  std::string program;
  uint32_t pid = 0;
  std::string label;  // "client.1234"
};

struct DecodedCall {
  const CallingProcess *process = nullptr;
  size_t file = 0;                      // index of its file
  uint64_t number = 0;                  // which call of the process, from 1
  uint64_t wall_ns = 0;                 // when it began, since 1970
  uint64_t order_ns = 0;                // its place among the calls of all processes
  std::optional<uint64_t> duration_ns;  // empty where it is not known

  uint32_t case_code = 0;
  uint32_t driver = 0;
  uint32_t length = 0;                 // of the record as it was passed
  std::optional<int32_t> result;       // of the service; empty where it is not known
  int32_t error_number = 0;            // where the result is negative
  std::vector<uint8_t> request_bytes;  // of the records what was kept, as in the headers
  std::vector<uint8_t> answer_bytes;
  bool request_cut = false;  // words are missing
  bool answer_cut = false;

  Fields request;
  Fields answer;  // none where there was none
  std::string operation;
  std::string outcome;  // "ok", "ETIMEDOUT", "result=3", "in-flight" ...
  bool failed = false;
  bool lost = false;  // a transaction none of whose writes reaches the ASIC
};

// Fills in what follows from the records, which are there, and the result: the fields, the
// operation, the outcome.
void decode(DecodedCall &call);

// Registers that a call reads or writes: a word or a run of them.
struct Access {
  int32_t module;
  uint32_t asic;
  uint32_t address;
  uint32_t words;
  uint32_t mask;
  std::vector<uint32_t> values;  // as many as are known
  const Caller *caller;          // in the call; null if it is unknown
};

std::vector<Access> accesses(const DecodedCall &call);

// Whether the service is asked to change something.
bool is_write(const Fields &request);

// Whether it is a write to a command address.
bool is_command(const RegisterFields &request);

// Whether it reads or writes a run of words.
bool is_run(const RegisterFields &request);

// Whether it asks for words.
bool is_read(const RegisterFields &request);

// The words that a register request wrote, or that were read, as far as they are known.
std::vector<uint32_t> register_values(const DecodedCall &call, const RegisterFields &request);

}  // namespace mrvctl
