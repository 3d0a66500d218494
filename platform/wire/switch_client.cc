#include "switch_client.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <pwd.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "address.h"
#include "socket_io.h"

namespace remote {
namespace {

constexpr int kDefaultWait = 2000;   // ms
constexpr int kMinHelloWait = 1000;  // ms
constexpr int kRetryPause = 10;      // ms
constexpr uid_t kNoUser = UINT32_MAX;

// Read from the environment; use_switch_at() changes the address.
struct Settings {
  bool known;
  bool remote;
  int environment_error;  // of a variable other than the address: each request fails with it
  int address_error;
  int wait;     // ms; for the service to come up, or for room in its queue
  int timeout;  // ms; for an answer; 0: no limit
  uid_t user;   // whose service is accepted too, next to root's and the own user's
  Address address;
};

struct Connection {
  int fd;        // below 0: none
  dev_t device;  // device and inode show whether the descriptor is still our socket
  ino_t inode;
  bool was_open;  // the service was there once, and is not waited for again
  uint32_t sequence;
  uint32_t features;
  uint32_t max_record;
};

// The kernel zeroes this page in a forked process, so that parent and child never share a
// connection: in a new process namespace both can have the same number.
struct alignas(4096) PerProcess {
  pid_t connected;  // the process that made the connection
};

// Where bodies of answers are received, so that a record changes only when its answer is complete.
struct Buffer {
  void *bytes;
  size_t size;
};

constexpr Connection kNoConnection = {-1, 0, 0, false, 0, 0, 0};

Settings settings;
Connection connection = kNoConnection;
PerProcess per_process;
Buffer buffer;

// Null if the variable is unset or empty.
const char *environment(const char *name) {
  const char *text = secure_getenv(name);
  return text != nullptr && text[0] != '\0' ? text : nullptr;
}

// 0, or EINVAL if the text is not a number of 0 to max.
int parse_number(const char *text, long long max, long long *number) {
  char *end = nullptr;
  errno = 0;
  *number = strtoll(text, &end, 10);
  const bool valid =
      text[0] >= '0' && text[0] <= '9' && *end == '\0' && errno == 0 && *number <= max;
  return valid ? 0 : EINVAL;
}

// 0 or an errno: EINVAL if there is no such user.
int find_user(const char *name, uid_t *user) {
  char strings[4096];
  passwd entry;
  passwd *found = nullptr;
  const int error = getpwnam_r(name, &entry, strings, sizeof strings, &found);
  if (found == nullptr)
    return error != 0 ? error : EINVAL;
  *user = entry.pw_uid;
  return 0;
}

int read_milliseconds(const char *name, int when_unset, int *value) {
  const char *text = environment(name);
  long long number = when_unset;
  const int error = text == nullptr ? 0 : parse_number(text, INT_MAX, &number);
  *value = static_cast<int>(number);
  return error;
}

// The user that a variable gives by number or name; kNoUser if the variable is unset.
int read_user(const char *name, uid_t *user) {
  const char *text = environment(name);
  long long number = kNoUser;
  const int error = text == nullptr ? 0 : parse_number(text, kNoUser - 1, &number);
  *user = static_cast<uid_t>(number);
  return error == 0 ? 0 : find_user(text, user);
}

int read_environment(Settings &read) {
  const int errors[] = {
      read_milliseconds("MORVANE_SWITCH_WAIT", kDefaultWait, &read.wait),
      read_milliseconds("MORVANE_SWITCH_TIMEOUT", 0, &read.timeout),
      read_user("MORVANE_SWITCH_USER", &read.user),
  };
  for (const int error : errors) {
    if (error != 0)
      return error;
  }
  return 0;
}

const Settings &known_settings();

int settings_error() {
  const Settings &known = known_settings();
  return known.environment_error != 0 ? known.environment_error : known.address_error;
}

// Whether the service has ended, or the program has closed our socket.
bool is_gone(int error) {
  return error == EPIPE || error == ECONNRESET || error == ENOTCONN || error == EBADF ||
         error == ENOTSOCK;
}

// Whether the descriptor is still our socket: a process that puts itself into the background closes
// all its descriptors, and its next files get the same numbers.
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

// Whether the process that listens may serve this one: an outsider could have taken the address
// first, to receive the writes and to forge the reads.
bool is_trusted(int fd) {
  ucred service = {};
  socklen_t length = sizeof service;
  if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &service, &length) != 0)
    return false;
  return service.uid == 0 || service.uid == geteuid() || service.uid == settings.user;
}

