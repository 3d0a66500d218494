// The commands: each file adds those of one noun to the parser.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "asic/port_reference.h"
#include "asic/register_reference.h"
#include "commands/arguments.h"
#include "commands/call_monitor.h"
#include "commands/session.h"

namespace mrvctl {

void add_register_commands(Parser &parser);
void add_dump_commands(Parser &parser);
void add_find_command(Parser &parser);
void add_annotate_command(Parser &parser);
void add_table_commands(Parser &parser);
void add_transaction_commands(Parser &parser);
void add_program_commands(Parser &parser);
void add_result_commands(Parser &parser);
void add_qos_commands(Parser &parser);
void add_qos_top_command(Parser &parser);
void add_port_commands(Parser &parser);
void add_call_commands(Parser &parser);
void add_replay_commands(Parser &parser);
void add_record_command(Parser &parser);
void add_switch_commands(Parser &parser);
void add_check_commands(Parser &parser);
void add_completion_command(Parser &parser);

// All of the above.
void add_commands(Parser &parser);

// The positional argument REGISTER, or TABLE; `forms` are examples of what the command takes.
void describe_register(Arguments &arguments, RegisterReference &reference, const std::string &forms,
                       const std::string &name = "REGISTER");

// The positional argument PORT.
void describe_port(Arguments &arguments, Port &port, uint32_t highest_type);

// The time between two rounds of a live view.
void describe_interval(Arguments &arguments, const std::string &name, double &seconds,
                       const std::string &help);

// A live view of what a command shows.
struct WatchArgs {
  double interval = 0;  // seconds between rounds; 0 for a single round
  uint32_t rounds = 0;  // 0 for no end
};

void describe_watch(Arguments &arguments, WatchArgs &args);
void check_watch(const WatchArgs &args);

// Runs a round once, or again and again until the last round or ^C.
void run_rounds(const WatchArgs &args, const std::function<void()> &round);

// The same, each round on a cleared terminal.
void show_rounds(Session &session, const WatchArgs &args, const std::function<void()> &show);

// What to add to the result of a command that changes a private switch, outside a script:
// " (private switch, gone when this command ends)"; else nothing.
std::string private_hint(const Session &session);

// "written" and that hint, or "queued" if a transaction is open.
std::string write_status(const Session &session);

}  // namespace mrvctl
