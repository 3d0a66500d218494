// Where a service listens: the path of a socket, or @name for an abstract address.
#ifndef REMOTE_ADDRESS_H
#define REMOTE_ADDRESS_H

#include <sys/socket.h>
#include <sys/un.h>

namespace remote {

struct Address {
  sockaddr_un name;
  socklen_t length;
  char text[sizeof(sockaddr_un::sun_path) + 1];  // as it was written

  const sockaddr *get() const { return reinterpret_cast<const sockaddr *>(&name); }
  bool is_abstract() const { return name.sun_path[0] == '\0'; }
};

// 0, or the errno of what is wrong with the text: EINVAL for an empty one, ENAMETOOLONG.
int parse_address(const char *text, Address *address);

// The address at which morvaned listens by default: $XDG_RUNTIME_DIR/morvaned.sock, for root
// /run/morvaned.sock. Fails as parse_address() does.
int default_address(Address *address);

}  // namespace remote

#endif
