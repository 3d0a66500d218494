// Trace logs.
#include "calls/trace_log.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>
#include <string_view>

#include "platform/system_service.h"
#include "text/errors.h"
#include "text/lines.h"
#include "text/text.h"
#include "text/times.h"

namespace mrvctl {
namespace {

using Parts = std::vector<std::string_view>;

// The parts of a text at the stars of a pattern, each as short as can be; empty where it has
// another form.
std::optional<Parts> match(std::string_view text, std::string_view pattern) {
  Parts parts;
  while (true) {
    const size_t star = std::min(pattern.find('*'), pattern.size());
    if (text.substr(0, star) != pattern.substr(0, star))
      return std::nullopt;
    text.remove_prefix(star);
    if (star == pattern.size())
      return text.empty() ? std::make_optional(parts) : std::nullopt;
    pattern.remove_prefix(star + 1);
    const std::string_view literal = pattern.substr(0, pattern.find('*'));
    const size_t end = literal.empty() ? text.size() : text.find(literal);
    if (end == std::string_view::npos)
      return std::nullopt;
    parts.push_back(text.substr(0, end));
    text.remove_prefix(end);
  }
}

template <typename Number>
bool parse(std::string_view text, Number &value, int base = 10) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  return error == std::errc() && end == text.data() + text.size();
}

uint32_t hex(std::string_view text) {
  uint32_t value = 0;
  parse(text, value, 16);
  return value;
}

uint32_t decimal(std::string_view text) {
  int64_t value = 0;
  parse(text, value);
  return static_cast<uint32_t>(value);
}

// How deep an operation can stand: only a higher one is entered from within a lower.
enum Depth { kOutermost, kAccess, kAppend, kTransaction };

struct Operation {
  const char *function;
  const char *name;
  Depth depth;
  int type;  // of its register request; below 0 where it has none of its own
};

constexpr int kNoType = -1;
constexpr Operation kOperations[] = {
    {"lib_mrv_asic_read", "read", kAccess, TYPE_READ},
    {"lib_mrv_asic_write", "write", kAccess, TYPE_WRITE},
    {"lib_mrv_asic_write_field", "write-field", kAccess, TYPE_WRITE_FIELD},
    {"lib_mrv_asic_n_read", "read-run", kAccess, TYPE_READ_DHS},
    {"lib_mrv_asic_read_dhs", "read-run", kAccess, TYPE_READ_DHS},
    {"lib_mrv_asic_write_dhs", "write-run", kAccess, TYPE_WRITE_DHS},
    {"kel_asic_transaction_add", "append", kAppend, kNoType},
    {"mrv_asic_transaction_start", "begin", kTransaction, kNoType},
    {"mrv_asic_transaction_commit", "transaction", kTransaction, kNoType},
    {"lib_mrv_asic_pgm", "program", kOutermost, kNoType},
    {"lib_mrv_asic_get_qos_stats", "qos-get", kOutermost, kNoType},
    {"lib_mrv_asic_clear_qos_stats", "qos-clear", kOutermost, kNoType},
    {"lib_mrv_asic_clear_all_qos_stats", "qos-clear-all", kOutermost, kNoType},
    {"lib_mrv_asic_link_pause_enable", "link-pause-on", kOutermost, kNoType},
    {"lib_mrv_asic_link_pause_disable", "link-pause-off", kOutermost, kNoType},
    {"lib_mrv_asic_set_nodrop_class_map", "nodrop", kOutermost, kNoType},
    {"lib_mrv_asic_sfp_validation_failed", "sfp-failed", kOutermost, kNoType},
    {"lib_mrv_asic_prog_sp_timer", "sp-timer", kOutermost, kNoType},
    {"lib_mrv_asic_clear_all_drop_counters", "clear-drops", kOutermost, kNoType},
};

const Operation *find_operation(std::string_view function) {
  const auto *found =
      std::find_if(std::begin(kOperations), std::end(kOperations),
                   [&](const Operation &operation) { return operation.function == function; });
  return found == std::end(kOperations) ? nullptr : found;
}

// An operation that was entered and not yet left.
struct Open {
  const Operation *operation;
  size_t call;  // its place in the log's calls; of an append that of the write around it
};

struct Line {
  uint64_t time_ns = 0;
  bool enter_or_exit = false;
  uint32_t number = 0;
  std::string_view message;
};

bool parse_clock(std::string_view text, Clock &clock) {
  const auto parts = match(text, "*/*/* *:*:*");
  return parts && parse((*parts)[0], clock.month) && parse((*parts)[1], clock.day) &&
         parse((*parts)[2], clock.year) && parse((*parts)[3], clock.hour) &&
         parse((*parts)[4], clock.minute) && parse((*parts)[5], clock.second);
}

std::optional<Line> parse_line(std::string_view text) {
  constexpr size_t kDate = 19;
  const auto parts = match(text.substr(std::min(kDate, text.size())), ".* |*|  * |   : *");
  Clock clock = {};
  uint64_t microseconds = 0;
  int32_t number = 0;
  if (!parts || (*parts)[0].size() != 6 || !parse_clock(text.substr(0, kDate), clock) ||
      !parse((*parts)[0], microseconds) || !parse((*parts)[2], number))
    return std::nullopt;
  return Line{local_moment(clock) + microseconds * 1000, (*parts)[1] == "t",
              static_cast<uint32_t>(number), (*parts)[3]};
}

class LogReader {
 public:
  TraceLog finish();
  // False where the line tells nothing of an operation.
  bool take(const Line &line);

