#include "address.h"

#include <errno.h>
#include <stddef.h>
#include <string.h>

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
  if (is_abstract)
    address->name.sun_path[0] = '\0';
  // A path is closed by its NUL; an abstract name is as long as it is.
  address->length =
      static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length + (is_abstract ? 0 : 1));
  return 0;
}

}  // namespace remote