// Each side sends its hello without waiting for the other's. The service's hello can be received
// even if ours cannot be sent.
int exchange_hellos(int fd, int64_t deadline, bool *received_hello) {
  Hello mine = {kMagic, kVersion, kFeatures, 0, 0};
  Hello other = {};
  Transfer sent = {{{&mine, sizeof mine}, {}}, 0};
  send_all(fd, sent, sizeof mine, deadline);
  Transfer received = {{{&other, sizeof other}, {}}, 0};
  if (const int error = receive(fd, received, sizeof other, deadline))
    return error;
  *received_hello = true;
  if (other.magic != kMagic)
    return EPROTO;
  if (other.version != kVersion)
    return EPROTONOSUPPORT;
  if (!is_errno_or_zero(other.error_number))
    return EPROTO;
  connection.features = other.features;
  connection.max_record = other.max_record;
  return other.error_number;
}

// The number is above those of the standard streams: a process that has closed one may still write
// to its number.
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

// Whether a service that may serve this process listens at the default address.
bool is_served_by_default() {
  if (default_address(&settings.address) != 0)
    return false;
  const int fd = make_socket();
  const bool served = fd >= 0 &&
                      connect(fd, settings.address.get(), settings.address.length) == 0 &&
                      is_trusted(fd);
  if (fd >= 0)
    close(fd);
  return served;
}

const Settings &known_settings() {
  if (settings.known)
    return settings;
  settings.known = true;
  settings.environment_error = read_environment(settings);
  const char *address = environment("MORVANE_SWITCH");
  if (address == nullptr) {
    settings.remote = is_served_by_default();
  } else if (strcmp(address, "none") != 0) {
    settings.remote = true;
    settings.address_error = parse_address(address, &settings.address);
  }
  return settings;
}

