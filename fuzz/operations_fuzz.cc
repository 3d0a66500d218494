// Turns bytes into calls of every exported operation with hostile arguments, and into hostile
// answers of the service, and checks after each call what a caller relies on: no word written
// beyond what was asked for, at most one service call, every request well formed.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "input_bytes.h"
#include "kel_asic_intf.h"
#include "kel_asic_lib_private.h"
#include "platform/system_service.h"
#include "transaction.h"

namespace {

constexpr uint32_t header_size = 196;
constexpr uint32_t max_words = 8192;          // that a call here reads or writes
constexpr uint32_t longest_run = 1073741774;  // that has a 32-bit size

input_bytes input;

// An array of the caller's between guard words.
class guarded_words {
 public:
  uint32_t *prepare(uint32_t count) {
    words_.assign(count + 2 * guards, guard);
    return words_.data() + guards;
  }
  void check(uint32_t written) const {
    require(written <= words_.size() - 2 * guards, "an answer has somewhere to go");
    const auto is_guard = [](uint32_t word) { return word == guard; };
    const uint32_t *all = words_.data(), *array = all + guards;
    require(std::all_of(all, array, is_guard), "guard before the array");
    require(std::all_of(array + written, all + words_.size(), is_guard), "guard behind the answer");
  }

 private:
  static constexpr std::size_t guards = 8;
  static constexpr uint32_t guard = 0x6A6D6D6A;
  std::vector<uint32_t> words_;
};

guarded_words caller_array;

// The register map: tables for the largest block, holes and all.
std::array<kel_asic_reg_t, KEL_ASIC_SS_NUM_ENUM> offsets;
std::array<kel_asic_reg_t, 64> bases;
std::array<const kel_asic_reg_t *, KEL_ASIC_NUM_BLK> offset_table, base_table;
int hook_answer;

int entry_size_hook(kel_asic_blk_t, kel_asic_reg_t, uint32_t) {
  return hook_answer;
}

// What the service has seen since the operation began.
unsigned requests;        // but for commits
uint32_t answered_words;  // that the caller may find in its array

template <std::size_t size>
bool is_terminated(const char (&text)[size]) {
  return text[size - 1] == '\0';
}

void check_transaction(const kel_asic_xn_t &transaction, uint32_t length) {
  require(length == sizeof transaction, "length of a transaction");
  require(transaction.num >= 0 && transaction.num <= KEL_ASIC_XN_ENTRIES, "number of entries");
  require(transaction.name[0] != '\0' && is_terminated(transaction.name), "its name");
}

void check_stats(const kel_asic_qos_stats_params_t &request, uint32_t length) {
  static const kel_asic_qos_stats_t zeros = {};
  require(length == sizeof request && request.type <= QOS_STATS_CLEAR_ALL, "QoS request");
  require(std::memcmp(&request.stats, &zeros, sizeof zeros) == 0, "statistics are sent as zeros");
}

// Any bytes in the record: one byte all through it, some bytes here and there, or none.
void scribble(void *record, uint32_t length) {
  auto *bytes = static_cast<uint8_t *>(record);
  const uint8_t byte = input.take<uint8_t>();
  if ((byte & 3) == 1)
    std::memset(bytes, byte, length);
  for (uint8_t i = 0; (byte & 3) > 1 && i < byte >> 4; ++i)
    bytes[input.take<uint16_t>() % length] = input.take<uint8_t>();
}

char *text() {
  static const std::string long_text(300, '%');
  static const std::array<const char *, 5> choices = {nullptr, "", "port_manager.cc", "%s%n%s%n",
                                                      long_text.c_str()};
  return const_cast<char *>(choices[input.below(choices.size())]);
}

// The arguments of a register operation.
struct arguments {
  int module = static_cast<int>(input.number(4));
  kel_asic_num_t asic = input.number(1);
  kel_asic_blk_t block = static_cast<kel_asic_blk_t>(input.number(KEL_ASIC_NUM_BLK));
  uint32_t instance = input.number(4);
  kel_asic_reg_t vreg = input.number(KEL_ASIC_SS_NUM_ENUM);
  uint32_t code = input.flag() ? KEL_ASIC_WR_SYMBOLIC : input.take<uint32_t>();
  uint32_t value = input.take<uint32_t>();
  uint32_t mask = input.number(2);
  uint32_t context = input.take<uint32_t>();
  char *file = text();
  int line = input.take<int>();
  const char *func = text();

