#include "server.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <new>

#include "listener.h"

namespace morvaned {
namespace {

constexpr int kMaxEvents = 64;             // per epoll_wait()
constexpr int kMaxAcceptsPerTurn = 16;     // so that connected clients have their turn
constexpr std::size_t kMaxSend = 1 << 18;  // bytes per turn, for the same reason
constexpr rlim_t kOtherFiles = 32;         // descriptors that are not a client's
constexpr auto kTick = std::chrono::seconds(1);
// Not seconds: a client does not time out while this process does not run.
constexpr int kTimeoutTicks = 5;

// As the kernel knows it. A program chooses its name, so control characters are replaced.
std::string program_name(pid_t process) {
  std::string name;
  std::getline(std::ifstream("/proc/" + std::to_string(process) + "/comm"), name);
  std::replace_if(
      name.begin(), name.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
  return name.empty() ? "-" : name;
}

bool is_in_group(int socket, const ucred &who, gid_t group) {
  if (who.gid == group)
    return true;
  socklen_t length = 0;
  getsockopt(socket, SOL_SOCKET, SO_PEERGROUPS, nullptr, &length);
  std::vector<gid_t> groups(length / sizeof(gid_t));
  return !groups.empty() &&
         getsockopt(socket, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &length) == 0 &&
         std::find(groups.begin(), groups.end(), group) != groups.end();
}

// The signal that killed a process, or 0. Known only of a process that this one may inspect, until
// its parent waits for it: its exit code is the last field.
int signal_that_killed(pid_t process) {
  std::array<char, 1024> text = {};
  std::snprintf(text.data(), text.size(), "/proc/%d/stat", static_cast<int>(process));
  const Descriptor file(open(text.data(), O_RDONLY | O_CLOEXEC));
  text = {};
  const ssize_t length = read(file.get(), text.data(), text.size() - 1);
  const char *const field = length > 0 ? std::strrchr(text.data(), ' ') : nullptr;
  return field == nullptr ? 0 : static_cast<int>(std::strtol(field, nullptr, 10)) & 0x7F;
}

// Raises the limit of open files to what that number of clients needs.
void raise_file_limit(rlim_t clients) {
  rlimit limit = {};
  const rlim_t needed = clients + kOtherFiles;
  getrlimit(RLIMIT_NOFILE, &limit);
  if (limit.rlim_cur >= needed)
    return;
  limit.rlim_cur = needed;
  if (limit.rlim_max < needed || setrlimit(RLIMIT_NOFILE, &limit) != 0)
    throw StartError("--max-clients: more open files than a process may have here");
}

}  // namespace

Server::Server(Service &service, Log &log, int listener, int signals, const Limits &limits,
               bool verbose)
    : service_(service),
      log_(log),
      listener_(listener),
      signals_(signals),
      limits_(limits),
      verbose_(verbose),
      epoll_(epoll_create1(EPOLL_CLOEXEC)),
      timer_(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
  raise_file_limit(limits.clients);
  if (epoll_.get() < 0 || timer_.get() < 0)
    throw StartError(std::string("cannot make the event loop: ") + std::strerror(errno));
  watch(signals_, &signals_);
  watch(listener_, &listener_);
  watch(timer_.get(), &timer_);
}

bool Server::wait_for(uint32_t events, int operation, int descriptor, void *what) {
  epoll_event event = {};
  event.events = events;
  event.data.ptr = what;
  return epoll_ctl(epoll_.get(), operation, descriptor, &event) == 0;
}

void Server::watch(int descriptor, void *what) {
  if (!wait_for(EPOLLIN, EPOLL_CTL_ADD, descriptor, what))
    throw StartError(std::string("cannot watch a descriptor: ") + std::strerror(errno));
}

void Server::stop_at_eof() {
  if (!wait_for(EPOLLIN, EPOLL_CTL_ADD, input_, &input_))
    throw StartError("--stop-at-eof: standard input is not a pipe, a socket or a terminal");
}

bool Server::is_at_eof() const {
  std::array<char, 64> ignored = {};
  const ssize_t length = read(input_, ignored.data(), ignored.size());
  return length == 0 || (length < 0 && errno != EINTR && errno != EAGAIN);
}

bool Server::is_asked_to_save() const {
  signalfd_siginfo signal = {};
  return read(signals_, &signal, sizeof signal) == sizeof signal && signal.ssi_signo == SIGUSR1;
}

void Server::run(const std::function<void()> &save) {
  epoll_event events[kMaxEvents];
  while (!stopping_) {
    const bool needs_tick = awaited_ != 0 || !listening_ || log_.has_suppressed();
    const int count = epoll_wait(epoll_.get(), events, kMaxEvents,
                                 needs_tick ? int{std::chrono::milliseconds(kTick).count()} : -1);
    bool has_due_replies = false;
    for (int i = 0; i < count; ++i) {
      void *const what = events[i].data.ptr;
      if (what == &signals_) {
        if (is_asked_to_save())
          save();
        else
          stopping_ = true;
      } else if (what == &input_)
        stopping_ = stopping_ || is_at_eof();
      else if (what == &listener_)
        accept_clients();
      else if (what == &timer_)
        has_due_replies = true;
      else
        turn(*static_cast<Client *>(what), events[i].events);
    }
    // These end other clients, of which an event may be among those above.
    if (has_due_replies)
      send_held();
    send_notes();
    if (needs_tick && Clock::now() >= next_tick_)
      reap_idle();
  }
}

// While the system has no descriptor or memory for another client, only the others are served.
void Server::pause_listening() {
  log_.client_line("cannot accept a client: %s", std::strerror(errno));
  epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, listener_, nullptr);
  listening_ = false;
}

void Server::resume_listening() {
  listening_ = wait_for(EPOLLIN, EPOLL_CTL_ADD, listener_, &listener_);
}

void Server::accept_clients() {
  for (int i = 0; i < kMaxAcceptsPerTurn; ++i) {
    Descriptor socket(accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (socket.get() >= 0) {
      try {
        accept_client(std::move(socket));
      } catch (const std::exception &error) {
        log_.client_line("cannot accept a client: %s", error.what());
      }
    } else if (errno != EINTR && errno != ECONNABORTED) {
      if (errno != EAGAIN)
        pause_listening();
      return;
    }
  }
}

void Server::accept_client(Descriptor socket) {
  ucred who = {};
  socklen_t length = sizeof who;
  if (getsockopt(socket.get(), SOL_SOCKET, SO_PEERCRED, &who, &length) != 0)
    return;
  Peer peer;
  peer.process = who.pid;
  peer.user = who.uid;
  peer.may_control = who.uid == 0 || who.uid == geteuid();
  peer.program = program_name(who.pid);
  if (const int error = refusal(socket.get(), who, peer)) {
    log_.client_line("client %d (%s, uid %u) rejected: %s", static_cast<int>(peer.process),
                     peer.program.c_str(), peer.user,
                     error == EACCES ? "permission denied" : "client limit reached");
    const remote::Hello hello = service_hello(service_, error);
    ::send(socket.get(), &hello, sizeof hello, MSG_NOSIGNAL);
    return;
  }
  const auto place = service_.enter(std::move(peer));
  try {
    take_client(std::move(socket), place);
  } catch (const std::exception &) {
    service_.leave(place);
    throw;
  }
  if (verbose_)
    log_.line("client %d (%s, uid %u) connected", static_cast<int>(place->process),
              place->program.c_str(), place->user);
  turn(*clients_.back(), 0);
}

void Server::take_client(Descriptor socket, std::list<Peer>::iterator place) {
  auto client = std::make_unique<Client>(service_, std::move(socket), place);
  watch(client->socket.get(), client.get());
  client->events = EPOLLIN;
  clients_.push_back(std::move(client));
  clients_.back()->self = std::prev(clients_.end());
  ++awaited_;
}

// 0, or the errno in the hello that rejects a client.
int Server::refusal(int socket, const ucred &who, const Peer &peer) const {
  if (!peer.may_control && !(limits_.group && is_in_group(socket, who, *limits_.group)))
    return EACCES;
  return has_room_for(peer) ? 0 : EAGAIN;
}

// A quarter of the places, and at least one, is reserved for root and the service's user. One user
// of the group may hold half of all places.
bool Server::has_room_for(const Peer &peer) const {
  if (clients_.size() >= limits_.clients)
    return false;
  if (peer.may_control)
    return true;
  std::size_t members = 0, same_user = 0;
  for (const Peer &other : service_.peers()) {
    members += other.may_control ? 0 : 1;
    same_user += other.user == peer.user ? 1 : 0;
  }
  const uint32_t reserved = std::max(limits_.clients / 4, 1U);
  return members < limits_.clients - reserved && same_user < (limits_.clients + 1) / 2;
}

// Receives what has arrived, serves one request, and sends the reply.
void Server::turn(Client &client, uint32_t events) {
  const char *why = nullptr;
  if (client.is_held && (events & (EPOLLHUP | EPOLLERR)) != 0)
    return end(client, "disconnected before reading its reply");
  try {
    if ((events & EPOLLIN) != 0)
      why = receive(client);
    if (why == nullptr)
      why = send(client);
    if (why == nullptr && client.connection.is_ready()) {
      const bool was_monitor = client.connection.is_monitor();
      client.connection.serve_one();
      if (client.connection.is_monitor() && !was_monitor)
        monitors_.push_back(&client);
      if (client.peer->reply_time > Clock::now())
        return hold(client);
      why = send(client);
    }
  } catch (const std::bad_alloc &) {
    client.connection.run_out_of_memory();
    why = send(client);
  }
  if (why == nullptr && !client.connection.has_output())
    why = client.connection.fault();
  if (why != nullptr)
    end(client, why);
  else
    wait_for_more(client);
}

const char *Server::receive(Client &client) {
  const Part room = client.connection.room();
  const ssize_t count = recv(client.socket.get(), room.bytes, room.count, 0);
  if (count > 0)
    client.connection.received(static_cast<std::size_t>(count));
  else if (count == 0 || (errno != EAGAIN && errno != EINTR))
    return client.connection.is_within_message() ? "disconnected mid-message" : "";
  return nullptr;
}

const char *Server::send(Client &client) {
  if (!client.connection.has_output())
    return nullptr;
  const Part part = client.connection.output();
  const ssize_t count =
      ::send(client.socket.get(), part.bytes, std::min(part.count, kMaxSend), MSG_NOSIGNAL);
  if (count < 0 && (errno == EAGAIN || errno == EINTR))
    return nullptr;
  if (count < 0)
    return client.connection.is_greeted() && client.connection.has_reply()
               ? "disconnected before reading its reply"
               : "";
  client.connection.sent(static_cast<std::size_t>(count));
  if (!client.connection.has_output())
    client.ticks = 0;
  return nullptr;
}

// The next request of a client may be here already: it is served in the next turn in which the
// socket can be written. It cannot be written while too many replies are unread. Notes may wait for
// any time.
void Server::wait_for_more(Client &client) {
  const Connection &connection = client.connection;
  const bool has_work = connection.has_reply() || connection.is_ready();
  const uint32_t events = has_work || connection.has_output() ? EPOLLOUT : EPOLLIN;
  const bool expects_io = has_work || !connection.is_greeted() || connection.is_within_message();
  if (expects_io && !client.expects_io) {
    ++awaited_;
    client.ticks = 0;
  }
  if (!expects_io && client.expects_io)
    --awaited_;
  client.expects_io = expects_io;
  if (events == client.events)
    return;
  client.events = events;
  wait_for(events, EPOLL_CTL_MOD, client.socket.get(), &client);
}

// Sends the notes of the monitors that do not yet wait for their socket to be writable.
void Server::send_notes() {
  for (std::size_t i = monitors_.size(); i > 0; --i) {
    Client &monitor = *monitors_[i - 1];
    if (monitor.connection.has_output() && (monitor.events & EPOLLOUT) == 0)
      turn(monitor, 0);
  }
}

// Keeps the reply of a client until its time, while others are served.
void Server::hold(Client &client) {
  client.is_held = true;
  if (client.expects_io)
    --awaited_;
  client.expects_io = false;
  client.events = 0;
  wait_for(0, EPOLL_CTL_MOD, client.socket.get(), &client);
  set_timer();
}

void Server::send_held() {
  const Clock::time_point now = Clock::now();
  for (auto next = clients_.begin(); next != clients_.end();) {
    Client &client = **next++;
    if (!client.is_held || client.peer->reply_time > now)
      continue;
    client.is_held = false;
    turn(client, 0);
  }
  set_timer();
}

// For the first of the replies that are held.
void Server::set_timer() {
  Clock::time_point first = Clock::time_point::max();
  for (const auto &client : clients_) {
    if (client->is_held)
      first = std::min(first, client->peer->reply_time);
  }
  itimerspec setting = {};  // no timer
  if (first != Clock::time_point::max()) {
    const auto time = first.time_since_epoch();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    setting.it_value = {static_cast<time_t>(seconds.count()),
                        static_cast<long>((time - seconds) / std::chrono::nanoseconds(1))};
  }
  timerfd_settime(timer_.get(), TFD_TIMER_ABSTIME, &setting, nullptr);
}

const char *Server::timeout_reason(const Client &client) {
  if ((client.events & EPOLLOUT) != 0)
    return "not reading replies, disconnected";
  return client.connection.is_greeted() ? "incomplete request timed out" : "handshake timed out";
}

// Ends clients without progress, and listens again after a pause.
void Server::reap_idle() {
  next_tick_ = Clock::now() + kTick;
  log_.report_suppressed();
  if (!listening_)
    resume_listening();
  for (auto next = clients_.begin(); next != clients_.end();) {
    Client &client = **next++;
    if (client.expects_io && ++client.ticks > kTimeoutTicks)
      end(client, timeout_reason(client));
  }
}

void Server::end(Client &client, const char *why) {
  if (*why != '\0' || verbose_)
    log_end(client, why);
  if (client.expects_io)
    --awaited_;
  monitors_.erase(std::remove(monitors_.begin(), monitors_.end(), &client), monitors_.end());
  service_.leave(client.peer);
  clients_.erase(client.self);
}

void Server::log_end(const Client &client, const char *why) {
  const Peer &peer = *client.peer;
  const auto process = static_cast<int>(peer.process);
  std::array<char, 32> killed = {};
  if (const int signal = signal_that_killed(peer.process))
    std::snprintf(killed.data(), killed.size(), " (killed by signal %d)", signal);
  if (*why == '\0')
    log_.line("client %d (%s, uid %u) disconnected%s", process, peer.program.c_str(), peer.user,
              killed.data());
  else
    log_.client_line("client %d (%s, uid %u) %s%s%s", process, peer.program.c_str(), peer.user,
                     why == client.connection.fault() ? "disconnected: " : "", why, killed.data());
}

}  // namespace morvaned
