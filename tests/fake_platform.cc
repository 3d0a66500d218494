#include "fake_platform.h"

#include <dlfcn.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace {

kel_asic_reg_t bases[KEL_ASIC_NUM_BLK][64], offsets[KEL_ASIC_NUM_BLK][KEL_ASIC_SS_NUM_ENUM];
const kel_asic_reg_t *base_pointers[KEL_ASIC_NUM_BLK], *offset_pointers[KEL_ASIC_NUM_BLK];

// For the largest block all of them: the library knows how many registers each has.
void build_tables() {
  for (uint32_t block = 0; block < KEL_ASIC_NUM_BLK; ++block) {
    base_pointers[block] = bases[block];
    offset_pointers[block] = offsets[block];
    for (uint32_t instance = 0; instance < std::size(bases[block]); ++instance)
      bases[block][instance] = fake_base(static_cast<kel_asic_blk_t>(block), instance);
    for (uint32_t vreg = 0; vreg < std::size(offsets[block]); ++vreg)
      offsets[block][vreg] = 8 * vreg;
  }
  for (const auto &[block, vreg] : fake().holes)
    offsets[block][vreg] = KEL_ASIC_NO_REGISTER;
}

__attribute__((format(printf, 1, 2))) void record(const char *format, ...) {
  char text[160];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  fake().platform_calls.emplace_back(text);
}

// The C library's function of that name.
template <typename Result, typename... Arguments>
Result real(const char *name, Arguments... arguments) {
  return reinterpret_cast<Result (*)(Arguments...)>(dlsym(RTLD_NEXT, name))(arguments...);
}

// Whether a call is to fail: the first one while armed.
bool fails(bool *fail, int error_number) {
  if (!faults().armed || !*fail)
    return false;
  *fail = false;
  errno = error_number;
  return true;
}

void record_output(const char *letter) {
  if (faults().armed && std::strlen(faults().outputs) + 1 < sizeof faults().outputs)
    std::strcat(faults().outputs, letter);
}

template <typename Timeval>
int read_clock(Timeval *now) {
  now->tv_sec = faults().seconds;
  now->tv_usec = faults().microseconds;
  return 0;
}

FILE *open_file(const char *name, const char *path, const char *mode) {
  if (std::strcmp(path, "/bootflash/kel_lib_debug") == 0)
    path = faults().marker_file && std::strcmp(mode, "r") == 0 ? "/dev/null" : "";
  if (std::strncmp(path, "/tmp/kel_asic_log_", 18) == 0) {
    if (fails(&faults().fail_fopen, EACCES))
      return nullptr;
    path = faults().log_path != nullptr ? faults().log_path : path;
  }
  return real<FILE *>(name, path, mode);
}

struct log_remover {
  // An earlier process of this number may have been killed, and have left one.
  log_remover() noexcept { std::remove(log_path().c_str()); }
  ~log_remover() { std::remove(log_path().c_str()); }
} no_log_is_left;

}  // namespace

syserr_t read_reg(const reg_place &place, uint32_t *data) {
  return lib_mrv_asic_read(place.module, place.asic, place.block, place.instance, place.vreg, data,
                           CALLER);
}

fake_platform::fake_platform() {
  uint32_t counts[sizeof limits / sizeof(uint32_t)];
  std::fill(std::begin(counts), std::end(counts), 4);
  std::memcpy(&limits, counts, sizeof limits);
  limits.max_asic = 0;
  limits.max_hi = 32;
  limits.max_ni = 8;
}

fake_platform &fake() {
  static fake_platform platform;
  return platform;
}

libc_faults &faults() {
  static libc_faults instance;
  return instance;
}

void libc_faults::arm() {
  allocates = false;
  outputs[0] = '\0';
  armed = true;
}

void libc_faults::disarm() {
  armed = fail_calloc = fail_realloc = fail_fopen = fail_fseek = false;
}

uint32_t fake_base(kel_asic_blk_t block, uint32_t instance) {
  if (block == KEL_ASIC_BLK_XL)
    return 0xFFFFFFFCU - instance * 0x00010000U;
  return 0x10000000U + block * 0x01000000U + instance * 0x00010000U;
}

syserr_t initialise() {
  return lib_mrv_asic_init(3, KEL_ASIC_DRIVER_MORVANE, CALLER);
}

