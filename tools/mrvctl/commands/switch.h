// What the commands of the virtual switch share.
#pragma once

#include <string>
#include <vector>

#include "commands/commands.h"
#include "host/platform_library.h"
#include "output/listing.h"
#include "virtual_platform.h"

namespace mrvctl {

void add_switch_fault_commands(Parser &parser);
void add_switch_traffic_commands(Parser &parser);
void add_switch_clients_command(Parser &parser);
void add_switch_state_commands(Parser &parser);
void add_switch_monitor_command(Parser &parser);

// Throws OperationFailed unless a control succeeded: with this text if its errno is the known one.
void check_control(int error, int known = 0, const std::string &text = "");

// Which switch the session uses, and which platform and library.
std::vector<Fact> switch_facts(Session &session);

}  // namespace mrvctl
