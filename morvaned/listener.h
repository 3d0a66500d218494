// The socket that morvaned listens at: its own, or one that was handed over with the start.
#ifndef MORVANED_LISTENER_H
#define MORVANED_LISTENER_H

#include <sys/stat.h>
#include <sys/types.h>

#include <optional>
#include <stdexcept>
#include <string>

#include "descriptor.h"
#include "wire/address.h"

namespace morvaned {

// Why the service cannot start, as a text for the operator.
class StartError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

class Listener {
 public:
  // Listens at a path or @name, or at the socket of LISTEN_FDS where there is one. A socket that
  // nobody serves any more is taken over. Throws a StartError.
  Listener(const std::string &address, std::optional<gid_t> group);
  ~Listener();
  Listener(const Listener &) = delete;
  Listener &operator=(const Listener &) = delete;

  int get() const { return socket_.get(); }
  const std::string &address() const { return address_; }

 private:
  void adopt();
  void listen_at(std::optional<gid_t> group);
  void bind_path(const remote::Address &address, std::optional<gid_t> group);

  std::string address_;
  Descriptor socket_;
  struct stat made_ = {};  // the socket's file, where it is ours to remove
  bool has_file_ = false;
};

// Tells whoever started the service of its state, in the way of NOTIFY_SOCKET.
void notify(const std::string &state);

}  // namespace morvaned

#endif
