// What can go wrong in a command, and what it is called.
#ifndef MRVCTL_ERRORS_H
#define MRVCTL_ERRORS_H

#include <optional>
#include <stdexcept>
#include <string>

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
  // The library's result, where it was the library that failed.
  std::optional<syserr_t> code() const { return code_; }

 private:
  std::optional<syserr_t> code_;
};

// Name of a result: an enumerator, an errno, or a constant of the headers.
std::string result_name(syserr_t code);

// What a result means, with its name and value.
std::string result_text(syserr_t code);

// Name of an error number, or its digits where it has none.
std::string errno_name(int error_number);

// The error number of a name like "ETIMEDOUT", in any case; 0 where there is none.
int errno_of_name(const std::string &name);

// Throws OperationFailed for any result but 0.
inline void check(syserr_t result, const std::string &hint = "") {
  if (result != 0)
    throw OperationFailed(result, hint);
}

}  // namespace mrvctl

#endif
