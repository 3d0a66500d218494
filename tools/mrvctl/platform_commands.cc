// Everything that needs the controls of the virtual platform: fail, card, traffic, state, --calls.
#include <cstring>

#include "commands.h"
#include "kel_asic_lib_common.h"
#include "platform/system_service.h"
#include "register_names.h"
#include "text.h"
#include "virtual_platform.h"

namespace mrvctl {
namespace {

// --calls: each service call on one line, request and answer.

constexpr size_t kWordsShown = 8;
constexpr int kEntriesShown = 4;

const char *case_name(uint32_t case_code) {
  switch (case_code) {
    case SYSSRV_REG_READ_CASE:
      return "SYSSRV_REG_READ_CASE";
    case SYSSRV_REG_WRITE_CASE:
      return "SYSSRV_REG_WRITE_CASE";
    case SYSSRV_MEM_READ_CASE:
      return "SYSSRV_MEM_READ_CASE";
    case SYSSRV_MEM_WRITE_CASE:
      return "SYSSRV_MEM_WRITE_CASE";
    case SYSSRV_SP_TIME_CONFIGURE:
      return "SYSSRV_SP_TIME_CONFIGURE";
    default:
      return "unknown case";
  }
}

const char *type_name(uint32_t type) {
  constexpr const char *kNames[] = {"TYPE_READ", "TYPE_WRITE", "TYPE_WRITE_FIELD", "TYPE_READ_DHS",
                                    "TYPE_WRITE_DHS"};
  return type < std::size(kNames) ? kNames[type] : "unknown type";
}

const char *qos_type_name(uint32_t type) {
  constexpr const char *kNames[] = {"QOS_STATS_GET", "QOS_STATS_CLEAR", "QOS_STATS_CLEAR_ALL"};
  return type < std::size(kNames) ? kNames[type] : "unknown type";
}

std::string address_text(uint32_t address) {
  const char *name = command_name(address);
  return name == nullptr ? format("0x%08x", address) : name;
}

// A text field of a record, which may lack its NUL where the service wrote it.
template <size_t kSize>
std::string field_text(const char (&field)[kSize]) {
  return std::string(field, strnlen(field, kSize));
}

// Copies a record, so that no field is read where it is not aligned.
template <typename Record>
Record copy_of(const vp_call &call) {
  Record record;
  std::memcpy(&record, call.record, sizeof record);
  return record;
}

// The data words of a register record, as far as its length reaches.
std::string words_text(const vp_call &call, uint32_t num) {
  constexpr size_t kHeader = sizeof(kel_asic_reg_access_params_t);
  const size_t words = std::min<size_t>(num, (call.length - kHeader) / sizeof(uint32_t));
  std::string text;
  for (size_t i = 0; i < std::min(words, kWordsShown); ++i) {
    uint32_t word = 0;
    std::memcpy(&word, static_cast<const char *>(call.record) + kHeader + 4 * i, sizeof word);
    text += format("%s%08x", i == 0 ? "" : " ", word);
  }
  return "[" + text + (words > kWordsShown ? " ...]" : "]");
}

std::string register_request_text(const vp_call &call) {
  const auto request = copy_of<kel_asic_reg_access_params_t>(call);
  std::string text =
      format("%s, module=%d, asic=0x%x, addr=%s, data=0x%x, mask=0x%x, num=%u",
             type_name(request.type), request.module, request.asic,
             address_text(request.addr).c_str(), request.data, request.mask, request.num);
  if (request.type == TYPE_WRITE_DHS)
    text += ", words=" + words_text(call, request.num);
  return text + format(", context=%u, %s %s:%u", request.info.userdata,
                       field_text(request.info.func).c_str(), field_text(request.info.file).c_str(),
                       request.info.line);
}

std::string timer_text(const vp_call &call) {
  const auto request = copy_of<kel_asic_reg_access_params_t>(call);
  return format("module=%d, asic=%u, time=%u", request.module, request.asic, request.data);
}

std::string transaction_text(const vp_call &call) {
  const auto transaction = copy_of<kel_asic_xn_t>(call);
  std::string text =
      format("name=\"%s\", reorder=%d, num=%d, [", field_text(transaction.name).c_str(),
             transaction.reorder_allowed, transaction.num);
  const int shown = std::min(transaction.num, kEntriesShown);
  for (int i = 0; i < shown; ++i) {
    const kel_asic_xn_entry_t &entry = transaction.xn[i];
    text += format("%s{%d, 0x%x, %s, 0x%x, 0x%x}", i == 0 ? "" : ", ", entry.module,
                   static_cast<unsigned>(entry.asic_map), address_text(entry.reg).c_str(),
                   entry.data, entry.mask);
  }
  return text + (transaction.num > shown ? ", ...]" : "]");
}

std::string qos_request_text(const vp_call &call) {
  const auto request = copy_of<kel_asic_qos_stats_params_t>(call);
  return format("%s, module=%u, asic=%u, port_type=%s, port=%u, opts=0x%x",
                qos_type_name(request.type), request.module, request.asic,
                port_type_text(request.port_type).c_str(), request.port, request.opts);
}

// What kind of record a call carries; none where its length does not fit.
enum class Record { kNone, kRegister, kTimer, kTransaction, kQos };

Record record_of(const vp_call &call) {
  if (call.record == nullptr)
    return Record::kNone;
  const bool has_header = call.length >= sizeof(kel_asic_reg_access_params_t);
  switch (call.case_code) {
    case SYSSRV_REG_READ_CASE:
    case SYSSRV_REG_WRITE_CASE:
      return has_header ? Record::kRegister : Record::kNone;
    case SYSSRV_SP_TIME_CONFIGURE:
      return has_header ? Record::kTimer : Record::kNone;
    case SYSSRV_MEM_WRITE_CASE:
      return call.length == sizeof(kel_asic_xn_t) ? Record::kTransaction : Record::kNone;
    case SYSSRV_MEM_READ_CASE:
      return call.length == sizeof(kel_asic_qos_stats_params_t) ? Record::kQos : Record::kNone;
    default:
      return Record::kNone;
  }
}

std::string request_text(const vp_call &call) {
  switch (record_of(call)) {
    case Record::kRegister:
      return register_request_text(call);
    case Record::kTimer:
      return timer_text(call);
    case Record::kTransaction:
      return transaction_text(call);
    case Record::kQos:
      return qos_request_text(call);
    case Record::kNone:
      break;
  }
  return "...";
}

uint64_t sum(const kel_asic_counter_t *counters, size_t count) {
  uint64_t total = 0;
  for (size_t i = 0; i < count; ++i)
    total += counters[i];
  return total;
}

std::string qos_answer_text(const vp_call &call) {
  const auto answer = copy_of<kel_asic_qos_stats_params_t>(call);
  if (answer.type != QOS_STATS_GET)
    return "";
  const auto total = [](const kel_asic_counter_t *counters, size_t count) {
    return static_cast<unsigned long long>(sum(counters, count));
  };
  return format(
      " {writes=%llu, reads=%llu, n2h_drops=%llu, h2n_drops=%llu}",
      total(answer.stats.ss_dhs.wr_rcvd_cnt, 8), total(answer.stats.ss_dhs.rd_sent_cnt, 8),
      total(answer.stats.drops.n2h_drops[0], 48), total(answer.stats.drops.h2n_drops[0], 48));
}

std::string answer_text(const vp_call &call) {
  if (call.result < 0)
    return format(" = %d %s (%s)", call.result, errno_name(call.error_number).c_str(),
                  std::strerror(call.error_number));
  std::string text = format(" = %d", call.result);
  const Record record = record_of(call);
  if (call.result != 0)
    return text;
  if (record == Record::kQos)
    return text + qos_answer_text(call);
  if (record != Record::kRegister)
    return text;
  const auto answer = copy_of<kel_asic_reg_access_params_t>(call);
  if (answer.type == TYPE_READ)
    return text + format(" {data=0x%x}", answer.data);
  if (answer.type == TYPE_READ_DHS)
    return text + format(" {num=%u, words=%s}", answer.num, words_text(call, answer.num).c_str());
  return text;
}

struct Watch {
  bool show = false;
  std::string request;
  // Transactions that failed: the first one's name and errno, and the writes of all.
  std::string lost_name;
  int lost_errno = 0;
  uint64_t lost_writes = 0;
};

Watch watch;

// The service answers in the record of the request, so that has to be read before.
void show_call(vp_phase phase, const vp_call *call, std::string &request) {
  if (phase == VP_CALL_SENT) {
    request = format("sse_call2(%s, %u, %u, {", case_name(call->case_code), call->driver_id,
                     call->length) +
              request_text(*call) + "})";
    return;
  }
  std::fflush(stdout);  // what the library has printed stands before the call
  std::fprintf(stderr, "%s%s\n", request.c_str(), answer_text(*call).c_str());
}

void note_lost_transaction(const vp_call &call) {
  if (call.result >= 0 || record_of(call) != Record::kTransaction)
    return;
  const auto transaction = copy_of<kel_asic_xn_t>(call);
  if (watch.lost_errno == 0) {
    watch.lost_name = field_text(transaction.name);
    watch.lost_errno = call.error_number;
  }
  watch.lost_writes += static_cast<uint64_t>(transaction.num);
}

void watch_call(vp_phase phase, const vp_call *call, void * /*user*/) {
  if (phase == VP_CALL_ANSWERED)
    note_lost_transaction(*call);
  if (watch.show)
    show_call(phase, call, watch.request);
}

// The commands.

struct NumberArgs {
  uint32_t number = 0;
};

void run_fail(Session &session, const NumberArgs &args) {
  const auto error_number = static_cast<int>(args.number);
  vp_fail_next_call(error_number);
  const std::string name = errno_name(error_number);
  session.report.result(
      {{"command", "fail"}, {"errno", args.number}, {"name", name}},
      "the next service call fails with " + name + " (" + std::strerror(error_number) + ")\n");
}

void run_card(Session &session, const NumberArgs &args) {
  vp_set_card(CARDCFG_DEV_TYPE_MORVANE, static_cast<uint16_t>(args.number));
  session.report.result({{"command", "card"}, {"sw_card_id", args.number}},
                        format("software card identifier %u\n", args.number));
}

struct TrafficArgs {
  PortArgs port;
  uint32_t traffic_class = 0;
  uint64_t frames = 0;
  uint64_t excess = 0;
  std::string direction = "n2h";
  bool steady = false;
};

// What passes in that time, in thousandths of a second.
void add_traffic(Session &session, const TrafficArgs &args, uint64_t milliseconds) {
  const auto part = [milliseconds](uint64_t frames) {
    return frames / 1000 * milliseconds + frames % 1000 * milliseconds / 1000;
  };
  const vp_direction direction = lower_case(args.direction) == "h2n" ? VP_H2N : VP_N2H;
  const vp_traffic traffic = {direction, args.traffic_class, part(args.frames), part(args.excess)};
  const int error =
      vp_add_traffic(session.module, session.asic, static_cast<cardcfg_port_type_t>(args.port.type),
                     args.port.port, &traffic);
  if (error == ENXIO)
    throw OperationFailed(format("module %u, ASIC %u has no port %s %u", session.module,
                                 session.asic, port_type_text(args.port.type).c_str(),
                                 args.port.port));
  if (error != 0)
    throw OperationFailed(std::strerror(error));
}

void run_traffic(Session &session, const TrafficArgs &args) {
  const std::string direction = lower_case(args.direction);
  if (direction != "n2h" && direction != "h2n")
    throw UsageError("'" + args.direction + "' is no direction: n2h or h2n");
  if (args.excess > args.frames)
    throw UsageError("more excess than frames");
  add_traffic(session, args, 1000);
  if (args.steady)
    session.meanwhile.emplace_back([&session, args](double seconds) {
      add_traffic(session, args, static_cast<uint64_t>(seconds * 1000));
    });
  session.report.result({{"command", "traffic"},
                         {"port_type", port_type_text(args.port.type)},
                         {"port", args.port.port},
                         {"direction", direction},
                         {"class", args.traffic_class},
                         {"frames", args.frames},
                         {"excess", args.excess},
                         {"steady", args.steady}},
                        format("%s %u: %llu frames of class %u %s, %llu of them in excess%s\n",
                               port_type_text(args.port.type).c_str(), args.port.port,
                               static_cast<unsigned long long>(args.frames), args.traffic_class,
                               direction.c_str(), static_cast<unsigned long long>(args.excess),
                               args.steady ? ", again every second of a live view" : ""));
}

void run_state(Session &session, const NoArgs &) {
  vp_asic_state state = {};
  if (vp_asic_show(session.module, session.asic, &state) != 0)
    throw OperationFailed(format("there is no module %u, ASIC %u", session.module, session.asic));
  std::string text = format(
      "software card identifier  %u\nno-drop class map         0x%02x\n"
      "SP timer                  %u\nclears of drop counters   %u\n"
      "SFP failures reported     %u",
      vp_sw_card_id(), state.nodrop_class_map, state.sp_timer, state.drop_clears,
      state.sfp_failures);
  const bool failed = state.sfp_failures > 0;
  const std::string last_type = port_type_text(state.last_sfp_port_type);
  if (failed)
    text += format(", the last on %s %u", last_type.c_str(), state.last_sfp_port);
  session.report.result({{"command", "state"},
                         {"sw_card_id", vp_sw_card_id()},
                         {"nodrop_class_map", state.nodrop_class_map},
                         {"sp_timer", state.sp_timer},
                         {"drop_clears", state.drop_clears},
                         {"sfp_failures", state.sfp_failures},
                         {"last_sfp_port_type", failed ? Json(last_type) : Json()},
                         {"last_sfp_port", failed ? Json(state.last_sfp_port) : Json()}},
                        text + "\n");
}

uint32_t parse_errno(const std::string &text) {
  const int named = errno_of_name(text);
  return named != 0 ? static_cast<uint32_t>(named)
                    : parse_number<uint32_t>(text, 1, KEL_ASIC_SYSERR_ERRNO_MASK);
}

void add_traffic_command(CLI::App &app, Command &chosen) {
  auto args = std::make_shared<TrafficArgs>();
  CLI::App *command =
      add_command(app, chosen, "traffic", "Let traffic pass through a port of the virtual platform",
                  args, run_traffic);
  add_port(command, args->port, UINT32_MAX);
  add_number<uint32_t>(command, "--class", args->traffic_class, "Traffic class", 0, 7)->required();
  add_number<uint64_t>(command, "--frames", args->frames, "Frames that arrive")->required();
  add_number<uint64_t>(command, "--excess", args->excess,
                       "How many of them find the queue full; at most all");
  add_word(command, "--direction", args->direction, "n2h (if left out) or h2n")
      ->type_name("DIRECTION");
  command->add_flag("--steady", args->steady,
                    "Let the same pass every second while qos show --watch waits");
}

}  // namespace

void add_platform_options(CLI::App &app) {
  app.add_flag("--calls", watch.show, "Show each service call, decoded, on standard error");
}

void watch_platform() {
  vp_watch(watch_call, nullptr);
}

void check_sent() {
  if (watch.lost_errno == 0)
    return;
  const syserr_t code = KEL_ASIC_SYSERR_SERVICE | static_cast<syserr_t>(watch.lost_errno);
  const std::string hint =
      format("transaction \"%s\" failed: %llu %s lost", watch.lost_name.c_str(),
             static_cast<unsigned long long>(watch.lost_writes),
             watch.lost_writes == 1 ? "write" : "writes");
  watch.lost_errno = 0;
  watch.lost_writes = 0;
  throw OperationFailed(code, hint);
}

void add_platform_commands(CLI::App &app, Command &chosen) {
  auto error = std::make_shared<NumberArgs>();
  const std::function<uint32_t(const std::string &)> parse = parse_errno;
  add_parsed(
      add_command(app, chosen, "fail", "Make the next service call fail, on the virtual platform",
                  error, run_fail),
      "ERRNO", error->number, parse, "Name, like ETIMEDOUT, or number (1 to 4095)")
      ->required();
  auto card = std::make_shared<NumberArgs>();
  add_number<uint32_t>(
      add_command(app, chosen, "card",
                  "Set the card's software identifier, on the virtual platform", card, run_card),
      "ID", card->number, "Identifier", 0, UINT16_MAX)
      ->required();
  add_traffic_command(app, chosen);
  add_command(app, chosen, "state",
              "Show what commands have left on the ASIC of the virtual platform",
              std::make_shared<NoArgs>(), run_state);
}

}  // namespace mrvctl
