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
#include <utility>

namespace morvaned {
namespace {

constexpr int kBacklog = 128;
constexpr int kLockTries = 100;
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

// Throws if another service listens on the address. Its process is known once its queue has room.
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

// The directory of a path, and the name in it.
std::pair<std::string, std::string> split(const std::string &path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos)
    return {".", path};
  return {path.substr(0, slash + 1), path.substr(slash + 1)};
}

// Other users must not be able to replace the socket before its file is given to the group.
Descriptor open_directory(const std::string &path, bool has_group) {
  Descriptor directory(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  struct stat found = {};
  if (directory.get() < 0 || fstat(directory.get(), &found) != 0)
    fail(path, errno);
  const mode_t writers = has_group ? S_IWGRP | S_IWOTH : S_IWOTH;
  const bool is_foreign = has_group && found.st_uid != 0 && found.st_uid != geteuid();
  if (is_foreign || ((found.st_mode & writers) != 0 && (found.st_mode & S_ISVTX) == 0))
    throw StartError(path + ": other users can replace files in this directory; use a private one");
  return directory;
}

// Two services that start at the same time must not both replace a stale socket. Any user who can
// read the directory can hold this lock, so it is not required.
void lock(const Descriptor &directory, const std::string &path, Log &log) {
  for (int tries = kLockTries; flock(directory.get(), LOCK_EX | LOCK_NB) != 0; --tries) {
    if (errno != EWOULDBLOCK || tries == 0) {
      log.line("%s: locked by another process, continuing without the lock", path.c_str());
      return;
    }
    poll(nullptr, 0, kLockPause);
  }
}

void remove_stale_socket(const remote::Address &address, const std::string &path) {
  struct stat found = {};
  if (lstat(path.c_str(), &found) != 0) {
    if (errno == ENOENT)
      return;
    fail(path, errno);
  }
  if (!S_ISSOCK(found.st_mode))
    throw StartError(path + " exists and is not a socket");
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

// Reads a variable of the environment and removes it, so that no child inherits it.
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
    throw StartError("LISTEN_FDS passes " + count + " sockets; expected 1");
  return true;
}

}  // namespace

Listener::Listener(const std::string &address, std::optional<gid_t> group, Log &log)
    : address_(address) {
  if (was_handed_a_socket())
    adopt();
  else
    listen_at(group, log);
}

// A socket that was passed keeps its owner, its mode and its file.
void Listener::adopt() {
  socket_ = Descriptor(kFirstHandedOver);
  if (integer_option(socket_.get(), SO_DOMAIN) != AF_UNIX ||
      integer_option(socket_.get(), SO_TYPE) != SOCK_STREAM ||
      integer_option(socket_.get(), SO_ACCEPTCONN) != 1) {
    throw StartError("LISTEN_FDS does not pass a listening Unix stream socket");
  }
  sockaddr_un name = {};
  socklen_t length = sizeof name;
  if (getsockname(socket_.get(), reinterpret_cast<sockaddr *>(&name), &length) != 0 ||
      fcntl(socket_.get(), F_SETFD, FD_CLOEXEC) != 0 ||
      fcntl(socket_.get(), F_SETFL, O_NONBLOCK) != 0) {
    fail("the socket of LISTEN_FDS", errno);
  }
  address_ = text_of(name, std::min<socklen_t>(length, sizeof name));
}

void Listener::listen_at(std::optional<gid_t> group, Log &log) {
  if (address_.empty())
    throw StartError("give --socket: XDG_RUNTIME_DIR is not set");
  remote::Address address;
  if (const int error = remote::parse_address(address_.c_str(), &address))
    fail("--socket '" + address_ + "'", error);
  socket_ = stream_socket(SOCK_NONBLOCK);
  if (!address.is_abstract()) {
    bind_path(address, group, log);
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

// The file gets the mode of the socket. No client can connect before listen(), which comes last.
void Listener::bind_path(const remote::Address &address, std::optional<gid_t> group, Log &log) {
  const auto [path, name] = split(address_);
  const Descriptor directory = open_directory(path, group.has_value());
  lock(directory, path, log);
  remove_stale_socket(address, address_);
  if (fchmod(socket_.get(), group ? 0660 : 0600) != 0)
    fail(address_, errno);
  const mode_t mask = umask(0);
  const int bound = bind(socket_.get(), address.get(), address.length);
  const int error = errno;
  umask(mask);
  if (bound != 0)
    fail(address_, error);
  const Descriptor file(openat(directory.get(), name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  has_file_ = fstat(file.get(), &made_) == 0 && S_ISSOCK(made_.st_mode);
  try {
    if (group)
      give_to(*group, file);
    if (listen(socket_.get(), kBacklog) != 0)
      fail(address_, errno);
  } catch (const StartError &) {
    remove_own_file();
    throw;
  }
}

// Changes the group of the file that bind() made, and of no other that has replaced it.
void Listener::give_to(gid_t group, const Descriptor &file) {
  if (!has_file_ || made_.st_uid != geteuid())
    throw StartError(address_ + ": another process has replaced the socket");
  if (fchownat(file.get(), "", static_cast<uid_t>(-1), group, AT_EMPTY_PATH) != 0)
    fail(address_ + ": cannot be given to the group", errno);
}

void Listener::remove_own_file() const {
  struct stat found = {};
  if (has_file_ && lstat(address_.c_str(), &found) == 0 && found.st_dev == made_.st_dev &&
      found.st_ino == made_.st_ino) {
    unlink(address_.c_str());
  }
}

Listener::~Listener() {
  remove_own_file();
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
