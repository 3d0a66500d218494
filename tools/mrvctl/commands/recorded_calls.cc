// The calls of recordings.
#include "commands/recorded_calls.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "asic/map_file.h"
#include "commands/transaction_writes.h"
#include "host/platform_library.h"
#include "text/text.h"
#include "text/times.h"

namespace mrvctl {
namespace {

// "3 bytes damaged"; empty if nothing is damaged.
std::string loss_text(uint64_t count, const char *one, const char *more, const char *how) {
  return count == 0 ? "" : count_text(count, one, more) + " " + how;
}

// The recordings in a directory, in the order of their names; of a file itself.
std::vector<std::string> files_at(const std::string &path) {
  namespace fs = std::filesystem;
  std::error_code ec;
  if (!fs::is_directory(path, ec))
    return {path};
  std::vector<std::string> files;
  for (fs::directory_iterator entry(path, ec), end; !ec && entry != end; entry.increment(ec)) {
    if (entry->path().extension() == ".mrec")
      files.push_back(entry->path().string());
  }
  if (ec)
    throw OperationFailed("cannot read " + path + ": " + ec.message());
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

void describe_choice(Arguments &arguments, CallChoice &choice) {
  const auto parse_microseconds = [](const std::string &text) {
    return parse_number<uint32_t>(text) * uint64_t{1000};
  };
  arguments.parsed("--register REGISTER", choice.reg, parse_register_or_address,
                   "Only calls that touch this register, table entry, block instance or address:\n"
                   "HI.2:40, HI.2:HI_DHS_LVIF[5], HI.2, 0x102000a0");
  arguments.flag("--writes", choice.writes, "Only calls that change something");
  arguments.flag("--failed", choice.failed, "Only calls that failed");
  arguments.parsed("--slower MICROSECONDS", choice.slower_ns, parse_microseconds,
                   "Only calls that took longer");
  arguments.word("--caller TEXT", choice.caller,
                 "Only calls whose caller's function, or file:line, has TEXT");
}

void describe_period(Arguments &arguments, CallChoice &choice) {
  arguments.parsed("--since TIME", choice.since_ns, parse_moment,
                   "Only calls that began at TIME or later: 2026-11-25 03:00, 03:00 today, 10m or\n"
                   "'10 min ago', or @SECONDS since 1970");
  arguments.parsed("--until TIME", choice.until_ns, parse_moment,
                   "Only calls that began before TIME");
}

void describe_call_table(Arguments &arguments, CallTableOptions &options) {
  arguments.flag("--wide", options.wide,
                 "Dates and complete columns, as in a file (default at a terminal: its width)");
  arguments.list("--columns COLUMN,...", options.columns, parse_call_column,
                 "Some of " + join(call_column_names(), ", "));
}

DecodedCall decoded_call(recording::Call &&call) {
  DecodedCall decoded;
  decoded.number = call.number;
  decoded.wall_ns = call.wall_ns;
  decoded.case_code = call.case_code;
  decoded.driver = call.driver;
  decoded.length = call.length;
  decoded.request_bytes = std::move(call.request);
  decoded.answer_bytes = std::move(call.answer);
  decoded.request_cut = call.request_cut;
  decoded.answer_cut = call.answer_cut;
  if (call.returned) {
    decoded.duration_ns = call.duration_ns;
    decoded.result = call.result;
    decoded.error_number = call.error_number;
  }
  decode(decoded);
  add_callers(call.callers, decoded);
  return decoded;
}

void describe_recordings(Arguments &arguments, std::vector<std::string> &files) {
  arguments.words("FILE", files, "Recordings, or directories for all *.mrec in them");
}

void describe_map(Arguments &arguments, std::string &map_file) {
  arguments.word("--map FILE", map_file,
                 "Register map written by 'mrvctl dump-map' (default: the platform's; without\n"
                 "a platform addresses are printed)");
}

AddressIndex register_names(Session &session, const std::string &map_file,
                            const std::optional<RegisterReference> &reg) {
  if (!map_file.empty())
    return AddressIndex(read_map(session.resolve(map_file)));
  try {
    open_platform(session.platform);
    return AddressIndex(session.map());
  } catch (const OperationFailed &failure) {
    const std::string why = std::string("no register map: ") + failure.what();
    if (reg && !reg->address)
      throw OperationFailed(why + "; to find " + reg->text + " use --map FILE, or its address");
    print_error("mrvctl: " + why +
                "; addresses are printed, and writes that were never sent are "
                "omitted: use --map FILE\n");
    return {};
  }
}

RecordedCalls::RecordedCalls(Session &session, const std::vector<std::string> &files,
                             Purpose purpose, const AddressIndex &index)
    : session_(session), purpose_(purpose), find_target_(target_finder(index)) {
  for (const std::string &file : files)
    paths_.push_back(session.resolve(file));
  open_new_files();
  if (!sources_.empty())
    return;
  throw_if_unreadable();
  if (purpose != Purpose::kFollow)
    throw OperationFailed("no recordings (*.mrec) in " + join(paths_, ", "));
}

void RecordedCalls::open_new_files() {
  for (const std::string &path : paths_) {
    for (const std::string &file : files_at(path)) {
      if (files_.insert(file).second &&
          can_read([&] { sources_.emplace_back(file, find_target_); }))
        identify(sources_.back());
    }
  }
}

// Runs a step on a file; false if the file cannot be read. A file that is the only one fails the
// command at once.
template <typename Step>
bool RecordedCalls::can_read(Step step) {
  try {
    step();
    return true;
  } catch (const recording::Unreadable &error) {
    if (paths_.size() == 1 && files_.count(paths_[0]) != 0)
      throw OperationFailed(error.what());
    ++unreadable_;
    session_.report.failure(session_.place, session_.report.command(), error);
    return false;
  }
}

void RecordedCalls::throw_if_unreadable() const {
  if (unreadable_ > 0)
    throw OperationFailed(format("%zu of %zu files could not be read", unreadable_, files_.size()));
}

// A process may have begun to record since the file was looked at last.
void RecordedCalls::identify(Source &source) {
  const recording::Process &process = source.reader.process();
  const std::string &path = source.reader.path();
  source.process = {process.program, process.pid,
                    process.program.empty() ? path.substr(path.rfind('/') + 1)
                                            : process.program + format(".%u", process.pid)};
  const uint64_t own = process.wall_ns - process.monotonic_ns;
  source.offset_ns =
      process.boot_id.empty() ? own : boots_.emplace(process.boot_id, own).first->second;
}

DecodedCall RecordedCalls::placed(size_t file, DecodedCall &&call, uint64_t monotonic_ns) const {
  call.process = &sources_[file].process;
  call.file = file;
  call.order_ns = monotonic_ns + sources_[file].offset_ns;
  return std::move(call);
}

DecodedCall RecordedCalls::noted(size_t file, recording::Call &&call) const {
  const uint64_t monotonic_ns = call.monotonic_ns;
  return placed(file, decoded_call(std::move(call)), monotonic_ns);
}

// The call in flight, then the transaction that was not sent; empty after both.
std::optional<DecodedCall> RecordedCalls::under_way(size_t file) {
  Source &source = sources_[file];
  recording::Call call;
  if (!std::exchange(source.gave_in_flight, true) && source.reader.under_way(&call))
    return noted(file, std::move(call));
  if (std::exchange(source.gave_uncommitted, true))
    return std::nullopt;
  const recording::OpenTransaction open = source.reader.uncommitted();
  std::optional<DecodedCall> unsent = uncommitted_call(open);
  return unsent ? std::make_optional(placed(file, std::move(*unsent), open.monotonic_ns()))
                : std::nullopt;
}

void RecordedCalls::advance(size_t file) {
  Source &source = sources_[file];
  recording::Call call;
  bool found = false;
  source.head.reset();
  if (source.unreadable)
    return;
  source.unreadable = !can_read([&] { found = source.reader.next(&call); });
  if (found) {
    source.head = noted(file, std::move(call));
  } else if (purpose_ == Purpose::kShow) {
    source.head = under_way(file);
  }
}

std::optional<DecodedCall> RecordedCalls::next() {
  std::optional<size_t> first;
  for (size_t file = 0; file < sources_.size(); ++file) {
    if (!sources_[file].head)
      advance(file);
    const std::optional<DecodedCall> &head = sources_[file].head;
    if (head && (!first || head->order_ns < sources_[*first].head->order_ns))
      first = file;
  }
  return first ? std::exchange(sources_[*first].head, std::nullopt) : std::nullopt;
}

void RecordedCalls::refresh() {
  open_new_files();
  for (Source &source : sources_) {
    if (source.unreadable)
      continue;
    source.unreadable = !can_read([&] { source.reader.refresh(); });
    identify(source);
  }
  if (unreadable_ == files_.size())
    throw_if_unreadable();
}

size_t RecordedCalls::label_width() const {
  size_t width = purpose_ == Purpose::kFollow ? 20 : 7;  // for files that appear later
  for (const Source &source : sources_)
    width = std::max(width, source.process.label.size());
  return width;
}

void RecordedCalls::report_gaps() const {
  std::vector<std::string> lines;
  for (const Source &source : sources_) {
    const recording::Reader &reader = source.reader;
    std::vector<std::string> parts = {
        loss_text(reader.overwritten_bytes(), "byte", "bytes", "overwritten while they were read"),
        loss_text(reader.damaged_bytes(), "byte", "bytes", "damaged"),
        loss_text(reader.unknown_notes(), "note", "notes", "of a kind that is not known"),
        loss_text(reader.missed_calls(), "call", "calls", "dropped (could not be recorded)")};
    parts.erase(std::remove(parts.begin(), parts.end(), ""), parts.end());
    if (!parts.empty())
      lines.push_back(reader.path() + ": " + join(parts, ", "));
  }
  if (lines.empty())
    return;
  print_error(join(lines, "\n") + "\n");
  session_.report.result({{"losses", lines}}, "");
}

}  // namespace mrvctl
