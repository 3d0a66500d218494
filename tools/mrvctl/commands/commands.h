// The commands: each file adds those of one noun to the parser.
#ifndef MRVCTL_COMMANDS_H
#define MRVCTL_COMMANDS_H

#include <cstdint>
#include <string>
#include <vector>

#include "base/arguments.h"
#include "commands/sent_calls.h"
#include "commands/session.h"
#include "output/words.h"
#include "registers/tables.h"

namespace mrvctl {

// Words that one command reads at most: the tool holds them all.
constexpr uint32_t kMostWordsRead = 1U << 20;

void add_register_commands(Parser &parser);
void add_dump_command(Parser &parser);
void add_find_command(Parser &parser);
void add_table_commands(Parser &parser);
void add_transaction_commands(Parser &parser);
void add_program_commands(Parser &parser);
void add_result_commands(Parser &parser);
void add_qos_commands(Parser &parser);
void add_qos_metrics_command(Parser &parser);
void add_qos_top_command(Parser &parser);
void add_port_commands(Parser &parser);
void add_call_commands(Parser &parser);
void add_replay_commands(Parser &parser);
void add_record_command(Parser &parser);
void add_script_commands(Parser &parser);
void add_platform_commands(Parser &parser);
void add_check_commands(Parser &parser);
void add_clients_command(Parser &parser);

// All of the above.
void add_commands(Parser &parser);

// The two words of a register, and the register, once they are checked.
struct RegisterArgs {
  std::string place;
  std::string name;
  Register reg = {};
};

void describe_register(Arguments &arguments, RegisterArgs &args);
void check_register(RegisterArgs &args);

struct PortArgs {
  uint32_t type = 0;
  uint32_t port = 0;
};

void describe_port(Arguments &arguments, PortArgs &args, uint32_t highest_type);

// The time between two rounds of a live view.
void describe_interval(Arguments &arguments, const std::string &name, double &seconds,
                       const std::string &help);

// Connects the virtual platform to the switch that morvaned serves at an address, or without one to
// that of MORVANE_SWITCH, if it is set. Throws OperationFailed.
void connect_to_switch(const std::string &address);

// Reads a register, or a run of them where there is a count. Throws OperationFailed.
Words read_run(Session &session, const Register &reg, std::optional<uint32_t> count);

// The table that a register is. Throws OperationFailed where it is none.
Table table_of(Session &session, const Register &reg);

// Reads entries of a table. Throws OperationFailed.
Words read_run(Session &session, const Register &reg, const Table &table, uint32_t index,
               uint32_t count);

// Throws OperationFailed unless the words read are the expected ones; `per_entry` is 0 where they
// are no table entries.
void expect_words(const std::vector<uint32_t> &expected, const Words &run, size_t per_entry);

// Notes that a read was made; throws OperationFailed if it failed, or if the transaction that was
// open before it did. `refusal` is why the library may have refused it; empty if it had no reason.
void finish_read(Session &session, syserr_t result, const std::string &refusal);

// What a read says of a transaction that was open before it, and that it sent.
std::string interruption_text(const Transaction &before);

// "written", or "queued" where a transaction is open.
const char *written_text(const Session &session);

}  // namespace mrvctl

#endif
