/* The messages between the example platform and its service, over a Unix stream socket. Both
   directions send a header and then the record; one request is answered before the next one is
   sent. */
#ifndef EXAMPLE_MESSAGE_H
#define EXAMPLE_MESSAGE_H

#include <errno.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

/* A request. Its record follows. */
struct request {
  uint32_t case_code;
  uint32_t driver_id;
  uint32_t length; /* of the record, in bytes */
};

/* A reply. The record follows, with the length of the request. */
struct reply {
  int32_t error; /* errno of the refusal, or 0 */
  uint32_t length;
};

/* Sends all bytes. A signal does not interrupt it: a stream socket may accept fewer bytes at once,
   and the other side must not see half a message. False if the connection is gone. */
static inline bool send_all(int socket, const void *data, size_t length) {
  const char *position = data;
  while (length > 0) {
    const ssize_t sent = send(socket, position, length, MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR)
      continue;
    if (sent < 0)
      return false;
    position += sent;
    length -= (size_t)sent;
  }
  return true;
}

/* Receives all bytes, also if they arrive in parts. False if the connection ends before. */
static inline bool receive_all(int socket, void *data, size_t length) {
  char *position = data;
  while (length > 0) {
    const ssize_t received = recv(socket, position, length, 0);
    if (received < 0 && errno == EINTR)
      continue;
    if (received == 0)
      errno = ECONNRESET;
    if (received <= 0)
      return false;
    position += received;
    length -= (size_t)received;
  }
  return true;
}

/* Fills in the address of a socket. False with ENAMETOOLONG if the path does not fit. */
static inline bool set_address(struct sockaddr_un *address, const char *path) {
  const struct sockaddr_un empty = {.sun_family = AF_UNIX};
  size_t length = 0;
  *address = empty;
  while (length < sizeof address->sun_path - 1 && path[length] != 0) {
    address->sun_path[length] = path[length];
    ++length;
  }
  errno = ENAMETOOLONG;
  return path[length] == 0;
}

#endif
