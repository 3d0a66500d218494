// morvaned: the virtual switch in a process of its own, for any number of clients.
#include <fcntl.h>
#include <grp.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kel_asic_lib_common.h"
#include "listener.h"
#include "server.h"

namespace morvaned {
namespace {

constexpr uint32_t kMegabyte = 1024 * 1024;

struct Options {
  std::string socket;
  std::string group;
  uint32_t max_clients = 256;
  uint32_t max_record = 16 * kMegabyte;
  bool verbose = false;
};

std::string default_socket() {
  if (geteuid() == 0)
    return "/run/morvaned.sock";
  const char *folder = std::getenv("XDG_RUNTIME_DIR");
  return folder == nullptr || *folder == '\0' ? "" : std::string(folder) + "/morvaned.sock";
}

void add_options(CLI::App &app, Options &options) {
  app.description("Serves one virtual switch to many processes over a Unix socket");
  app.footer(
      "Clients reach it with MORVANE_SWITCH=PATH in their environment. It ends at SIGTERM or "
      "SIGINT;\n"
      "what was written into the switch ends with it.");
  app.set_version_flag("--version", std::string("morvaned ") + MORVANED_VERSION);
  app.add_option("--socket", options.socket,
                 "Where to listen: a path, or @name for an abstract address; unless given\n"
                 "$XDG_RUNTIME_DIR/morvaned.sock, for root /run/morvaned.sock")
      ->type_name("PATH");
  app.add_option("--group", options.group,
                 "Let the users of this group connect too; only the same user and root otherwise")
      ->type_name("NAME");
  app.add_option(
         "--max-clients", options.max_clients,
         "The most clients at a time, 256 unless given; half of them may be of one user that is\n"
         "neither root nor the service's own")
      ->check(CLI::Range(1U, remote::kMostClients))
      ->type_name("N");
  app.add_option("--max-record", options.max_record,
                 "The longest record that it takes, 16777216 bytes unless given")
      ->check(CLI::Range(static_cast<uint32_t>(sizeof(kel_asic_xn_t)), 1024 * kMegabyte))
      ->type_name("BYTES");
  app.add_flag("--verbose", options.verbose, "Say who connects and who leaves");
}

std::optional<gid_t> find_group(const std::string &name) {
  if (name.empty())
    return std::nullopt;
  errno = 0;
  const group *const found = getgrnam(name.c_str());
  if (found == nullptr)
    throw StartError("--group: " + (errno == 0 ? "no group '" + name + "'" : std::strerror(errno)));
  return found->gr_gid;
}

// Blocks the signals that end the service, so that they do so in its loop alone; gives what they
// are read from.
Descriptor take_ending_signals() {
  sigset_t ending;
  sigemptyset(&ending);
  sigaddset(&ending, SIGTERM);
  sigaddset(&ending, SIGINT);
  sigprocmask(SIG_BLOCK, &ending, nullptr);
  Descriptor signals(signalfd(-1, &ending, SFD_CLOEXEC | SFD_NONBLOCK));
  if (signals.get() < 0)
    throw StartError(std::string("cannot take signals: ") + std::strerror(errno));
  return signals;
}

// What is closed of the standard streams is opened: no client is to have the number that the log
// goes to.
void open_standard_streams() {
  int opened = 0;
  while (opened >= 0 && opened <= STDERR_FILENO)
    opened = open("/dev/null", O_RDWR | O_CLOEXEC);
  close(opened);
}

void serve(const Options &options) {
  const std::optional<gid_t> group = find_group(options.group);
  Service service(options.max_record);
  const Descriptor signals = take_ending_signals();  // before there is a socket to leave behind
  const Listener listener(options.socket, group);
  Server server(service, listener.get(), signals.get(), {options.max_clients, group},
                options.verbose);
  std::fprintf(stderr, "morvaned: listens at %s\n", listener.address().c_str());
  std::fprintf(stderr, "morvaned: ready\n");
  notify("READY=1\nSTATUS=Serving at " + listener.address());
  server.run();
  notify("STOPPING=1");
}

int run(int argc, char **argv) {
  std::signal(SIGPIPE, SIG_IGN);  // whoever reads the log may go
  open_standard_streams();
  Options options;
  options.socket = default_socket();
  CLI::App app;
  add_options(app, options);
  try {
    app.parse(argc, argv);
    serve(options);
    return EXIT_SUCCESS;
  } catch (const CLI::ParseError &error) {
    return app.exit(error) == 0 ? EXIT_SUCCESS : 2;
  }
}

}  // namespace
}  // namespace morvaned

int main(int argc, char **argv) {
  try {
    return morvaned::run(argc, argv);
  } catch (const std::exception &error) {
    std::fprintf(stderr, "morvaned: %s\n", error.what());
    return EXIT_FAILURE;
  }
}
