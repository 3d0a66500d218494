// The platform of the benchmarks: a service that answers at once, and the least register map. A
// separate shared object, so that library and baseline reach it in the same way.
#include <array>
#include <cstring>

#include "platform/card_config.h"
#include "platform/register_map.h"
#include "platform/system_service.h"

namespace {

constexpr std::size_t registers = KEL_ASIC_SS_NUM_ENUM;  // of the largest block
std::array<kel_asic_reg_t, registers> zeros;
std::array<const kel_asic_reg_t *, KEL_ASIC_NUM_BLK> tables;

const kel_asic_reg_t **zero_tables() {
  tables.fill(zeros.data());
  return tables.data();
}

}  // namespace

extern "C" {

int sse_call2(uint32_t, sys_srvc_case_params_t *, uint32_t) {
  return 0;
}

int cardcfg_get_real_asic_type(uint32_t, uint32_t, uint32_t *dev_type) {
  *dev_type = CARDCFG_DEV_TYPE_MORVANE;
  return 0;
}

int cardcfg_card_get_sw_card_id(uint32_t, uint16_t *sw_card_id) {
  *sw_card_id = 1;
  return 0;
}

syserr_t morvane_lib_init(KEL_ASIC_fn *, kel_asic_limits_t *limits, kel_asic_ver_t *, uint32_t,
                          char *, int, const char *) {
  limits->max_hi = 4;
  limits->max_hf = 4;
  return 0;
}

const kel_asic_reg_t **kel_asic_get_all_base_table(kel_asic_ver_t) {
  return zero_tables();
}

const kel_asic_reg_t **kel_asic_get_all_reg_table(kel_asic_ver_t) {
  return zero_tables();
}
}
