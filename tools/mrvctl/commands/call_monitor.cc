// What the tool monitors of the service calls of its commands.
#include "commands/call_monitor.h"

#include <algorithm>

#include "calls/call_text.h"
#include "host/observed_calls.h"
#include "output/report.h"
#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {
namespace {

// Transactions that failed: the first one's name and result, and the writes of all.
struct Lost {
  std::string name;
  syserr_t result = 0;
  uint64_t writes = 0;
};

Lost lost;
size_t last_answered = 0;
uint64_t calls = 0;

void show_call(const DecodedCall &call) {
  if (!call.result)
    return print_error(request_text(call));
  print_error(answer_text(call) +
              format(" <%.6f>\n", static_cast<double>(*call.duration_ns) / 1e9));
}

void note_lost_transaction(const DecodedCall &call, const TransactionFields &sent) {
  if (lost.result == 0) {
    lost.name = sent.name;
    lost.result = *call.result < 0
                      ? KEL_ASIC_SYSERR_SERVICE | static_cast<syserr_t>(call.error_number)
                      : KEL_ASIC_SYSERR_SERVICE_ANSWER;
  }
  lost.writes += static_cast<uint64_t>(sent.num);
}

void note_answer(const DecodedCall &call) {
  if (!call.result)
    return;
  ++calls;
  const auto *sent = std::get_if<TransactionFields>(&call.request);
  if (sent != nullptr && call.failed)
    note_lost_transaction(call, *sent);
  if (const auto *answer = std::get_if<RegisterFields>(&call.answer))
    last_answered = answer->num;
}

}  // namespace

void watch_calls(bool show) {
  observe_calls(note_answer);
  if (show)
    observe_calls(show_call);
}

void throw_if_lost() {
  if (lost.result == 0)
    return;
  const Lost noted = lost;
  lost = {};
  throw OperationFailed(noted.result, "transaction \"" + noted.name + "\" failed: " +
                                          count_text(noted.writes, "write", "writes") + " lost");
}

void clear_lost() {
  lost = {};
}

uint64_t calls_so_far() {
  return calls;
}

size_t answered_words(size_t wanted) {
  return std::min(last_answered, wanted);
}

}  // namespace mrvctl
