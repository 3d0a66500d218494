// The platform's register map, asked as any client may ask it.
#include "asic/asic_map.h"

#include <cstring>

#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {

RegisterMap::RegisterMap(const morvane::caller &caller) {
  kel_asic_ver_t revision = KEL_ASIC_VER_A0;
  check(morvane_lib_init(&hooks_, &limits_, &revision, caller.context,
                         const_cast<char *>(caller.file), caller.line, caller.func),
        "the register map describes no Morvane");
  bases_ = kel_asic_get_all_base_table(revision);
  offsets_ = kel_asic_get_all_reg_table(revision);
  check_tables();
}

RegisterMap::RegisterMap(std::shared_ptr<StoredMap> stored) : stored_(std::move(stored)) {
  bases_ = stored_->pointers.data();
  offsets_ = bases_ + KEL_ASIC_NUM_BLK;
  for (const kel_asic_block_t &info : kel_asic_blocks) {
    const auto instances = static_cast<uint32_t>(stored_->bases[info.block].size());
    std::memcpy(reinterpret_cast<char *>(&limits_) + info.limit, &instances, sizeof instances);
    bases_[info.block] = stored_->bases[info.block].data();
    offsets_[info.block] = stored_->offsets[info.block].data();
  }
}

// The library does not check the tables, and every client that uses them would crash.
void RegisterMap::check_tables() const {
  if (bases_ == nullptr)
    throw OperationFailed("the register map has no base table");
  if (offsets_ == nullptr)
    throw OperationFailed("the register map has no register table");
  for (const kel_asic_block_t &info : kel_asic_blocks) {
    const kel_asic_blk_t block = info.block;
    if (instances(block) != 0 && (bases_[block] == nullptr || offsets_[block] == nullptr))
      throw OperationFailed(format("the register map has no %s for block %s",
                                   bases_[block] == nullptr ? "bases" : "registers",
                                   kel_asic_blk_names[block]));
  }
}

uint32_t RegisterMap::address(const Register &reg) const {
  return static_cast<uint32_t>(whole_address(reg));
}

uint64_t RegisterMap::whole_address(const Register &reg) const {
  return uint64_t{bases_[reg.block][reg.instance]} + offsets_[reg.block][reg.vreg];
}

std::string RegisterMap::missing(const Register &reg) const {
  char text[64];
  return kel_asic_missing_text(text, sizeof text, &limits_, offsets_, reg.block, reg.instance,
                               reg.vreg);
}

std::vector<RegisterBlock> RegisterMap::runs(kel_asic_blk_t block, uint32_t instance,
                                             const std::vector<kel_asic_reg_t> &numbers) const {
  std::vector<RegisterBlock> runs;
  for (const kel_asic_reg_t vreg : numbers) {
    if (offsets_[block][vreg] == KEL_ASIC_NO_REGISTER)
      continue;
    const Register reg = {block, instance, vreg};
    const bool follows = !runs.empty() && vreg == runs.back().first.vreg + runs.back().count &&
                         address(reg) == address(runs.back().first) + 4 * runs.back().count;
    if (follows)
      ++runs.back().count;
    else
      runs.push_back({reg, 1});
  }
  return runs;
}

int RegisterMap::hook_entry_size(kel_asic_blk_t block, kel_asic_reg_t vreg, uint32_t index) const {
  if (stored_ != nullptr) {
    const auto table = stored_->tables.find({block, vreg});
    const bool known = table != stored_->tables.end() && index <= table->second.highest_index;
    return known ? static_cast<int>(table->second.entry_size) : -1;
  }
  return hooks_.reg_dhs_entry_size == nullptr ? -1 : hooks_.reg_dhs_entry_size(block, vreg, index);
}

}  // namespace mrvctl
