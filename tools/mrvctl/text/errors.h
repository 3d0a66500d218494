// What can go wrong in a command, and what it is called.
#ifndef MRVCTL_ERRORS_H
#define MRVCTL_ERRORS_H

#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "kel_asic_syserr_def.h"

namespace mrvctl {

// Exit statuses.
enum class Status { kDone = 0, kFailed = 1, kUsage = 2 };

// The command is not one that the tool can carry out: exit status 2.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The command was carried out and failed: exit status 1.
class OperationFailed : public std::runtime_error {
 public:
  explicit OperationFailed(const std::string &text) : std::runtime_error(text) {}
  OperationFailed(syserr_t code, const std::string &hint);
  // The same failure, with its place.
  OperationFailed(const std::string &place, const OperationFailed &failure)
      : std::runtime_error(place + ": " + failure.what()), code_(failure.code_) {}
  // The library's result, if the library failed.
  std::optional<syserr_t> code() const { return code_; }

 private:
  std::optional<syserr_t> code_;
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

#endif
