#include "listener.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace morvaned {
namespace {

constexpr int kBacklog = 128;
constexpr int kLockTries = 300;
constexpr int kLockPause = 10;  // ms
constexpr timeval kProbeWait = {1, 0};
constexpr int kFirstHandedOver = 3;  // descriptor of the first socket of LISTEN_FDS

[[noreturn]] void fail(const std::string &what, int error) {
  throw StartError(what + ": " + std::strerror(error));
}

Descriptor stream_socket(int flags) {
  Descriptor made(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
  if (made.get() < 0)
    fail("cannot make a socket", errno);
  return made;
}

int integer_option(int socket, int option) {
  int value = 0;
  socklen_t length = sizeof value;
  return getsockopt(socket, SOL_SOCKET, option, &value, &length) == 0 ? value : -1;
}

// Stops where somebody serves the address. Who that is shows once there is room in its queue.
void expect_unserved(const remote::Address &address, const std::string &text) {
  const Descriptor probe = stream_socket(0);
  setsockopt(probe.get(), SOL_SOCKET, SO_SNDTIMEO, &kProbeWait, sizeof kProbeWait);
  const int error = connect(probe.get(), address.get(), address.length) == 0 ? 0 : errno;
  if (error == ECONNREFUSED || error == ENOENT)
    return;
  if (error != 0 && error != EAGAIN)  // EAGAIN: its queue stays full
    fail(text, error);
  ucred peer = {};
  socklen_t length = sizeof peer;
  getsockopt(probe.get(), SOL_SOCKET, SO_PEERCRED, &peer, &length);
  throw StartError(text + " is already served" +
                   (peer.pid > 0 ? " by process " + std::to_string(peer.pid) : ""));
}

// Only one service at a time looks for what is left in a folder and makes its own there. Others may
// lock the folder too, and are not waited for without end.
Descriptor lock_folder(const std::string &path) {
  const std::size_t slash = path.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  Descriptor lock(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (lock.get() < 0)
    fail(folder, errno);
  for (int tries = kLockTries; flock(lock.get(), LOCK_EX | LOCK_NB) != 0; --tries) {
    if (errno != EWOULDBLOCK || tries == 0)
      fail(folder + ": cannot be locked", errno);
    poll(nullptr, 0, kLockPause);
  }
  return lock;
}

void remove_left_socket(const remote::Address &address, const std::string &path) {
  struct stat found = {};
  if (lstat(path.c_str(), &found) != 0) {
    if (errno == ENOENT)
      return;
    fail(path, errno);
  }
  if (!S_ISSOCK(found.st_mode))
    throw StartError(path + " is there already, and no socket");
  expect_unserved(address, path);
  if (unlink(path.c_str()) != 0)
    fail(path, errno);
}

std::string text_of(const sockaddr_un &name, socklen_t length) {
  const std::size_t head = offsetof(sockaddr_un, sun_path);
  std::string text(name.sun_path, length > head ? length - head : 0);
  if (!text.empty() && text[0] == '\0')
    return "@" + text.substr(1);
  return text.substr(0, text.find('\0'));
}

// A variable of the environment, which a child of ours is not to have.
std::string take_variable(const char *name) {
  const char *value = std::getenv(name);
  std::string text = value == nullptr ? "" : value;
  unsetenv(name);
  return text;
}

bool was_handed_a_socket() {
  const std::string process = take_variable("LISTEN_PID"), count = take_variable("LISTEN_FDS");
  take_variable("LISTEN_FDNAMES");
  if (count.empty() || process != std::to_string(getpid()))
    return false;
  if (count != "1")
    throw StartError("one socket is expected, and " + count + " were handed over");
  return true;
}

}  // namespace

Listener::Listener(const std::string &address, std::optional<gid_t> group) : address_(address) {
  if (was_handed_a_socket())
    adopt();
  else
    listen_at(group);
}

// What is handed over keeps its owner, its mode and its file.
void Listener::adopt() {
  socket_ = Descriptor(kFirstHandedOver);
  if (integer_option(socket_.get(), SO_DOMAIN) != AF_UNIX ||
      integer_option(socket_.get(), SO_TYPE) != SOCK_STREAM ||
      integer_option(socket_.get(), SO_ACCEPTCONN) != 1) {
    throw StartError("what was handed over is no Unix stream socket that listens");
  }
  sockaddr_un name = {};
  socklen_t length = sizeof name;
  if (getsockname(socket_.get(), reinterpret_cast<sockaddr *>(&name), &length) != 0 ||
      fcntl(socket_.get(), F_SETFD, FD_CLOEXEC) != 0 ||
      fcntl(socket_.get(), F_SETFL, O_NONBLOCK) != 0) {
    fail("the socket that was handed over", errno);
  }
  address_ = text_of(name, std::min<socklen_t>(length, sizeof name));
}

void Listener::listen_at(std::optional<gid_t> group) {
  if (address_.empty())
    throw StartError("give --socket: XDG_RUNTIME_DIR is not set");
  remote::Address address;
  if (const int error = remote::parse_address(address_.c_str(), &address))
    fail("--socket '" + address_ + "'", error);
  socket_ = stream_socket(SOCK_NONBLOCK);
  if (!address.is_abstract()) {
    bind_path(address, group);
    return;
  }
  if (bind(socket_.get(), address.get(), address.length) != 0) {
    const int error = errno;
    if (error == EADDRINUSE)
      expect_unserved(address, address_);
    fail(address_, error);
  }
  if (listen(socket_.get(), kBacklog) != 0)
    fail(address_, errno);
}

// Nobody can connect before the mode is what it has to be: that needs listen(), which comes last.
void Listener::bind_path(const remote::Address &address, std::optional<gid_t> group) {
  const Descriptor lock = lock_folder(address_);
  remove_left_socket(address, address_);
  const mode_t mask = umask(0177);
  const int bound = bind(socket_.get(), address.get(), address.length);
  const int error = errno;
  umask(mask);
  if (bound != 0)
    fail(address_, error);
  has_file_ = lstat(address_.c_str(), &made_) == 0;
  const char *const path = address_.c_str();
  const bool has_mode =
      !group || (chown(path, static_cast<uid_t>(-1), *group) == 0 && chmod(path, 0660) == 0);
  if (has_mode && listen(socket_.get(), kBacklog) == 0)
    return;
  const int refused = errno;
  unlink(path);
  fail(address_ + (has_mode ? "" : ": cannot be given to the group"), refused);
}

Listener::~Listener() {
  struct stat found = {};
  if (has_file_ && lstat(address_.c_str(), &found) == 0 && found.st_dev == made_.st_dev &&
      found.st_ino == made_.st_ino) {
    unlink(address_.c_str());
  }
}

void notify(const std::string &state) {
  static const std::string where = take_variable("NOTIFY_SOCKET");
  remote::Address address;
  if (where.empty() || remote::parse_address(where.c_str(), &address) != 0)
    return;
  const Descriptor sender(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  sendto(sender.get(), state.data(), state.size(), MSG_NOSIGNAL, address.get(), address.length);
}

}  // namespace morvaned
