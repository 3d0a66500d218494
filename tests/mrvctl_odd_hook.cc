// mrvctl on a register map whose entry-size hook answers oddly for HF_DHS_RESULT_00: entries 0 to 3
// have HOOK_WORDS words, those behind HOOK_WORDS_BEHIND.
#include <dlfcn.h>
#include <stdlib.h>

#include "platform/register_map.h"

namespace {

int odd_entry_size(kel_asic_blk_t block, kel_asic_reg_t vreg, uint32_t index) {
  if (block != KEL_ASIC_BLK_HF || vreg != HF_DHS_RESULT_00_OFFSET)
    return -1;
  const char *words = getenv(index < 4 ? "HOOK_WORDS" : "HOOK_WORDS_BEHIND");
  return words == nullptr ? -1 : static_cast<int>(strtol(words, nullptr, 10));
}

}  // namespace

syserr_t morvane_lib_init(KEL_ASIC_fn *funcs, kel_asic_limits_t *limits, kel_asic_ver_t *asic_ver,
                          uint32_t context, char *file, int line, const char *func) {
  const auto platform =
      reinterpret_cast<decltype(&morvane_lib_init)>(dlsym(RTLD_NEXT, "morvane_lib_init"));
  const syserr_t result = platform(funcs, limits, asic_ver, context, file, line, func);
  funcs->reg_dhs_entry_size = odd_entry_size;
  return result;
}
