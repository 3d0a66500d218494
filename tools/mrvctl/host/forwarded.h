// The platform's own definitions of the six functions, for the tool's.
#ifndef MRVCTL_FORWARDED_H
#define MRVCTL_FORWARDED_H

#include "platform/card_config.h"
#include "platform/register_map.h"
#include "platform/system_service.h"

namespace mrvctl {

struct Forwarded {
  decltype(::sse_call2) *sse_call2;
  decltype(::cardcfg_get_real_asic_type) *cardcfg_get_real_asic_type;
  decltype(::cardcfg_card_get_sw_card_id) *cardcfg_card_get_sw_card_id;
  decltype(::morvane_lib_init) *morvane_lib_init;
  decltype(::kel_asic_get_all_base_table) *kel_asic_get_all_base_table;
  decltype(::kel_asic_get_all_reg_table) *kel_asic_get_all_reg_table;
};

// All null until a platform is open.
const Forwarded &forwarded();

}  // namespace mrvctl

#endif
