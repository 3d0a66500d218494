#include "fake_platform.h"

#include <dlfcn.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <sstream>

namespace {

std::vector<const kel_asic_reg_t *> base_pointers, reg_pointers;
std::vector<std::vector<kel_asic_reg_t>> bases, offsets;

void build_tables() {
  constexpr uint32_t counts[KEL_ASIC_NUM_BLK] = {
      KEL_ASIC_SS_NUM_ENUM,      KEL_ASIC_HR_NUM_ENUM,      KEL_ASIC_NR_NUM_ENUM,
      KEL_ASIC_HI_NUM_ENUM,      KEL_ASIC_NI_NUM_ENUM,      KEL_ASIC_SI_NUM_ENUM,
      KEL_ASIC_HF_NUM_ENUM,      KEL_ASIC_NF_NUM_ENUM,      KEL_ASIC_CI_NUM_ENUM,
      KEL_ASIC_BI_NUM_ENUM,      KEL_ASIC_CC_NUM_ENUM,      KEL_ASIC_PC_NUM_ENUM,
      KEL_ASIC_RS_EDMA_NUM_ENUM, KEL_ASIC_RS_PCIE_NUM_ENUM, KEL_ASIC_MISC_NUM_ENUM,
      KEL_ASIC_CH_NUM_ENUM,      KEL_ASIC_MB_NUM_ENUM,      KEL_ASIC_QS_NUM_ENUM,
      KEL_ASIC_XL_NUM_ENUM};
  for (uint32_t block = 0; block < KEL_ASIC_NUM_BLK; ++block) {
    std::vector<kel_asic_reg_t> base, offset;
    for (uint32_t instance = 0; instance < 64; ++instance)
      base.push_back(fake_base(static_cast<kel_asic_blk_t>(block), instance));
    for (uint32_t vreg = 0; vreg < counts[block]; ++vreg)
      offset.push_back(8 * vreg);
    bases.push_back(base);
    offsets.push_back(offset);
  }
  for (const auto &[block, vreg] : fake().holes)
    offsets[block][vreg] = KEL_ASIC_NO_REGISTER;
  for (uint32_t block = 0; block < KEL_ASIC_NUM_BLK; ++block) {
    base_pointers.push_back(bases[block].data());
    reg_pointers.push_back(offsets[block].data());
  }
}

__attribute__((format(printf, 1, 2))) void record(const char *format, ...) {
  char text[160];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  fake().platform_calls.emplace_back(text);
}

template <typename Function>
Function real(const char *name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// Counts a call of a kind while armed, and tells whether it is the one to fail.
bool fails(unsigned *count, unsigned fail_at) {
  if (!faults().armed)
    return false;
  ++*count;
  return *count == fail_at;
}

void record_output(char letter) {
  char *outputs = faults().outputs;
  const std::size_t length = std::strlen(outputs);
  if (!faults().armed || length + 1 == sizeof faults().outputs)
    return;
  outputs[length] = letter;
  outputs[length + 1] = '\0';
}

template <typename Timeval>
int read_clock(Timeval *now) {
  timespec real_time = {};
  clock_gettime(CLOCK_REALTIME, &real_time);
  const bool stopped = faults().seconds != 0;
  now->tv_sec = stopped ? faults().seconds : real_time.tv_sec;
  now->tv_usec = stopped ? faults().microseconds : real_time.tv_nsec / 1000;
  return 0;
}

FILE *open_file(const char *name, const char *path, const char *mode) {
  const auto real_fopen = real<FILE *(*)(const char *, const char *)>(name);
  if (std::strcmp(path, "/bootflash/kel_lib_debug") == 0) {
    if (faults().marker_file && std::strcmp(mode, "r") == 0)
      return real_fopen("/dev/null", mode);
    errno = ENOENT;
    return nullptr;
  }
  if (std::strncmp(path, "/tmp/kel_asic_log_", 18) != 0)
    return real_fopen(path, mode);
  if (fails(&faults().fopens, faults().fail_fopen)) {
    errno = EACCES;
    return nullptr;
  }
  return real_fopen(faults().log_path != nullptr ? faults().log_path : path, mode);
}

struct log_remover {
  ~log_remover() { std::remove(log_path().c_str()); }
} remove_log_at_exit;

}  // namespace

std::vector<uint32_t> sent_call::words() const {
  std::vector<uint32_t> result((bytes.size() - sizeof(kel_asic_reg_access_params_t)) / 4);
  if (!result.empty())
    std::memcpy(result.data(), bytes.data() + sizeof(kel_asic_reg_access_params_t),
                4 * result.size());
  return result;
}

std::vector<uint32_t> sent_call::header() const {
  std::vector<uint32_t> result(sizeof(kel_asic_reg_access_params_t) / 4);
  const kel_asic_reg_access_params_t record = request();
  std::memcpy(result.data(), &record, sizeof record);
  return result;
}

std::vector<uint32_t> request_header(kel_asic_access_type_t type, int module, uint32_t asic,
                                     uint32_t addr, uint32_t data, uint32_t mask, uint32_t num,
                                     const char *func, uint32_t line, const char *file,
                                     uint32_t context) {
  kel_asic_reg_access_params_t record = {type, module, asic, addr, data, mask, num, {}};
  record.info.userdata = context;
  record.info.line = line;
  std::string(func).copy(record.info.func, sizeof record.info.func - 1);
  std::string(file).copy(record.info.file, sizeof record.info.file - 1);
  const auto *bytes = reinterpret_cast<const uint8_t *>(&record);
  return sent_call{0, 0, sizeof record, {bytes, bytes + sizeof record}}.header();
}

syserr_t read_reg(const reg_place &place, uint32_t *data) {
  return lib_mrv_asic_read(place.module, place.asic, place.block, place.instance, place.vreg, data,
                           CALLER);
}

syserr_t write_reg(const reg_place &place, uint32_t data, uint32_t code) {
  return lib_mrv_asic_write(place.module, place.asic, place.block, place.instance, place.vreg, data,
                            code, CALLER);
}

syserr_t write_field(const reg_place &place, uint32_t value, uint32_t mask, uint32_t code) {
  return lib_mrv_asic_write_field(place.module, place.asic, place.block, place.instance, place.vreg,
                                  value, mask, code, CALLER);
}

void open_transaction() {
  mrv_asic_transaction_start(const_cast<char *>("mine"), 1);
  lib_mrv_asic_write(0, 0, KEL_ASIC_BLK_HI, 0, 0x1234, 5, KEL_ASIC_WR_RAW, CALLER);
}

kel_asic_xn_t commit() {
  kel_asic_xn_t sent = {};
  const std::size_t before = fake().calls.size();
  mrv_asic_transaction_commit();
  if (fake().calls.size() > before)
    sent = fake().calls.back().as<kel_asic_xn_t>();
  return sent;
}

fake_platform::fake_platform() {
  uint32_t counts[sizeof limits / sizeof(uint32_t)];
  for (uint32_t &count : counts)
    count = 4;
  std::memcpy(&limits, counts, sizeof limits);
  limits.max_asic = 0;
  limits.max_hi = 32;
  limits.max_ni = 8;
}

void fake_platform::fail_calls(int result, int error_number) {
  answer = [=](uint32_t, void *, uint32_t) {
    errno = error_number;
    return result;
  };
}

void fake_platform::answer_words(uint32_t num, uint32_t first) {
  answer = [=](uint32_t case_code, void *record, uint32_t length) {
    if (case_code != SYSSRV_REG_READ_CASE)
      return 0;
    auto *request = static_cast<kel_asic_reg_access_params_t *>(record);
    request->num = num;
    for (uint32_t i = 0; i < (length - sizeof *request) / 4; ++i)
      request->pdata[i] = first + i;
    return 0;
  };
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
  callocs = reallocs = fopens = fseeks = 0;
  outputs[0] = '\0';
  armed = true;
}

void libc_faults::disarm() {
  armed = false;
}

uint32_t fake_base(kel_asic_blk_t block, uint32_t instance) {
  if (block == KEL_ASIC_BLK_XL)
    return 0xFFFFFFFCU - instance * 0x00010000U;
  return 0x10000000U + block * 0x01000000U + instance * 0x00010000U;
}

uint32_t fake_rreg(kel_asic_blk_t block, uint32_t instance, kel_asic_reg_t vreg) {
  return fake_base(block, instance) + 8 * vreg;
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

std::string enter_line(const std::string &operation) {
  return "|t|  0 |   : " + operation + ": Enter";
}

std::string exit_line(const std::string &operation) {
  return "|t|  0 |   : " + operation + ": Exit";
}

std::string detail_line(uint32_t number, const std::string &message) {
  return "|l|  " + std::to_string(static_cast<int>(number)) + " |   : " + message;
}

extern "C" {

int sse_call2(uint32_t case_code, sys_srvc_case_params_t *case_params, uint32_t length) {
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
  if (base_pointers.empty())
    build_tables();
  return base_pointers.data();
}

const kel_asic_reg_t **kel_asic_get_all_reg_table(kel_asic_ver_t asic_ver) {
  record("kel_asic_get_all_reg_table(%u)", static_cast<unsigned>(asic_ver));
  return reg_pointers.data();
}

// The C library's own names of these parameters are reserved.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
void *calloc(std::size_t count, std::size_t size) {
  static const auto real_calloc = real<void *(*)(std::size_t, std::size_t)>("calloc");
  if (fails(&faults().callocs, faults().fail_calloc)) {
    errno = ENOMEM;
    return nullptr;
  }
  return real_calloc(count, size);
}

void *realloc(void *block, std::size_t size) {
  static const auto real_realloc = real<void *(*)(void *, std::size_t)>("realloc");
  if (fails(&faults().reallocs, faults().fail_realloc)) {
    errno = ENOMEM;
    return nullptr;
  }
  return real_realloc(block, size);
}

FILE *fopen(const char *path, const char *mode) {
  return open_file("fopen", path, mode);
}

// What fopen is where file offsets have 64 bits.
FILE *fopen64(const char *path, const char *mode) {
  return open_file("fopen64", path, mode);
}

int fseek(FILE *stream, long offset, int whence) {
  static const auto real_fseek = real<int (*)(FILE *, long, int)>("fseek");
  if (fails(&faults().fseeks, faults().fail_fseek)) {
    errno = ESPIPE;
    return -1;
  }
  return real_fseek(stream, offset, whence);
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
  static const auto real_puts = real<int (*)(const char *)>("puts");
  record_output('s');
  return real_puts(text);
}

int fputs(const char *text, FILE *stream) {
  static const auto real_fputs = real<int (*)(const char *, FILE *)>("fputs");
  record_output('l');
  return real_fputs(text, stream);
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

}  // extern "C"
