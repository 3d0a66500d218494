// Checks of failures, on platforms with the controls of the virtual platform.
#include <array>
#include <cerrno>

#include "check/check_table.h"
#include "check/isolation.h"
#include "check/register_map_query.h"
#include "check/requests.h"
#include "host/platform_library.h"
#include "text/errors.h"
#include "text/text.h"
#include "virtual_platform.h"

namespace mrvctl {
namespace {

// The result that a call is ordered to have, and the result of the library.
struct Fault {
  CallResult result;
  syserr_t code;
};

constexpr syserr_t service_code(int error_number) {
  return KEL_ASIC_SYSERR_SERVICE | static_cast<syserr_t>(error_number);
}

std::vector<Fault> all_faults() {
  std::vector<Fault> faults = {{{4, 0}, KEL_ASIC_SYSERR_SERVICE_ANSWER},
                               {{-2, EIO}, service_code(EIO)}};
  for (const int error : {EPERM, EIO, ENXIO, EFAULT, EBUSY, ENODEV, EINVAL, ENOSYS, EMSGSIZE,
                          ETIMEDOUT, ECONNRESET, 4095})
    faults.push_back({{-1, error}, service_code(error)});
  return faults;
}

template <typename Function>
Function *fault_control(const char *name) {
  if (platform_symbol(name) == nullptr)
    throw skipped("this platform has no controls for failures");
  return control<Function>(name);
}

void order(const Fault &fault) {
  if (fault.result.result == -1)
    fault_control<decltype(vp_fail_next_call)>("vp_fail_next_call")(fault.result.error_number);
  else
    fault_control<decltype(vp_answer_next_call)>("vp_answer_next_call")(fault.result.result);
}

void fails_as_it_is_told(const CheckTarget &subject) {
  const Registers registers(subject.asic);
  const uint32_t address = queried_map().address(*subject.read);
  for (const Fault &fault : all_faults()) {
    order(fault);
    const std::string seen = result_text(Request(TYPE_READ, registers.entry(address)).send());
    require(seen == result_text(fault.result), result_text(fault.result), seen);
    registers.read(address);
  }
}

void fails_the_library_as_it_is_told(const CheckTarget &subject) {
  init_library(subject.slot);
  for (const Fault &fault : all_faults()) {
    order(fault);
    std::error_code ec;
    morvane::read(subject.at(*subject.read), ec, kCaller);
    const syserr_t seen = result_of(ec);
    expect_word(fault.code, seen, "of lib_mrv_asic_read after " + result_text(fault.result));
    (void)morvane::read(subject.at(*subject.read), kCaller);
  }
}

// A word that ends at a protected page.
class GuardedWord {
 public:
  uint32_t *data() const { return static_cast<uint32_t *>(memory_.data()); }
  static std::size_t size() { return 1; }

 private:
  GuardedMemory memory_{sizeof(uint32_t)};
};

void takes_no_word_too_many(const CheckTarget &subject) {
  init_library(subject.slot);
  fault_control<decltype(vp_answer_next_num)>("vp_answer_next_num")(1000);
  for (int i = 0; i < 2; ++i)
    morvane::read_block(subject.at(*subject.read), GuardedWord(), kCaller);
}

}  // namespace

std::vector<Check> fault_checks() {
  return {
      {"a call fails as ordered, and the next one works", "P3", kRead | kFaults,
       fails_as_it_is_told},
      {"the library reports each failure, and the next call works", "P3", kRead | kFaults,
       fails_the_library_as_it_is_told},
      {"the library takes no word too many from an answer", "P6", kRead | kFaults,
       takes_no_word_too_many},
  };
}

}  // namespace mrvctl
