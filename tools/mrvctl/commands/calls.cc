// calls and last-write.
#include <deque>
#include <utility>

#include "calls/call_text.h"
#include "commands/commands.h"
#include "commands/recorded_calls.h"
#include "output/call_json.h"
#include "output/call_summary.h"
#include "output/pcapng.h"
#include "output/signals.h"
#include "text/text.h"
#include "text/times.h"

namespace mrvctl {
namespace {

constexpr double kSecondsBetweenLooks = 0.2;

struct CallsArgs {
  std::vector<std::string> files;
  CallChoice choice;
  uint32_t last = 0;  // 0 for all
  bool follow = false;
  bool summary = false;
  std::string pcap;
  bool force = false;
  CallTableOptions table;
  std::string map;
};

// Hands on the calls that are there and chosen.
template <typename Take>
void take_calls(RecordedCalls &source, const CallsArgs &args, const AddressIndex &index,
                Take take) {
  while (const std::optional<DecodedCall> call = source.next()) {
    if (is_chosen(args.choice, *call, index))
      take(*call);
  }
}

void show_summary(Session &session, RecordedCalls &source, const CallsArgs &args,
                  const AddressIndex &index) {
  CallSummary summary;
  take_calls(source, args, index, [&](const DecodedCall &call) { summary.add(call, index); });
  const Listing listing = summary.listing();
  const size_t width = args.table.wide ? 0 : session.report.terminal_width();
  session.report.result({{"summary", listing.json()}}, cut_lines(listing.text(), width));
}

void show_calls(CallTable &table, RecordedCalls &source, const CallsArgs &args,
                const AddressIndex &index) {
  std::deque<DecodedCall> last;
  take_calls(source, args, index, [&](const DecodedCall &call) {
    if (args.last == 0)
      return table.show(call);
    last.push_back(call);
    if (last.size() > args.last)
      last.pop_front();
  });
  for (const DecodedCall &call : last)
    table.show(call);
  table.flush();
}

void follow(RecordedCalls &source, CallTable &table, const CallsArgs &args,
            const AddressIndex &index) {
  for (const Interrupt scope({SIGINT}); interrupted == 0;
       interruptible_sleep(kSecondsBetweenLooks)) {
    source.refresh();
    take_calls(source, args, index, [&](const DecodedCall &call) { table.show(call); });
  }
}

void write_pcapng(Session &session, RecordedCalls &source, const CallsArgs &args,
                  const AddressIndex &index) {
  std::vector<std::string> interfaces;
  for (size_t file = 0; file < source.files(); ++file)
    interfaces.push_back(source.process(file).label);
  const std::string path = session.resolve(args.pcap);
  const bool to_output = path == "-";
  if (to_output && session.report.on_terminal())
    throw OperationFailed("packets are not for a terminal: pipe or redirect the output");
  PcapngWriter writer(to_output ? session.report.output_copy() : new_file(path, args.force), path,
                      interfaces);
  take_calls(source, args, index, [&](const DecodedCall &call) { writer.add(call, index); });
  writer.close();
  if (to_output)
    return;
  session.report.result(
      {{"pcap", path}, {"packets", writer.packets()}},
      count_text(writer.packets(), "packet", "packets") + " written to " + path + "\n");
}

void check_calls(const CallsArgs &args) {
  if (args.follow + args.summary + !args.pcap.empty() > 1)
    throw UsageError("--follow, --summary and --pcap exclude each other");
  if ((args.last > 0 || !args.table.columns.empty()) && (args.summary || !args.pcap.empty()))
    throw UsageError("--last and --columns are for the table of calls");
  if (args.force && args.pcap.empty())
    throw UsageError("--force is for --pcap");
}

void run_calls(Session &session, const CallsArgs &args) {
  const AddressIndex index = register_names(session, args.map, args.choice.reg);
  using Purpose = RecordedCalls::Purpose;
  RecordedCalls source(session, args.files, args.follow ? Purpose::kFollow : Purpose::kShow, index);
  if (!args.pcap.empty()) {
    write_pcapng(session, source, args, index);
  } else if (args.summary) {
    show_summary(session, source, args, index);
  } else {
    CallTable table(session.report, index, args.table, source.label_width(), args.choice.reg);
    show_calls(table, source, args, index);
    if (args.follow)
      follow(source, table, args, index);
  }
  source.report_gaps();
  source.throw_if_unreadable();
}

struct LastWriteArgs {
  RegisterReference reference;
  std::vector<std::string> files;
  std::string map;
};

// In one line, or in as many of the width as they need, of which all but the first are indented.
std::string lines_of(const std::vector<std::string> &parts, size_t width) {
  const std::string gap = "  ";
  std::string text, line;
  for (const std::string &part : parts) {
    const bool fits = width == 0 || line.size() + gap.size() + part.size() <= width;
    if (!line.empty() && !fits)
      text += std::exchange(line, "") + "\n";
    line += (line.empty() && text.empty() ? "" : gap) + part;
  }
  return text + line + "\n";
}

void run_last_write(Session &session, const LastWriteArgs &args) {
  const AddressIndex index = register_names(session, args.map, args.reference);
  const morvane::asic asic = session.on();
  RecordedCalls source(session, args.files, RecordedCalls::Purpose::kShow, index);
  std::optional<DecodedCall> last;
  while (std::optional<DecodedCall> call = source.next()) {
    if (last_written(*call, args.reference, asic, index))
      last = std::move(call);
  }
  source.report_gaps();
  if (!last)
    throw OperationFailed("no write to this register in these recordings");
  const WrittenWord written = *last_written(*last, args.reference, asic, index);
  const uint32_t address = written.access.address + 4 * written.word;
  const std::vector<uint32_t> &values = written.access.values;
  const bool known = written.word < values.size();
  const std::string value =
      known ? masked_text(values[written.word], written.access.mask) : "a word that was cut";
  const Caller *const caller = written.access.caller;
  const std::string text = caller == nullptr ? "" : caller_text(*caller);
  const std::string who = text.empty() ? target_text(*last, index) : text;
  Json object = call_json(*last, index);
  object["written"] = {{"register", index.text(address)},
                       {"data", known ? Json(values[written.word]) : Json()},
                       {"mask", written.access.mask}};
  if (caller != nullptr)
    add_caller(object["written"], *caller);
  session.report.result(
      object, lines_of({index.text(address) + " <- " + value, local_time_text(last->wall_ns),
                        last->process->label, last->operation,
                        last->outcome + (last->lost ? ", lost" : ""), who},
                       session.report.terminal_width()));
  source.throw_if_unreadable();
}

void describe_calls(Arguments &arguments, CallsArgs &args) {
  describe_recordings(arguments, args.files);
  describe_choice(arguments, args.choice);
  describe_period(arguments, args.choice);
  arguments.number<uint32_t>("--last N", args.last, "Only the last N of these calls", 1);
  arguments.flag("--follow", args.follow, "Continue with new calls until ^C");
  arguments.flag("--summary", args.summary,
                 "Summarize by operation: calls, failures, durations, slowest caller");
  arguments.word("--pcap OUT", args.pcap,
                 "Write the calls to a new pcapng file, for Wireshark with morvane.lua;\n"
                 "-: to standard output");
  arguments.flag("--force", args.force, "With --pcap: replace the file");
  describe_call_table(arguments, args.table);
  describe_map(arguments, args.map);
}

void describe_last_write(Arguments &arguments, LastWriteArgs &args) {
  arguments.reference("REGISTER", args.reference, parse_register_or_address, is_block_instance,
                      "HI.2:40, HI.2:HI_DHS_LVIF for all entries, HI.2:HI_DHS_LVIF[5] for one,\n"
                      "or an address");
  describe_recordings(arguments, args.files);
  describe_map(arguments, args.map);
}

}  // namespace

void add_call_commands(Parser &parser) {
  parser.add<CallsArgs>({"calls", "Recordings",
                         "Show recorded service calls\n"
                         "One line per call: time, process, duration, operation, register, value, "
                         "result and the place in the source. The calls of several processes are "
                         "merged by time. No register is accessed.",
                         "mrvctl calls examples/recordings/bringup.mrec --summary\n"
                         "mrvctl calls examples/recordings/*.mrec --writes --last 5",
                         Requires::kNone},
                        describe_calls, check_calls, run_calls);
  parser.add<LastWriteArgs>(
      {"last-write", "Recordings",
       "Show the last write to a register\n"
       "The process, time and result are shown. "
       "A failed write counts too. The command fails if the recordings hold no write.",
       "mrvctl last-write HI.2:HI_DHS_LVIF examples/recordings/refusals.mrec", Requires::kNone},
      describe_last_write, run_last_write);
}

}  // namespace mrvctl
