// The ASIC as the platform's register map describes it.
#include "check/register_map_query.h"

#include <cstring>

#include "check/isolation.h"
#include "text/text.h"

namespace mrvctl {
namespace {

char caller_file[] = "mrvctl";
const morvane::caller kCaller = {caller_file, 0, "check"};

// Copies an array of the platform's, every element of which has to be there.
std::vector<kel_asic_reg_t> copy_array(const kel_asic_reg_t *array, uint32_t length) {
  const CrashClause blame("P19", "arrays as long as the limits and enumerations say",
                          "an array ends before");
  return {array, array + length};
}

// `length` tells how many elements a block's array has; blocks without instances need none.
template <typename Length>
std::vector<std::vector<kel_asic_reg_t>> copy_table(const Description &description,
                                                    const kel_asic_reg_t **table, const char *what,
                                                    const char *clause, Length length) {
  if (table == nullptr)
    throw Violation{format("a table of %ss", what), "none", clause};
  std::vector<std::vector<kel_asic_reg_t>> copies(KEL_ASIC_NUM_BLK);
  for (uint32_t i = 0; i < KEL_ASIC_NUM_BLK; ++i) {
    const BlockInfo &info = block_info(static_cast<kel_asic_blk_t>(i));
    if (description.limits.*info.instances == 0)
      continue;
    if (table[i] == nullptr)
      throw Violation{format("an array of %ss for block %s", what, info.enumerator), "none",
                      clause};
    copies[i] = copy_array(table[i], length(info));
  }
  return copies;
}

}  // namespace

Description query_register_map(uint8_t fill_pattern) {
  Description description;
  std::memset(&description, fill_pattern, sizeof description);
  description.result =
      morvane_lib_init(&description.hooks, &description.limits, &description.revision,
                       kCaller.context, caller_file, kCaller.line, kCaller.func);
  return description;
}

AddressTables query_tables(const Description &description) {
  if (description.result != 0)
    throw Violation{"result 0 of morvane_lib_init", format("0x%08x", description.result), "P16"};
  return {
      copy_table(description, kel_asic_get_all_base_table(description.revision), "base address",
                 "P17", [&](const BlockInfo &info) { return description.limits.*info.instances; }),
      copy_table(description, kel_asic_get_all_reg_table(description.revision), "offset", "P18",
                 [](const BlockInfo &info) { return info.registers; })};
}

RegisterMap queried_map() {
  query_tables(query_register_map(0));
  return RegisterMap(kCaller);
}

}  // namespace mrvctl
