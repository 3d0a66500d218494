// switch clients: who is connected to a switch that morvaned serves.
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "commands/switch.h"
#include "output/listing.h"
#include "platform/system_service.h"
#include "text/text.h"

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

double seconds(uint64_t milliseconds) {
  return static_cast<double>(milliseconds) / 1000;
}

std::string last_call_text(const vp_client &client) {
  if (client.calls == 0)
    return "none";
  std::string text = case_text(client.last_case);
  if (client.last_error != 0)
    text += ", " + errno_name(client.last_error);
  return text + format(", %.1f s ago", seconds(client.last_age_ms));
}

void show_clients(Session &session) {
  const vp_client *clients = nullptr;
  uint32_t count = 0;
  const int error = control<decltype(vp_clients)>("vp_clients")(&clients, &count);
  if (error != 0)
    throw OperationFailed(
        error == ENOTCONN ? "not connected to a morvaned; use --switch PATH or set MORVANE_SWITCH"
                          : std::strerror(error));
  Listing list({{"process", "process", Align::kRight},
                {"program", "program        "},
                {"user", nullptr},
                {"user_name", "user      "},
                {"calls", "    calls", Align::kRight},
                {"failures", "failures", Align::kRight},
                {"age", nullptr},
                {"last_case", nullptr},
                {"last_errno", nullptr},
                {"last_age", nullptr},
                {nullptr, "last call"}});
  for (const vp_client *client = clients; client != clients + count; ++client) {
    if (client->process == getpid())
      continue;
    const bool has_called = client->calls != 0;
    list.add({client->process, client->program, client->user, user_name(client->user),
              client->calls, client->failures, Json(seconds(client->age_ms)),
              has_called ? Json(case_text(client->last_case)) : Json(),
              client->last_error != 0 ? Json(errno_name(client->last_error)) : Json(),
              has_called ? Json(seconds(client->last_age_ms)) : Json(), last_call_text(*client)});
  }
  session.report.result({{"clients", list.json()}}, list.text());
}

void run_clients(Session &session, const WatchArgs &args) {
  show_rounds(session, args, [&] { show_clients(session); });
}

}  // namespace

void add_switch_clients_command(Parser &parser) {
  parser.add<WatchArgs>({"switch clients", "Virtual switch",
                         "List the other clients of the switch\n"
                         "^C ends a live view.",
                         "mrvctl switch clients", Requires::kPlatform},
                        describe_watch, check_watch, run_clients);
}

}  // namespace mrvctl
