#include "switch_client.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

#include "address.h"

namespace remote {
namespace {

constexpr int kDefaultWait = 2000;   // ms
constexpr int kMinHelloWait = 1000;  // ms
constexpr int kRetryPause = 10;      // ms
constexpr int64_t kNever = INT64_MAX;

// What the environment says, and use_switch_at() behind it.
struct Settings {
  bool known;
  bool remote;
  int number_error;  // what is wrong with the environment: each request fails with it
  int address_error;
  int wait;     // ms; for the service to come up, or for room in its queue
  int timeout;  // ms; for an answer; 0 for as long as it takes
  Address address;
};

struct Connection {
  int fd;  // below 0: none
  pid_t process;
  dev_t device;  // device and inode tell our socket from whatever has its number by now
  ino_t inode;
  bool was_open;  // the service has been there, and is not waited for again
  uint32_t sequence;
  uint32_t max_record;
};

// Where bodies of answers are received, so that a record changes only when its answer is whole.
struct Buffer {
  void *bytes;
  uint32_t size;
};

constexpr Connection kNoConnection = {-1, 0, 0, 0, false, 0, 0};

Settings settings;
Connection connection = kNoConnection;
Buffer buffer;

// Milliseconds of a variable of the environment; EINVAL where it is no number.
int milliseconds(const char *name, int when_unset, int *value) {
  const char *text = secure_getenv(name);
  *value = when_unset;
  if (text == nullptr || text[0] == '\0')
    return 0;
  char *end = nullptr;
  errno = 0;
  const long number = strtol(text, &end, 10);
  if (text[0] < '0' || text[0] > '9' || *end != '\0' || errno != 0 || number > INT_MAX)
    return EINVAL;
  *value = static_cast<int>(number);
  return 0;
}

const Settings &known_settings() {
  if (settings.known)
    return settings;
  settings.known = true;
  const char *address = secure_getenv("MORVANE_SWITCH");
  settings.remote = address != nullptr && address[0] != '\0';
  settings.address_error = settings.remote ? parse_address(address, &settings.address) : 0;
  const int wait_error = milliseconds("MORVANE_SWITCH_WAIT", kDefaultWait, &settings.wait);
  const int timeout_error = milliseconds("MORVANE_SWITCH_TIMEOUT", 0, &settings.timeout);
  settings.number_error = wait_error != 0 ? wait_error : timeout_error;
  return settings;
}

int settings_error() {
  const Settings &known = known_settings();
  return known.number_error != 0 ? known.number_error : known.address_error;
}

int64_t now() {
  timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<int64_t>(time.tv_sec) * 1000 + time.tv_nsec / 1000000;
}

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

// Whether that is how a service which has gone away shows; or a socket that is closed behind our
// back.
bool is_gone(int error) {
  return error == EPIPE || error == ECONNRESET || error == ENOTCONN || error == EBADF ||
         error == ENOTSOCK;
}

// Bytes on their way, in two parts.
struct Transfer {
  iovec parts[2];
  size_t done;

