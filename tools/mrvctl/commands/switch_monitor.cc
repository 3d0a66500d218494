// switch monitor: the calls of all clients of a switch, as they happen.
#include <cerrno>
#include <csignal>
#include <cstring>
#include <memory>
#include <utility>

#include "commands/call_files.h"
#include "commands/recorded_calls.h"
#include "commands/switch.h"
#include "output/signals.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr int kWait = 100;            // ms, after which ^C is noticed
constexpr size_t kProcessWidth = 20;  // of the column, as later clients are not yet known

struct MonitorArgs {
  CallChoice choice;
  CallTableOptions table;
  std::string directory;  // empty: no recordings
  uint32_t size = MREC_RING_DEFAULT;
  uint32_t count = 0;  // 0: no end
};

struct Counts {
  uint64_t shown = 0;
  uint64_t lost = 0;
};

using Monitor = std::unique_ptr<vp_monitor, decltype(vp_monitor_close) *>;

Monitor open_monitor() {
  vp_monitor *opened = nullptr;
  check_control(control<decltype(vp_monitor_open)>("vp_monitor_open")(&opened), ENOTCONN,
                "a private switch has no other clients; --calls shows the calls of a command, "
                "'mrvctl calls' those of a recording");
  return {opened, control<decltype(vp_monitor_close)>("vp_monitor_close")};
}

DecodedCall call_of(const vp_note &note, const uint8_t *bytes, const CallingProcess &process) {
  recording::Call call;
  if (!recording::make_call(bytes, note.size, &call))
    throw OperationFailed("the service sent a damaged note");
  DecodedCall decoded = decoded_call(std::move(call));
  decoded.process = &process;
  return decoded;
}

// Shows calls until ^C or the last of the count. Returns the errno that ends the notes, or 0.
int show_calls(Session &session, const MonitorArgs &args, vp_monitor *monitor, Counts &counts) {
  auto *const next_note = control<decltype(vp_monitor_next)>("vp_monitor_next");
  const AddressIndex index(session.map());
  CallFiles files(
      args.directory.empty() ? "" : recording_directory(session.resolve(args.directory)),
      args.size);
  CallTable table(session.report, index, args.table, kProcessWidth, args.choice.reg);
  table.flush();
  const Interrupt scope({SIGINT, SIGTERM});
  while (interrupted == 0 && (args.count == 0 || counts.shown < args.count)) {
    const vp_note *note = nullptr;
    const int error = next_note(monitor, kWait, &note);
    if (error == ETIMEDOUT)
      continue;
    if (error != 0)
      return error;
    if (note->lost != 0) {
      counts.lost += note->lost;
      session.report.result({{"lost", note->lost}},
                            count_text(note->lost, "call", "calls") + " lost\n");
      continue;
    }
    const auto *const bytes = reinterpret_cast<const uint8_t *>(note + 1);
    const CallingProcess process = {note->program, static_cast<uint32_t>(note->process),
                                    note->program + format(".%d", note->process)};
    const DecodedCall call = call_of(*note, bytes, process);
    if (!is_chosen(args.choice, call, index))
      continue;
    ++counts.shown;
    table.show(call);
    if (!args.directory.empty())
      files.add(*note, bytes);
  }
  return 0;
}

void run_monitor(Session &session, const MonitorArgs &args) {
  const Monitor monitor = open_monitor();
  if (session.report.json)
    session.report.result(
        {{"address", control<decltype(vp_switch_address)>("vp_switch_address")()}}, "");
  Counts counts;
  const int error = show_calls(session, args, monitor.get(), counts);
  session.report.result({{"shown", counts.shown}, {"lost", counts.lost}},
                        count_text(counts.shown, "call", "calls") + " shown" +
                            format(", %llu lost\n", static_cast<unsigned long long>(counts.lost)));
  check_control(error, ECONNRESET, "the service has ended");
}

void describe_monitor(Arguments &arguments, MonitorArgs &args) {
  describe_choice(arguments, args.choice);
  describe_call_table(arguments, args.table);
  arguments.number<uint32_t>("--count N", args.count, "End after N calls", 1);
  arguments.word("--out DIR", args.directory,
                 "Also record these calls in DIR, a file PROGRAM.PID.mrec per client");
  arguments.number<uint32_t>(
      "--size N", args.size,
      format("With --out: bytes of calls to keep per client (default: %u)", MREC_RING_DEFAULT),
      MREC_RING_MIN, MREC_RING_MAX);
}

}  // namespace

void add_switch_monitor_command(Parser &parser) {
  parser.add<MonitorArgs>(
      {"switch monitor", "Virtual switch",
       "Show the calls of all clients as they happen\n"
       "One line per call, as 'mrvctl calls' shows it. ^C ends the view and prints how many calls "
       "were shown, and how many were lost because this command was too slow.",
       "mrvctl switch monitor --writes --register HI.2\n"
       "mrvctl switch monitor --out . --count 100",
       Requires::kPlatform},
      describe_monitor, run_monitor);
}

}  // namespace mrvctl
