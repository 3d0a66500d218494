// The library as the checks use it.
#include "check/library.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "check/isolation.h"
#include "check/requests.h"
#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {
namespace {

char caller_file[] = "mrvctl";
constexpr char kCheck[] = "check";

void expect_done(syserr_t result, const char *operation) {
  if (result != 0)
    throw Violation{std::string("result 0 of ") + operation, result_text(result)};
}

}  // namespace

Library::Library(const CheckTarget &subject)
    : module_(static_cast<int>(subject.module)), asic_(subject.asic) {
  // Initialisation prints on standard output.
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  dup2(nowhere, STDOUT_FILENO);
  const syserr_t result = lib_mrv_asic_init(static_cast<slot_num_t>(subject.slot),
                                            KEL_ASIC_DRIVER_MORVANE, 0, caller_file, 0, kCheck);
  if (result != 0)
    throw Violation{"result 0 of lib_mrv_asic_init", result_text(result), "P16"};
}

uint32_t Library::read(const Register &reg) const {
  uint32_t data = Request::kFillPattern;
  expect_done(lib_mrv_asic_read(module_, asic_, reg.block, reg.instance, reg.vreg, &data, 0,
                                caller_file, 0, kCheck),
              "lib_mrv_asic_read");
  return data;
}

syserr_t Library::try_read(const Register &reg) const {
  uint32_t data = 0;
  return lib_mrv_asic_read(module_, asic_, reg.block, reg.instance, reg.vreg, &data, 0, caller_file,
                           0, kCheck);
}

std::vector<uint32_t> Library::read_block(const Register &reg, uint32_t count) const {
  const GuardedMemory words(4 * count);
  auto *const data = static_cast<uint32_t *>(words.data());
  expect_done(lib_mrv_asic_n_read(module_, asic_, reg.block, reg.instance, reg.vreg, data, count, 0,
                                  caller_file, 0, kCheck),
              "lib_mrv_asic_n_read");
  return {data, data + count};
}

std::vector<uint32_t> Library::read_entries(const Register &reg, uint32_t index, uint32_t count,
                                            uint32_t words) const {
  std::vector<uint32_t> data(words, Request::kFillPattern);
  expect_done(lib_mrv_asic_read_dhs(module_, asic_, reg.block, reg.instance, reg.vreg, index,
                                    data.data(), count, 0, caller_file, 0, kCheck),
              "lib_mrv_asic_read_dhs");
  return data;
}

void Library::write(const Register &reg, uint32_t data) const {
  expect_done(lib_mrv_asic_write(module_, asic_, reg.block, reg.instance, reg.vreg, data,
                                 KEL_ASIC_WR_SYMBOLIC, 0, caller_file, 0, kCheck),
              "lib_mrv_asic_write");
}

void Library::write_field(const Register &reg, uint32_t data, uint32_t mask) const {
  expect_done(lib_mrv_asic_write_field(module_, asic_, reg.block, reg.instance, reg.vreg, data,
                                       mask, KEL_ASIC_WR_SYMBOLIC, 0, caller_file, 0, kCheck),
              "lib_mrv_asic_write_field");
}

void Library::write_entries(const Register &reg, uint32_t index, uint32_t count,
                            std::vector<uint32_t> words) const {
  expect_done(lib_mrv_asic_write_dhs(module_, asic_, reg.block, reg.instance, reg.vreg, index,
                                     words.data(), count, 0, caller_file, 0, kCheck),
              "lib_mrv_asic_write_dhs");
}

}  // namespace mrvctl
