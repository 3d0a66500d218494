// The fields of the records.
#include "calls/call_fields.h"

#include <algorithm>
#include <cstring>

#include "asic/port_reference.h"
#include "asic/qos_counters.h"
#include "asic/register_names.h"
#include "kel_asic_record_kinds.h"
#include "text/text.h"

namespace mrvctl {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kRegisterHeader = sizeof(kel_asic_reg_access_params_t);
constexpr size_t kTransactionHeader = offsetof(kel_asic_xn_t, xn);
constexpr char kCommandPrefix[] = "KEL_ASIC_CMD_";

// What a register request of some type is called: in the headers, and as an operation.
struct TypeNames {
  const char *enumerator;
  const char *operation;
};

constexpr TypeNames kTypes[] = {{"TYPE_READ", "read"},
                                {"TYPE_WRITE", "write"},
                                {"TYPE_WRITE_FIELD", "write-field"},
                                {"TYPE_READ_DHS", "read-run"},
                                {"TYPE_WRITE_DHS", "write-run"}};

constexpr TypeNames kQosTypes[] = {{"QOS_STATS_GET", "qos-get"},
                                   {"QOS_STATS_CLEAR", "qos-clear"},
                                   {"QOS_STATS_CLEAR_ALL", "qos-clear-all"}};

template <size_t kCount>
const char *type_name(const TypeNames (&names)[kCount], uint32_t type) {
  return type < kCount ? names[type].enumerator : "unknown type";
}

template <size_t kCount>
std::string type_operation(const TypeNames (&names)[kCount], uint32_t type) {
  return type < kCount ? names[type].operation : format("type-%u", type);
}

// By value, so that no field is read where it is not aligned.
template <typename Record>
Record copy_of(const Bytes &bytes) {
  Record record;
  std::memcpy(&record, bytes.data(), sizeof record);
  return record;
}

// A text field of a record, which may lack its NUL where the service wrote it.
template <size_t kSize>
std::string field_text(const char (&field)[kSize]) {
  return std::string(field, strnlen(field, kSize));
}

RegisterFields register_fields(const Bytes &bytes) {
  const auto record = copy_of<kel_asic_reg_access_params_t>(bytes);
  RegisterFields fields;
  fields.type = record.type;
  fields.module = record.module;
  fields.asic = record.asic;
  fields.address = record.addr;
  fields.data = record.data;
  fields.mask = record.mask;
  fields.num = record.num;
  fields.context = record.info.userdata;
  fields.line = record.info.line;
  fields.func = field_text(record.info.func);
  fields.file = field_text(record.info.file);
  fields.words.resize(kel_asic_record_words(bytes.data(), static_cast<uint32_t>(bytes.size())));
  if (!fields.words.empty())
    std::memcpy(fields.words.data(), &bytes[kRegisterHeader],
                fields.words.size() * sizeof(uint32_t));
  return fields;
}

TimerFields timer_fields(const Bytes &bytes) {
  const auto record = copy_of<kel_asic_reg_access_params_t>(bytes);
  return {record.module, record.asic, record.data};
}

TransactionFields transaction_fields(const Bytes &bytes) {
  kel_asic_xn_t record;  // only its header is read
  std::memcpy(&record, bytes.data(), kTransactionHeader);
  TransactionFields fields;
  fields.name = field_text(record.name);
  fields.reorder = record.reorder_allowed;
  fields.num = record.num;
  const size_t there = (bytes.size() - kTransactionHeader) / sizeof(kel_asic_xn_entry_t);
  fields.entries.resize(std::min<size_t>(static_cast<size_t>(std::max(record.num, 0)), there));
  if (!fields.entries.empty())
    std::memcpy(fields.entries.data(), &bytes[kTransactionHeader],
                fields.entries.size() * sizeof(kel_asic_xn_entry_t));
  return fields;
}

QosFields qos_fields(const Bytes &bytes) {
  const auto record = copy_of<kel_asic_qos_stats_params_t>(bytes);
  return {record.type,
          record.module,
          record.asic,
          record.port_type,
          record.port,
          record.opts,
          std::make_shared<const kel_asic_qos_stats_t>(record.stats)};
}

}  // namespace

Fields fields_of(uint32_t case_code, uint32_t length, const Bytes &bytes) {
  const kel_asic_record_kind_t kind = kel_asic_record_kind(case_code, length);
  if (kind == KEL_ASIC_RECORD_REGISTER && bytes.size() >= kRegisterHeader)
    return register_fields(bytes);
  if (kind == KEL_ASIC_RECORD_TIMER && bytes.size() >= kRegisterHeader)
    return timer_fields(bytes);
  if (kind == KEL_ASIC_RECORD_TRANSACTION && bytes.size() >= kTransactionHeader)
    return transaction_fields(bytes);
  if (kind == KEL_ASIC_RECORD_QOS && bytes.size() >= sizeof(kel_asic_qos_stats_params_t))
    return qos_fields(bytes);
  return {};
}

const char *register_type_name(uint32_t type) {
  return type_name(kTypes, type);
}

const char *qos_type_name(uint32_t type) {
  return type_name(kQosTypes, type);
}

bool is_command(const RegisterFields &request) {
  return request.type == TYPE_WRITE && command_name(request.address) != nullptr;
}

std::string operation_name(uint32_t case_code, const Fields &request) {
  if (const auto *reg = std::get_if<RegisterFields>(&request))
    return is_command(*reg) ? "command" : type_operation(kTypes, reg->type);
  if (std::holds_alternative<TimerFields>(request))
    return "sp-timer";
  if (std::holds_alternative<TransactionFields>(request))
    return "transaction";
  if (const auto *qos = std::get_if<QosFields>(&request))
    return type_operation(kQosTypes, qos->type);
  return format("case-0x%08x", case_code);
}

bool is_write(const Fields &request) {
  if (const auto *reg = std::get_if<RegisterFields>(&request))
    return reg->type != TYPE_READ && reg->type != TYPE_READ_DHS;
  if (const auto *qos = std::get_if<QosFields>(&request))
    return qos->type != QOS_STATS_GET;
  return !std::holds_alternative<std::monostate>(request);
}

std::string command_text(uint32_t command, uint32_t port_word) {
  std::string name = command_name(command) + sizeof kCommandPrefix - 1;
  if (command == KEL_ASIC_CMD_CLEAR_DROP_COUNTERS)
    return name;
  if (command == KEL_ASIC_CMD_NODROP_CLASS_MAP)
    return name + format(" 0x%02x", port_word & 0xFF);
  return name + " " + port_text(port_word >> 8 & 0xFF, port_word & 0xFF);
}

std::string stats_text(const kel_asic_qos_stats_t &stats) {
  const auto total = [](const kel_asic_counter_t *counters, size_t count) {
    return static_cast<unsigned long long>(counter_sum(counters, count));
  };
  return format(
      "writes=%llu, reads=%llu, n2h_drops=%llu, h2n_drops=%llu",
      total(stats.ss_dhs.wr_rcvd_cnt, kClasses), total(stats.ss_dhs.rd_sent_cnt, kClasses),
      total(stats.drops.n2h_drops[0], kGridCells), total(stats.drops.h2n_drops[0], kGridCells));
}

}  // namespace mrvctl
