// A decoded call: the same object for a live call and for a call of a recording. Tables, JSON,
// packets and replay use it. The texts are for people: unprintable characters are replaced.
#ifndef MRVCTL_DECODED_CALL_H
#define MRVCTL_DECODED_CALL_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "asic/address_index.h"
#include "calls/call_fields.h"

namespace mrvctl {

// The process that made the call.
struct CallingProcess {
  std::string program;
  uint32_t pid = 0;
  std::string label;  // "client.1234"
};

struct DecodedCall {
  const CallingProcess *process = nullptr;
  size_t file = 0;                      // which of the files it stands in
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
};

std::vector<Access> accesses(const DecodedCall &call);

// What the call is about: a register, a command, a port, the name of a transaction.
std::string target_text(const DecodedCall &call, const AddressIndex &index);

// The value or words that it carried, either way.
std::string value_text(const DecodedCall &call);

// "main client.c:10 context 7"; empty where nobody told.
std::string caller_text(const DecodedCall &call);

// One line of a table that has these headings. Behind a call that does not tell its caller stand
// the first entries of its transaction, of those that touch a register where one is wanted, or the
// sums of its statistics.
std::string call_heading(size_t process_width);
std::string call_line(const DecodedCall &call, const AddressIndex &index, size_t process_width,
                      const std::optional<RegisterReference> &wanted);

}  // namespace mrvctl

#endif
