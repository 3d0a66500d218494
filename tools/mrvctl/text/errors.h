// What can go wrong in a command, and what it is called.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "kel_asic_syserr_def.h"

namespace mrvctl {

// Exit statuses: kUsage if a word or number can never be right, like an unknown name or a number
// out of its range; kFailed if the switch refused or failed, or a file could not be read.
enum class Status { kDone = 0, kFailed = 1, kUsage = 2 };

// The command is not one that the tool can carry out.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The command was carried out and failed.
class OperationFailed : public std::runtime_error {
 public:
  explicit OperationFailed(const std::string &text, Status status = Status::kFailed)
      : std::runtime_error(text), status_(status) {}
  // The hint shows which argument the library refused, if it is known.
  OperationFailed(syserr_t code, const std::string &hint)
      : OperationFailed(code, hint,
                        code == SYSERR_KEL_ASIC_INVALID_ARG ? Status::kUsage : Status::kFailed) {}
  OperationFailed(syserr_t code, const std::string &hint, Status status);
  // The same failure, with its place.
  OperationFailed(const std::string &place, const OperationFailed &failure)
      : std::runtime_error(place + ": " + failure.what()),
        code_(failure.code_),
        status_(failure.status_) {}
  // The library's result, if the library failed.
  std::optional<syserr_t> code() const { return code_; }
  Status status() const { return status_; }

 private:
  std::optional<syserr_t> code_;
  Status status_ = Status::kFailed;
};

// Name of a result: an enumerator, an errno, or a constant of the headers.
std::string result_name(syserr_t code);

// The results that have a name of their own: all but those of failed service calls.
std::vector<syserr_t> named_results();

// What a result means.
std::string result_meaning(syserr_t code);

// A result in a message, with its value.
std::string result_text(syserr_t code);

// Name of an error number, or its digits if it has no name.
std::string errno_name(int error_number);

// The names of all error numbers, in the order of these.
std::vector<std::string> errno_names();

// Reads an error number, by a name like "ETIMEDOUT", in any case, or as a number from 1 to 4095.
// Throws UsageError.
int parse_errno(const std::string &text);

// Reads a result: a number, the name of an enumerator or constant, or the name of an errno, for
// the service call that fails with it. Throws UsageError.
syserr_t parse_result(const std::string &text);

// The library's result in an error code of morvaneusd.hpp.
inline syserr_t result_of(const std::error_code &code) {
  return static_cast<syserr_t>(code.value());
}

// Throws OperationFailed for any result but 0.
inline void check(syserr_t result, const std::string &hint = "") {
  if (result != 0)
    throw OperationFailed(result, hint);
}

}  // namespace mrvctl
