// A service call in words and fields.
#include "calls/call_fields.h"

#include <algorithm>
#include <iterator>

#include "asic/port_types.h"
#include "asic/qos_counters.h"
#include "asic/register_names.h"
#include "platform/system_service.h"
#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr size_t kRegisterHeader = sizeof(kel_asic_reg_access_params_t);
constexpr size_t kTransactionHeader = offsetof(kel_asic_xn_t, xn);
constexpr size_t kWordsShown = 8;
constexpr size_t kEntriesShown = 4;
constexpr char kCommandPrefix[] = "KEL_ASIC_CMD_";

const char *case_name(uint32_t case_code) {
  switch (case_code) {
    case SYSSRV_REG_READ_CASE:
      return "SYSSRV_REG_READ_CASE";
    case SYSSRV_REG_WRITE_CASE:
      return "SYSSRV_REG_WRITE_CASE";
    case SYSSRV_MEM_READ_CASE:
      return "SYSSRV_MEM_READ_CASE";
    case SYSSRV_MEM_WRITE_CASE:
      return "SYSSRV_MEM_WRITE_CASE";
    case SYSSRV_SP_TIME_CONFIGURE:
      return "SYSSRV_SP_TIME_CONFIGURE";
    default:
      return "unknown case";
  }
}

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

RegisterFields register_fields(const ServiceCall &call, size_t kept) {
  const auto record = copy_of<kel_asic_reg_access_params_t>(call);
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
  fields.words.resize(std::min<size_t>(record.num, (kept - kRegisterHeader) / sizeof(uint32_t)));
  if (!fields.words.empty())
    std::memcpy(fields.words.data(), static_cast<const char *>(call.record) + kRegisterHeader,
                fields.words.size() * sizeof(uint32_t));
  return fields;
}

TransactionFields transaction_fields(const ServiceCall &call, size_t kept) {
  kel_asic_xn_t record;  // its header alone is read
  std::memcpy(&record, call.record, kTransactionHeader);
  TransactionFields fields;
  fields.name = field_text(record.name);
  fields.reorder = record.reorder_allowed;
  fields.num = record.num;
  const size_t there = (kept - kTransactionHeader) / sizeof(kel_asic_xn_entry_t);
  fields.entries.resize(std::min<size_t>(static_cast<size_t>(std::max(record.num, 0)), there));
  if (!fields.entries.empty())
    std::memcpy(fields.entries.data(), static_cast<const char *>(call.record) + kTransactionHeader,
                fields.entries.size() * sizeof(kel_asic_xn_entry_t));
  return fields;
}

QosFields qos_fields(const ServiceCall &call) {
  const auto record = copy_of<kel_asic_qos_stats_params_t>(call);
  return {record.type,
          record.module,
          record.asic,
          record.port_type,
          record.port,
          record.opts,
          std::make_shared<const kel_asic_qos_stats_t>(record.stats)};
}

std::string address_text(uint32_t address) {
  const char *name = command_name(address);
  return name == nullptr ? format("0x%08x", address) : name;
}

std::string words_text(const std::vector<uint32_t> &words) {
  std::string text;
  for (size_t i = 0; i < std::min(words.size(), kWordsShown); ++i)
    text += format("%s%08x", i == 0 ? "" : " ", words[i]);
  return "[" + text + (words.size() > kWordsShown ? " ...]" : "]");
}

// The record of a request in one line.
struct RequestText {
  std::string operator()(const std::monostate &) const { return "..."; }

  std::string operator()(const RegisterFields &request) const {
    std::string text =
        format("%s, module=%d, asic=0x%x, addr=%s, data=0x%x, mask=0x%x, num=%u",
               type_name(kTypes, request.type), request.module, request.asic,
               address_text(request.address).c_str(), request.data, request.mask, request.num);
    if (request.type == TYPE_WRITE_DHS)
      text += ", words=" + words_text(request.words);
    return text + format(", context=%u, %s %s:%u", request.context, request.func.c_str(),
                         request.file.c_str(), request.line);
  }

