#include "socket_io.h"

#include <errno.h>
#include <poll.h>
#include <sys/socket.h>
#include <time.h>

namespace remote {
namespace {

// Waits until the socket can be read or written; 0 or an errno.
int wait_for(int fd, short events, int64_t deadline) {
  for (;;) {
    const int64_t left = deadline - now();
    pollfd polled = {fd, events, 0};
    const int ready = poll(&polled, 1, left > 0 ? static_cast<int>(left) : 0);
    if (ready > 0)
      return 0;
    if (ready == 0)
      return ETIMEDOUT;
    if (errno != EINTR)
      return errno;
  }
}

using Mover = ssize_t (*)(int fd, msghdr *message, int flags);

ssize_t send_some(int fd, msghdr *message, int flags) {
  return sendmsg(fd, message, flags | MSG_NOSIGNAL);
}

// Sends or receives until at least min bytes are done; 0 or an errno.
int move(Mover mover, short events, int fd, Transfer &transfer, size_t min, int64_t deadline) {
  while (transfer.done < min) {
    msghdr message = {};
    message.msg_iov = transfer.parts;
    message.msg_iovlen = 2;
    const ssize_t count = mover(fd, &message, deadline == kNever ? 0 : MSG_DONTWAIT);
    if (count > 0) {
      transfer.advance(static_cast<size_t>(count));
    } else if (count == 0) {
      return ECONNRESET;
    } else if (errno == EAGAIN && deadline != kNever) {
      if (const int error = wait_for(fd, events, deadline))
        return error;
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

}  // namespace

int64_t now() {
  timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<int64_t>(time.tv_sec) * 1000 + time.tv_nsec / 1000000;
}

void Transfer::advance(size_t count) {
  done += count;
  for (iovec &part : parts) {
    const size_t step = count < part.iov_len ? count : part.iov_len;
    part.iov_base = static_cast<char *>(part.iov_base) + step;
    part.iov_len -= step;
    count -= step;
  }
}

int send_all(int fd, Transfer &transfer, size_t length, int64_t deadline) {
  return move(send_some, POLLOUT, fd, transfer, length, deadline);
}

int receive(int fd, Transfer &transfer, size_t min, int64_t deadline) {
  return move(recvmsg, POLLIN, fd, transfer, min, deadline);
}

}  // namespace remote
