// The event loop: one thread serves all clients, one request per turn.
#ifndef MORVANED_SERVER_H
#define MORVANED_SERVER_H

#include <sys/socket.h>
#include <sys/types.h>
#include <unistd.h>

#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "connection.h"
#include "descriptor.h"
#include "log.h"
#include "service.h"

namespace morvaned {

struct Limits {
  uint32_t clients;            // in total; some places are reserved, see has_room_for()
  std::optional<gid_t> group;  // its members may connect too
};

class Server {
 public:
  // Serves the clients of a listening socket. Throws a StartError.
  Server(Service &service, Log &log, int listener, int signals, const Limits &limits, bool verbose);

  // Ends run() at the end of standard input. Throws a StartError.
  void stop_at_eof();

  // Returns after a signal that ends the service. Calls save after each SIGUSR1.
  void run(const std::function<void()> &save);

 private:
  struct Client {
    Client(Service &service, Descriptor socket_of_client, std::list<Peer>::iterator place)
        : socket(std::move(socket_of_client)), peer(place), connection(service, *place) {}

    Descriptor socket;
    std::list<Peer>::iterator peer;
    Connection connection;
    std::list<std::unique_ptr<Client>>::iterator self;
    uint32_t events = 0;     // for which the loop waits
    bool expects_io = true;  // its hello or the rest of a message is missing, or replies are unread
    int ticks = 0;           // since then, or since its last progress
    bool is_held = false;    // its reply waits for its time
  };

  bool wait_for(uint32_t events, int operation, int descriptor, void *what);
  void watch(int descriptor, void *what);
  bool is_at_eof() const;
  bool is_asked_to_save() const;
  void pause_listening();
  void resume_listening();
  void accept_clients();
  void accept_client(Descriptor socket);
  void take_client(Descriptor socket, std::list<Peer>::iterator place);
  int refusal(int socket, const ucred &who, const Peer &peer) const;
  bool has_room_for(const Peer &peer) const;
  void turn(Client &client, uint32_t events);
  static const char *receive(Client &client);
  static const char *send(Client &client);
  void wait_for_more(Client &client);
  void send_notes();
  void hold(Client &client);
  void send_held();
  void set_timer();
  static const char *timeout_reason(const Client &client);
  void reap_idle();
  void end(Client &client, const char *why);
  void log_end(const Client &client, const char *why);

  Service &service_;
  Log &log_;
  int listener_, signals_;
  int input_ = STDIN_FILENO;
  Limits limits_;
  bool verbose_;
  Descriptor epoll_;
  Descriptor timer_;  // expires at the time of the next held reply
  std::list<std::unique_ptr<Client>> clients_;
  std::vector<Client *> monitors_;
  bool listening_ = true;
  std::size_t awaited_ = 0;  // clients that the service expects I/O of
  Clock::time_point next_tick_ = Clock::now();
  bool stopping_ = false;
};

}  // namespace morvaned

#endif
