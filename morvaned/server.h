// The event loop: one thread, and of each client one request in its turn.
#ifndef MORVANED_SERVER_H
#define MORVANED_SERVER_H

#include <sys/socket.h>
#include <sys/types.h>

#include <list>
#include <memory>
#include <optional>
#include <string>

#include "connection.h"
#include "descriptor.h"
#include "service.h"

namespace morvaned {

struct Limits {
  uint32_t clients;  // in all; of one user that is neither root nor the owner, half of them
  std::optional<gid_t> group;  // may connect too
};

class Server {
 public:
  // Serves what connects to a socket that listens. Throws a StartError.
  Server(Service &service, int listener, int signals, const Limits &limits, bool verbose);

  // Returns when there is a signal to read.
  void run();

 private:
  struct Client {
    Client(Service &service, Descriptor socket_of_client, std::list<Peer>::iterator place)
        : socket(std::move(socket_of_client)), peer(place), connection(service, *place) {}

    Descriptor socket;
    std::list<Peer>::iterator peer;
    Connection connection;
    std::list<std::unique_ptr<Client>>::iterator self;
    uint32_t events = 0;     // for which the loop waits
    bool expects_io = true;  // it owes its hello or the rest of a message, or has answers to take
    int ticks = 0;           // that have found it owing the same
  };

  bool wait_for(uint32_t events, int operation, int descriptor, void *what);
  void watch(int descriptor, void *what);
  void pause_listening();
  void resume_listening();
  void accept_clients();
  void accept_client(Descriptor socket);
  void take_client(Descriptor socket, std::list<Peer>::iterator place);
  int refusal(int socket, const ucred &who, const Peer &peer) const;
  bool has_room_for(uid_t user) const;
  void turn(Client &client, uint32_t events);
  static const char *receive(Client &client);
  static const char *send(Client &client);
  void wait_for_more(Client &client);
  static const char *timeout_reason(const Connection &connection);
  void reap_idle();
  void end(Client &client, const char *why);
  static void log(const Peer &peer, const char *what);

  Service &service_;
  int listener_, signals_;
  Limits limits_;
  bool verbose_;
  Descriptor epoll_;
  std::list<std::unique_ptr<Client>> clients_;
  bool listening_ = true;
  std::size_t awaited_ = 0;  // clients that are
  Clock::time_point next_look_ = Clock::now();
  bool stopping_ = false;
};

}  // namespace morvaned

#endif
