// The ASIC as the platform's register map describes it.
#include "check/register_map_query.h"

#include <cstring>

#include "check/isolation.h"
#include "text/text.h"

namespace mrvctl {
namespace {

// Copies an array of the platform's, every element of which has to be there.
std::vector<kel_asic_reg_t> copy_array(const kel_asic_reg_t *array, uint32_t length,
                                       const std::string &name) {
  const std::string seen = "the array of " + name + " ends early";
  // A crash at any address is blamed on the array.
  add_guard({0, UINTPTR_MAX, "P19", "arrays as long as the limits and enumerations require",
             seen.c_str()});
  std::vector<kel_asic_reg_t> copy(array, array + length);
  remove_latest_guard();
  return copy;
}

// An array without instances, next to instances without an array, shows limits that are mixed up.
void refuse_limits_in_another_order(const kel_asic_limits_t &limits, const kel_asic_reg_t **table,
                                    const kel_asic_block_t &without_array) {
  for (const kel_asic_block_t &info : kel_asic_blocks) {
    if (table[info.block] != nullptr && kel_asic_block_instances(&limits, info.block) == 0)
      throw Violation{"the limits in the order of kel_asic_limits_t",
                      format("block %s has an array and no instance, block %s has instances and no "
                             "array",
                             info.name, without_array.name),
                      "P11"};
  }
}

// `length` tells how many elements a block's array has; blocks without instances need none.
template <typename Length>
std::vector<std::vector<kel_asic_reg_t>> copy_table(const Description &description,
                                                    const kel_asic_reg_t **table, const char *what,
                                                    const char *clause, Length length) {
  if (table == nullptr)
    throw Violation{format("a table of %ses", what), "none", clause};
  std::vector<std::vector<kel_asic_reg_t>> copies(KEL_ASIC_NUM_BLK);
  for (const kel_asic_block_t &info : kel_asic_blocks) {
    const uint32_t i = info.block;
    if (kel_asic_block_instances(&description.limits, info.block) == 0)
      continue;
    if (table[i] == nullptr) {
      refuse_limits_in_another_order(description.limits, table, info);
      throw Violation{format("an array of %ses for block %s", what, info.name), "none", clause};
    }
    copies[i] = copy_array(table[i], length(info), format("%ses of block %s", what, info.name));
  }
  return copies;
}

}  // namespace

Description query_register_map(uint8_t fill_pattern) {
  Description description;
  std::memset(&description, fill_pattern, sizeof description);
  description.result = morvane_lib_init(
      &description.hooks, &description.limits, &description.revision, kCaller.context,
      const_cast<char *>(kCaller.file), kCaller.line, kCaller.func);
  return description;
}

AddressTables query_tables(const Description &description) {
  if (description.result != 0)
    throw Violation{"result 0 of morvane_lib_init", format("0x%08x", description.result), "P16"};
  return {
      copy_table(description, kel_asic_get_all_base_table(description.revision), "base address",
                 "P17",
                 [&](const kel_asic_block_t &info) {
                   return kel_asic_block_instances(&description.limits, info.block);
                 }),
      copy_table(description, kel_asic_get_all_reg_table(description.revision), "offset address",
                 "P18", [](const kel_asic_block_t &info) { return info.registers; })};
}

RegisterMap queried_map() {
  query_tables(query_register_map(0));
  return RegisterMap(kCaller);
}

}  // namespace mrvctl