// Connects once. Sets again if the service may soon be there, or have room in its queue. The first
// connection waits for a service that is being started, because a library that finds no card does
// not look again; later connections do not wait.
int open_connection(int64_t hello_deadline, bool *again) {
  const int fd = make_socket();
  if (fd < 0)
    return errno;
  int error = 0;
  bool received_hello = false;
  if (connect(fd, settings.address.get(), settings.address.length) != 0) {
    error = errno;
    *again =
        error == EAGAIN || (!connection.was_open && (error == ENOENT || error == ECONNREFUSED));
  } else if (!is_trusted(fd)) {
    error = EACCES;
  } else {
    error = exchange_hellos(fd, hello_deadline, &received_hello);
    *again = error == ECONNRESET && !received_hello && !connection.was_open;
  }
  struct stat opened = {};
  if (error == 0 && (fcntl(fd, F_SETFL, 0) != 0 || fstat(fd, &opened) != 0))
    error = errno;
  if (error != 0) {
    close(fd);
    return error;
  }
  madvise(&per_process, sizeof per_process, MADV_WIPEONFORK);
  per_process.connected = getpid();
  connection.fd = fd;
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

// A forked process makes its own connection: the answers on its parent's are not for it.
int ensure_connection() {
  if (per_process.connected == getpid() && owns_descriptor(connection))
    return 0;
  disconnect(connection);
  return connect_to_service();
}

// Makes room in the buffer for a body and one byte after it.
bool reserve(uint32_t body_length) {
  if (body_length < buffer.size)
    return true;
  if (body_length > INT_MAX)
    return false;
  void *bytes = realloc(buffer.bytes, body_length + size_t{1});
  if (bytes == nullptr)
    return false;
  buffer.bytes = bytes;
  buffer.size = body_length + size_t{1};
  return true;
}

// Receives the answer, its body into the buffer; 0 or an errno. Asks for one byte more than the
// answer has, so that surplus bytes fail this request and not the next one.
int receive_answer(const Header &request, uint32_t expected, Header &answer, int64_t deadline) {
  Transfer transfer = {{{&answer, sizeof answer}, {buffer.bytes, expected + size_t{1}}}, 0};
  if (const int error = receive(connection.fd, transfer, sizeof answer, deadline))
    return error;
  if (!is_valid_reply(answer, request))
    return EPROTO;
  if (answer.length > expected) {
    if (!reserve(answer.length))
      return ENOMEM;
    const size_t received = transfer.done - sizeof answer;
    transfer.parts[1] = {static_cast<char *>(buffer.bytes) + received,
                         answer.length + size_t{1} - received};
  }
  const size_t length = sizeof answer + answer.length;
  if (const int error = receive(connection.fd, transfer, length, deadline))
    return error;
  return transfer.done == length && is_valid_body(answer, buffer.bytes) ? 0 : EPROTO;
}

// Sends a request and receives its answer, whose body is expected to have at most so many bytes. 0
// or an errno; a failure closes the connection, so that a late answer is never received.
int exchange(Header &request, const void *body, uint32_t expected, Header &answer) {
  const int64_t deadline = settings.timeout > 0 ? now() + settings.timeout : kNever;
  Transfer sent = {{{&request, sizeof request}, {const_cast<void *>(body), request.length}}, 0};
  const int cut = send_all(connection.fd, sent, sizeof request + request.length, deadline);
  int error = cut;
  if (cut != 0 && sent.done == 0)
    error = is_gone(cut) ? ENOTCONN : cut;
  else if (cut == 0 || is_gone(cut))  // a service that refuses a long record answers before its end
    error = receive_answer(request, expected, answer, deadline);
  if (cut != 0 || error != 0)
    disconnect(connection);
  return error;
}

// Whether the service does not know the kind of request.
bool lacks_feature(uint32_t kind) {
  return kind >= kShowSwitch && (connection.features & kTestBench) == 0;
}

// The same on a connection, which is made again if nothing of the request was sent.
int deliver(Header request, const void *body, uint32_t expected, Header &answer) {
  if (const int error = settings_error())
    return error;
  int error = ENOTCONN;
  for (int attempt = 0; error == ENOTCONN && attempt < 2; ++attempt) {
    if (const int failure = ensure_connection())
      return failure;
    if (lacks_feature(request.kind))
      return EPROTONOSUPPORT;
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

int list_request(Kind kind, const void **entries, uint32_t *length) {
  Header header = {};
  if (const int error = deliver({0, kind, 0, 0, 0, 0, 0}, nullptr, 0, header))
    return error;
  *entries = buffer.bytes;
  *length = header.length;
  return header.error_number;
}

int open_stream(const Header &request, int *fd, int64_t *deadline) {
  if (!is_remote())
    return ENOTCONN;
  if (const int error = settings_error())
    return error;
  if (per_process.connected != getpid())  // the parent's, which would pass for ours
    disconnect(connection);
  const Connection connection_before = connection;
  connection = kNoConnection;
  int error = connect_to_service();
  *deadline = settings.timeout > 0 ? now() + settings.timeout : kNever;
  Transfer sent = {{{const_cast<Header *>(&request), sizeof request}, {}}, 0};
  if (error == 0)
    error = lacks_feature(request.kind) ? EPROTONOSUPPORT
                                        : send_all(connection.fd, sent, sizeof request, *deadline);
  *fd = connection.fd;
  if (error != 0)
    disconnect(connection);
  connection = connection_before;
  return error;
}

const char *switch_address() {
  return known_settings().remote ? settings.address.text : nullptr;
}

}  // namespace remote
