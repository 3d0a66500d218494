// The library as the checks use it: set up in the process of the check, over the platform.
#ifndef MRVCTL_CHECKED_LIBRARY_H
#define MRVCTL_CHECKED_LIBRARY_H

#include <cstdint>
#include <vector>

#include "check/check_table.h"

namespace mrvctl {

class Library {
 public:
  // Throws Violation where the library cannot be initialised.
  explicit Library(const CheckTarget &subject);

  uint32_t read(const Register &reg) const;
  std::vector<uint32_t> read_block(const Register &reg, uint32_t count) const;
  std::vector<uint32_t> read_entries(const Register &reg, uint32_t index, uint32_t count,
                                     uint32_t words) const;
  void write(const Register &reg, uint32_t data) const;
  void write_field(const Register &reg, uint32_t data, uint32_t mask) const;
  void write_entries(const Register &reg, uint32_t index, uint32_t count,
                     std::vector<uint32_t> words) const;

  // The plain result of a read, for what is to fail.
  syserr_t try_read(const Register &reg) const;

 private:
  int module_;
  kel_asic_num_t asic_;
};

}  // namespace mrvctl

#endif
