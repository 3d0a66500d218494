#include "address.h"

#include <errno.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

namespace remote {

int parse_address(const char *text, Address *address) {
  const bool is_abstract = text[0] == '@';
  const size_t length = strlen(text);
  if (length == 0 || (is_abstract && length == 1))
    return EINVAL;
  if (length >= sizeof address->name.sun_path)
    return ENAMETOOLONG;
  memset(address, 0, sizeof *address);
  address->name.sun_family = AF_UNIX;
  memcpy(address->name.sun_path, text, length);
  memcpy(address->text, text, length);
  if (is_abstract)
    address->name.sun_path[0] = '\0';
  // A path is closed by its NUL; an abstract name is as long as it is.
  address->length =
      static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length + (is_abstract ? 0 : 1));
  return 0;
}

int default_address(Address *address) {
  if (geteuid() == 0)
    return parse_address("/run/morvaned.sock", address);
  const char *folder = secure_getenv("XDG_RUNTIME_DIR");
  if (folder == nullptr || folder[0] == '\0')
    return EINVAL;
  char path[sizeof address->text];
  const int length = snprintf(path, sizeof path, "%s/morvaned.sock", folder);
  return static_cast<size_t>(length) < sizeof path ? parse_address(path, address) : ENAMETOOLONG;
}

}  // namespace remote
