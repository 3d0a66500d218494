// Decoded calls, and the line of a table about each.
#include "calls/decoded_call.h"

#include <algorithm>

#include "asic/port_reference.h"
#include "text/errors.h"
#include "text/text.h"
#include "text/times.h"

namespace mrvctl {
namespace {

constexpr size_t kWordsShown = 2;
constexpr size_t kEntriesShown = 3;
constexpr uint32_t kWholeRegister = 0xFFFFFFFF;

std::string outcome_of(const DecodedCall &call) {
  if (!call.result)
    return "in-flight";
  if (*call.result < 0)
    return errno_name(call.error_number);
  return *call.result == 0 ? "ok" : format("result=%d", *call.result);
}

bool reads_words(const RegisterFields &reg) {
  return reg.type == TYPE_READ || reg.type == TYPE_READ_DHS;
}

bool is_run(const RegisterFields &reg) {
  return reg.type == TYPE_READ_DHS || reg.type == TYPE_WRITE_DHS;
}

// The values that a register request wrote, or that were read.
std::vector<uint32_t> register_values(const DecodedCall &call, const RegisterFields &request) {
  const RegisterFields *from = &request;
  if (reads_words(request))
    from = std::get_if<RegisterFields>(&call.answer);
  if (from == nullptr)
    return {};
  return is_run(request) ? from->words : std::vector<uint32_t>{from->data};
}

std::string masked_text(uint32_t value, uint32_t mask) {
  return format("0x%08x", value) + (mask == kWholeRegister ? "" : format(" mask 0x%08x", mask));
}

std::string run_text(const std::vector<uint32_t> &words, uint32_t num) {
  std::string text = format("%u:", num);
  for (size_t i = 0; i < std::min(words.size(), kWordsShown); ++i)
    text += format(" %08x", words[i]);
  return text + (num > std::min(words.size(), kWordsShown) ? " ..." : "");
}

std::string register_value_text(const DecodedCall &call, const RegisterFields &request) {
  if (is_command(request))
    return "-";
  const std::vector<uint32_t> values = register_values(call, request);
  if (is_run(request) && (!values.empty() || !reads_words(request)))
    return run_text(values, request.num);
  if (values.empty())
    return "-";
  return masked_text(values[0], request.type == TYPE_WRITE_FIELD ? request.mask : kWholeRegister);
}

// Most switches have one module and one ASIC, so they are told only where they are not the first.
std::string place_text(int32_t module, uint32_t asic) {
  if (module == 0 && asic == 0)
    return "";
  return asic == 0 ? format(" (module %d)", module) : format(" (module %d, ASIC %u)", module, asic);
}

std::string entry_text(const kel_asic_xn_entry_t &entry, const AddressIndex &index) {
  const auto port_word = static_cast<uint32_t>(entry.asic_map);
  if (command_name(entry.reg) != nullptr)
    return command_text(entry.reg, port_word) + place_text(entry.module, port_word >> 16);
  return index.text(entry.reg) + place_text(entry.module, port_word) + " <- " +
         masked_text(entry.data, entry.mask);
}

// The first entries; those that touch a register where somebody asks after one.
std::string entries_text(const TransactionFields &transaction, const AddressIndex &index,
                         const std::optional<RegisterReference> &wanted) {
  std::vector<std::string> entries;
  for (const kel_asic_xn_entry_t &entry : transaction.entries) {
    if (wanted && !index.last_word_of(*wanted, entry.reg, 1))
      continue;
    if (entries.size() == kEntriesShown)
      return join(entries, ", ") + ", ...";
    entries.push_back(entry_text(entry, index));
  }
  return join(entries, ", ");
}

std::string detail_text(const DecodedCall &call, const AddressIndex &index,
                        const std::optional<RegisterReference> &wanted) {
  if (const auto *transaction = std::get_if<TransactionFields>(&call.request))
    return entries_text(*transaction, index, wanted);
  const auto *qos = std::get_if<QosFields>(&call.answer);
  return qos != nullptr && qos->type == QOS_STATS_GET ? stats_text(*qos->stats) : "";
}

}  // namespace

void decode(DecodedCall &call) {
  call.request = fields_of(call.case_code, call.length, call.request_bytes);
  call.answer = fields_of(call.case_code, call.length, call.answer_bytes);
  call.operation = operation_name(call.case_code, call.request);
  call.outcome = outcome_of(call);
  call.failed = call.result && *call.result != 0;
}

std::vector<Access> accesses(const DecodedCall &call) {
  std::vector<Access> all;
  if (const auto *reg = std::get_if<RegisterFields>(&call.request)) {
    const uint32_t mask = reg->type == TYPE_WRITE_FIELD ? reg->mask : kWholeRegister;
    all.push_back({reg->module, reg->asic, reg->address, is_run(*reg) ? reg->num : 1, mask,
                   register_values(call, *reg)});
  }
  if (const auto *transaction = std::get_if<TransactionFields>(&call.request)) {
    for (const kel_asic_xn_entry_t &entry : transaction->entries)
      all.push_back({entry.module,
                     static_cast<uint32_t>(entry.asic_map),
                     entry.reg,
                     1,
                     entry.mask,
                     {entry.data}});
  }
  return all;
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

std::string value_text(const DecodedCall &call) {
  if (const auto *reg = std::get_if<RegisterFields>(&call.request))
    return register_value_text(call, *reg);
  if (const auto *timer = std::get_if<TimerFields>(&call.request))
    return format("time %u", timer->time);
  if (const auto *transaction = std::get_if<TransactionFields>(&call.request))
    return transaction->num < 0
               ? format("%d writes", transaction->num)
               : count_text(static_cast<uint64_t>(transaction->num), "write", "writes");
  return "-";
}

std::string caller_text(const DecodedCall &call) {
  const auto *reg = std::get_if<RegisterFields>(&call.request);
  if (reg == nullptr || (reg->func.empty() && reg->file.empty()))
    return "";
  return printable(reg->func) + (reg->func.empty() ? "" : " ") + printable(reg->file) +
         format(":%u", reg->line) + (reg->context == 0 ? "" : format(" context %u", reg->context));
}

std::string call_heading(size_t process_width) {
  return format("%-26s  %-*s  %12s  %-13s  %-30s  %-26s  %-10s  %s\n", "TIME",
                static_cast<int>(process_width), "PROCESS", "DURATION", "OPERATION", "REGISTER",
                "VALUE", "RESULT", "CALLER");
}

std::string call_line(const DecodedCall &call, const AddressIndex &index, size_t process_width,
                      const std::optional<RegisterReference> &wanted) {
  const std::string duration = call.duration_ns ? duration_text(*call.duration_ns) : "-";
  std::string line =
      format("%s  %-*s  %12s  %-13s  %-30s  %-26s  %-10s  ", local_time_text(call.wall_ns).c_str(),
             static_cast<int>(process_width), call.process->label.c_str(), duration.c_str(),
             call.operation.c_str(), target_text(call, index).c_str(), value_text(call).c_str(),
             call.outcome.c_str()) +
      caller_text(call) + detail_text(call, index, wanted);
  line.erase(line.find_last_not_of(' ') + 1);
  return line + "\n";
}

}  // namespace mrvctl