  // An address that is more often a table than chance would have it.
  void prefer_table() {
    static constexpr std::pair<kel_asic_blk_t, kel_asic_reg_t> tables[] = {
        {KEL_ASIC_BLK_HF, HF_DHS_TCAM_OFFSET},      {KEL_ASIC_BLK_HF, HF_DHS_POL_OFFSET},
        {KEL_ASIC_BLK_HF, HF_DHS_RESULT_00_OFFSET}, {KEL_ASIC_BLK_NF, NF_DHS_UCAST_MEM_OFFSET},
        {KEL_ASIC_BLK_QS, QS_DHS_ARB_BI_OFFSET},    {KEL_ASIC_BLK_SS, SS_DHS_ARB9_HI_OFFSET}};
    if (input.flag())
      return;
    std::tie(block, vreg) = tables[input.below(std::size(tables))];
  }
};

void check_request(uint32_t case_code, const kel_asic_reg_access_params_t &request,
                   uint32_t length) {
  require(is_terminated(request.info.func) && is_terminated(request.info.file), "caller's texts");
  require(length >= header_size && length % 4 == 0, "length of a register request");
  const bool is_run = request.type == TYPE_READ_DHS || request.type == TYPE_WRITE_DHS;
  const uint32_t room = (length - header_size) / 4;
  // A read may ask for fewer words than it has room for.
  require(request.type == TYPE_READ_DHS ? request.num <= room : request.num == room, "its num");
  require(is_run || room == 0, "length of a single-register request");
  // The timer's request has a separate case.
  const bool is_read = request.type == TYPE_READ || request.type == TYPE_READ_DHS;
  require(request.type <= TYPE_WRITE_DHS, "type of a request");
  require(case_code != (is_read ? SYSSRV_REG_WRITE_CASE : SYSSRV_REG_READ_CASE), "its case");
}

uint32_t *array_or_null(uint32_t words) {
  return input.flag() || input.flag() ? caller_array.prepare(words) : nullptr;
}

// A number of entries that fits the array of max_words, whatever an entry has, or fits no request:
// where the hook's entries are huge, five of them are too many for any.
uint32_t run_length() {
  if (input.below(8) == 0)
    return longest_run + 1 + input.take<uint16_t>();
  const uint32_t entries = input.below(max_words / 16 - 5);
  return entries != 0 && hook_answer > 16 ? entries + 5 : entries;
}

// The QoS statistics and the port operations take the same few numbers, each of its own width.
struct any_width {
  uint32_t value;
  template <typename To>
  operator To() const {
    return static_cast<To>(value);
  }
};

struct port_arguments {
  any_width module = {input.number(4)}, asic = {input.number(1)}, type = {input.number(4)},
            port = {input.number(40)};
  uint32_t *array = array_or_null(sizeof(kel_asic_qos_stats_t) / 4);
  kel_asic_qos_stats_t *stats = reinterpret_cast<kel_asic_qos_stats_t *>(array);
};

using ports = const port_arguments &;
constexpr void (*port_operations[])(ports) = {
    [](ports p) { lib_mrv_asic_get_qos_stats(p.module, p.asic, p.type, p.port, p.stats, p.type); },
    [](ports p) { lib_mrv_asic_clear_qos_stats(p.module, p.asic, p.type, p.port, p.type); },
    [](ports p) { lib_mrv_asic_clear_all_qos_stats(p.module, p.asic, p.type); },
    [](ports p) { lib_mrv_asic_link_pause_enable(p.module, p.asic, p.type, p.port); },
    [](ports p) { lib_mrv_asic_link_pause_disable(p.module, p.asic, p.type, p.port); },
    [](ports p) { lib_mrv_asic_set_nodrop_class_map(p.module, p.asic, p.port); },
    [](ports p) { lib_mrv_asic_sfp_validation_failed(p.module, p.asic, p.type, p.port); },
    [](ports p) { lib_mrv_asic_prog_sp_timer(p.module, p.asic, p.port); },
    [](ports) { lib_mrv_asic_clear_all_drop_counters(); }};

void initialise(arguments &by) {
  lib_mrv_asic_init(static_cast<slot_num_t>(by.value), by.code, by.context, by.file, by.line,
                    by.func);
}

void run_program(arguments &by) {
  std::array<kel_asic_pgm_t, 4> program;
  for (kel_asic_pgm_t &step : program) {
    const arguments to;
    const uint32_t magic = input.below(16) != 0 ? KEL_ASIC_PGM_MAGIC : 0;
    step = {magic, to.block, to.instance, to.vreg, to.value, input.flag() ? ~0U : to.mask};
  }
  lib_mrv_asic_pgm(by.module, by.asic, input.below(8) != 0 ? program.data() : nullptr,
                   static_cast<int>(input.below(6)) - 1, by.context, by.file, by.line, by.func);
}

// Calls a register operation with the arguments that each has, and its own.
template <typename Operation, typename... Own>
void at_register(Operation operation, const arguments &with, Own... own) {
  operation(with.module, with.asic, with.block, with.instance, with.vreg, own..., with.context,
            with.file, with.line, with.func);
}

template <decltype(lib_mrv_asic_read_dhs) operation>
void at_table(arguments &with) {
  with.prefer_table();
  at_register(operation, with, input.number(2048), array_or_null(max_words), run_length());
}

using args = arguments &;
constexpr struct {
  unsigned requests;  // that it may send at most; commits come on top
  void (*run)(arguments &);
} other_operations[] = {
    {1, [](args a) { at_register(lib_mrv_asic_read, a, array_or_null(1)); }},
    {1, [](args a) { at_register(lib_mrv_asic_write, a, a.value, a.code); }},
    {1, [](args a) { at_register(lib_mrv_asic_write_field, a, a.value, a.mask, a.code); }},
    {1,
     [](args a) { at_register(lib_mrv_asic_n_read, a, array_or_null(max_words), run_length()); }},
    {1, at_table<lib_mrv_asic_read_dhs>},
    {1, at_table<lib_mrv_asic_write_dhs>},
    {4, run_program},
    {0, [](args a) { mrv_asic_transaction_start(a.file, a.line); }},
    {0, [](args) { mrv_asic_transaction_commit(); }},
    {0, initialise}};
constexpr uint32_t initialisation = 9;

constexpr uint32_t operations = std::size(other_operations) + std::size(port_operations);

// Runs an operation and returns how many requests it may have sent.
unsigned run_operation(uint32_t which) {
  arguments with;
  if (which >= std::size(other_operations)) {
    port_operations[which - std::size(other_operations)]({});
    return 1;
  }
  other_operations[which].run(with);
  return other_operations[which].requests;
}

// A library that has just been loaded, on a platform of the input's choosing.
void load_library() {
  std::free(lib_ctx.p_params);
  lib_ctx = {};
  lib_init_done = 0;
  pending_xn = {};
  hook_answer = std::array{-1, 0, 1, 3, 16, 0x10000000, INT32_MAX}[input.below(7)];
  for (std::size_t i = 0; i < offsets.size(); ++i)
    offsets[i] = i % 7 == 5 ? KEL_ASIC_NO_REGISTER : static_cast<uint32_t>(4 * i);
  offset_table.fill(offsets.data());
  base_table.fill(bases.data());
}

}  // namespace

