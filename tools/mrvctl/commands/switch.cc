// switch: which switch this is and what commands have set on it; its reset and its card.
#include "commands/switch.h"

#include <cerrno>
#include <cstring>

#include "text/text.h"

namespace mrvctl {
namespace {

double seconds(uint64_t milliseconds) {
  return static_cast<double>(milliseconds) / 1000;
}

Json address_json() {
  const char *const address = control<decltype(vp_switch_address)>("vp_switch_address")();
  return address == nullptr ? Json() : Json(address);
}

void run_switch(Session &session) {
  vp_switch shown = {};
  check_control(control<decltype(vp_switch_info)>("vp_switch_info")(&shown));
  vp_asic_state state = {};
  check_control(
      control<decltype(vp_asic_show)>("vp_asic_show")(session.module, session.asic, &state), ENXIO,
      format("there is no module %u, ASIC %u", session.module, session.asic));
  const Json address = address_json();
  const bool has_failure = state.sfp_failures > 0;
  const std::string port = port_text(state.last_sfp_port_type, state.last_sfp_port);
  const Json object = {{"address", address},
                       {"process", shown.process},
                       {"generation", shown.generation},
                       {"age", seconds(shown.age_ms)},
                       {"time", seconds(shown.time_ms)},
                       {"stopped", shown.stopped != 0},
                       {"platform", platform_file()},
                       {"modules", shown.modules},
                       {"clients", shown.clients},
                       {"faults", shown.faults},
                       {"flows", shown.flows},
                       {"sw_card_id", shown.card},
                       {"nodrop_class_map", state.nodrop_class_map},
                       {"sp_timer", state.sp_timer},
                       {"drop_clears", state.drop_clears},
                       {"sfp_failures", state.sfp_failures},
                       {"last_sfp_port", has_failure ? Json(port) : Json()}};
  session.report.result(
      object, format("switch                    %s\n"
                     "process                   %d\n"
                     "generation                %llu, %.1f s old\n"
                     "time                      %.3f s, %s\n"
                     "platform                  %s\n"
                     "modules                   %u\n"
                     "clients                   %u\n"
                     "faults                    %u\n"
                     "flows                     %u\n"
                     "software card identifier  %u\n"
                     "no-drop class map         0x%02x\n"
                     "SP timer                  %u\n"
                     "clears of drop counters   %u\n"
                     "SFP failures reported     %u",
                     switch_text().c_str(), shown.process,
                     static_cast<unsigned long long>(shown.generation), seconds(shown.age_ms),
                     seconds(shown.time_ms), shown.stopped != 0 ? "stopped" : "running",
                     platform_file().c_str(), shown.modules, shown.clients, shown.faults,
                     shown.flows, shown.card, state.nodrop_class_map, state.sp_timer,
                     state.drop_clears, state.sfp_failures) +
                  (has_failure ? ", the last on " + port : "") + "\n");
}

void run_reset(Session &session) {
  check_control(control<decltype(vp_reset)>("vp_reset")());
  session.report.result({}, "the switch is empty" + private_hint(session) + "\n");
}

struct CardArgs {
  uint32_t id = 0;
};

void run_card(Session &session, const CardArgs &args) {
  check_control(control<decltype(vp_set_card)>("vp_set_card")(CARDCFG_DEV_TYPE_MORVANE,
                                                              static_cast<uint16_t>(args.id)));
  session.report.result({{"sw_card_id", args.id}}, format("software card identifier %u", args.id) +
                                                       private_hint(session) + "\n");
}

void describe_card(Arguments &arguments, CardArgs &args) {
  arguments.number<uint32_t>("ID", args.id, "Identifier", 0, UINT16_MAX);
}

}  // namespace

void check_control(int error, int known, const std::string &text) {
  if (error == 0)
    return;
  throw OperationFailed(error == known && known != 0 ? text : std::strerror(error));
}

std::string private_hint(const Session &session) {
  return session.in_script() || !has_private_switch()
             ? ""
             : " (private switch, gone when this command ends)";
}

void add_switch_commands(Parser &parser) {
  const CommandText text = {"switch", "Virtual switch",
                            "Show the virtual switch, and what commands have set on it",
                            "mrvctl switch\n"
                            "mrvctl switch fault list"};
  parser.add_prefix(text);
  parser.add(text, run_switch);
  parser.add({"switch reset", "Virtual switch", "Empty the switch, as after its start",
              "mrvctl switch reset"},
             run_reset);
  parser.add<CardArgs>({"switch card", "Virtual switch", "Set the card's software identifier",
                        "mrvctl switch card 0x123"},
                       describe_card, run_card);
  add_switch_fault_commands(parser);
  add_switch_traffic_commands(parser);
  add_switch_clients_command(parser);
}

}  // namespace mrvctl
