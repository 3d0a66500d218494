#include "server.h"

#include <sys/epoll.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <new>

#include "listener.h"

namespace morvaned {
namespace {

constexpr int kEvents = 64;         // taken from the kernel at once
constexpr int kAcceptsATurn = 16;   // so that those who are here have their turn
constexpr rlim_t kOtherFiles = 32;  // descriptors that are no client's
constexpr auto kLook = std::chrono::seconds(1);
constexpr int kTimeoutTicks =
    5;  // not seconds: time in which this process does not run is nobody's fault

// As the kernel knows it. A program chooses its name: nothing of it reaches a terminal unchecked.
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

// Room for the descriptors of so many clients.
void raise_file_limit(rlim_t clients) {
  rlimit limit = {};
  const rlim_t needed = clients + kOtherFiles;
  getrlimit(RLIMIT_NOFILE, &limit);
  if (limit.rlim_cur >= needed)
    return;
  limit.rlim_cur = needed;
  if (limit.rlim_max < needed || setrlimit(RLIMIT_NOFILE, &limit) != 0)
    throw StartError("--max-clients: a process may not have so many open files here");
}

}  // namespace

Server::Server(Service &service, int listener, int signals, const Limits &limits, bool verbose)
    : service_(service),
      listener_(listener),
      signals_(signals),
      limits_(limits),
      verbose_(verbose),
      epoll_(epoll_create1(EPOLL_CLOEXEC)) {
  raise_file_limit(limits.clients);
  if (epoll_.get() < 0)
    throw StartError(std::string("cannot make the event loop: ") + std::strerror(errno));
  watch(signals_, &signals_);
  watch(listener_, &listener_);
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

void Server::run() {
  epoll_event events[kEvents];
  while (!stopping_) {
    const bool has_to_look = awaited_ != 0 || !listening_;
    const int count = epoll_wait(epoll_.get(), events, kEvents,
                                 has_to_look ? int{std::chrono::milliseconds(kLook).count()} : -1);
    for (int i = 0; i < count; ++i) {
      void *const what = events[i].data.ptr;
      if (what == &signals_)
        stopping_ = true;
      else if (what == &listener_)
        accept_clients();
      else
        turn(*static_cast<Client *>(what), events[i].events);
    }
    if (has_to_look && Clock::now() >= next_look_)
      reap_idle();
  }
}

// While the system has no descriptor or memory for another client, those who are here are served.
void Server::pause_listening() {
  std::fprintf(stderr, "morvaned: cannot take a client: %s\n", std::strerror(errno));
  epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, listener_, nullptr);
  listening_ = false;
}

void Server::resume_listening() {
  listening_ = wait_for(EPOLLIN, EPOLL_CTL_ADD, listener_, &listener_);
}

void Server::accept_clients() {
  for (int i = 0; i < kAcceptsATurn; ++i) {
    Descriptor socket(accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (socket.get() >= 0) {
      try {
        accept_client(std::move(socket));
      } catch (const std::exception &error) {
        std::fprintf(stderr, "morvaned: cannot take a client: %s\n", error.what());
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
    log(peer, error == EACCES ? "may not connect" : "is one client too many");
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
    log(*place, "connects");
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

// 0, or what the service's hello says to a client that it does not take.
int Server::refusal(int socket, const ucred &who, const Peer &peer) const {
  if (!peer.may_control && !(limits_.group && is_in_group(socket, who, *limits_.group)))
    return EACCES;
  return has_room_for(who.uid) ? 0 : EAGAIN;
}

// A user of the group leaves half of the room to others.
bool Server::has_room_for(uid_t user) const {
  if (clients_.size() >= limits_.clients)
    return false;
  if (user == 0 || user == geteuid())
    return true;
  const auto same = std::count_if(service_.peers().begin(), service_.peers().end(),
                                  [user](const Peer &peer) { return peer.user == user; });
  return static_cast<std::size_t>(same) < (limits_.clients + 1) / 2;
}

// Takes what has come, serves one request, and sends what is to be sent.
void Server::turn(Client &client, uint32_t events) {
  const char *why = nullptr;
  try {
    if ((events & EPOLLIN) != 0)
      why = receive(client);
    if (why == nullptr)
      why = send(client);
    if (why == nullptr && client.connection.is_ready()) {
      client.connection.serve_one();
      why = send(client);
    }
  } catch (const std::bad_alloc &) {
    why = "no memory for its message";
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
    return client.connection.is_within_message() ? "ended within a message" : "";
  return nullptr;
}

const char *Server::send(Client &client) {
  while (client.connection.has_output()) {
    const Part part = client.connection.output();
    const ssize_t count = ::send(client.socket.get(), part.bytes, part.count, MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR)
      continue;
    if (count < 0 && errno == EAGAIN)
      return nullptr;
    if (count < 0)
      return client.connection.is_greeted() ? "ended before it took its answer" : "";
    client.connection.sent(static_cast<std::size_t>(count));
    if (!client.connection.has_output())
      client.ticks = 0;
  }
  return nullptr;
}

// A socket that can be written is a turn of its own for a client whose next request is here
// already. It cannot where too many answers wait to be taken.
void Server::wait_for_more(Client &client) {
  const Connection &connection = client.connection;
  const uint32_t events = connection.has_output() || connection.is_ready() ? EPOLLOUT : EPOLLIN;
  const bool expects_io =
      events == EPOLLOUT || !connection.is_greeted() || connection.is_within_message();
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

// What a client owes that is let go.
const char *Server::timeout_reason(const Connection &connection) {
  return !connection.is_greeted()  ? "does not greet"
         : connection.has_output() ? "does not take its answers"
                                   : "does not end its message";
}

// Lets go who owes the same for too long, and listens again after a pause.
void Server::reap_idle() {
  next_look_ = Clock::now() + kLook;
  if (!listening_)
    resume_listening();
  for (auto next = clients_.begin(); next != clients_.end();) {
    Client &client = **next++;
    if (client.expects_io && ++client.ticks > kTimeoutTicks)
      end(client, timeout_reason(client.connection));
  }
}

void Server::end(Client &client, const char *why) {
  if (*why != '\0' || verbose_)
    log(*client.peer, *why != '\0' ? why : "leaves");
  if (client.expects_io)
    --awaited_;
  service_.leave(client.peer);
  clients_.erase(client.self);
}

void Server::log(const Peer &peer, const char *what) {
  std::fprintf(stderr, "morvaned: process %d (%s, user %u): %s\n", static_cast<int>(peer.process),
               peer.program.c_str(), peer.user, what);
}

}  // namespace morvaned