extern "C" {

int sse_call2(uint32_t case_code, sys_srvc_case_params_t *case_params, uint32_t length) {
  require(case_params->caseId == lib_ctx.driver_id, "driver identifier");
  void *record = case_params->params;
  auto *request = static_cast<kel_asic_reg_access_params_t *>(record);
  const uint32_t type = *static_cast<uint32_t *>(record);
  requests += case_code != SYSSRV_MEM_WRITE_CASE;
  if (case_code == SYSSRV_MEM_WRITE_CASE)
    check_transaction(*static_cast<kel_asic_xn_t *>(record), length);
  else if (case_code == SYSSRV_MEM_READ_CASE)
    check_stats(*static_cast<kel_asic_qos_stats_params_t *>(record), length);
  else
    check_request(case_code, *request, length);
  scribble(record, length);
  if (type == TYPE_READ_DHS && case_code == SYSSRV_REG_READ_CASE)
    request->num = input.number(max_words);
  errno = input.take<uint16_t>();
  const int result = input.flag() ? 0 : input.take<int>();
  if (result == 0 && case_code == SYSSRV_MEM_READ_CASE && type == QOS_STATS_GET)
    answered_words = sizeof(kel_asic_qos_stats_t) / 4;
  if (result == 0 && case_code == SYSSRV_REG_READ_CASE)
    answered_words = type == TYPE_READ ? 1 : std::min((length - header_size) / 4, request->num);
  return result;
}

int cardcfg_get_real_asic_type(uint32_t, uint32_t, uint32_t *dev_type) {
  *dev_type = input.below(16) != 0 ? CARDCFG_DEV_TYPE_MORVANE : input.take<uint32_t>();
  return 0;
}

int cardcfg_card_get_sw_card_id(uint32_t, uint16_t *sw_card_id) {
  *sw_card_id = input.flag() ? 266 : input.take<uint16_t>();
  return 0;
}

syserr_t morvane_lib_init(KEL_ASIC_fn *funcs, kel_asic_limits_t *limits, kel_asic_ver_t *asic_ver,
                          uint32_t, char *, int, const char *) {
  std::array<uint32_t, sizeof *limits / 4> counts;
  counts.fill(input.below(bases.size()));
  std::memcpy(limits, counts.data(), sizeof *limits);
  limits->max_asic = input.flag() ? 0 : input.take<uint32_t>();
  *asic_ver = static_cast<kel_asic_ver_t>(input.take<uint32_t>());
  funcs->reg_dhs_entry_size = input.flag() ? entry_size_hook : nullptr;
  return input.below(16) != 0 ? 0 : input.take<uint32_t>();
}

const kel_asic_reg_t **kel_asic_get_all_base_table(kel_asic_ver_t) {
  return base_table.data();
}

const kel_asic_reg_t **kel_asic_get_all_reg_table(kel_asic_ver_t) {
  return offset_table.data();
}

int LLVMFuzzerInitialize(int *, char ***) {
  return std::freopen("/dev/null", "w", stdout) != nullptr ? 0 : 1;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
  input = input_bytes(data, size);
  load_library();
  const bool traced = input.flag();
  for (unsigned calls = 0; calls < 64 && !input.empty(); ++calls) {
    lib_ctx.debug_enable = traced;
    requests = answered_words = 0;
    caller_array.prepare(0);
    // The first is mostly an initialisation: nothing else gets far without one.
    const bool first = calls == 0 && input.below(8) != 0;
    const unsigned allowed = run_operation(first ? initialisation : input.below(operations));
    require(requests <= allowed, "at most one service call an operation");
    caller_array.check(answered_words);
  }
  return 0;
}
}
