// The platform that the tool works on: a library that is opened at run time. The six functions that
// libmorvaneusd calls are defined in the tool itself and hand on to that library, so that one
// mrvctl serves every platform. A library that was preloaded and defines one of them stands in
// between.
#pragma once

#include <string>

#include "platform/card_config.h"
#include "platform/register_map.h"
#include "platform/system_service.h"
#include "text/errors.h"

namespace mrvctl {

// The platform's own definitions of the six functions, for the tool's.
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

// Opens the library of the option --platform, of MORVANE_PLATFORM, or the one that this mrvctl was
// built for, in this order. Throws
// UsageError where it cannot be opened or lacks a function. Before it, no function of the platform
// may be called.
void open_platform(const std::string &option);

// Connects the virtual platform to the switch that morvaned serves at an address, or without one to
// that of MORVANE_SWITCH, if it is set; "none" is the private switch. Throws OperationFailed.
void connect_to_switch(const std::string &address);

// The path of a library of the same build or install, in the directory of libmorvaneusd; its plain
// name where it does not, for the system to find.
std::string sibling_library(const std::string &file);

// The files of the platform that was opened and of libmorvaneusd, whose name ends in its version.
std::string platform_file();
std::string library_file();

// "/run/morvaned.sock", "private"; "-" on a platform that is not the virtual one.
std::string switch_text();
bool has_private_switch();

// A function of the platform by its name; null where the platform has none of that name.
void *platform_symbol(const char *name);

// One of the virtual platform's controls. Throws OperationFailed on a platform that lacks it.
//
//     control<decltype(vp_fail_next_call)>("vp_fail_next_call")(EPERM);
template <typename Function>
Function *control(const char *name) {
  void *found = platform_symbol(name);
  if (found == nullptr)
    throw OperationFailed("this platform has no " + std::string(name) +
                          ": it is not a virtual platform");
  return reinterpret_cast<Function *>(found);
}

}  // namespace mrvctl
