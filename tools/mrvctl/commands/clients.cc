// clients: who is connected to a switch that morvaned serves; and the connection to it.
#include <pwd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "base/interrupt.h"
#include "base/text.h"
#include "commands/commands.h"
#include "platform/platform.h"
#include "platform/system_service.h"
#include "virtual_platform.h"

namespace mrvctl {
namespace {

struct ClientsArgs {
  double watch = 0;    // seconds between rounds; 0 for one round alone
  uint32_t count = 0;  // rounds of a live view; 0 for no end
};

std::string user_name(uint32_t user) {
  const passwd *const found = getpwuid(user);
  return found == nullptr ? std::to_string(user) : found->pw_name;
}

std::string case_text(uint32_t case_code) {
  switch (case_code) {
    case SYSSRV_REG_READ_CASE:
      return "register read";
    case SYSSRV_REG_WRITE_CASE:
      return "register write";
    case SYSSRV_MEM_READ_CASE:
      return "QoS statistics";
    case SYSSRV_MEM_WRITE_CASE:
      return "transaction";
    case SYSSRV_SP_TIME_CONFIGURE:
      return "SP timer";
    default:
      return format("case 0x%x", case_code);
  }
}

std::string last_call_text(const vp_client &client) {
  if (client.calls == 0)
    return "none";
  std::string text = case_text(client.last_case);
  if (client.last_error != 0)
    text += ", " + errno_name(client.last_error);
  return text + format(", %.1f s ago", static_cast<double>(client.last_age_ms) / 1000);
}

Json client_json(const vp_client &client) {
  const bool has_called = client.calls != 0;
  return {{"process", client.process},
          {"program", client.program},
          {"user", client.user},
          {"user_name", user_name(client.user)},
          {"calls", client.calls},
          {"failures", client.failures},
          {"age", static_cast<double>(client.age_ms) / 1000},
          {"last_case", has_called ? Json(client.last_case) : Json()},
          {"last_errno", client.last_error != 0 ? Json(errno_name(client.last_error)) : Json()},
          {"last_age", has_called ? Json(static_cast<double>(client.last_age_ms) / 1000) : Json()}};
}

void show_clients(Session &session, const ClientsArgs &args) {
  const vp_client *clients = nullptr;
  uint32_t count = 0;
  const int error = control<decltype(vp_clients)>("vp_clients")(&clients, &count);
  if (error != 0)
    throw OperationFailed(error == ENOTCONN
                              ? "no morvaned serves this switch: name one with --switch"
                              : std::strerror(error));
  std::vector<Json> objects;
  std::string text = args.watch > 0 && session.report.on_terminal() ? "\033[H\033[J" : "";
  text += "process  program          user            calls  failures  last call\n";
  for (const vp_client *client = clients; client != clients + count; ++client) {
    objects.push_back(client_json(*client));
    text +=
        format("%7d  %-15s  %-10s %10llu %9llu  %s\n", client->process, client->program,
               user_name(client->user).c_str(), static_cast<unsigned long long>(client->calls),
               static_cast<unsigned long long>(client->failures), last_call_text(*client).c_str());
  }
  session.report.result({{"command", "clients"}, {"clients", objects}}, text);
}

void check_clients(const ClientsArgs &args) {
  if (args.watch <= 0 && args.count != 0)
    throw UsageError("--count is for --watch");
}

void run_clients(Session &session, const ClientsArgs &args) {
  if (args.watch <= 0)
    return show_clients(session, args);
  const Interrupt scope({SIGINT});
  for (uint32_t round = 1; interrupted == 0; ++round) {
    show_clients(session, args);
    if (round == args.count)
      return;
    wait_uninterrupted(args.watch);
  }
}

void describe_clients(Arguments &arguments, ClientsArgs &args) {
  describe_interval(arguments, "--watch", args.watch,
                    "A live view, with so much time between two rounds");
  arguments.number<uint32_t>("--count", args.count, "End the live view after so many rounds", 1);
}

}  // namespace

void connect_to_switch(const std::string &address) {
  const char *const variable = std::getenv("MORVANE_SWITCH");
  const std::string named = address.empty() && variable != nullptr ? variable : address;
  // Only the virtual platform knows the variable.
  if (named.empty() || (address.empty() && find_in_platform("vp_connect") == nullptr))
    return;
  const int error = control<decltype(vp_connect)>("vp_connect")(named.c_str());
  if (error == EAGAIN)
    throw OperationFailed("the switch at " + named + " has as many clients as it takes");
  const char *const hint =
      error == EINVAL ? " (its address, MORVANE_SWITCH_WAIT or MORVANE_SWITCH_TIMEOUT)" : "";
  if (error != 0)
    throw OperationFailed("no switch at " + named + ": " + std::strerror(error) + hint);
}

void add_clients_command(Parser &parser) {
  parser.add<ClientsArgs>({"clients", "Virtual platform",
                           "Show who is connected to the switch that morvaned serves\n"
                           "^C ends a live view.",
                           Setup::kPlatform},
                          describe_clients, check_clients, run_clients);
}

}  // namespace mrvctl