 private:
  bool enter(const Line &line, std::string_view function);
  bool leave(const Line &line, std::string_view function);
  void close(const Line *line);
  static void settle(const Open &left, DecodedCall &call, bool exited);
  void abandon();

  // The innermost open operation of that kind, or null.
  DecodedCall *innermost();
  RegisterFields *request();

  bool take_address(const Line &line, const Parts &parts);
  bool take_write_address(const Line &line, const Parts &parts);
  bool take_read_entries(const Line &line, const Parts &parts);
  bool take_entry_to_read(const Line &line, const Parts &parts);
  bool take_entries_to_write(const Line &line, const Parts &parts);
  bool take_success(const Line &line, const Parts &parts);
  bool take_drops_success(const Line &line, const Parts &parts);
  bool take_read_word(const Line &line, const Parts &parts);
  bool take_read_entry_word(const Line &line, const Parts &parts);
  bool take_written_word(const Line &line, const Parts &parts);
  bool take_commit_failure(const Line &line, const Parts &parts);
  bool take_no_memory(const Line &line, const Parts &parts);
  bool take_hole(const Line &line, const Parts &parts);
  bool take_no_entry(const Line &line, const Parts &parts);
  bool take_detail(const Line &line, const Parts &parts);
  bool take_begin(const Line &line, const Parts &parts);

  struct Rule {
    const char *pattern;
    bool (LogReader::*take)(const Line &, const Parts &);  // null: it is of the initialisation
  };
  static const Rule kRules[];

  bool set_address(const Line &line, uint32_t address);
  bool set_place(const std::string &place);
  bool add_read_word(uint32_t word);

