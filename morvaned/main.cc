// morvaned: one virtual switch in its own process, for any number of clients.
#include <fcntl.h>
#include <grp.h>
#include <malloc.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>
#include <string>

#include "listener.h"
#include "log.h"
#include "options.h"
#include "server.h"
#include "state_file.h"

namespace morvaned {
namespace {

constexpr int kMappedBlocks = 128 * 1024;  // bytes, and larger

std::optional<gid_t> find_group(const std::string &name) {
  if (name.empty())
    return std::nullopt;
  errno = 0;
  const group *const found = getgrnam(name.c_str());
  if (found == nullptr)
    throw StartError("--group: " + (errno == 0 ? "no group '" + name + "'" : std::strerror(errno)));
  return found->gr_gid;
}

// Blocks the signals that end the service, so that they end it only in its loop. Returns
// the descriptor to read them from. A service that is started with nohup continues at SIGHUP.
Descriptor block_signals() {
  sigset_t handled;
  sigemptyset(&handled);
  for (const int signal : {SIGTERM, SIGINT, SIGQUIT, SIGUSR1})
    sigaddset(&handled, signal);
  struct sigaction hangup = {};
  sigaction(SIGHUP, nullptr, &hangup);
  if (hangup.sa_handler != SIG_IGN)
    sigaddset(&handled, SIGHUP);
  sigprocmask(SIG_BLOCK, &handled, nullptr);
  Descriptor signals(signalfd(-1, &handled, SFD_CLOEXEC | SFD_NONBLOCK));
  if (signals.get() < 0)
    throw StartError(std::string("cannot read signals: ") + std::strerror(errno));
  return signals;
}

// Opens closed standard streams, so that no client gets the descriptor of the log.
void open_standard_streams() {
  int opened = 0;
  while (opened >= 0 && opened <= STDERR_FILENO)
    opened = open("/dev/null", O_RDWR | O_CLOEXEC);
  close(opened);
}

// False if the state could not be saved at the end.
bool serve(const Options &options) {
  const std::optional<gid_t> group = find_group(options.group);
  Service service(options.max_record);
  const Descriptor signals = block_signals();  // before there is a socket to remove
  Log log;
  StateFile state(options.state, service.switch_state(), log);
  const Listener listener(options.socket, group, log);
  Server server(service, log, listener.get(), signals.get(), {options.max_clients, group},
                options.verbose);
  if (options.stop_at_eof)
    server.stop_at_eof();
  log.line("listening on %s", listener.address().c_str());
  log.line("ready");
  notify("READY=1\nSTATUS=Serving at " + listener.address());
  server.run([&state] { state.save(); });
  notify("STOPPING=1");
  return state.save();
}

}  // namespace
}  // namespace morvaned

int main(int argc, char **argv) {
  std::signal(SIGPIPE, SIG_IGN);  // the reader of the log may end
  // Long records have their own mappings, which grow without copying and are given back at once.
  mallopt(M_MMAP_THRESHOLD, morvaned::kMappedBlocks);
  morvaned::open_standard_streams();
  try {
    return morvaned::serve(morvaned::parse_options(argc, argv)) ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const std::exception &error) {
    std::fprintf(stderr, "morvaned: %s\n", error.what());
    return EXIT_FAILURE;
  }
}
