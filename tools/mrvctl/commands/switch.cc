// switch: which switch this is and what commands have set on it; its reset and its card.
#include "commands/switch.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "text/text.h"

namespace mrvctl {
namespace {

double seconds(uint64_t milliseconds) {
  return static_cast<double>(milliseconds) / 1000;
}

// The settings that commands made on the ASIC.
std::vector<Fact> asic_facts(Session &session) {
  vp_asic_state state = {};
  check_control(
      control<decltype(vp_asic_show)>("vp_asic_show")(session.module, session.asic, &state), ENXIO,
      format("no such ASIC: module %u, ASIC %u", session.module, session.asic));
  const bool has_failure = state.sfp_failures > 0;
  const std::string port = port_text(state.last_sfp_port_type, state.last_sfp_port);
  return {{"nodrop_class_map",
           "no-drop class map",
           {format("0x%02x", state.nodrop_class_map), state.nodrop_class_map}},
          {"sp_timer", "SP timer", state.sp_timer},
          {"drop_clears", "clears of drop counters", state.drop_clears},
          {"sfp_failures",
           "SFP failures reported",
           {std::to_string(state.sfp_failures) + (has_failure ? ", the last on " + port : ""),
            state.sfp_failures}},
          {"last_sfp_port", nullptr, has_failure ? Json(port) : Json()}};
}

void run_switch(Session &session) {
  std::vector<Fact> facts = switch_facts(session);
  for (Fact &fact : asic_facts(session))
    facts.push_back(std::move(fact));
  Json object;
  add_facts(facts, object);
  session.report.result(object, facts_text(facts));
}

void run_reset(Session &session) {
  check_control(control<decltype(vp_reset)>("vp_reset")());
  session.report.result({}, "the switch is empty" + private_hint(session) + "\n");
}

struct CardArgs {
  uint32_t id = 0;
  uint32_t type = CARDCFG_DEV_TYPE_MORVANE;
};

void run_card(Session &session, const CardArgs &args) {
  check_control(
      control<decltype(vp_set_card)>("vp_set_card")(args.type, static_cast<uint16_t>(args.id)));
  session.report.result({{"sw_card_id", args.id}}, format("software card identifier %u", args.id) +
                                                       private_hint(session) + "\n");
}

void describe_card(Arguments &arguments, CardArgs &args) {
  arguments.number<uint32_t>("ID", args.id, "Identifier", 0, UINT16_MAX);
  arguments.number<uint32_t>("[TYPE]", args.type, "Device type; 7, a Morvane, is the default");
}

}  // namespace

void check_control(int error, int known, const std::string &text) {
  if (error == 0)
    return;
  throw OperationFailed(error == known && known != 0 ? text : std::strerror(error));
}

std::vector<Fact> switch_facts(Session &session) {
  std::vector<Fact> facts = {
      {"library", "library", library_file()},
      {"platform", "platform", platform_file()},
      {"modules", "modules", session.map().limits().max_modules},
  };
  if (platform_symbol("vp_switch_info") == nullptr)
    return facts;
  vp_switch shown = {};
  check_control(control<decltype(vp_switch_info)>("vp_switch_info")(&shown));
  const char *const address = control<decltype(vp_switch_address)>("vp_switch_address")();
  facts.insert(
      facts.begin(),
      {{"address",
        "switch",
        {address == nullptr ? "private, gone when this command ends" : address,
         address == nullptr ? Json() : Json(address)}},
       {"process", "process", shown.process},
       {"generation",
        "generation",
        {format("%llu, %.1f s old", static_cast<unsigned long long>(shown.generation),
                seconds(shown.age_ms)),
         shown.generation}},
       {"age", nullptr, Json(seconds(shown.age_ms))},
       {"time",
        "time",
        {format("%.3f s, %s", seconds(shown.time_ms), shown.stopped != 0 ? "stopped" : "running"),
         Json(seconds(shown.time_ms))}},
       {"stopped", nullptr, Json(shown.stopped != 0)},
       {"clients", "clients", shown.clients},
       {"faults", "faults", shown.faults},
       {"flows", "flows", shown.flows},
       {"sw_card_id", "software card identifier", shown.card}});
  return facts;
}

void add_switch_commands(Parser &parser) {
  const CommandText text = {"switch", "Virtual switch", "Show or control the virtual switch",
                            "mrvctl switch\n"
                            "mrvctl switch fault list",
                            Requires::kPlatform};
  parser.add_prefix(text);
  parser.add(text, run_switch);
  parser.add({"switch reset", "Virtual switch", "Empty the switch, as after its start",
              "mrvctl switch reset", Requires::kPlatform},
             run_reset);
  parser.add<CardArgs>({"switch card", "Virtual switch", "Set the card's software identifier",
                        "mrvctl switch card 0x123", Requires::kPlatform},
                       describe_card, run_card);
  add_switch_state_commands(parser);
  add_switch_fault_commands(parser);
  add_switch_traffic_commands(parser);
  add_switch_clients_command(parser);
  add_switch_monitor_command(parser);
}

}  // namespace mrvctl
