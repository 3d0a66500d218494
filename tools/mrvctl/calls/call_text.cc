// Decoded calls as lines.
#include "calls/call_text.h"

#include <algorithm>
#include <cstring>

#include "asic/port_reference.h"
#include "asic/qos_counters.h"
#include "kel_asic_record_kinds.h"
#include "text/errors.h"
#include "text/text.h"
#include "text/times.h"

namespace mrvctl {
namespace {

// In a request and its answer, and in a table.
constexpr size_t kWordsShown = 8, kWordsInTable = 2;
constexpr size_t kEntriesShown = 4, kEntriesInTable = 3;
constexpr size_t kDateLength = 11, kBriefTimeLength = 12;  // "2026-11-25 ", "10:25:40.651"
constexpr char kCommandPrefix[] = "KEL_ASIC_CMD_";

// As the public headers call them.
constexpr const char *kTypes[] = {"TYPE_READ", "TYPE_WRITE", "TYPE_WRITE_FIELD", "TYPE_READ_DHS",
                                  "TYPE_WRITE_DHS"};
constexpr const char *kQosTypes[] = {"QOS_STATS_GET", "QOS_STATS_CLEAR", "QOS_STATS_CLEAR_ALL"};

template <size_t kCount>
const char *type_name(const char *const (&names)[kCount], uint32_t type) {
  return type < kCount ? names[type] : "unknown type";
}

const char *case_name(uint32_t case_code) {
  const kel_asic_case_t *const known = kel_asic_find_case(case_code);
  return known == nullptr ? "unknown case" : known->name;
}

std::string address_text(uint32_t address) {
  char text[64];
  return kel_asic_address_text(text, sizeof text, address);
}

// The first of so many words, of which all or some are known.
std::string first_words(const std::vector<uint32_t> &words, size_t count, size_t max_shown) {
  std::vector<std::string> shown;
  for (size_t i = 0; i < std::min(words.size(), max_shown); ++i)
    shown.push_back(format("%08x", words[i]));
  if (count > shown.size())
    shown.emplace_back("...");
  return join(shown, " ");
}

std::string words_text(const std::vector<uint32_t> &words) {
  return "[" + first_words(words, words.size(), kWordsShown) + "]";
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
    return format("%s, module=%u, asic=%u, port=%s, opts=0x%x", type_name(kQosTypes, request.type),
                  request.module, request.asic, port_text(request.port_type, request.port).c_str(),
                  request.opts);
  }
};

// "LINK_PAUSE_ENABLE hif:3"
std::string command_text(uint32_t command, uint32_t port_word) {
  const std::string full_name = kel_asic_command_name(command);
  std::string name = full_name.substr(sizeof kCommandPrefix - 1);
  if (command == KEL_ASIC_CMD_CLEAR_DROP_COUNTERS)
    return name;
  if (command == KEL_ASIC_CMD_NODROP_CLASS_MAP)
    return name + format(" 0x%02x", port_word & 0xFF);
  return name + " " + port_text(port_word >> 8 & 0xFF, port_word & 0xFF);
}

// "writes=5, reads=5, n2h_drops=0, h2n_drops=0"
std::string stats_text(const kel_asic_qos_stats_t &stats) {
  const auto total = [](const kel_asic_counter_t *counters, size_t count) {
    return static_cast<unsigned long long>(counter_sum(counters, count));
  };
  return format(
      "writes=%llu, reads=%llu, n2h_drops=%llu, h2n_drops=%llu",
      total(stats.ss_dhs.wr_rcvd_cnt, kClasses), total(stats.ss_dhs.rd_sent_cnt, kClasses),
      total(stats.drops.n2h_drops[0], kGridCells), total(stats.drops.h2n_drops[0], kGridCells));
}

std::string register_value_text(const DecodedCall &call, const RegisterFields &request) {
  if (is_command(request))
    return "-";
  const std::vector<uint32_t> values = register_values(call, request);
  if (is_run(request) && (!values.empty() || !is_read(request)))
    return format("%u: ", request.num) + first_words(values, request.num, kWordsInTable);
  if (values.empty())
    return "-";
  return masked_text(values[0], request.type == TYPE_WRITE_FIELD ? request.mask : UINT32_MAX);
}

// Most switches have one module and one ASIC, so they are told only where they are not the first.
std::string place_text(int32_t module, uint32_t asic) {
  if (module == 0 && asic == 0)
    return "";
  return asic == 0 ? format(" (module %d)", module) : format(" (module %d, ASIC %u)", module, asic);
}

std::string write_text(const kel_asic_xn_entry_t &entry, const AddressIndex &index) {
  const auto port_word = static_cast<uint32_t>(entry.asic_map);
  if (kel_asic_command_name(entry.reg) != nullptr)
    return command_text(entry.reg, port_word) + place_text(entry.module, port_word >> 16);
  return index.text(entry.reg) + place_text(entry.module, port_word) + " <- " +
         masked_text(entry.data, entry.mask);
}

// The first entries, those of a register if one is asked for; brief the first callers, if known.
std::string entries_text(const TransactionFields &transaction, const AddressIndex &index,
                         const std::optional<RegisterReference> &wanted, bool brief) {
  std::vector<std::string> entries;
  for (size_t i = 0; i < transaction.entries.size(); ++i) {
    const kel_asic_xn_entry_t &entry = transaction.entries[i];
    if (wanted && !index.last_word_of(*wanted, entry.reg, 1))
      continue;
    const Caller *const caller = transaction.callers[i].get();
    const std::string by = caller == nullptr ? "" : caller_text(*caller, brief);
    if (brief && !by.empty() && !entries.empty() && entries.back() == by)
      continue;
    if (entries.size() == kEntriesInTable)
      return join(entries, ", ") + ", ...";
    if (brief && !by.empty())
      entries.push_back(by);
    else
      entries.push_back(write_text(entry, index) + (by.empty() ? "" : " by " + by));
  }
  return join(entries, ", ");
}

std::string detail_text(const DecodedCall &call, const AddressIndex &index,
                        const std::optional<RegisterReference> &wanted, bool brief) {
  if (const auto *transaction = std::get_if<TransactionFields>(&call.request))
    return entries_text(*transaction, index, wanted, brief);
  const auto *qos = std::get_if<QosFields>(&call.answer);
  return qos != nullptr && qos->type == QOS_STATS_GET ? stats_text(qos->stats) : "";
}

// The value or words that the call carried, either way.
std::string value_text(const DecodedCall &call) {
  if (const auto *reg = std::get_if<RegisterFields>(&call.request))
    return register_value_text(call, *reg);
  if (const auto *timer = std::get_if<TimerFields>(&call.request))
    return format("time %u", timer->time);
  if (const auto *transaction = std::get_if<TransactionFields>(&call.request))
    return transaction->num < 0
               ? format("%d writes", transaction->num)
               : count_text(static_cast<uint64_t>(transaction->num), "write", "writes") +
                     (call.lost ? " lost" : "");
  return "-";
}

}  // namespace

