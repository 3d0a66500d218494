// The fields of the records that calls carry, and what follows from them.
#include "calls/decoded_call.h"

#include <algorithm>
#include <cstring>

#include "kel_asic_record_kinds.h"
#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kRegisterHeader = sizeof(kel_asic_reg_access_params_t);
constexpr size_t kTransactionHeader = offsetof(kel_asic_xn_t, xn);

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
  fields.callers.resize(fields.entries.size());
  return fields;
}

// The fields of the record, from its first bytes; none if the bytes do not fit the case and the
// length of the complete record.
Fields fields_of(uint32_t case_code, uint32_t length, const Bytes &bytes) {
  const kel_asic_record_kind_t kind = kel_asic_record_kind(case_code, length);
  if (kind == KEL_ASIC_RECORD_REGISTER && bytes.size() >= kRegisterHeader)
    return register_fields(bytes);
  if (kind == KEL_ASIC_RECORD_TIMER && bytes.size() >= kRegisterHeader)
    return timer_fields(bytes);
  if (kind == KEL_ASIC_RECORD_TRANSACTION && bytes.size() >= kTransactionHeader)
    return transaction_fields(bytes);
  if (kind == KEL_ASIC_RECORD_QOS && bytes.size() >= sizeof(QosFields))
    return copy_of<QosFields>(bytes);
  return {};
}

// "read", "write-field", "command", "transaction", "qos-get" ...; what is none of these, by its
// number. A record that is too short for its case has no fields.
std::string operation_name(const DecodedCall &call) {
  if (std::holds_alternative<std::monostate>(call.request))
    return format("case-0x%08x", call.case_code);
  const uint8_t *const record = call.request_bytes.data();
  const char *const name = kel_asic_operation(call.case_code, record, call.length);
  return name != nullptr ? name : format("type-%u", kel_asic_record_field(record, 0));
}

std::string outcome_of(const DecodedCall &call) {
  if (!call.result)
    return "in-flight";
  if (*call.result < 0)
    return errno_name(call.error_number);
  return *call.result == 0 ? "ok" : format("result=%d", *call.result);
}

}  // namespace

bool is_command(const RegisterFields &request) {
  return request.type == TYPE_WRITE && kel_asic_is_command(request.address) != 0;
}

bool is_read(const RegisterFields &request) {
  return request.type == TYPE_READ || request.type == TYPE_READ_DHS;
}

bool is_run(const RegisterFields &request) {
  return request.type == TYPE_READ_DHS || request.type == TYPE_WRITE_DHS;
}

bool is_write(const Fields &request) {
  if (const auto *reg = std::get_if<RegisterFields>(&request))
    return !is_read(*reg);
  if (const auto *qos = std::get_if<QosFields>(&request))
    return qos->type != QOS_STATS_GET;
  return !std::holds_alternative<std::monostate>(request);
}

std::vector<uint32_t> register_values(const DecodedCall &call, const RegisterFields &request) {
  const RegisterFields *from = &request;
  if (is_read(request))
    from = std::get_if<RegisterFields>(&call.answer);
  if (from == nullptr)
    return {};
  return is_run(request) ? from->words : std::vector<uint32_t>{from->data};
}

void decode(DecodedCall &call) {
  call.request = fields_of(call.case_code, call.length, call.request_bytes);
  call.answer = fields_of(call.case_code, call.length, call.answer_bytes);
  call.operation = operation_name(call);
  call.outcome = outcome_of(call);
  call.failed = call.result && *call.result != 0;
  call.lost = call.failed && std::holds_alternative<TransactionFields>(call.request);
}

std::vector<Access> accesses(const DecodedCall &call) {
  std::vector<Access> all;
  if (const auto *reg = std::get_if<RegisterFields>(&call.request)) {
    const uint32_t mask = reg->type == TYPE_WRITE_FIELD ? reg->mask : UINT32_MAX;
    all.push_back({reg->module, reg->asic, reg->address, is_run(*reg) ? reg->num : 1, mask,
                   register_values(call, *reg), reg});
  }
  if (const auto *transaction = std::get_if<TransactionFields>(&call.request)) {
    for (size_t i = 0; i < transaction->entries.size(); ++i) {
      const kel_asic_xn_entry_t &entry = transaction->entries[i];
      all.push_back({entry.module,
                     static_cast<uint32_t>(entry.asic_map),
                     entry.reg,
                     1,
                     entry.mask,
                     {entry.data},
                     transaction->callers[i].get()});
    }
  }
  return all;
}

}  // namespace mrvctl
