// What the tool itself wants to know of the service calls that its commands come to.
#include "commands/call_monitor.h"

#include <algorithm>
#include <cstdio>

#include "host/observed_calls.h"
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

void show_request(const ServiceCall &request) {
  std::fflush(stdout);  // what the library has printed stands before the call
  std::fputs(request_text(request).c_str(), stderr);
}

void show_answer(const ObservedCall &call) {
  const std::chrono::duration<double> seconds = call.duration;
  std::fprintf(stderr, "%s <%.6f>\n", answer_text(call.answer).c_str(), seconds.count());
}

syserr_t result_of(const ServiceCall &answer) {
  return answer.result < 0 ? KEL_ASIC_SYSERR_SERVICE | static_cast<syserr_t>(answer.error_number)
                           : KEL_ASIC_SYSERR_SERVICE_ANSWER;
}

void note_lost_transaction(const ObservedCall &call) {
  const auto sent = copy_of<kel_asic_xn_t>(call.request);
  if (lost.result == 0) {
    lost.name = field_text(sent.name);
    lost.result = result_of(call.answer);
  }
  lost.writes += static_cast<uint64_t>(sent.num);
}

void note_answer(const ObservedCall &call) {
  const Record record = record_of(call.request);
  ++calls;
  if (record == Record::kTransaction && call.answer.result != 0)
    note_lost_transaction(call);
  if (record == Record::kRegister)
    last_answered = copy_of<kel_asic_reg_access_params_t>(call.answer).num;
}

}  // namespace

void watch_calls(bool show) {
  observe_calls({nullptr, note_answer});
  if (show)
    observe_calls({show_request, show_answer});
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
