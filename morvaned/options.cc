#include "options.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdio>
#include <cstdlib>

#include "kel_asic_lib_common.h"
#include "wire/messages.h"

namespace morvaned {
namespace {

constexpr uint32_t kMaxRecordLimit = 1024 * 1024 * 1024;

std::string default_socket() {
  if (geteuid() == 0)
    return "/run/morvaned.sock";
  const char *folder = std::getenv("XDG_RUNTIME_DIR");
  return folder == nullptr || *folder == '\0' ? "" : std::string(folder) + "/morvaned.sock";
}

// An empty value is most often an empty variable of a shell.
void add_text(CLI::App &app, const std::string &name, const char *type, std::string &value,
              const std::string &help) {
  app.add_option(name, value, help)->type_name(type)->check([](const std::string &text) {
    return text.empty() ? "value must not be empty" : "";
  });
}

void add_number(CLI::App &app, const std::string &name, const char *type, uint32_t &value,
                uint32_t low, uint32_t high, const std::string &help) {
  const auto parse = [=, &value](const std::string &text) {
    const bool is_hexadecimal = text.rfind("0x", 0) == 0;
    const char *const begin = text.data() + (is_hexadecimal ? 2 : 0);
    const char *const end = text.data() + text.size();
    const auto [parsed, error] = std::from_chars(begin, end, value, is_hexadecimal ? 16 : 10);
    if (error != std::errc() || parsed != end || value < low || value > high)
      throw CLI::ValidationError(name, "'" + text + "' is not a number from " +
                                           std::to_string(low) + " to " + std::to_string(high));
  };
  app.add_option_function<std::string>(name, parse, help)->type_name(type);
}

void describe(CLI::App &app, Options &options) {
  app.description("Serve one virtual switch to several processes over a Unix socket");
  app.footer(
      "Example:\n"
      "  folder=$(mktemp -d)\n"
      "  morvaned --socket $folder/switch &\n"
      "  MORVANE_SWITCH=$folder/switch mrvctl info\n\n"
      "SIGTERM, SIGINT, SIGHUP or SIGQUIT stops it. Without --state the switch's\n"
      "contents are lost.");
  app.set_version_flag("-V,--version", "morvaned " MORVANED_VERSION);
  app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  add_text(app, "--socket", "PATH", options.socket,
           "Socket to listen on: a path, or @NAME for an\n"
           "abstract address (default:\n"
           "$XDG_RUNTIME_DIR/morvaned.sock, for root\n"
           "/run/morvaned.sock)");
  add_text(app, "--group", "NAME", options.group,
           "Also allow members of this group (default: the\n"
           "same user and root only)");
  add_text(app, "--state", "FILE", options.state,
           "Restore the switch from this file at the start,\n"
           "and save it at the end and on SIGUSR1");
  add_number(app, "--max-clients", "N", options.max_clients, 1, remote::kMaxClients,
             "Maximum number of clients; a quarter is reserved\n"
             "for root and the service's user, any other user\n"
             "may hold at most half (default: 256)");
  add_number(app, "--max-record", "BYTES", options.max_record, sizeof(kel_asic_xn_t),
             kMaxRecordLimit, "Maximum length of a record (default: 16777216)");
  app.add_flag("--stop-at-eof", options.stop_at_eof,
               "Stop when standard input ends, as a pipe does\n"
               "when the process at its other end is killed");
  app.add_flag("--verbose", options.verbose, "Log which clients connect and disconnect");
}

// For the completion of a shell: `morvaned words -- WORD...` lists what may come in place of the
// last word, options or the kind of their value.
void print_words(const CLI::App &app, const std::string &before, const std::string &word) {
  const size_t equals = word.find('=');
  const CLI::Option *const option =
      app.get_option_no_throw(equals == std::string::npos ? before : word.substr(0, equals));
  const std::string value = option == nullptr ? "" : option->get_type_name();
  if (value == "PATH" || value == "FILE")
    std::puts("<file>");
  if (value == "NAME")
    std::puts("<group>");
  for (const CLI::Option *offered : app.get_options()) {
    const std::string name = "--" + offered->get_lnames()[0];
    if (value.empty() && name.rfind(word, 0) == 0)
      std::puts(name.c_str());
  }
}

}  // namespace

Options parse_options(int argc, char **argv) {
  Options options;
  options.socket = default_socket();
  CLI::App app("", "morvaned");
  describe(app, options);
  if (argc > 3 && std::string(argv[1]) == "words") {
    print_words(app, argv[argc - 2], argv[argc - 1]);
    std::exit(0);
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success &request) {
    std::exit(app.exit(request));
  } catch (const CLI::ParseError &error) {
    const std::vector<std::string> extra = app.remaining();
    const std::string text = extra.empty() ? error.what() : "unexpected argument: " + extra[0];
    std::fprintf(stderr, "morvaned: %s\nTry 'morvaned --help'.\n", text.c_str());
    std::exit(2);
  }
  return options;
}

}  // namespace morvaned
