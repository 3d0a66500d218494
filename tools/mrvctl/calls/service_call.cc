// A service call in words.
#include "calls/service_call.h"

#include <algorithm>
#include <iterator>

#include "base/errors.h"
#include "base/text.h"
#include "platform/system_service.h"
#include "registers/port_types.h"
#include "registers/register_names.h"

namespace mrvctl {
namespace {

constexpr size_t kWordsShown = 8;
constexpr int kEntriesShown = 4;

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

const char *type_name(uint32_t type) {
  constexpr const char *kNames[] = {"TYPE_READ", "TYPE_WRITE", "TYPE_WRITE_FIELD", "TYPE_READ_DHS",
                                    "TYPE_WRITE_DHS"};
  return type < std::size(kNames) ? kNames[type] : "unknown type";
}

const char *qos_type_name(uint32_t type) {
  constexpr const char *kNames[] = {"QOS_STATS_GET", "QOS_STATS_CLEAR", "QOS_STATS_CLEAR_ALL"};
  return type < std::size(kNames) ? kNames[type] : "unknown type";
}

std::string address_text(uint32_t address) {
  const char *name = command_name(address);
  return name == nullptr ? format("0x%08x", address) : name;
}

// The data words of a register record, as far as its length reaches.
std::string words_text(const ServiceCall &call, uint32_t num) {
  constexpr size_t kHeader = sizeof(kel_asic_reg_access_params_t);
  const size_t words = std::min<size_t>(num, (call.length - kHeader) / sizeof(uint32_t));
  std::string text;
  for (size_t i = 0; i < std::min(words, kWordsShown); ++i) {
    uint32_t word = 0;
    std::memcpy(&word, static_cast<const char *>(call.record) + kHeader + 4 * i, sizeof word);
    text += format("%s%08x", i == 0 ? "" : " ", word);
  }
  return "[" + text + (words > kWordsShown ? " ...]" : "]");
}

std::string register_request_text(const ServiceCall &call) {
  const auto request = copy_of<kel_asic_reg_access_params_t>(call);
  std::string text =
      format("%s, module=%d, asic=0x%x, addr=%s, data=0x%x, mask=0x%x, num=%u",
             type_name(request.type), request.module, request.asic,
             address_text(request.addr).c_str(), request.data, request.mask, request.num);
  if (request.type == TYPE_WRITE_DHS)
    text += ", words=" + words_text(call, request.num);
  return text + format(", context=%u, %s %s:%u", request.info.userdata,
                       field_text(request.info.func).c_str(), field_text(request.info.file).c_str(),
                       request.info.line);
}

std::string timer_text(const ServiceCall &call) {
  const auto request = copy_of<kel_asic_reg_access_params_t>(call);
  return format("module=%d, asic=%u, time=%u", request.module, request.asic, request.data);
}

std::string transaction_text(const ServiceCall &call) {
  const auto transaction = copy_of<kel_asic_xn_t>(call);
  std::string text =
      format("name=\"%s\", reorder=%d, num=%d, [", field_text(transaction.name).c_str(),
             transaction.reorder_allowed, transaction.num);
  const int shown = std::min(transaction.num, kEntriesShown);
  for (int i = 0; i < shown; ++i) {
    const kel_asic_xn_entry_t &entry = transaction.xn[i];
    text += format("%s{%d, 0x%x, %s, 0x%x, 0x%x}", i == 0 ? "" : ", ", entry.module,
                   static_cast<unsigned>(entry.asic_map), address_text(entry.reg).c_str(),
                   entry.data, entry.mask);
  }
  return text + (transaction.num > shown ? ", ...]" : "]");
}

std::string qos_request_text(const ServiceCall &call) {
  const auto request = copy_of<kel_asic_qos_stats_params_t>(call);
  return format("%s, module=%u, asic=%u, port_type=%s, port=%u, opts=0x%x",
                qos_type_name(request.type), request.module, request.asic,
                port_type_text(request.port_type).c_str(), request.port, request.opts);
}

std::string record_text(const ServiceCall &call) {
  switch (record_of(call)) {
    case Record::kRegister:
      return register_request_text(call);
    case Record::kTimer:
      return timer_text(call);
    case Record::kTransaction:
      return transaction_text(call);
    case Record::kQos:
      return qos_request_text(call);
    case Record::kNone:
      break;
  }
  return "...";
}

uint64_t sum(const kel_asic_counter_t *counters, size_t count) {
  uint64_t total = 0;
  for (size_t i = 0; i < count; ++i)
    total += counters[i];
  return total;
}

std::string qos_answer_text(const ServiceCall &call) {
  const auto answer = copy_of<kel_asic_qos_stats_params_t>(call);
  if (answer.type != QOS_STATS_GET)
    return "";
  const auto total = [](const kel_asic_counter_t *counters, size_t count) {
    return static_cast<unsigned long long>(sum(counters, count));
  };
  return format(
      " {writes=%llu, reads=%llu, n2h_drops=%llu, h2n_drops=%llu}",
      total(answer.stats.ss_dhs.wr_rcvd_cnt, 8), total(answer.stats.ss_dhs.rd_sent_cnt, 8),
      total(answer.stats.drops.n2h_drops[0], 48), total(answer.stats.drops.h2n_drops[0], 48));
}

}  // namespace

Record record_of(const ServiceCall &call) {
  if (call.record == nullptr)
    return Record::kNone;
  const bool has_header = call.length >= sizeof(kel_asic_reg_access_params_t);
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

std::string request_text(const ServiceCall &call) {
  return format("sse_call2(%s, %u, %u, {", case_name(call.case_code), call.driver_id, call.length) +
         record_text(call) + "})";
}

std::string answer_text(const ServiceCall &call) {
  if (call.result < 0)
    return format(" = %d %s (%s)", call.result, errno_name(call.error_number).c_str(),
                  std::strerror(call.error_number));
  std::string text = format(" = %d", call.result);
  const Record record = record_of(call);
  if (call.result != 0)
    return text;
  if (record == Record::kQos)
    return text + qos_answer_text(call);
  if (record != Record::kRegister)
    return text;
  const auto answer = copy_of<kel_asic_reg_access_params_t>(call);
  if (answer.type == TYPE_READ)
    return text + format(" {data=0x%x}", answer.data);
  if (answer.type == TYPE_READ_DHS)
    return text + format(" {num=%u, words=%s}", answer.num, words_text(call, answer.num).c_str());
  return text;
}

}  // namespace mrvctl
