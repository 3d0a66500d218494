// Sends and receives messages on a stream socket until a deadline. Needs only the C library.
#ifndef REMOTE_SOCKET_IO_H
#define REMOTE_SOCKET_IO_H

#include <stddef.h>
#include <stdint.h>
#include <sys/uio.h>

namespace remote {

// A deadline that never comes.
constexpr int64_t kNever = INT64_MAX;

// The time for deadlines, in milliseconds.
int64_t now();

// A header and a body that are sent or received in as many steps as it takes.
struct Transfer {
  iovec parts[2];
  size_t done;

  void advance(size_t count);
};

// Sends all bytes; 0 or an errno.
int send_all(int fd, Transfer &transfer, size_t length, int64_t deadline);

// Receives at least min bytes; 0 or an errno: ETIMEDOUT, ECONNRESET if the other side has closed.
int receive(int fd, Transfer &transfer, size_t min, int64_t deadline);

}  // namespace remote

#endif
