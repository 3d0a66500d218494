// clients: who is connected to a switch that morvaned serves.
#include <pwd.h>

#include <cerrno>
#include <cstring>

#include "commands/commands.h"
#include "host/platform_library.h"
#include "platform/system_service.h"
#include "text/text.h"
#include "virtual_platform.h"

namespace mrvctl {
namespace {

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

void show_clients(Session &session, const WatchArgs &args) {
  const vp_client *clients = nullptr;
  uint32_t count = 0;
  const int error = control<decltype(vp_clients)>("vp_clients")(&clients, &count);
  if (error != 0)
    throw OperationFailed(error == ENOTCONN
                              ? "no morvaned serves this switch: name one with --switch"
                              : std::strerror(error));
  std::vector<Json> objects;
  std::string text = next_screen(session, args);
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

void run_clients(Session &session, const WatchArgs &args) {
  show_rounds(session, args, [&] { show_clients(session, args); });
}

}  // namespace

void add_clients_command(Parser &parser) {
  parser.add<WatchArgs>({"clients", "Virtual platform",
                         "Show who is connected to the switch that morvaned serves\n"
                         "^C ends a live view.",
                         Requires::kPlatform},
                        describe_watch, check_watch, run_clients);
}

}  // namespace mrvctl
