// The register-map library of the virtual switch: the model's limits and addresses.
#include "platform/register_map.h"

#include <cstring>

#include "kel_asic_blocks.h"
#include "model/register_layout.h"
#include "model/virtual_asic.h"

namespace {

// The only revision of the virtual ASIC: not 0, so that a forgotten revision is noticed.
constexpr kel_asic_ver_t kRevision = KEL_ASIC_VER_B0;

using Tables = std::array<std::vector<kel_asic_reg_t>, KEL_ASIC_NUM_BLK>;
using Rows = std::array<const kel_asic_reg_t *, KEL_ASIC_NUM_BLK>;

Rows *rows_of(const Tables &tables) {
  auto *const rows = new Rows;
  for (std::size_t block = 0; block < tables.size(); ++block)
    (*rows)[block] = tables[block].data();
  return rows;
}

void set_instances(kel_asic_limits_t *limits, const kel_asic_block_t &row) {
  const auto instances =
      static_cast<uint32_t>(virtual_asic::register_layout().bases[row.block].size());
  std::memcpy(reinterpret_cast<char *>(limits) + row.limit, &instances, sizeof instances);
}

}  // namespace

syserr_t morvane_lib_init(KEL_ASIC_fn *funcs, kel_asic_limits_t *limits, kel_asic_ver_t *asic_ver,
                          uint32_t /*context*/, char * /*file*/, int /*line*/,
                          const char * /*func*/) {
  if (funcs == nullptr || limits == nullptr || asic_ver == nullptr)
    return SYSERR_KEL_ASIC_INVALID_ARG;
  funcs->reg_dhs_entry_size = virtual_asic::hook_entry_size;
  limits->max_modules = virtual_asic::kModules;
  limits->max_asic = virtual_asic::kHighestAsic;
  for (const kel_asic_block_t &row : kel_asic_blocks)
    set_instances(limits, row);
  *asic_ver = kRevision;
  return 0;
}

const kel_asic_reg_t **kel_asic_get_all_base_table(kel_asic_ver_t asic_ver) {
  static Rows *const rows = rows_of(virtual_asic::register_layout().bases);
  return asic_ver == kRevision ? rows->data() : nullptr;
}

const kel_asic_reg_t **kel_asic_get_all_reg_table(kel_asic_ver_t asic_ver) {
  static Rows *const rows = rows_of(virtual_asic::register_layout().offsets);
  return asic_ver == kRevision ? rows->data() : nullptr;
}