syserr_t initialise_with_trace() {
  faults().marker_file = true;
  const syserr_t result = initialise();
  trace_lines();
  return result;
}

std::string log_path() {
  return "/tmp/kel_asic_log_" + std::to_string(getpid());
}

std::string log_text() {
  std::fflush(nullptr);
  std::ostringstream text;
  text << std::ifstream(log_path()).rdbuf();
  return text.str();
}

std::vector<std::string> trace_lines() {
  static std::size_t seen;
  const std::string text = log_text();
  std::vector<std::string> lines;
  std::istringstream rest(text.substr(seen));
  seen = text.size();
  for (std::string line; std::getline(rest, line);)
    lines.push_back(line.size() > 27 ? line.substr(27) : line);
  return lines;
}

extern "C" {

// What sse_call2 of the library after the program does.
int fake_service_call(uint32_t case_code, sys_srvc_case_params_t *case_params, uint32_t length) {
  const auto *bytes = static_cast<const uint8_t *>(case_params->params);
  fake().calls.push_back({case_code, case_params->caseId, length, {bytes, bytes + length}});
  return fake().answer ? fake().answer(case_code, case_params->params, length) : 0;
}

int cardcfg_get_real_asic_type(uint32_t slot, uint32_t asic_index, uint32_t *dev_type) {
  record("cardcfg_get_real_asic_type(%u, %u)", slot, asic_index);
  if (fake().device_query_fails)
    return -1;
  *dev_type = fake().device_type;
  return 0;
}

int cardcfg_card_get_sw_card_id(uint32_t slot, uint16_t *sw_card_id) {
  record("cardcfg_card_get_sw_card_id(%u)", slot);
  if (fake().sw_card_query_fails)
    return -1;
  *sw_card_id = fake().sw_card_id;
  return 0;
}

syserr_t morvane_lib_init(KEL_ASIC_fn *funcs, kel_asic_limits_t *limits, kel_asic_ver_t *asic_ver,
                          uint32_t context, char *file, int line, const char *func) {
  record("morvane_lib_init(0x%x, %s, %d, %s)", context, file, line, func);
  funcs->reg_dhs_entry_size = fake().hook;
  *limits = fake().limits;
  *asic_ver = KEL_ASIC_VER_B0;
  return fake().map_result;  // also where it fails half-way
}

const kel_asic_reg_t **kel_asic_get_all_base_table(kel_asic_ver_t asic_ver) {
  record("kel_asic_get_all_base_table(%u)", static_cast<unsigned>(asic_ver));
  build_tables();
  return base_pointers;
}

const kel_asic_reg_t **kel_asic_get_all_reg_table(kel_asic_ver_t asic_ver) {
  record("kel_asic_get_all_reg_table(%u)", static_cast<unsigned>(asic_ver));
  return offset_pointers;
}

// The C library's own names of these parameters are reserved.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
void *calloc(std::size_t count, std::size_t size) {
  faults().allocates |= faults().armed;
  return fails(&faults().fail_calloc, ENOMEM) ? nullptr : real<void *>("calloc", count, size);
}

void *realloc(void *block, std::size_t size) {
  faults().allocates |= faults().armed;
  return fails(&faults().fail_realloc, ENOMEM) ? nullptr : real<void *>("realloc", block, size);
}

FILE *fopen(const char *path, const char *mode) {
  return open_file("fopen", path, mode);
}

// What fopen is where file offsets have 64 bits.
FILE *fopen64(const char *path, const char *mode) {
  return open_file("fopen64", path, mode);
}

int fseek(FILE *stream, long offset, int whence) {
  return fails(&faults().fail_fseek, ESPIPE) ? -1 : real<int>("fseek", stream, offset, whence);
}

// Under the name by which the library calls it: with 64-bit seconds, also on the 32-bit target.
#if __SIZEOF_LONG__ == 4
struct wide_timeval {
  int64_t tv_sec, tv_usec;
};
int __gettimeofday64(wide_timeval *now, void *) {  // NOLINT(*-reserved-identifier,cert-dcl*)
  return read_clock(now);
}
#else
int gettimeofday(timeval *now, void *) {
  return read_clock(now);
}
#endif

int puts(const char *text) {
  record_output("s");
  return real<int>("puts", text);
}

int fputs(const char *text, FILE *stream) {
  record_output("l");
  return real<int>("fputs", text, stream);
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

}  // extern "C"