  TraceLog log_;
  std::vector<Open> open_;
};

// The first that matches is the one: those that say more stand before those that say less.
const LogReader::Rule LogReader::kRules[] = {
    {"*: block * vreg 0x* base address 0x* rreg 0x* data 0x*", &LogReader::take_write_address},
    {"*: block * vreg 0x* base address 0x* rreg 0x*: mod=* asic=* blk=* inst=* n_ent=*",
     &LogReader::take_read_entries},
    {"*: block * vreg 0x* base address 0x* rreg 0x*", &LogReader::take_address},
    {"*: vreg 0x* base address 0x* dhs_index * num_entries * entry_size * rreg 0x*",
     &LogReader::take_entries_to_write},
    {"*: vreg 0x* base address 0x* dhs_index * entry_size * rreg 0x*",
     &LogReader::take_entry_to_read},
    {"*: sse call success: rreg 0x* data 0x*", &LogReader::take_success},
    {"*: sse call success: CLEAR_DROP_COUNTERS *", &LogReader::take_drops_success},
    {"*: index *, addr=0x* read_data 0x*", &LogReader::take_read_entry_word},
    {"*: index *, read_data 0x*", &LogReader::take_read_word},
    {"*: index *, data to write 0x*", &LogReader::take_written_word},
    {"LIB: XN <*> commit failure <rc=*>*", &LogReader::take_commit_failure},
    {"*: Failed to re-allocate DHS data buffer: *", &LogReader::take_no_memory},
    {"lib_mrv_asic_pgm: * * * * * *", &LogReader::take_detail},
    {"Invalid vreg: block * reg * (*)", &LogReader::take_hole},
    {"*: Unrecognized DHS entry for block * vreg * dhs_index *", &LogReader::take_no_entry},
    {"*: vreg * dhs_index *", &LogReader::take_detail},
    {"*: Re-allocate DHS data buffer: *", &LogReader::take_detail},
    {"LIB: *", nullptr},
    {"SEEK_END failed", nullptr},
    {"BEGIN LOG : *", &LogReader::take_begin},
};

DecodedCall *LogReader::innermost() {
  return open_.empty() ? nullptr : &log_.calls[open_.back().call];
}

RegisterFields *LogReader::request() {
  DecodedCall *call = innermost();
  return call == nullptr ? nullptr : std::get_if<RegisterFields>(&call->request);
}

bool LogReader::take(const Line &line) {
  if (line.enter_or_exit) {
    const auto entered = match(line.message, "*: Enter");
    const auto left = match(line.message, "*: Exit");
    return (entered && enter(line, (*entered)[0])) || (left && leave(line, (*left)[0]));
  }
  for (const Rule &rule : kRules) {
    if (const auto parts = match(line.message, rule.pattern))
      return rule.take == nullptr || (this->*rule.take)(line, *parts);
  }
  return false;
}

bool LogReader::enter(const Line &line, std::string_view function) {
  const Operation *operation = find_operation(function);
  if (operation == nullptr)
    return false;
  // What cannot have called it has been left early, without a word.
  while (!open_.empty() && open_.back().operation->depth >= operation->depth)
    close(nullptr);
  if (operation->depth == kAppend) {
    if (!open_.empty())
      open_.push_back({operation, open_.back().call});
    return !open_.empty();
  }
  DecodedCall call;
  call.number = log_.calls.size() + 1;
  call.wall_ns = line.time_ns;
  call.order_ns = line.time_ns;
  call.operation = operation->name;
  call.outcome = "-";
  if (operation->name == std::string_view("transaction"))
    call.request = TransactionFields();
  open_.push_back({operation, log_.calls.size()});
  log_.calls.push_back(std::move(call));
  return true;
}

bool LogReader::leave(const Line &line, std::string_view function) {
  const auto is_it = [&](const Open &open) { return open.operation->function == function; };
  if (std::none_of(open_.begin(), open_.end(), is_it))
    return false;
  while (!is_it(open_.back()))
    close(nullptr);
  close(&line);
  return true;
}

// The innermost operation is left, by its line or without one.
void LogReader::close(const Line *line) {
  const Open left = open_.back();
  open_.pop_back();
  DecodedCall &call = log_.calls[left.call];
  if (left.operation->depth == kAppend) {
    call.outcome = "queued";
    return;
  }
  if (line != nullptr)
    call.duration_ns = std::max(line->time_ns, call.wall_ns) - call.wall_ns;
  settle(left, call, line != nullptr);
  // A port's command is the write that it comes to.
  if (left.operation->depth == kAccess && !open_.empty() &&
      open_.back().operation->depth == kOutermost &&
      open_.back().operation->name != std::string_view("program")) {
    DecodedCall &command = *innermost();
    command.request = call.request;
    command.outcome = call.outcome;
    command.failed = call.failed;
  }
}

void LogReader::settle(const Open &left, DecodedCall &call, bool exited) {
  if (call.outcome != "-") {
    call.failed = call.outcome == "lost" || call.outcome == "no-memory" || call.failed;
    return;
  }
  const bool transaction = left.operation->depth == kTransaction;
  const bool tells_success = left.operation->type == TYPE_READ ||
                             left.operation->type == TYPE_WRITE ||
                             left.operation->type == TYPE_WRITE_FIELD;
  if (!exited)
    call.outcome = transaction ? "no-effect" : "refused";
  else if (transaction)
    call.outcome = "ok";
  else if (tells_success)
    call.outcome = "failed";
  call.failed = call.outcome == "refused" || call.outcome == "failed";
}

// What is open was never left.
void LogReader::abandon() {
  for (const Open &open : open_) {
    if (open.operation->depth != kAppend)
      log_.calls[open.call].outcome = "entered";
  }
  open_.clear();
}

// A log may hold several processes of one number, one behind the other.
bool LogReader::take_begin(const Line & /*line*/, const Parts & /*parts*/) {
  abandon();
  return true;
}

bool LogReader::take_hole(const Line & /*line*/, const Parts &parts) {
  return set_place(std::string(parts[0]) + " " + std::string(parts[1]) + " is a hole");
}

bool LogReader::take_no_entry(const Line & /*line*/, const Parts &parts) {
  const uint32_t block = decimal(parts[1]);
  const std::string name = block < KEL_ASIC_NUM_BLK ? kel_asic_blk_names[block] : "no block";
  return set_place(name + " " + std::string(parts[2]) + " [" + std::string(parts[3]) +
                   "] is no table entry");
}

bool LogReader::set_place(const std::string &place) {
  if (open_.empty())
    return false;
  innermost()->place = printable(place);
  return true;
}

bool LogReader::take_detail(const Line & /*line*/, const Parts & /*parts*/) {
  return !open_.empty();
}

// The first line that tells an address makes a register request of the operation.
bool LogReader::set_address(const Line &line, uint32_t address) {
  if (open_.empty() || open_.back().operation->type == kNoType)
    return false;
  if (request() == nullptr) {
    innermost()->request = RegisterFields();
    request()->mask = UINT32_MAX;  // a field write tells its own
    innermost()->value_known = false;
  }
  RegisterFields &reg = *request();
  reg.type = static_cast<uint32_t>(open_.back().operation->type);
  reg.address = address;
  reg.asic = line.number;
  return true;
}

bool LogReader::take_address(const Line &line, const Parts &parts) {
  return set_address(line, hex(parts[4]));
}

// This line names the caller's file in place of the operation.
bool LogReader::take_write_address(const Line &line, const Parts &parts) {
  if (!set_address(line, hex(parts[4])))
    return false;
  RegisterFields &reg = *request();
  const size_t colon = parts[0].rfind(':');
  reg.file = std::string(parts[0].substr(0, colon));
  reg.line = colon == std::string_view::npos ? 0 : decimal(parts[0].substr(colon + 1));
  reg.data = hex(parts[5]);
  innermost()->value_known = true;
  return true;
}

bool LogReader::take_read_entries(const Line &line, const Parts &parts) {
  if (!set_address(line, hex(parts[4])))
    return false;
  request()->module = static_cast<int32_t>(decimal(parts[5]));
  request()->num = decimal(parts[9]);  // entries: times their words, once those are told
  return true;
}

bool LogReader::take_entry_to_read(const Line &line, const Parts &parts) {
  if (!set_address(line, hex(parts[5])))
    return false;
  request()->num *= decimal(parts[4]);
  return true;
}

bool LogReader::take_entries_to_write(const Line &line, const Parts &parts) {
  if (!set_address(line, hex(parts[6])))
    return false;
  request()->num = decimal(parts[4]) * decimal(parts[5]);
  return true;
}

bool LogReader::take_success(const Line &line, const Parts &parts) {
  if (!set_address(line, hex(parts[1])))
    return false;
  DecodedCall &call = *innermost();
  RegisterFields &reg = *request();
  const auto masked = match(parts[2], "*mask 0x*");
  const uint32_t data = hex(masked ? (*masked)[0] : parts[2]);
  if (masked)
    reg.mask = hex((*masked)[1]);
  if (reg.type == TYPE_READ) {
    RegisterFields answer = reg;
    answer.data = data;
    call.answer = answer;
  } else {
    reg.data = data;
    call.value_known = true;
  }
  if (is_command(reg))
    call.operation = "command";
  call.outcome = "ok";
  return true;
}

bool LogReader::take_drops_success(const Line & /*line*/, const Parts & /*parts*/) {
  if (open_.empty())
    return false;
  innermost()->outcome = "ok";
  return true;
}

bool LogReader::add_read_word(uint32_t word) {
  const RegisterFields *reg = request();
  if (reg == nullptr)
    return false;
  DecodedCall &call = *innermost();
  if (std::holds_alternative<std::monostate>(call.answer))
    call.answer = *reg;
  auto &answer = std::get<RegisterFields>(call.answer);
  answer.words.push_back(word);
  answer.num = static_cast<uint32_t>(answer.words.size());
  request()->num = std::max(reg->num, answer.num);
  call.outcome = "ok";
  return true;
}

bool LogReader::take_read_word(const Line & /*line*/, const Parts &parts) {
  return add_read_word(hex(parts[2]));
}

bool LogReader::take_read_entry_word(const Line & /*line*/, const Parts &parts) {
  return add_read_word(hex(parts[3]));
}

bool LogReader::take_written_word(const Line & /*line*/, const Parts &parts) {
  RegisterFields *reg = request();
  if (reg == nullptr)
    return false;
  reg->words.push_back(hex(parts[2]));
  innermost()->value_known = true;
  return true;
}

bool LogReader::take_commit_failure(const Line & /*line*/, const Parts &parts) {
  auto *transaction =
      open_.empty() ? nullptr : std::get_if<TransactionFields>(&innermost()->request);
  if (transaction == nullptr)
    return false;
  const size_t slash = parts[0].rfind('/');
  transaction->name = std::string(parts[0].substr(0, slash));
  transaction->num = static_cast<int32_t>(
      slash == std::string_view::npos ? 0 : decimal(parts[0].substr(slash + 1)));
  innermost()->outcome = "lost";
  return true;
}

bool LogReader::take_no_memory(const Line & /*line*/, const Parts & /*parts*/) {
  if (open_.empty())
    return false;
  innermost()->outcome = "no-memory";
  return true;
}

TraceLog LogReader::finish() {
  abandon();
  return std::move(log_);
}

}  // namespace

TraceLog read_trace_log(std::istream &input, const std::string &name) {
  LineReader lines(input, name);
  LogReader reader;
  uint64_t unplaced = 0;
  while (lines.next()) {
    const std::optional<Line> line = parse_line(lines.line());
    if (!line || !reader.take(*line))
      ++unplaced;
  }
  TraceLog log = reader.finish();
  log.unplaced_lines = unplaced;
  return log;
}

}  // namespace mrvctl
