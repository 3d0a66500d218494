// What the commands share: arguments that several of them take, and live views.
#include "commands/commands.h"

#include "host/platform_library.h"
#include "output/signals.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr double kMinWait = 0.1;
constexpr double kMaxWait = 3600;

}  // namespace

void add_commands(Parser &parser) {
  add_register_commands(parser);
  add_find_command(parser);
  add_annotate_command(parser);
  add_dump_commands(parser);
  add_table_commands(parser);
  add_transaction_commands(parser);
  add_program_commands(parser);
  add_qos_commands(parser);
  add_port_commands(parser);
  add_record_command(parser);
  add_switch_commands(parser);
  add_result_commands(parser);
  add_check_commands(parser);
  add_call_commands(parser);
  add_replay_commands(parser);
  add_completion_command(parser);
}

void describe_register(Arguments &arguments, RegisterReference &reference, const std::string &forms,
                       const std::string &name) {
  arguments.reference(name, reference, parse_register_reference, is_block_instance,
                      forms + "; regs and dhs list the names");
}

void describe_port(Arguments &arguments, Port &port, uint32_t highest_type) {
  const auto parse = [highest_type](const std::string &text) {
    return parse_port(text, highest_type);
  };
  arguments.reference("PORT", port, parse, is_port_type,
                      format("TYPE:NUMBER, like hif:3. TYPE is hif, nif, cif, bif or a number "
                             "(0 to %u), NUMBER is 0 to 255",
                             highest_type));
}

void describe_watch(Arguments &arguments, WatchArgs &args) {
  describe_interval(arguments, "--watch", args.interval, "Refresh every SECONDS seconds");
  arguments.number<uint32_t>("--count N", args.rounds, "Stop after N refreshes", 1);
}

void check_watch(const WatchArgs &args) {
  if (args.interval <= 0 && args.rounds != 0)
    throw UsageError("--count is for --watch");
}

void run_rounds(const WatchArgs &args, const std::function<void()> &round) {
  if (args.interval <= 0)
    return round();
  const Interrupt scope({SIGINT});
  for (uint32_t count = 1; interrupted == 0; ++count) {
    round();
    if (count == args.rounds)
      return;
    interruptible_sleep(args.interval);
  }
}

void show_rounds(Session &session, const WatchArgs &args, const std::function<void()> &show) {
  run_rounds(args, [&] {
    if (args.interval > 0)
      session.report.clear_screen();
    show();
  });
}

void describe_interval(Arguments &arguments, const std::string &name, double &seconds,
                       const std::string &help) {
  const auto parse = [](const std::string &text) {
    return parse_seconds(text, kMinWait, kMaxWait);
  };
  arguments.parsed(name + " SECONDS", seconds, parse, help + " (0.1 to 3600)");
}

std::string private_hint(const Session &session) {
  return session.in_script() || !has_private_switch()
             ? ""
             : " (private switch, gone when this command ends)";
}

std::string write_status(const Session &session) {
  return session.transaction.open() ? "queued" : "written" + private_hint(session);
}

}  // namespace mrvctl
