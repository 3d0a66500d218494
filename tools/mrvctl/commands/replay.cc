// replay.
#include <algorithm>
#include <cerrno>
#include <cstring>

#include "asic/qos_counters.h"
#include "calls/call_text.h"
#include "commands/commands.h"
#include "commands/recorded_calls.h"
#include "commands/switch.h"
#include "output/signals.h"
#include "platform/system_service.h"
#include "text/text.h"

namespace mrvctl {
namespace {

// A longer record is none that a platform takes; a recording may claim it all the same.
constexpr uint32_t kMaxRecord = 1U << 24;
constexpr size_t kDifferencesShown = 10;

constexpr const char *kSpeeds[] = {"FAST", "RECORDED"};

struct ReplayArgs {
  std::vector<std::string> files;
  bool reset = false;
  bool check = false;
  bool at_recorded_speed = false;
  bool ignore_qos = false;
};

// What happened to the calls of the recording.
struct Outcome {
  uint64_t sent = 0;
  uint64_t skipped = 0;  // whose record is truncated
  uint64_t differences = 0;
  Json first_differences = Json::array();
  std::string text;  // of these
};

// One field of an answer, and where it belongs.
struct AnswerField {
  std::string place;
  std::string name;
  std::string value;
};

std::vector<AnswerField> register_fields(const RegisterFields &answer, const std::string &target,
                                         const AddressIndex &index) {
  if (answer.type == TYPE_READ)
    return {{target, "data", format("0x%08x", answer.data)}};
  if (answer.type != TYPE_READ_DHS)
    return {};
  std::vector<AnswerField> fields = {{target, "num", std::to_string(answer.num)}};
  for (size_t i = 0; i < answer.words.size(); ++i)
    fields.push_back({index.text(answer.address + static_cast<uint32_t>(4 * i)),
                      format("word %zu", i), format("0x%08x", answer.words[i])});
  return fields;
}

std::vector<AnswerField> qos_fields(const kel_asic_qos_stats_t &stats, const std::string &target) {
  const kel_asic_qos_pause_stats_t &pause = stats.pause;
  std::vector<AnswerField> fields = {
      {target, "pause.flow_ctrl", std::to_string(pause.flow_ctrl)},
      {target, "pause.rx_xoff_status", std::to_string(pause.rx_xoff_status)},
      {target, "pause.tx_xoff_status", std::to_string(pause.tx_xoff_status)}};
  for (const Counters &counters : qos_counters(stats)) {
    const std::string name = std::string(counters.record) + "." + counters.field;
    for (size_t i = 0; i < counters.count; ++i)
      fields.push_back({target, counters.count == 1 ? name : name + format("[%zu]", i),
                        std::to_string(counters.values[i])});
  }
  return fields;
}

// What the service answered, field by field: first how the call went.
std::vector<AnswerField> answer_fields(const DecodedCall &call, bool with_qos,
                                       const AddressIndex &index) {
  const std::string target = target_text(call, index);
  std::vector<AnswerField> fields = {{target, "result", call.outcome}};
  std::vector<AnswerField> more;
  if (const auto *reg = std::get_if<RegisterFields>(&call.answer))
    more = register_fields(*reg, target, index);
  const auto *qos = std::get_if<QosFields>(&call.answer);
  if (qos != nullptr && with_qos && qos->type == QOS_STATS_GET)
    more = qos_fields(qos->stats, target);
  fields.insert(fields.end(), more.begin(), more.end());
  return fields;
}

void compare(const DecodedCall &recorded, const DecodedCall &now, const ReplayArgs &args,
             const AddressIndex &index, Outcome &outcome) {
  const std::vector<AnswerField> before = answer_fields(recorded, !args.ignore_qos, index);
  const std::vector<AnswerField> after = answer_fields(now, !args.ignore_qos, index);
  // Of an answer of which words were left out, those that were kept.
  const size_t count = recorded.answer_cut ? before.size() : std::max(before.size(), after.size());
  for (size_t i = 0; i < count; ++i) {
    const AnswerField &field = i < before.size() ? before[i] : after[i];
    const std::string old_value = i < before.size() ? before[i].value : "nothing";
    const std::string new_value = i < after.size() ? after[i].value : "nothing";
    if (old_value == new_value)
      continue;
    if (++outcome.differences > kDifferencesShown)
      continue;
    outcome.text += format("call %s of %s: %s %s: %s: recorded %s, now %s\n",
                           std::to_string(recorded.number).c_str(), recorded.process->label.c_str(),
                           recorded.operation.c_str(), field.place.c_str(), field.name.c_str(),
                           old_value.c_str(), new_value.c_str());
    outcome.first_differences.push_back({{"program", recorded.process->program},
                                         {"pid", recorded.process->pid},
                                         {"number", recorded.number},
                                         {"operation", recorded.operation},
                                         {"register", field.place},
                                         {"field", field.name},
                                         {"recorded", old_value},
                                         {"now", new_value}});
  }
}

// Whether all that the service was given is there, to be given again.
bool is_whole(const DecodedCall &call) {
  if (call.request_cut || call.length > kMaxRecord)
    return false;
  const bool known = !std::holds_alternative<std::monostate>(call.request);
  return known || call.request_bytes.empty() || call.request_bytes.size() == call.length;
}

// Sends the request of a recorded call, and gives it with the answer of now.
DecodedCall send_again(const DecodedCall &recorded) {
  DecodedCall now = recorded;
  std::vector<uint8_t> record = recorded.request_bytes;
  record.resize(recorded.length);
  // Without a byte that was kept there was no record.
  sys_srvc_case_params_t params = {recorded.driver,
                                   recorded.request_bytes.empty() ? nullptr : record.data()};
  errno = 0;
  now.result = sse_call2(recorded.case_code, &params, recorded.length);
  now.error_number = *now.result < 0 ? errno : 0;
  clear_lost();
  now.answer_bytes.clear();
  if (*now.result == 0)
    now.answer_bytes = std::move(record);
  decode(now);
  return now;
}

void wait_for(const DecodedCall &call, const std::optional<DecodedCall> &before) {
  if (before && call.order_ns > before->order_ns)
    interruptible_sleep(static_cast<double>(call.order_ns - before->order_ns) / 1e9);
}

Outcome replay(RecordedCalls &source, const ReplayArgs &args, const AddressIndex &index) {
  Outcome outcome;
  const Interrupt scope({SIGINT});
  std::optional<DecodedCall> before;
  while (std::optional<DecodedCall> call = source.next()) {
    if (args.at_recorded_speed)
      wait_for(*call, before);
    if (interrupted != 0)
      throw OperationFailed("interrupted after " + count_text(outcome.sent, "call", "calls"));
    if (!is_whole(*call)) {
      ++outcome.skipped;
      continue;
    }
    const DecodedCall now = send_again(*call);
    ++outcome.sent;
    if (args.check)
      compare(*call, now, args, index, outcome);
    before = std::move(call);
  }
  return outcome;
}

void run_replay(Session &session, const ReplayArgs &args) {
  if (session.transaction.open())
    throw OperationFailed("a transaction is open: commit it first");
  const AddressIndex index(session.map());
  RecordedCalls source(session, args.files, RecordedCalls::Purpose::kReplay, index);
  source.throw_if_unreadable();
  if (args.reset)
    check_control(control<decltype(vp_reset)>("vp_reset")());
  const Outcome outcome = replay(source, args, index);
  const std::string text =
      outcome.text + count_text(outcome.sent, "call", "calls") + " replayed" +
      (args.check ? ", " + count_text(outcome.differences, "difference", "differences") : "") +
      format("; %llu skipped (truncated in the recording)\n",
             static_cast<unsigned long long>(outcome.skipped));
  session.report.result({{"files", args.files},
                         {"sent", outcome.sent},
                         {"skipped", outcome.skipped},
                         {"differences", args.check ? Json(outcome.differences) : Json()},
                         {"first_differences", outcome.first_differences}},
                        text);
  source.report_gaps();
  if (outcome.differences > 0)
    throw OperationFailed("the answers differ from the recording");
}

bool parse_ignored(const std::string &text) {
  if (lower_case(text) != "qos")
    throw UsageError("'" + text + "' cannot be ignored: qos can");
  return true;
}

void describe_replay(Arguments &arguments, ReplayArgs &args) {
  describe_recordings(arguments, args.files);
  arguments.flag("--reset", args.reset, "Empty the virtual switch first, for all its clients");
  arguments.flag(
      "--check", args.check,
      "Compare results and answers with those recorded, show the first differences, and\n"
      "fail if there are any");
  arguments.choice("--speed", args.at_recorded_speed, kSpeeds,
                   "RECORDED keeps the pauses between the calls (default: FAST)");
  arguments.parsed("--ignore qos", args.ignore_qos, parse_ignored,
                   "Do not compare statistics, which traffic changes");
}

}  // namespace

void add_replay_commands(Parser &parser) {
  parser.add<ReplayArgs>(
      {"replay", "Recordings",
       "Send the requests of recordings again, in order\n"
       "All requests are sent, including writes and commands. Several recordings are "
       "merged by time. Requests whose "
       "data was truncated in the recording are skipped.",
       "mrvctl replay --check --reset examples/recordings"},
      describe_replay, run_replay);
}

}  // namespace mrvctl
