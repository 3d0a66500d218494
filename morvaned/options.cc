#include "options.h"

#include <argp.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <cstring>

#include "kel_asic_lib_common.h"
#include "wire/messages.h"

namespace morvaned {
namespace {

constexpr uint32_t kLongestRecord = 1024 * 1024 * 1024;  // that can be allowed

// Keys of options that have no letter.
enum { kSocket = 256, kGroup, kMaxClients, kMaxRecord, kVerbose };

const argp_option kOptions[] = {
    {"socket", kSocket, "PATH", 0,
     "Where to listen: a path, or @name for an abstract address; unless given "
     "$XDG_RUNTIME_DIR/morvaned.sock, for root /run/morvaned.sock",
     0},
    {"group", kGroup, "NAME", 0,
     "Let the users of this group connect too; only the same user and root otherwise", 0},
    {"max-clients", kMaxClients, "N", 0,
     "The most clients at a time, 256 unless given; half of them may be of one user that is "
     "neither root nor the service's own",
     0},
    {"max-record", kMaxRecord, "BYTES", 0,
     "The longest record that it takes, 16777216 bytes unless given", 0},
    {"verbose", kVerbose, nullptr, 0, "Say who connects and who leaves", 0},
    {nullptr, 'h', nullptr, OPTION_HIDDEN, nullptr, 0},  // as --help
    {nullptr, 0, nullptr, 0, nullptr, 0}};

const char kDescription[] =
    "Serves one virtual switch to many processes over a Unix socket"
    "\v"
    "Clients reach it with MORVANE_SWITCH=PATH in their environment. It ends at SIGTERM or SIGINT; "
    "what was written into the switch ends with it.";

std::string default_socket() {
  if (geteuid() == 0)
    return "/run/morvaned.sock";
  const char *folder = std::getenv("XDG_RUNTIME_DIR");
  return folder == nullptr || *folder == '\0' ? "" : std::string(folder) + "/morvaned.sock";
}

uint32_t parse_number(const char *option, const char *text, uint32_t low, uint32_t high,
                      const argp_state *state) {
  const bool is_hexadecimal = text[0] == '0' && text[1] == 'x';
  const char *const begin = text + (is_hexadecimal ? 2 : 0), *const end = text + std::strlen(text);
  uint32_t value = 0;
  const auto [parsed, error] = std::from_chars(begin, end, value, is_hexadecimal ? 16 : 10);
  if (error != std::errc() || parsed != end || value < low || value > high)
    argp_error(state, "%s: '%s' is no number from %u to %u", option, text, low, high);
  return value;
}

// Most often a variable of a shell was empty.
const char *parse_text(const char *option, const char *text, const argp_state *state) {
  if (*text == '\0')
    argp_error(state, "%s: an empty value", option);
  return text;
}

error_t take_option(int key, char *text, argp_state *state) {
  Options &options = *static_cast<Options *>(state->input);
  switch (key) {
    case kSocket:
      options.socket = parse_text("--socket", text, state);
      return 0;
    case kGroup:
      options.group = parse_text("--group", text, state);
      return 0;
    case kMaxClients:
      options.max_clients = parse_number("--max-clients", text, 1, remote::kMaxClients, state);
      return 0;
    case kMaxRecord:
      options.max_record =
          parse_number("--max-record", text, sizeof(kel_asic_xn_t), kLongestRecord, state);
      return 0;
    case kVerbose:
      options.verbose = true;
      return 0;
    case 'h':
      argp_state_help(state, stdout, ARGP_HELP_STD_HELP);
      return 0;
    case ARGP_KEY_ARG:
      argp_error(state, "not expected: %s", text);
      return 0;
    default:
      return ARGP_ERR_UNKNOWN;
  }
}

}  // namespace

Options parse_options(int argc, char **argv) {
  Options options;
  options.socket = default_socket();
  argp_program_version = "morvaned " MORVANED_VERSION;
  argp_err_exit_status = 2;
  const argp parser = {kOptions, take_option, nullptr, kDescription, nullptr, nullptr, nullptr};
  argp_parse(&parser, argc, argv, 0, nullptr, &options);
  return options;
}

}  // namespace morvaned
