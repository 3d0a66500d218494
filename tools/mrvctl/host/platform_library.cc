// The platform that the tool works on, and the five of its functions that only hand on.
#include "host/platform_library.h"

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "next_function.h"
#include "text/text.h"
#include "virtual_platform.h"

namespace mrvctl {
namespace {

// The next definition after the tool's: in a preloaded library, or in the platform.
template <typename Function>
void resolve_next(Function *&function, const char *name) {
  function = reinterpret_cast<Function *>(platform_symbol(name));
  if (function == nullptr)
    throw OperationFailed(format("the platform does not have the function %s", name));
}

void open_library(const std::string &path, const std::string &hint) {
  struct stat found = {};  // dlopen() would wait for the writer of a FIFO
  if (stat(path.c_str(), &found) == 0 && !S_ISREG(found.st_mode))
    throw OperationFailed("no platform: " + path + ": not a regular file" + hint);
  // Global, so that what was preloaded finds the functions too.
  if (dlopen(path.c_str(), RTLD_NOW | RTLD_GLOBAL) == nullptr)
    throw OperationFailed("no platform: " + std::string(dlerror()) + hint);
}

// What to look at if there is no switch.
const char *hint(int error) {
  switch (error) {
    case EINVAL:
      return " (its address, MORVANE_SWITCH_WAIT, MORVANE_SWITCH_TIMEOUT or MORVANE_SWITCH_USER)";
    case EACCES:
      return " (if the service belongs to another user, set MORVANE_SWITCH_USER)";
    default:
      return "";
  }
}

Forwarded functions;

// The file, without links, of the object that has a function.
std::string file_of(const void *function) {
  Dl_info object = {};
  std::error_code ec;
  if (dladdr(function, &object) == 0)
    return "-";
  const std::filesystem::path file = std::filesystem::canonical(object.dli_fname, ec);
  return ec ? object.dli_fname : file.string();
}

}  // namespace

std::string sibling_library(const std::string &file) {
  Dl_info library = {};
  if (dladdr(dlsym(RTLD_NEXT, "lib_mrv_asic_init"), &library) == 0)
    return file;
  std::string path = library.dli_fname;
  path.replace(path.rfind('/') + 1, std::string::npos, file);
  return access(path.c_str(), F_OK) == 0 ? path : file;
}

const Forwarded &forwarded() {
  return functions;
}

void open_platform(const std::string &option) {
  const char *const variable = std::getenv("MORVANE_PLATFORM");
  const std::string file = option.empty() && variable != nullptr ? variable : option;
  const bool in_this_folder =
      file.find('/') == std::string::npos && access(file.c_str(), F_OK) == 0;
  if (!file.empty()) {
    open_library(in_this_folder ? "./" + file : file, "");
  } else {
    for (const std::string &built_for : split(MRVCTL_PLATFORM, ':'))
      open_library(
          built_for.find('/') == std::string::npos ? sibling_library(built_for) : built_for,
          "; name one with --platform FILE");
  }
  resolve_next(functions.sse_call2, "sse_call2");
  resolve_next(functions.cardcfg_get_real_asic_type, "cardcfg_get_real_asic_type");
  resolve_next(functions.cardcfg_card_get_sw_card_id, "cardcfg_card_get_sw_card_id");
  resolve_next(functions.morvane_lib_init, "morvane_lib_init");
  resolve_next(functions.kel_asic_get_all_base_table, "kel_asic_get_all_base_table");
  resolve_next(functions.kel_asic_get_all_reg_table, "kel_asic_get_all_reg_table");
}

void connect_to_switch(const std::string &address) {
  const char *const variable = std::getenv("MORVANE_SWITCH");
  const std::string named = address.empty() && variable != nullptr ? variable : address;
  // Only the virtual platform knows the variable.
  if (named.empty() || (address.empty() && platform_symbol("vp_connect") == nullptr))
    return;
  const bool is_private = named == "none";
  const int error =
      control<decltype(vp_connect)>("vp_connect")(is_private ? nullptr : named.c_str());
  if (error == EAGAIN)
    throw OperationFailed("the switch at " + named + " has as many clients as it takes");
  if (error != 0)
    throw OperationFailed("no switch at " + named + ": " + std::strerror(error) + hint(error));
}

std::string platform_file() {
  return file_of(reinterpret_cast<void *>(functions.sse_call2));
}

std::string library_file() {
  return file_of(dlsym(RTLD_NEXT, "lib_mrv_asic_init"));
}

std::string switch_text() {
  void *const address = platform_symbol("vp_switch_address");
  if (address == nullptr)
    return "-";
  const char *const text = reinterpret_cast<decltype(vp_switch_address) *>(address)();
  return text == nullptr ? "private" : text;
}

bool has_private_switch() {
  return switch_text() == "private";
}

void *platform_symbol(const char *name) {
  return find_next_function(name, nullptr, nullptr);
}

}  // namespace mrvctl

int cardcfg_get_real_asic_type(uint32_t slot, uint32_t asic_index, uint32_t *dev_type) {
  return mrvctl::forwarded().cardcfg_get_real_asic_type(slot, asic_index, dev_type);
}

int cardcfg_card_get_sw_card_id(uint32_t slot, uint16_t *sw_card_id) {
  return mrvctl::forwarded().cardcfg_card_get_sw_card_id(slot, sw_card_id);
}

syserr_t morvane_lib_init(KEL_ASIC_fn *funcs, kel_asic_limits_t *limits, kel_asic_ver_t *asic_ver,
                          uint32_t context, char *file, int line, const char *func) {
  return mrvctl::forwarded().morvane_lib_init(funcs, limits, asic_ver, context, file, line, func);
}

const kel_asic_reg_t **kel_asic_get_all_base_table(kel_asic_ver_t asic_ver) {
  return mrvctl::forwarded().kel_asic_get_all_base_table(asic_ver);
}

const kel_asic_reg_t **kel_asic_get_all_reg_table(kel_asic_ver_t asic_ver) {
  return mrvctl::forwarded().kel_asic_get_all_reg_table(asic_ver);
}
