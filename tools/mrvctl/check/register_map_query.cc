// The ASIC as the platform's register map describes it.
#include "check/register_map_query.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstring>

#include "check/isolation.h"
#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {
namespace {

// Copies an array of the platform's, every element of which has to be there.
std::vector<kel_asic_reg_t> copy_array(const kel_asic_reg_t *array, uint32_t length,
                                       const std::string &name) {
  const std::string seen = "the array of " + name + " ends early";
  // A crash at any address is blamed on the array.
  guards.push_back({0, UINTPTR_MAX, "P19", "arrays as long as the limits and enumerations require",
                    seen.c_str()});
  std::vector<kel_asic_reg_t> copy(array, array + length);
  guards.pop_back();
  return copy;
}

// An array without instances, next to instances without an array, shows limits that are mixed up.
void refuse_limits_in_another_order(const kel_asic_limits_t &limits, const kel_asic_reg_t **table,
                                    const kel_asic_block_t &without_array) {
  for (const kel_asic_block_t &info : kel_asic_blocks) {
    if (table[info.block] != nullptr && kel_asic_block_instances(&limits, info.block) == 0)
      throw violation("the limits in the order of kel_asic_limits_t",
                      format("block %s has an array and no instance, block %s has instances and no "
                             "array",
                             info.name, without_array.name),
                      "P11");
  }
}

// An address table of the platform. Its arrays have one element per instance of their block, or
// one per register.
struct PlatformTable {
  const kel_asic_reg_t **arrays;
  const char *content;
  const char *clause;
  bool per_instance;
};

// Copies the arrays; blocks without instances need none.
std::vector<std::vector<kel_asic_reg_t>> copy_table(const kel_asic_limits_t &limits,
                                                    const PlatformTable &table) {
  require(table.arrays != nullptr, format("a table of %s", table.content), "none", table.clause);
  std::vector<std::vector<kel_asic_reg_t>> copies(KEL_ASIC_NUM_BLK);
  for (const kel_asic_block_t &info : kel_asic_blocks) {
    const uint32_t instances = kel_asic_block_instances(&limits, info.block);
    const kel_asic_reg_t *const array = table.arrays[info.block];
    if (instances == 0)
      continue;
    const std::string name = format("%s of block %s", table.content, info.name);
    if (array == nullptr)
      refuse_limits_in_another_order(limits, table.arrays, info);
    require(array != nullptr, "an array of " + name, "none", table.clause);
    copies[info.block] = copy_array(array, table.per_instance ? instances : info.registers, name);
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
  require(description.result == 0, "result 0 of morvane_lib_init",
          format("0x%08x", description.result), "P16");
  const kel_asic_ver_t revision = description.revision;
  return {copy_table(description.limits,
                     {kel_asic_get_all_base_table(revision), "base addresses", "P17", true}),
          copy_table(description.limits,
                     {kel_asic_get_all_reg_table(revision), "offset addresses", "P18", false})};
}

RegisterMap queried_map() {
  query_tables(query_register_map());
  return RegisterMap(kCaller);
}

void init_library(uint32_t slot) {
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  dup2(nowhere, STDOUT_FILENO);
  uint16_t identifier = 0;
  for (const uint32_t queried : {slot, 0U})
    query_identifier(queried, &identifier);  // the library queries it, and would hang too
  std::error_code ec;
  morvane::init(static_cast<slot_num_t>(slot), ec, kCaller);
  require(!ec, "result 0 of lib_mrv_asic_init", result_text(result_of(ec)), "P16");
  queried_map();
}

}  // namespace mrvctl