  std::string operator()(const TimerFields &request) const {
    return format("module=%d, asic=%u, time=%u", request.module, request.asic, request.time);
  }

  std::string operator()(const TransactionFields &request) const {
    std::string text = format("name=\"%s\", reorder=%d, num=%d, [", request.name.c_str(),
                              request.reorder, request.num);
    const size_t shown = std::min(request.entries.size(), kEntriesShown);
    for (size_t i = 0; i < shown; ++i) {
      const kel_asic_xn_entry_t &entry = request.entries[i];
      text += format("%s{%d, 0x%x, %s, 0x%x, 0x%x}", i == 0 ? "" : ", ", entry.module,
                     static_cast<unsigned>(entry.asic_map), address_text(entry.reg).c_str(),
                     entry.data, entry.mask);
    }
    return text + (request.entries.size() > shown ? ", ...]" : "]");
  }

  std::string operator()(const QosFields &request) const {
    return format("%s, module=%u, asic=%u, port_type=%s, port=%u, opts=0x%x",
                  type_name(kQosTypes, request.type), request.module, request.asic,
                  port_type_text(request.port_type).c_str(), request.port, request.opts);
  }
};

}  // namespace

Record record_of(const ServiceCall &call) {
  if (call.record == nullptr)
    return Record::kNone;
  const bool has_header = call.length >= kRegisterHeader;
  switch (call.case_code) {
    case SYSSRV_REG_READ_CASE:
    case SYSSRV_REG_WRITE_CASE:
      return has_header ? Record::kRegister : Record::kNone;
    case SYSSRV_SP_TIME_CONFIGURE:
      return has_header ? Record::kTimer : Record::kNone;
    case SYSSRV_MEM_WRITE_CASE:
      return call.length == sizeof(kel_asic_xn_t) ? Record::kTransaction : Record::kNone;
    case SYSSRV_MEM_READ_CASE:
      return call.length == sizeof(kel_asic_qos_stats_params_t) ? Record::kQos : Record::kNone;
    default:
      return Record::kNone;
  }
}

Fields fields_of(const ServiceCall &call, size_t kept) {
  const Record record = record_of(call);
  if (record == Record::kTransaction && kept >= kTransactionHeader)
    return transaction_fields(call, kept);
  if (record == Record::kQos && kept >= sizeof(kel_asic_qos_stats_params_t))
    return qos_fields(call);
  if (kept < kRegisterHeader)
    return {};
  if (record == Record::kRegister)
    return register_fields(call, kept);
  if (record == Record::kTimer) {
    const auto fields = copy_of<kel_asic_reg_access_params_t>(call);
    return TimerFields{fields.module, fields.asic, fields.data};
  }
  return {};
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

std::string request_text(const ServiceCall &call) {
  return format("sse_call2(%s, %u, %u, {", case_name(call.case_code), call.driver_id, call.length) +
         std::visit(RequestText(), fields_of(call)) + "})";
}

std::string answer_text(const ServiceCall &call) {
  if (call.result < 0)
    return format(" = %d %s (%s)", call.result, errno_name(call.error_number).c_str(),
                  std::strerror(call.error_number));
  std::string text = format(" = %d", call.result);
  if (call.result != 0)
    return text;
  const Fields answer = fields_of(call);
  if (const auto *qos = std::get_if<QosFields>(&answer))
    return text + (qos->type == QOS_STATS_GET ? " {" + stats_text(*qos->stats) + "}" : "");
  const auto *reg = std::get_if<RegisterFields>(&answer);
  if (reg != nullptr && reg->type == TYPE_READ)
    return text + format(" {data=0x%x}", reg->data);
  if (reg != nullptr && reg->type == TYPE_READ_DHS)
    return text + format(" {num=%u, words=%s}", reg->num, words_text(reg->words).c_str());
  return text;
}

}  // namespace mrvctl
