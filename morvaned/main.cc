// morvaned: the virtual switch in a process of its own, for any number of clients.
#include <fcntl.h>
#include <grp.h>
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
#include "options.h"
#include "server.h"

namespace morvaned {
namespace {

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

}  // namespace
}  // namespace morvaned

int main(int argc, char **argv) {
  std::signal(SIGPIPE, SIG_IGN);  // whoever reads the log may go
  morvaned::open_standard_streams();
  try {
    morvaned::serve(morvaned::parse_options(argc, argv));
    return EXIT_SUCCESS;
  } catch (const std::exception &error) {
    std::fprintf(stderr, "morvaned: %s\n", error.what());
    return EXIT_FAILURE;
  }
}