std::string request_text(const DecodedCall &call) {
  return format("sse_call2(%s, %u, %u, {", case_name(call.case_code), call.driver, call.length) +
         std::visit(RequestText(), call.request) + "})";
}

std::string answer_text(const DecodedCall &call) {
  const int32_t result = call.result.value_or(0);
  std::string text = format(" = %d", result);
  if (result < 0)
    return text + format(" %s (%s)", errno_name(call.error_number).c_str(),
                         std::strerror(call.error_number));
  if (const auto *qos = std::get_if<QosFields>(&call.answer))
    return text + (qos->type == QOS_STATS_GET ? " {" + stats_text(qos->stats) + "}" : "");
  const auto *reg = std::get_if<RegisterFields>(&call.answer);
  if (reg != nullptr && reg->type == TYPE_READ)
    return text + format(" {data=0x%x}", reg->data);
  if (reg != nullptr && reg->type == TYPE_READ_DHS)
    return text + format(" {num=%u, words=%s}", reg->num, words_text(reg->words).c_str());
  return text;
}

std::string masked_text(uint32_t value, uint32_t mask) {
  return format("0x%08x", value) + (mask == UINT32_MAX ? "" : format(" mask 0x%08x", mask));
}

std::string target_text(const DecodedCall &call, const AddressIndex &index) {
  if (const auto *reg = std::get_if<RegisterFields>(&call.request)) {
    if (is_command(*reg))
      return command_text(reg->address, reg->asic) + place_text(reg->module, reg->asic >> 16);
    return index.text(reg->address) + place_text(reg->module, reg->asic);
  }
  if (const auto *timer = std::get_if<TimerFields>(&call.request))
    return "SP timer" + place_text(timer->module, timer->asic);
  if (const auto *transaction = std::get_if<TransactionFields>(&call.request))
    return "\"" + printable(transaction->name) + "\"";
  if (const auto *qos = std::get_if<QosFields>(&call.request))
    return (qos->type == QOS_STATS_CLEAR_ALL ? "all ports" : port_text(qos->port_type, qos->port)) +
           place_text(static_cast<int32_t>(qos->module), qos->asic);
  return "-";
}

std::string caller_text(const Caller &caller, bool brief) {
  if (caller.func.empty() && caller.file.empty())
    return "";
  const std::string file = brief ? caller.file.substr(caller.file.rfind('/') + 1) : caller.file;
  return printable(caller.func) + (caller.func.empty() ? "" : " ") + printable(file) +
         format(":%u", caller.line) +
         (caller.context == 0 || brief ? "" : format(" context %u", caller.context));
}

std::string caller_text(const DecodedCall &call, bool brief) {
  const auto *reg = std::get_if<RegisterFields>(&call.request);
  return reg == nullptr ? "" : caller_text(*reg, brief);
}

std::vector<std::string> call_cells(const DecodedCall &call, const AddressIndex &index,
                                    const std::optional<RegisterReference> &wanted, bool brief) {
  const std::string time = local_time_text(call.wall_ns);
  std::string duration = call.duration_ns ? duration_text(*call.duration_ns) : "-";
  if (brief && call.duration_ns)
    duration.resize(duration.size() - 2);
  return {brief ? time.substr(kDateLength, kBriefTimeLength) : time,
          call.process->label,
          duration,
          call.operation,
          target_text(call, index),
          value_text(call),
          call.outcome,
          caller_text(call, brief) + detail_text(call, index, wanted, brief)};
}

}  // namespace mrvctl
