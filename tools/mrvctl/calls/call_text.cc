// A decoded call as one line.
#include "calls/call_text.h"

#include <algorithm>
#include <cstring>

#include "asic/port_reference.h"
#include "asic/register_names.h"
#include "kel_asic_record_kinds.h"
#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr size_t kWordsShown = 8;
constexpr size_t kEntriesShown = 4;

const char *case_name(uint32_t case_code) {
  const kel_asic_case_t *const known = kel_asic_find_case(case_code);
  return known == nullptr ? "unknown case" : known->name;
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
               register_type_name(request.type), request.module, request.asic,
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
    return format("%s, module=%u, asic=%u, port=%s, opts=0x%x", qos_type_name(request.type),
                  request.module, request.asic, port_text(request.port_type, request.port).c_str(),
                  request.opts);
  }
};

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
    return text + (qos->type == QOS_STATS_GET ? " {" + stats_text(*qos->stats) + "}" : "");
  const auto *reg = std::get_if<RegisterFields>(&call.answer);
  if (reg != nullptr && reg->type == TYPE_READ)
    return text + format(" {data=0x%x}", reg->data);
  if (reg != nullptr && reg->type == TYPE_READ_DHS)
    return text + format(" {num=%u, words=%s}", reg->num, words_text(reg->words).c_str());
  return text;
}

}  // namespace mrvctl
