// Service calls as the checks make them: through the platform's own sse_call2, with each record
// between protected pages.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "kel_asic_lib_common.h"
#include "morvaneusd.hpp"
#include "platform/system_service.h"

namespace mrvctl {

struct CheckTarget;
struct Port;

// Memory that ends before a page without access rights, after another such page. It is never freed,
// so that a late write to it is noticed.
class GuardedMemory {
 public:
  explicit GuardedMemory(uint32_t length);
  // A record of `length` bytes: the content, cut off or followed by other bytes.
  template <typename Record>
  GuardedMemory(const Record &content, uint32_t length) : GuardedMemory(length) {
    std::memcpy(data_, &content, std::min<size_t>(sizeof content, length));
  }
  void *data() const { return data_; }
  uint32_t length() const { return length_; }
  // Throws a violation if the bytes before it have changed.
  void expect_untouched_before() const;
  // Removes all access rights.
  void revoke() const;

 private:
  uint8_t *pages_;  // between the pages without access rights
  uint32_t pages_length_;
  uint32_t length_;
  void *data_;
};

// ASICs that the switch lacks: one of the two numbers is wrong.
std::vector<morvane::asic> unknown_asics(const morvane::asic &known);
std::string asic_text(const morvane::asic &asic);

constexpr auto kUnknownType = static_cast<kel_asic_access_type_t>(99);

// The nearest lengths that are not the right one.
constexpr std::array<uint32_t, 2> wrong_lengths(uint32_t right) {
  return {right - 4, right + 4};
}

// How a call came back.
struct CallResult {
  int result;
  int error_number;  // where the result is negative
};

std::string result_text(const CallResult &result);

// Sends a record as it is. Throws a violation if errno is wrong or bytes before the record have
// changed.
CallResult send_record(uint32_t case_code, const GuardedMemory &record,
                       uint32_t driver_id = KEL_ASIC_DRIVER_MORVANE);

// Throw violations.
void expect_success(const CallResult &result, const std::string &call);
void expect_refusal(const CallResult &result, const std::string &call);
void expect_word(uint32_t expected, uint32_t seen, const std::string &where);

// A register request with room for `room` data words. The answer's fields start as `fill_pattern`.
class Request {
 public:
  static constexpr uint32_t kFillPattern = 0x5AA55AA5;

  Request(kel_asic_access_type_t type, const kel_asic_xn_entry_t &access, uint32_t room = 0,
          uint32_t fill_pattern = kFillPattern);
  kel_asic_reg_access_params_t *operator->() const { return fields_; }
  uint32_t *words() const;
  const GuardedMemory &memory() const { return memory_; }
  // Under the case of its type.
  CallResult send() const;
  void expect_success(const std::string &call) const;

 private:
  GuardedMemory memory_;
  kel_asic_reg_access_params_t *fields_;
};

// The registers of one ASIC, by address. Each throws a violation where the service fails.
class Registers {
 public:
  explicit Registers(const morvane::asic &asic) : asic_(asic) {}
  kel_asic_xn_entry_t entry(uint32_t address, uint32_t data = 0, uint32_t mask = UINT32_MAX) const;
  uint32_t read(uint32_t address) const;
  void write(uint32_t address, uint32_t data) const;
  void write_field(uint32_t address, uint32_t data, uint32_t mask) const;
  std::vector<uint32_t> read_block(uint32_t address, uint32_t count) const;
  void write_block(uint32_t address, const std::vector<uint32_t> &words) const;
  void expect(uint32_t address, uint32_t expected, const std::string &after) const;

 private:
  morvane::asic asic_;
};

// A transaction of these entries. `num` is how many of them it claims.
CallResult send_transaction(const std::vector<kel_asic_xn_entry_t> &entries, int32_t num,
                            uint32_t length = sizeof(kel_asic_xn_t));
// Sends all of them. Throws a violation.
void commit(const std::vector<kel_asic_xn_entry_t> &entries, const std::string &what);

// A request for the statistics of a port, in a record of this length.
GuardedMemory statistics_request(const morvane::asic &asic, const Port &port,
                                 uint32_t length = sizeof(kel_asic_qos_stats_params_t));
// The first port that the limits have.
std::optional<Port> any_port();
// Sends a call that every service accepts and that changes nothing. None if the switch has no port
// and --read names no register.
std::optional<CallResult> send_accepted_call(const CheckTarget &subject);
// Throws an Outcome of kNoService if that call finds no service.
void expect_service(const CheckTarget &subject);

// What checks have found in registers before they wrote to them, in memory that parent and child
// share: the values can be put back although the process that wrote is dead.
class SavedValues {
 public:
  // Throws OperationFailed.
  SavedValues();
  ~SavedValues();
  SavedValues(const SavedValues &) = delete;
  SavedValues &operator=(const SavedValues &) = delete;

  // Notes a write that puts something back, before anything is written over it.
  void keep(const kel_asic_xn_entry_t &write);

  // Sends the writes, the latest first, and forgets them. Throws a violation.
  void restore();

  bool empty() const { return shared_->count == 0; }
  // The writes that are still to be sent, "0x10200014 <- 0x5, ...".
  std::string text() const;

 private:
  static constexpr uint32_t kMaxWrites = 4096;
  struct Shared {
    uint32_t count;
    kel_asic_xn_entry_t writes[kMaxWrites];
  };
  Shared *shared_;
};

}  // namespace mrvctl
