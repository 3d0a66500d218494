// switch fault: the rules by which the switch makes service calls fail, wait or answer wrongly.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

#include "asic/address_index.h"
#include "commands/switch.h"
#include "kel_asic_record_kinds.h"
#include "output/listing.h"
#include "text/text.h"
#include "text/times.h"

namespace mrvctl {
namespace {

constexpr uint32_t kMaxErrno = 4095;
constexpr uint64_t kMaxDelay = 3600 * uint64_t{1000000};  // us
struct FaultArgs {
  FaultArgs() { fault.every = fault.times = 1; }

  vp_fault fault{};
  std::optional<uint32_t> error_number;
  std::optional<uint32_t> answer;
  std::optional<uint32_t> words;
  bool has_delay = false;
  std::optional<RegisterReference> reg;
  std::optional<Port> port;
  bool writes = false;
  bool forever = false;
  std::string operation;
  std::string caller;
  std::string client;
};

template <size_t kSize>
void copy_text(const std::string &text, char (&field)[kSize], const char *option) {
  if (text.size() >= kSize)
    throw UsageError(format("%s: at most %zu characters", option, kSize - 1));
  text.copy(field, kSize);
}

void set_action(FaultArgs &args, vp_fault_action action, int32_t value) {
  if (args.fault.action != VP_FAULT_NONE)
    throw UsageError("give one of ERRNO, --answer and --short");
  args.fault.action = action;
  args.fault.value = value;
}

void set_client(FaultArgs &args) {
  if (args.client.find_first_not_of("0123456789") == std::string::npos) {
    args.fault.process = static_cast<int32_t>(parse_number(args.client, 1U, uint32_t{INT32_MAX}));
    args.fault.conditions |= VP_IF_PROCESS;
    return;
  }
  copy_text(args.client, args.fault.program, "--client");
  args.fault.conditions |= VP_IF_PROGRAM;
}

void check_fault(FaultArgs &args) {
  vp_fault &fault = args.fault;
  if (args.error_number)
    set_action(args, VP_FAULT_ERRNO, static_cast<int32_t>(*args.error_number));
  if (args.answer)
    set_action(args, VP_FAULT_ANSWER, static_cast<int32_t>(*args.answer));
  if (args.words)
    set_action(args, VP_FAULT_NUM, static_cast<int32_t>(*args.words));
  if (fault.action == VP_FAULT_NONE && !args.has_delay)
    throw UsageError("give ERRNO, --answer, --short or --delay");
  if (args.forever)
    fault.times = 0;
  if (args.writes)
    fault.conditions |= VP_IF_WRITE;
  if (!args.client.empty())
    set_client(args);
  if (!args.caller.empty()) {
    copy_text(args.caller, fault.caller, "--caller");
    fault.conditions |= VP_IF_CALLER;
  }
  if (!args.operation.empty()) {
    copy_text(args.operation, fault.operation, "--operation");
    fault.conditions |= VP_IF_OPERATION;
  }
}

void parse_delay(const std::string &text, FaultArgs &args) {
  const size_t dots = text.find("..");
  const uint64_t shortest = parse_duration(text.substr(0, dots), kMaxDelay);
  const uint64_t longest =
      dots == std::string::npos ? shortest : parse_duration(text.substr(dots + 2), kMaxDelay);
  if (longest < shortest)
    throw UsageError("the second delay is shorter than the first");
  args.fault.min_delay_us = static_cast<uint32_t>(shortest);
  args.fault.max_delay_us = static_cast<uint32_t>(longest);
  args.has_delay = true;
}

std::string parse_operation(const std::string &text) {
  const std::vector<std::string> names(std::begin(kel_asic_operations),
                                       std::end(kel_asic_operations));
  if (std::find(names.begin(), names.end(), text) == names.end())
    throw UsageError("'" + text + "' is not an operation" + suggestion(text, names));
  return text;
}

// "HI.2:40", "HI.2:40 to HI.2:47", "HI.0:5 in 32 instances"
std::string register_text_of(const vp_fault &fault, const AddressIndex &index) {
  std::string text = index.text(fault.address);
  if (fault.size > 4)
    text += " to " + index.text(fault.address + fault.size - 4);
  if (fault.instances > 1)
    text += format(" in %u instances", fault.instances);
  return text;
}

std::string delay_text(const vp_fault &fault) {
  std::string text = wait_text(fault.min_delay_us);
  if (fault.max_delay_us != fault.min_delay_us)
    text += " to " + wait_text(fault.max_delay_us) + format(", seed %u", fault.seed);
  return text;
}

// "EIO", "answer 3", "2 words", "EIO after 200 ms", "delay 300 us"
std::string effect_text(const vp_fault &fault) {
  const bool waits = fault.max_delay_us != 0;
  switch (fault.action) {
    case VP_FAULT_ERRNO:
      return errno_name(fault.value) + (waits ? " after " + delay_text(fault) : "");
    case VP_FAULT_ANSWER:
      return format("answer %d", fault.value) + (waits ? " after " + delay_text(fault) : "");
    case VP_FAULT_NUM:
      return format("%d words", fault.value) + (waits ? " after " + delay_text(fault) : "");
    default:
      return "delay " + delay_text(fault);
  }
}

std::string condition_text(const vp_fault &fault, const AddressIndex &index) {
  std::vector<std::string> parts;
  const auto add = [&](uint32_t condition, const std::string &text) {
    if ((fault.conditions & condition) != 0)
      parts.push_back(text);
  };
  add(VP_IF_OPERATION, fault.operation);
  add(VP_IF_WRITE, "writes");
  if ((fault.conditions & VP_IF_REGISTER) != 0)
    parts.push_back(register_text_of(fault, index));
  add(VP_IF_PORT, port_text(fault.port_type, fault.port));
  const bool has_place = (fault.conditions & (VP_IF_REGISTER | VP_IF_PORT)) != 0;
  if (has_place && fault.module != 0)
    parts.push_back(format("module %d", fault.module));
  if (has_place && fault.asic != 0)
    parts.push_back(format("ASIC %u", fault.asic));
  add(VP_IF_CALLER, std::string("caller ") + fault.caller);
  add(VP_IF_PROCESS, format("process %d", fault.process));
  add(VP_IF_PROGRAM, std::string("program ") + fault.program);
  add(VP_IF_SELF, "the client that added it");
  return parts.empty() ? "all calls" : join(parts, ", ");
}

// "3rd", "each 2nd after 5 calls"
std::string turn_text(const vp_fault &fault) {
  std::string text = fault.every == 1 ? "each" : format("1 of %u", fault.every);
  return fault.skip == 0 ? text : text + format(" after %u", fault.skip);
}

void set_place(Session &session, FaultArgs &args) {
  vp_fault &fault = args.fault;
  fault.module = static_cast<int32_t>(session.module);
  fault.asic = session.asic;
  if (args.reg) {
    const AddressRange range = AddressIndex(session.map()).range_of(*args.reg);
    fault.address = range.first;
    fault.size = range.size;
    fault.stride = range.stride;
    fault.instances = range.instances;
    fault.conditions |= VP_IF_REGISTER;
  }
  if (args.port) {
    fault.port_type = args.port->type;
    fault.port = args.port->number;
    fault.conditions |= VP_IF_PORT;
  }
}

void run_add(Session &session, const FaultArgs &given) {
  FaultArgs args = given;
  set_place(session, args);
  check_control(control<decltype(vp_add_fault)>("vp_add_fault")(&args.fault), ENOSPC,
                "the switch has 64 faults; remove some with 'switch fault clear'");
  const AddressIndex index(session.map());
  session.report.result(
      {{"effect", effect_text(args.fault)}, {"calls", condition_text(args.fault, index)}},
      "fault: " + effect_text(args.fault) + " for " + condition_text(args.fault, index) +
          private_hint(session) + "\n");
}

void run_list(Session &session) {
  const vp_fault *faults = nullptr;
  uint32_t count = 0;
  check_control(control<decltype(vp_faults)>("vp_faults")(&faults, &count));
  const AddressIndex index(session.map());
  Listing list({{"number", "number", Align::kRight},
                {"effect", "effect              "},
                {"calls", "calls                           "},
                {"turn", "turn"},
                {"times", "times", Align::kRight},
                {"matches", "matched", Align::kRight},
                {"hits", "hits", Align::kRight}});
  for (const vp_fault *fault = faults; fault != faults + count; ++fault) {
    list.add({fault->number, effect_text(*fault), condition_text(*fault, index), turn_text(*fault),
              fault->times == 0 ? Cell("-", Json()) : Cell(fault->times), fault->matches,
              fault->hits});
  }
  session.report.result({{"faults", list.json()}}, count == 0 ? "no faults\n" : list.text());
}

struct ClearArgs {
  uint32_t number = 0;
};

void run_clear(Session &session, const ClearArgs &args) {
  check_control(control<decltype(vp_remove_fault)>("vp_remove_fault")(args.number), ENOENT,
                format("no such fault: %u", args.number));
  session.report.result(
      {{"number", args.number == 0 ? Json() : Json(args.number)}},
      args.number == 0 ? "all faults removed\n" : format("fault %u removed\n", args.number));
}

void describe_add(Arguments &arguments, FaultArgs &args) {
  const auto parse_error = [](const std::string &text) {
    return static_cast<uint32_t>(parse_errno(text));
  };
  arguments.parsed("[ERRNO]", args.error_number, parse_error,
                   format("The calls fail with it: a name, like ETIMEDOUT, or 1 to %u", kMaxErrno));
  arguments.number<uint32_t>("--answer N", args.answer, "The calls return N", 1, INT32_MAX);
  arguments.number<uint32_t>("--short N", args.words,
                             "Reads of several words are answered with N words");
  arguments.option(
      "--delay TIME", [&args](const std::string &text) { parse_delay(text, args); },
      "Delay of each call, like 200ms, 1.5s or 100us..300us (at most an hour)");
  arguments.number<uint32_t>("--seed N", args.fault.seed, "Seed of the delays in a range");
  arguments.parsed("--register REGISTER", args.reg, parse_register_reference,
                   "Only calls that read or write the register, also in a transaction");
  const auto parse_any_port = [](const std::string &text) { return parse_port(text, UINT8_MAX); };
  arguments.parsed("--port PORT", args.port, parse_any_port,
                   "Only commands and QoS requests for the port");
  arguments.parsed("--operation OPERATION", args.operation, parse_operation,
                   "Only this operation, as 'mrvctl calls' shows it");
  arguments.flag("--writes", args.writes, "Only calls that change something");
  arguments.word("--caller TEXT", args.caller,
                 "Only calls whose file or function contains the text");
  arguments.word("--client CLIENT", args.client, "Only calls of a program or process");
  arguments.number<uint32_t>("--skip N", args.fault.skip, "Spare the first N calls");
  arguments.number<uint32_t>("--every N", args.fault.every, "Then hit one of N calls", 1);
  arguments.number<uint32_t>("--times N", args.fault.times, "Hit N calls (default: 1)", 1);
  arguments.flag("--forever", args.forever, "Hit calls without a limit");
}

void describe_clear(Arguments &arguments, ClearArgs &args) {
  arguments.number<uint32_t>("[NUMBER]", args.number, "The fault; default: all", 1);
}

}  // namespace

void add_switch_fault_commands(Parser &parser) {
  parser.add_prefix({"switch fault", "Virtual switch",
                     "Make service calls fail, wait or answer wrongly",
                     "mrvctl switch fault add EIO --register HI.2:41 --client fdbd"});
  parser.add<FaultArgs>(
      {"switch fault add", "Virtual switch",
       "Add a fault\n"
       "The first fault that matches a call, and is not used up, hits it. A call that a fault lets "
       "fail reaches no ASIC. One that matches an entry of a transaction hits all of it.",
       "mrvctl switch fault add EIO --register HI.2:41 --writes --client fdbd\n"
       "mrvctl switch fault add --delay 200ms --client fdbd --forever",
       Requires::kPlatform},
      describe_add, check_fault, run_add);
  parser.add({"switch fault list", "Virtual switch", "List the faults and what they have hit",
              "mrvctl switch fault list", Requires::kPlatform},
             run_list);
  parser.add<ClearArgs>({"switch fault clear", "Virtual switch", "Remove one fault, or all",
                         "mrvctl switch fault clear", Requires::kPlatform},
                        describe_clear, run_clear);
}

}  // namespace mrvctl
