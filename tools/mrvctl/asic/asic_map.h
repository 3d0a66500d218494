// The platform's register map: limits, addresses and the entry-size hook.
#pragma once

#include <string>
#include <vector>

#include "asic/register_names.h"
#include "morvaneusd.hpp"
#include "platform/register_map.h"

namespace mrvctl {

// Registers with consecutive addresses, so that one read returns all.
struct RegisterBlock {
  Register first;
  uint32_t count;
};

class RegisterMap {
 public:
  // Throws OperationFailed where the platform describes no Morvane.
  explicit RegisterMap(const morvane::caller &caller);

  const kel_asic_limits_t &limits() const { return limits_; }
  uint32_t instances(kel_asic_blk_t block) const {
    return kel_asic_block_instances(&limits_, block);
  }

  // Address of a register that exists.
  uint32_t address(const Register &reg) const;
  // The same before it is cut to 32 bits, as a wrong map may have it.
  uint64_t whole_address(const Register &reg) const;

  // Why an address names no register; empty where it names one.
  std::string missing(const Register &reg) const;

  // Registers of an instance that exists, given by their numbers in order, in as few runs as they
  // allow: a hole is left out, and a run ends where the map does not put the next number behind.
  std::vector<RegisterBlock> runs(kel_asic_blk_t block, uint32_t instance,
                                  const std::vector<kel_asic_reg_t> &numbers) const;

  // What the hook says of a table's entry size; below 1 where it does not answer.
  int hook_entry_size(kel_asic_blk_t block, kel_asic_reg_t vreg, uint32_t index) const;

 private:
  void check_tables() const;

  KEL_ASIC_fn hooks_ = {};
  kel_asic_limits_t limits_ = {};
  const kel_asic_reg_t **bases_ = nullptr;
  const kel_asic_reg_t **offsets_ = nullptr;
};

}  // namespace mrvctl
