// The platform's register map: limits, addresses and the entry-size hook.
#pragma once

#include <array>
#include <map>
#include <memory>
#include <string>
#include <utility>
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

// A register map that a file has kept.
struct StoredMap {
  struct HookTable {
    uint32_t entry_size;
    uint32_t highest_index;
  };

  std::array<std::vector<kel_asic_reg_t>, KEL_ASIC_NUM_BLK> bases;    // of the instances
  std::array<std::vector<kel_asic_reg_t>, KEL_ASIC_NUM_BLK> offsets;  // of all registers
  std::map<std::pair<kel_asic_blk_t, kel_asic_reg_t>, HookTable> tables;
  std::array<const kel_asic_reg_t *, 2 * KEL_ASIC_NUM_BLK> pointers;  // to both, for RegisterMap
};

class RegisterMap {
 public:
  // Throws OperationFailed where the platform describes no Morvane.
  explicit RegisterMap(const morvane::caller &caller);
  explicit RegisterMap(std::shared_ptr<StoredMap> stored);

  const kel_asic_limits_t &limits() const { return limits_; }
  uint32_t instances(kel_asic_blk_t block) const {
    return kel_asic_block_instances(&limits_, block);
  }

  uint32_t base(kel_asic_blk_t block, uint32_t instance) const { return bases_[block][instance]; }
  // KEL_ASIC_NO_REGISTER of a hole.
  uint32_t offset(kel_asic_blk_t block, kel_asic_reg_t vreg) const { return offsets_[block][vreg]; }

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
  std::shared_ptr<StoredMap> stored_;  // null: the platform has the map
};

}  // namespace mrvctl
