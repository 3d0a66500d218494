// The socket that morvaned listens on: its own, or one passed by the process that started it.
#ifndef MORVANED_LISTENER_H
#define MORVANED_LISTENER_H

#include <sys/stat.h>
#include <sys/types.h>

#include <optional>
#include <stdexcept>
#include <string>

#include "descriptor.h"
#include "log.h"
#include "wire/address.h"

namespace morvaned {

// Why the service cannot start, as a text for the operator.
class StartError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

class Listener {
 public:
  // Listens on a path or @name, or on the socket of LISTEN_FDS if there is one. A stale socket is
  // replaced, a socket in use is not. Throws a StartError.
  Listener(const std::string &address, std::optional<gid_t> group, Log &log);
  ~Listener();
  Listener(const Listener &) = delete;
  Listener &operator=(const Listener &) = delete;

  int get() const { return socket_.get(); }
  const std::string &address() const { return address_; }

 private:
  void adopt();
  void listen_at(std::optional<gid_t> group, Log &log);
  void bind_path(const remote::Address &address, std::optional<gid_t> group, Log &log);
  void give_to(gid_t group, const Descriptor &file);
  void remove_own_file() const;

  std::string address_;
  Descriptor socket_;
  struct stat made_ = {};  // the socket's file, if it is ours to remove
  bool has_file_ = false;
};

// Reports the state of the service to NOTIFY_SOCKET.
void notify(const std::string &state);

}  // namespace morvaned

#endif
