// What the commands of the virtual switch share.
#ifndef MRVCTL_SWITCH_H
#define MRVCTL_SWITCH_H

#include <string>

#include "commands/commands.h"
#include "host/platform_library.h"
#include "virtual_platform.h"

namespace mrvctl {

void add_switch_fault_commands(Parser &parser);
void add_switch_traffic_commands(Parser &parser);
void add_switch_clients_command(Parser &parser);

// Throws OperationFailed unless a control succeeded: with this text if its errno is the known one.
void check_control(int error, int known = 0, const std::string &text = "");

// What to add to the result of a command that changes a private switch, outside a script: "
// (private switch, gone when this command ends)"; else nothing.
std::string private_hint(const Session &session);

}  // namespace mrvctl

#endif
