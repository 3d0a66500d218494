// pause, nodrop, sfp-failed, sp-timer and clear-drops.
#include "commands/commands.h"
#include "text/text.h"

namespace mrvctl {
namespace {

// What a port operation that goes through a write has done; inside a transaction it is queued.
void finish_write(Session &session, const std::error_code &ec, const std::string &hint, Json object,
                  const std::string &text) {
  session.check_result(result_of(ec), hint);
  session.transaction.add(1);
  throw_if_lost();
  object["queued"] = session.transaction.open();
  session.report.result(
      object, text + (session.transaction.open() ? ": queued" : private_hint(session)) + "\n");
}

constexpr const char *kPauseStates[] = {"off", "on"};

struct PauseArgs {
  bool on = false;
  Port port;
};

void run_pause(Session &session, const PauseArgs &args) {
  const std::string state = kPauseStates[args.on ? 1 : 0];
  const morvane::port port = session.port(args.port);
  std::error_code ec;
  args.on ? morvane::link_pause_enable(port, ec) : morvane::link_pause_disable(port, ec);
  char hint[64] = "";
  if (ec == SYSERR_KEL_ASIC_INVALID_ARG)
    kel_asic_port_refusal_text(hint, sizeof hint, port.on.module, port.on.number, port.type,
                               port.number);
  const std::string name = port_text(args.port);
  finish_write(session, ec, hint, {{"port", name}, {"state", state}},
               "link pause " + state + " for " + name);
}

void run_nodrop(Session &session, uint32_t map) {
  std::error_code ec;
  morvane::set_nodrop_class_map(map, session.on(), ec);
  std::string classes;
  for (uint32_t i = 0; i < 8; ++i)
    classes += (map >> i & 1) != 0 ? " " + std::to_string(i) : "";
  finish_write(
      session, ec, "", {{"map", map}},
      format("no-drop map 0x%02x, classes%s", map, classes.empty() ? ": none" : classes.c_str()));
}

void run_sfp_failed(Session &session, const Port &port) {
  std::error_code ec;
  morvane::sfp_validation_failed(session.port(port), ec);
  finish_write(session, ec, "", {{"port", port_text(port)}},
               "SFP of " + port_text(port) + " reported as failed");
}

void run_sp_timer(Session &session, uint16_t time) {
  std::error_code ec;
  morvane::prog_sp_timer(time, session.on(), ec);
  session.check_result(result_of(ec));
  session.report.result({{"time", time}},
                        format("SP timer %u", time) + private_hint(session) + "\n");
}

void run_clear_drops(Session &session) {
  if (session.module != 0 || session.asic != 0)
    throw UsageError("the library clears the drop counters of module 0, ASIC 0 only");
  check(lib_mrv_asic_clear_all_drop_counters());
  session.report.result({},
                        "drop counters of module 0, ASIC 0 cleared" + private_hint(session) + "\n");
}

void describe_pause(Arguments &arguments, PauseArgs &args) {
  arguments.choice("STATE", args.on, kPauseStates, "New state");
  describe_port(arguments, args.port, 255);
}

void describe_sfp(Arguments &arguments, Port &port) {
  describe_port(arguments, port, 255);
}

void describe_nodrop(Arguments &arguments, uint32_t &map) {
  arguments.number<uint32_t>("MAP", map, "One bit per class", 0, 255);
}

void describe_sp_timer(Arguments &arguments, uint16_t &time) {
  arguments.number<uint16_t>("TIME", time, "Time in the service's unit");
}

}  // namespace

void add_port_commands(Parser &parser) {
  parser.add<PauseArgs>({"pause", "Ports",
                         "Enable or disable link pause on a port\n"
                         "Inside a transaction the command is queued.",
                         "mrvctl pause on hif:3"},
                        describe_pause, run_pause);
  parser.add<uint32_t>({"nodrop", "Ports",
                        "Set the no-drop class map\n"
                        "Inside a transaction the command is queued.",
                        "mrvctl nodrop 0x08"},
                       describe_nodrop, run_nodrop);
  parser.add<Port>({"sfp-failed", "Ports",
                    "Report that the SFP of a port failed validation\n"
                    "Inside a transaction the command is queued.",
                    "mrvctl sfp-failed nif:1"},
                   describe_sfp, run_sfp_failed);
  parser.add<uint16_t>({"sp-timer", "Ports",
                        "Program the SP timer\n"
                        "The timer is set at once, also inside a transaction.",
                        "mrvctl sp-timer 100"},
                       describe_sp_timer, run_sp_timer);
  parser.add({"clear-drops", "Ports",
              "Clear all drop counters of module 0, ASIC 0\n"
              "The counters are cleared at once, also inside a transaction.",
              "mrvctl clear-drops"},
             run_clear_drops);
}

}  // namespace mrvctl