  void advance(size_t count) {
    done += count;
    for (iovec &part : parts) {
      const size_t step = count < part.iov_len ? count : part.iov_len;
      part.iov_base = static_cast<char *>(part.iov_base) + step;
      part.iov_len -= step;
      count -= step;
    }
  }
};

using Mover = ssize_t (*)(int fd, msghdr *message, int flags);

ssize_t send_some(int fd, msghdr *message, int flags) {
  return sendmsg(fd, message, flags | MSG_NOSIGNAL);
}

// Moves bytes until at least so many are done; 0 or an errno.
int move(Mover mover, short events, int fd, Transfer &transfer, size_t least, int64_t deadline) {
  while (transfer.done < least) {
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

int send_all(int fd, Transfer &transfer, size_t length, int64_t deadline) {
  return move(send_some, POLLOUT, fd, transfer, length, deadline);
}

int receive(int fd, Transfer &transfer, size_t least, int64_t deadline) {
  return move(recvmsg, POLLIN, fd, transfer, least, deadline);
}

// Whether the connection's number is still our socket's: a process that puts itself into the
// background closes all that it finds open, and its next files take the numbers.
bool owns_descriptor(const Connection &of) {
  struct stat now_open = {};
  return of.fd >= 0 && fstat(of.fd, &now_open) == 0 && now_open.st_dev == of.device &&
         now_open.st_ino == of.inode;
}

void disconnect(Connection &which) {
  if (owns_descriptor(which))
    close(which.fd);
  which.fd = -1;
}

// The hellos cross. That of the service also comes where it does not take ours.
int exchange_hellos(int fd, int64_t deadline, bool *turned_away) {
  Hello mine = {kMagic, kVersion, kFeatures, 0, 0};
  Hello other = {};
  Transfer sent = {{{&mine, sizeof mine}, {}}, 0};
  send_all(fd, sent, sizeof mine, deadline);
  Transfer received = {{{&other, sizeof other}, {}}, 0};
  if (const int error = receive(fd, received, sizeof other, deadline))
    return error;
  *turned_away = true;
  if (other.magic != kMagic)
    return EPROTO;
  if (other.version != kVersion)
    return EPROTONOSUPPORT;
  connection.max_record = other.max_record;
  return other.error_number;
}

// A process that has closed a standard stream goes on using its number.
int make_socket() {
  const int made = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (made < 0 || made > STDERR_FILENO)
    return made;
  const int fd = fcntl(made, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const int error = errno;
  close(made);
  errno = error;
  return fd;
}

// Connects once. Sets again where the service may soon be there, or have room in its queue. An
// initialisation that finds no card is final, and so the first connection waits for a service that
// is being started; later ones do not.
int open_connection(int64_t hello_deadline, bool *again) {
  const int fd = make_socket();
  if (fd < 0)
    return errno;
  int error = 0;
  bool turned_away = false;
  if (connect(fd, settings.address.get(), settings.address.length) != 0) {
    error = errno;
    *again =
        error == EAGAIN || (!connection.was_open && (error == ENOENT || error == ECONNREFUSED));
  } else {
    error = exchange_hellos(fd, hello_deadline, &turned_away);
    *again = error == ECONNRESET && !turned_away && !connection.was_open;
  }
  struct stat opened = {};
  if (error == 0 && (fcntl(fd, F_SETFL, 0) != 0 || fstat(fd, &opened) != 0))
    error = errno;
  if (error != 0) {
    close(fd);
    return error;
  }
  connection.fd = fd;
  connection.process = getpid();
  connection.device = opened.st_dev;
  connection.inode = opened.st_ino;
  connection.was_open = true;
  return 0;
}

int connect_to_service() {
  const int64_t deadline = now() + settings.wait;
  int hello_wait = settings.wait > kMinHelloWait ? settings.wait : kMinHelloWait;
  if (settings.timeout > 0 && settings.timeout < hello_wait)
    hello_wait = settings.timeout;
  for (;;) {
    bool again = false;
    const int error = open_connection(now() + hello_wait, &again);
    if (error == 0 || !again || now() >= deadline)
      return error;
    poll(nullptr, 0, kRetryPause);
  }
}

int connect_to(const char *address) {
  settings.address_error = parse_address(address, &settings.address);
  const int error = settings_error();
  return error != 0 ? error : connect_to_service();
}

// A child of fork() has a connection of its own: its parent's answers are not for it.
int ensure_connection() {
  if (connection.process == getpid() && owns_descriptor(connection))
    return 0;
  disconnect(connection);
  return connect_to_service();
}

bool reserve(uint32_t size) {
  if (size <= buffer.size)
    return true;
  void *bytes = realloc(buffer.bytes, size);
  if (bytes == nullptr)
    return false;
  buffer.bytes = bytes;
  buffer.size = size;
  return true;
}

// Receives the answer, its body into the buffer; 0 or an errno.
int receive_answer(const Header &request, uint32_t expected, Header &answer, int64_t deadline) {
  Transfer transfer = {{{&answer, sizeof answer}, {buffer.bytes, expected}}, 0};
  if (const int error = receive(connection.fd, transfer, sizeof answer, deadline))
    return error;
  if (!is_valid_reply(answer, request))
    return EPROTO;
  if (answer.length > expected) {
    if (!reserve(answer.length))
      return ENOMEM;
    transfer.parts[1] = {buffer.bytes, answer.length};
  }
  return receive(connection.fd, transfer, sizeof answer + answer.length, deadline);
}

// Sends a request and receives its answer, expected to have at most so long a body. 0 or an errno;
// the connection is closed with each failure, so that a late answer finds nobody.
int exchange(Header &request, const void *body, uint32_t expected, Header &answer) {
  const int64_t deadline = settings.timeout > 0 ? now() + settings.timeout : kNever;
  Transfer sent = {{{&request, sizeof request}, {const_cast<void *>(body), request.length}}, 0};
  const int cut = send_all(connection.fd, sent, sizeof request + request.length, deadline);
  int error = cut;
  if (cut != 0 && sent.done == 0)
    error = is_gone(cut) ? ENOTCONN : cut;
  else if (cut == 0 || is_gone(cut))  // who refuses a record before all of it has come says so
    error = receive_answer(request, expected, answer, deadline);
  if (cut != 0 || error != 0)
    disconnect(connection);
  return error;
}

// The same with what comes before: a connection, which is made anew where the request did not
// leave.
int deliver(Header request, const void *body, uint32_t expected, Header &answer) {
  if (const int error = settings_error())
    return error;
  int error = ENOTCONN;
  for (int attempt = 0; error == ENOTCONN && attempt < 2; ++attempt) {
    if (const int failure = ensure_connection())
      return failure;
    if (request.length > connection.max_record)
      return EMSGSIZE;
    if (!reserve(expected))
      return ENOMEM;
    request.sequence = ++connection.sequence;
    error = exchange(request, body, expected, answer);
  }
  return error == ENOTCONN ? ECONNRESET : error;
}

}  // namespace

bool is_remote() {
  return known_settings().remote;
}

int use_switch_at(const char *address) {
  const Settings settings_before = known_settings();
  Connection connection_before = connection;
  settings.remote = address != nullptr;
  connection = kNoConnection;
  if (const int error = address != nullptr ? connect_to(address) : 0) {
    settings = settings_before;
    connection = connection_before;
    return error;
  }
  disconnect(connection_before);
  return 0;
}

Outcome call(uint32_t case_code, uint32_t driver_id, void *record, uint32_t length) {
  Header answer = {};
  if (const int error =
          deliver({0, kCall, case_code, driver_id, 0, 0, length}, record, length, answer)) {
    return {-1, error};
  }
  if (answer.length != 0)
    memcpy(record, buffer.bytes, length);
  return {answer.result, answer.error_number};
}

int control_request(Kind kind, const void *request, uint32_t length, void *answer,
                    uint32_t answer_length) {
  Header header = {};
  if (const int error = deliver({0, kind, 0, 0, 0, 0, length}, request, answer_length, header))
    return error;
  if (header.length != 0)
    memcpy(answer, buffer.bytes, header.length);
  return header.error_number;
}

int list_clients(const vp_client **clients, uint32_t *count) {
  Header header = {};
  if (const int error = deliver({0, kListClients, 0, 0, 0, 0, 0}, nullptr, 0, header))
    return error;
  *clients = static_cast<const vp_client *>(buffer.bytes);
  *count = header.length / sizeof(vp_client);
  return header.error_number;
}

}  // namespace remote
