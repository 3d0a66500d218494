// The virtual platform with clauses broken: MORVANE_WRONG names the breaches, with blanks between
// them. Each begins with the clauses of docs/porting.md that a check has to find broken, and no
// others; one without is for a separate test.
#include <dlfcn.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "kel_asic_blocks.h"
#include "kel_asic_intf.h"
#include "kel_asic_record_kinds.h"
#include "platform/register_map.h"
#include "platform/system_service.h"

namespace {

// Names that are chosen have a space on both sides.
bool wrong(const char *breach) {
  static const char *const chosen = std::getenv("MORVANE_WRONG");
  static const std::string names = chosen == nullptr ? "" : std::string(" ") + chosen + " ";
  return names.find(std::string(" ") + breach + " ") != std::string::npos;
}

template <typename Function>
Function *right(Function * /*function*/, const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}
#define NEXT(function) right(&(function), #function)

constexpr uint32_t kAll = 0xFFFFFFFF;
constexpr int kModule = 2;          // that the checks run on
constexpr uint32_t kInstances = 8;  // of the block that addresses are wrong in
const pid_t loader = getpid();      // the process that loaded this platform

int fail(int error) {
  errno = error;
  return -1;
}

// A call that is answered without the service, with this errno or 0 for success.
struct Shortcut {
  bool applies;
  const char *breach;
  int error;
};

// The result of the first shortcut whose breach is chosen.
std::optional<int> shortcut(std::initializer_list<Shortcut> shortcuts) {
  for (const Shortcut &candidate : shortcuts) {
    if (candidate.applies && wrong(candidate.breach))
      return candidate.error == 0 ? 0 : fail(candidate.error);
  }
  return std::nullopt;
}

// Sets a field if it applies and the breach is chosen.
template <typename Field, typename Value>
void change(const char *breach, Field &field, Value value, bool applies = true) {
  if (applies && wrong(breach))
    field = static_cast<Field>(value);
}

using Request = kel_asic_reg_access_params_t;

bool has_room(const Request *request, uint32_t length) {
  return request->num <= (length - sizeof *request) / 4;
}

int send(uint32_t case_code, void *record, uint32_t length) {
  sys_srvc_case_params_t params = {KEL_ASIC_DRIVER_MORVANE, record};
  return NEXT(sse_call2)(case_code, &params, length);
}

// The last record of a read of one register. It is answered again only after a block read of
// one word, so that only the check for late answers sees it.
Request *last_single;

// Answers later through a pipe, which writes if the record still exists and does nothing otherwise.
void answer_again(uint32_t *data) {
  int ends[2];
  if (pipe(ends) != 0)
    return;
  for (uint32_t answer = 1; answer <= 200; ++answer) {
    usleep(1000);
    if (::write(ends[1], &answer, sizeof answer) < 0 || ::read(ends[0], data, sizeof answer) < 0)
      return;
  }
}

// Not instrumented: it is the check that must find this, and no sanitizer.
__attribute__((no_sanitize("address"))) void write_before(Request *request) {
  // What a check puts there; before a record of the library is its allocator's memory.
  constexpr uint8_t kBeforeRecord = 0xC3;
  uint8_t &before = reinterpret_cast<uint8_t *>(request)[-1];
  if (before == kBeforeRecord)
    before = 0;
}

// The address of the last instance of the block that addresses are wrong in.
uint32_t last_instance() {
  return NEXT(kel_asic_get_all_base_table)(KEL_ASIC_VER_B0)[KEL_ASIC_BLK_XL][kInstances - 1];
}

__attribute__((no_sanitize("address"))) void write_behind(uint16_t *identifier) {
  if (identifier[1] == 0x5A5A)  // what a check puts there
    identifier[1] = 0;
}

int read(Request *request, uint32_t length) {
  static uint32_t last_answer = 0;
  if (request->type == TYPE_READ && wrong("P28_answers_late") && usleep(300) != 0) {
    request->data = last_answer;
    return 0;
  }
  static bool broken = false;
  if (wrong("P28_stays_broken") && (broken = broken || usleep(300) != 0))
    return fail(EIO);
  const uint32_t window = last_instance();
  if (const auto result = shortcut({
          {length > 65536, "P29_refuses_long_records", EMSGSIZE},
          {request->addr >= window && request->addr < window + 0x8000, "P22_lacks_an_instance",
           EFAULT},
          {request->type == 99, "P23_takes_any_type", 0},
          {request->type == TYPE_READ_DHS && !has_room(request, length), "P23_reads_without_room",
           0},
          {request->addr == 0xFFFFFFFC, "P33_wraps_addresses", 0},
      }))
    return *result;
  change("P23_takes_any_asic", request->asic, 0);
  change("P23_takes_asic_minus_1", request->asic, 0, request->asic == kAll);
  change("P23_takes_asic_modulo_65536", request->asic, request->asic & 0xFFFF);
  change("P23_takes_module_minus_1", request->module, 0, request->module == -1);
  change("P23_takes_module_4", request->module, 0, request->module == 4);
  if (request->type == TYPE_READ_DHS && has_room(request, length) &&
      wrong("P24_P27_reads_in_steps_of_8")) {
    for (uint32_t i = 0; i < request->num; ++i) {
      Request one = {TYPE_READ, request->module, request->asic, request->addr + 8 * i, 0, 0, 0, {}};
      if (send(SYSSRV_REG_READ_CASE, &one, sizeof one) != 0)
        return -1;
      request->pdata[i] = one.data;
    }
    return 0;
  }
  if (request->addr == 0x10200014 && request->type == TYPE_READ && request->module == kModule &&
      wrong("P3_P22_P23_answers_no_read"))
    return 0;
  const int result = send(SYSSRV_REG_READ_CASE, request, length);
  if (result != 0) {
    const bool at_the_top = request->addr > 0xFFFFFF00;
    return shortcut({
                        {at_the_top, "P33_answers_everywhere", 0},
                        {!at_the_top && request->num == 2 && has_room(request, length),
                         "P33_answers_partly_valid_runs", 0},
                    })
        .value_or(result);
  }
  last_answer = request->data;
  if (request->type == TYPE_READ_DHS) {
    if (request->num == 1 && last_single != nullptr && wrong("P2_answers_again_later"))
      std::thread(answer_again, &last_single->data).detach();
    if (wrong("P6_counts_one_more"))
      ++request->num;
    if (wrong("P6_P22_P27_counts_one_less") && request->num > 0)
      --request->num;
    if (request->num == 0 && wrong("P5_writes_behind_the_record"))
      reinterpret_cast<uint8_t *>(request)[length] = 0;
    return 0;
  }
  if (wrong("P5_writes_before_the_record"))
    write_before(request);
  last_single = request;
  return 0;
}

int write(Request *request, uint32_t length) {
  const bool command = request->addr >= KEL_ASIC_CMD_CLEAR_DROP_COUNTERS;
  const bool field = request->type == TYPE_WRITE_FIELD;
  const bool valid_command = command && request->mask == kAll;
  change("P23_writes_to_any_asic", request->asic, 0, !command);
  change("P23_takes_commands_for_any_asic", request->asic, request->asic & 0xFFFF, command);
  if (request->data == 0xC3910C8D && wrong("hangs_in_a_field_write")) {
    std::fputs("hanging\n", stderr);
    pause();
  }
  if (field && wrong("P22_P25_P26_crashes"))
    std::raise(SIGSEGV);
  const bool run = request->type == TYPE_WRITE_DHS;
  if (const auto result = shortcut({
          {request->type == TYPE_READ, "P23_takes_reads_as_writes", 0},
          {request->type == TYPE_WRITE && length > sizeof *request, "P23_takes_long_writes", 0},
          {run && !has_room(request, length), "P23_writes_without_words", 0},
          {request->addr == KEL_ASIC_CMD_LINK_PAUSE_DISABLE, "P23_P25_never_disables", 0},
          {getpid() != loader, "loses_writes_of_children", 0},
          {request->type == TYPE_WRITE && command, "P23_P25_drops_commands", 0},
          {request->data == 17, "takes_no_17", EPERM},
          {request->data == 0xC3910C8D, "P22_refuses_a_field_write_of_the_library", EPERM},
          {field && valid_command, "P25_refuses_commands_as_field_writes", EFAULT},
      }))
    return *result;
  change("P22_P26_writes_the_whole_register", request->type, TYPE_WRITE, field && !command);
  change("P25_takes_masked_commands", request->type, TYPE_WRITE, field && command);
  if (field && command && !valid_command && wrong("P25_obeys_what_it_refuses")) {
    request->mask = kAll;
    send(SYSSRV_REG_WRITE_CASE, request, length);
    return fail(EFAULT);
  }
  if (field && wrong("P26_shifts_the_value"))
    request->data <<= __builtin_ctz(request->mask);
  if (run && has_room(request, length) && wrong("P27_writes_backwards"))
    std::reverse(request->pdata, request->pdata + request->num);
  if (run && length == sizeof *request + 4 * request->num && wrong("P27_writes_one_more")) {
    Request next = {TYPE_WRITE, request->module, 0, request->addr + 4 * request->num, 0, kAll, 0,
                    {}};
    send(SYSSRV_REG_WRITE_CASE, &next, sizeof next);
  }
  if (request->type == 99 && wrong("P23_writes_what_it_refuses")) {
    request->type = TYPE_WRITE;
    send(SYSSRV_REG_WRITE_CASE, request, length);
    return fail(EINVAL);
  }
  return send(SYSSRV_REG_WRITE_CASE, request, length);
}

int commit(kel_asic_xn_t transaction) {
  kel_asic_xn_entry_t *const begin = transaction.xn;
  kel_asic_xn_entry_t *const end = begin + std::clamp(transaction.num, 0, KEL_ASIC_XN_ENTRIES);
  if (const auto result = shortcut({
          {transaction.num == 2, "P22_P23_P26_drops_transactions_of_2", 0},
          {transaction.num == 0, "P24_refuses_empty_transactions", EINVAL},
          {transaction.num == -1, "P23_takes_minus_1_entries", 0},
          {transaction.num == 8, "P24_drops_transactions_of_8", 0},
      }))
    return *result;
  change("P1_P24_cuts_a_transaction", transaction.num, 256, transaction.num == KEL_ASIC_XN_ENTRIES);
  change("P23_takes_513_entries", transaction.num, end - begin, transaction.num > 0);
  if (wrong("P24_P26_applies_backwards"))
    std::reverse(begin, end);
  if (wrong("P24_applies_one_more") && transaction.num >= 0 && transaction.num < 4 &&
      begin[transaction.num].reg != 0)
    ++transaction.num;
  for (kel_asic_xn_entry_t *entry = begin; entry != end; ++entry) {
    const bool command = entry->reg >= KEL_ASIC_CMD_CLEAR_DROP_COUNTERS;
    change("P23_takes_entries_for_any_asic", entry->asic_map, 0, !command);
    change("P25_takes_masked_commands_in_transactions", entry->mask, kAll, command);
    change("P1_P26_writes_whole_registers_in_transactions", entry->mask, kAll, !command);
    if (command && entry->mask == kAll && wrong("P23_P25_drops_commands_in_transactions"))
      *entry = {0, 0, 0x18000000, 0, 0x1};
  }
  change("P23_takes_commands_for_any_asic_in_transactions", begin->asic_map,
         begin->asic_map & 0xFFFF, begin->reg >= KEL_ASIC_CMD_CLEAR_DROP_COUNTERS);
  const int result = send(SYSSRV_MEM_WRITE_CASE, &transaction, sizeof transaction);
  if (result != 0 && transaction.num == 2 && wrong("P23_applies_half_a_refused_transaction")) {
    transaction.num = 1;
    send(SYSSRV_MEM_WRITE_CASE, &transaction, sizeof transaction);
    return fail(ENXIO);
  }
  return result;
}

int statistics(kel_asic_qos_stats_params_t *request) {
  const bool clear = request->type == QOS_STATS_CLEAR;
  if (const auto result = shortcut({
          {true, "P22_P23_P25_has_no_statistics", ENOSYS},
          {clear, "P22_P23_clears_no_port", 0},
          {request->type == QOS_STATS_CLEAR_ALL, "P22_clears_no_ports", 0},
          {request->port_type == 200, "P23_takes_any_port_type", 0},
      }))
    return *result;
  change("P23_counts_for_any_asic", request->asic, 0);
  change("P23_counts_for_any_module", request->module, kModule);
  const kel_asic_qos_stats_t before = request->stats;
  const int result = send(SYSSRV_MEM_READ_CASE, request, sizeof *request);
  change("P22_answers_no_drops", request->stats.drops, before.drops);
  for (const uint32_t padding : {2U, 3U, 182U, 183U})  // not answered, which is right
    reinterpret_cast<uint8_t *>(&request->stats.pause)[padding] =
        reinterpret_cast<const uint8_t *>(&before.pause)[padding];
  return shortcut({{result != 0, "P23_fails_for_missing_ports", EIO}}).value_or(result);
}

int serve(uint32_t case_code, void *record, uint32_t length) {
  const bool unknown = kel_asic_find_case(case_code) == nullptr;
  if (unknown && wrong("P23_exits"))
    std::exit(0);
  const bool timer = case_code == SYSSRV_SP_TIME_CONFIGURE;
  const bool transaction = case_code == SYSSRV_MEM_WRITE_CASE;
  const bool counters = case_code == SYSSRV_MEM_READ_CASE;
  if (const auto result = shortcut({
          {length == sizeof(Request) - 4 && !timer, "P23_takes_any_length", 0},
          {transaction && length != sizeof(kel_asic_xn_t), "P23_takes_transactions_of_any_length",
           0},
          {counters && length != sizeof(kel_asic_qos_stats_params_t),
           "P23_takes_statistics_of_any_length", 0},
          {timer && length > sizeof(Request), "P23_takes_long_timers", 0},
          {timer, "P22_P23_has_no_sp_timer", ENOSYS},
          {unknown, "P23_takes_any_case", 0},
      }))
    return *result;
  if (case_code == SYSSRV_REG_READ_CASE && length >= sizeof(Request))
    return read(static_cast<Request *>(record), length);
  if (case_code == SYSSRV_REG_WRITE_CASE)
    return write(static_cast<Request *>(record), length);
  if (transaction && length == sizeof(kel_asic_xn_t))
    return commit(*static_cast<kel_asic_xn_t *>(record));
  if (counters && length == sizeof(kel_asic_qos_stats_params_t))
    return statistics(static_cast<kel_asic_qos_stats_params_t *>(record));
  return send(case_code, record, length);
}

int hook(kel_asic_blk_t block, kel_asic_reg_t vreg, uint32_t index) {
  KEL_ASIC_fn hooks = {};
  kel_asic_limits_t limits = {};
  kel_asic_ver_t revision = {};
  NEXT(morvane_lib_init)(&hooks, &limits, &revision, 0, nullptr, 0, nullptr);
  int size = hooks.reg_dhs_entry_size(block, vreg, index);
  change("P14_lacks_an_entry_0", size, 0, vreg == NF_DHS_UCAST_MEM_OFFSET && index == 0);
  change("P14_P20_has_257_words", size, block == KEL_ASIC_BLK_HI ? 256 : 257, size > 0);
  change("P14_answers_for_others", size, 1, vreg == kel_asic_blocks[block].registers);
  change("grows_entry_5", size, 256, index == 5);
  change("P14_P20_has_no_last_entry", size, 1, index == kAll);
  return size;
}

// A copy whose end is the end of a page, with nothing after it.
const kel_asic_reg_t *at_the_end_of_memory(const kel_asic_reg_t *array, uint32_t length) {
  const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  auto *const memory = static_cast<uint8_t *>(
      mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  munmap(memory + page, page);
  return static_cast<const kel_asic_reg_t *>(
      std::memcpy(memory + page - 4 * length, array, 4 * length));
}

__attribute__((no_sanitize("address"))) void use_later(const volatile uint32_t *word) {
  for (int i = 0; i < 200; ++i) {
    usleep(1000);
    (void)*word;
  }
}

// Calls the library in the last of four functions that a check calls in this order.
void call_library(uint32_t function) {
  static uint32_t functions = 0;
  functions = (functions << 4 | function) & 0xFFFF;
  if (functions != 0x1234 || !wrong("P21_calls_the_library"))
    return;
  char file[] = "wrong";
  uint32_t data = 0;
  decltype(&lib_mrv_asic_read) library_read = nullptr;
  *reinterpret_cast<void **>(&library_read) = dlsym(RTLD_DEFAULT, "lib_mrv_asic_read");
  library_read(0, 0, KEL_ASIC_BLK_HI, 0, 0, &data, 0, file, 0, "wrong");
}

}  // namespace

int sse_call2(uint32_t case_code, sys_srvc_case_params_t *params, uint32_t length) {
  if (const auto result = shortcut({
          {true, "has_no_service", ENOTCONN},
          {getpid() != loader, "P31_serves_no_child", EBADF},
      }))
    return *result;
  if (wrong("P32_prints"))
    std::puts("call");
  const auto *const request = static_cast<Request *>(params->params);
  static const volatile uint32_t *earlier = nullptr;
  if (earlier != nullptr && wrong("P4_uses_an_earlier_address"))
    (void)*earlier;
  earlier = case_code == SYSSRV_REG_READ_CASE && request->data != 0 ? &request->data : nullptr;
  static bool used = false;
  if (wrong("P4_uses_parameters_later") && !std::exchange(used, true))
    std::thread(use_later, &params->caseId).detach();
  if (params->caseId != KEL_ASIC_DRIVER_MORVANE) {
    call_library(4);
    if (!wrong("P1_P23_serves_every_driver"))
      return fail(ENODEV);
  }
  const int before = errno;
  const int result = serve(case_code, params->params, length);
  if (wrong("P3_sets_no_errno"))
    errno = result < 0 ? before : EIO;
  if (result < 0 && wrong("P3_sets_a_large_errno"))
    errno = 5000;
  return result;
}

int cardcfg_get_real_asic_type(uint32_t slot, uint32_t asic_index, uint32_t *dev_type) {
  call_library(1);
  const int result = NEXT(cardcfg_get_real_asic_type)(slot, asic_index, dev_type);
  change("P9_writes_and_fails", *dev_type, 0, result != 0);
  change("P7_P16_tells_another_type", *dev_type, 3, result == 0);
  return result;
}

int cardcfg_card_get_sw_card_id(uint32_t slot, uint16_t *sw_card_id) {
  static uint16_t asked = 0;
  if (wrong("P10_hangs"))
    pause();
  if (wrong("P10_takes_its_time"))
    usleep(20000);
  call_library(2);
  const int result = NEXT(cardcfg_card_get_sw_card_id)(slot, sw_card_id);
  if (wrong("P8_writes_32_bits"))
    write_behind(sw_card_id);
  if (slot == 255 && wrong("P9_writes_an_identifier_and_fails"))
    return *sw_card_id = 0, -1;
  if (slot == 0 && wrong("P8_tells_another_each_time"))
    *sw_card_id = ++asked;
  return result;
}

syserr_t morvane_lib_init(KEL_ASIC_fn *funcs, kel_asic_limits_t *limits, kel_asic_ver_t *asic_ver,
                          uint32_t context, char *file, int line, const char *func) {
  if (wrong("P32_prints"))
    std::puts("initialised");
  const KEL_ASIC_fn funcs_before = *funcs;
  const kel_asic_limits_t limits_before = *limits;
  const kel_asic_ver_t version_before = *asic_ver;
  const syserr_t result =
      NEXT(morvane_lib_init)(funcs, limits, asic_ver, context, file, line, func);
  funcs->reg_dhs_entry_size = hook;
  change("P11_leaves_a_limit", limits->max_xl, limits_before.max_xl);
  change("P11_leaves_max_asic", limits->max_asic, limits_before.max_asic);
  change("P11_mixes_up_limits", limits->max_xl, 0);
  change("P11_has_nine_modules", limits->max_modules, 9);
  change("P11_P17_has_257_ports", limits->max_hi, 256);
  change("P11_P17_has_257_ports", limits->max_ni, 257);
  if (wrong("has_nothing"))
    *limits = {}, limits->max_modules = 1;
  change("P12_has_two_asics", limits->max_asic, 1);
  change("P13_has_no_hook", funcs->reg_dhs_entry_size, nullptr);
  change("P13_leaves_the_hook", *funcs, funcs_before);
  change("P15_leaves_the_revision", *asic_ver, version_before);
  return wrong("P16_refuses") ? 5 : result;
}

const kel_asic_reg_t **kel_asic_get_all_base_table(kel_asic_ver_t /*asic_ver*/) {
  call_library(3);
  static uint32_t calls = 0;
  static const kel_asic_reg_t *arrays[KEL_ASIC_NUM_BLK];
  static kel_asic_reg_t bases[kInstances];
  std::copy_n(NEXT(kel_asic_get_all_base_table)(KEL_ASIC_VER_B0), KEL_ASIC_NUM_BLK, arrays);
  std::copy_n(arrays[KEL_ASIC_BLK_XL], kInstances, bases);
  change("P19_P22_changes_a_base", bases[0], bases[0] + 0x8000 * ++calls);
  change("P20_P22_runs_into_the_commands", bases[0], 0xFFFFFF00);
  arrays[KEL_ASIC_BLK_XL] = bases;
  change("P11_mixes_up_limits", arrays[KEL_ASIC_BLK_HF], nullptr);
  change("P11_P17_has_257_ports", arrays[KEL_ASIC_BLK_HI], nullptr);
  if (wrong("P19_has_a_short_array"))
    arrays[KEL_ASIC_BLK_XL] = at_the_end_of_memory(bases, kInstances - 1);
  return wrong("P17_has_no_bases") ? nullptr : arrays;
}

const kel_asic_reg_t **kel_asic_get_all_reg_table(kel_asic_ver_t /*asic_ver*/) {
  static const kel_asic_reg_t *arrays[KEL_ASIC_NUM_BLK];
  static kel_asic_reg_t offsets[KEL_ASIC_HF_NUM_ENUM];
  std::copy_n(NEXT(kel_asic_get_all_reg_table)(KEL_ASIC_VER_B0), KEL_ASIC_NUM_BLK, arrays);
  static std::vector<kel_asic_reg_t> registers(arrays[KEL_ASIC_BLK_XL],
                                               arrays[KEL_ASIC_BLK_XL] + KEL_ASIC_XL_NUM_ENUM);
  std::copy_n(arrays[KEL_ASIC_BLK_HF], KEL_ASIC_HF_NUM_ENUM, offsets);
  change("P20_has_an_odd_address", offsets[10], offsets[10] + 2);
  change("P20_wraps_an_address", offsets[10], 0xE8000000);
  change("P20_shares_an_address", offsets[10], offsets[11]);
  change("P20_lacks_room_for_a_table", offsets[HF_DHS_LVIF_MEM_OFFSET],
         offsets[HF_DHS_SVIF_MEM_OFFSET] + 400);
  arrays[KEL_ASIC_BLK_HF] = offsets;
  std::fill_n(registers.begin(), wrong("P18_has_only_holes") ? registers.size() : 1,
              KEL_ASIC_NO_REGISTER);  // one hole is right
  arrays[KEL_ASIC_BLK_XL] = registers.data();
  if (wrong("P19_has_short_offsets"))
    arrays[KEL_ASIC_BLK_XL] = at_the_end_of_memory(registers.data(), KEL_ASIC_XL_NUM_ENUM - 1);
  change("P18_lacks_an_array", arrays[KEL_ASIC_BLK_HF], nullptr);
  return wrong("has_no_offsets") ? nullptr : arrays;
}
