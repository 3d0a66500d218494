#include "monitor_client.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "messages.h"
#include "socket_io.h"
#include "switch_client.h"

struct vp_monitor {
  int fd;
  int error;  // why the connection has ended; 0 as long as it has not
  remote::Header request;
  size_t begin, end;  // of the bytes in `received` that are not yet used
  // The note that the caller has. Aligned, which the notes in the stream are not.
  alignas(8) unsigned char note[sizeof(vp_note) + remote::kMaxCallNote];
  unsigned char received[65536];
};

static_assert(sizeof(vp_monitor::received) > sizeof(remote::Header) + sizeof(vp_monitor::note),
              "the longest message has room");

namespace remote {
namespace {

// Receives until the header and the body of a message are there; 0 or an errno.
int receive_bytes(vp_monitor &monitor, size_t count, int64_t deadline) {
  if (monitor.end - monitor.begin >= count)
    return 0;
  memmove(monitor.received, monitor.received + monitor.begin, monitor.end - monitor.begin);
  monitor.end -= monitor.begin;
  monitor.begin = 0;
  Transfer transfer = {
      {{monitor.received + monitor.end, sizeof monitor.received - monitor.end}, {}}, 0};
  const int error = receive(monitor.fd, transfer, count - monitor.end, deadline);
  monitor.end += transfer.done;
  return error;
}

Header front_header(const vp_monitor &monitor) {
  Header header;
  memcpy(&header, monitor.received + monitor.begin, sizeof header);
  return header;
}

int receive_answer(vp_monitor &monitor, int64_t deadline) {
  if (const int error = receive_bytes(monitor, sizeof(Header), deadline))
    return error;
  const Header answer = front_header(monitor);
  monitor.begin += sizeof answer;
  return is_valid_reply(answer, monitor.request) ? answer.error_number : EPROTO;
}

// Leaves the message in place until it is complete.
int receive_note(vp_monitor &monitor, int64_t deadline) {
  if (const int error = receive_bytes(monitor, sizeof(Header), deadline))
    return error;
  const Header header = front_header(monitor);
  if (!is_valid_note(header, monitor.request))
    return EPROTO;
  if (const int error = receive_bytes(monitor, sizeof header + header.length, deadline))
    return error;
  memcpy(monitor.note, monitor.received + monitor.begin + sizeof header, header.length);
  monitor.begin += sizeof header + header.length;
  vp_note note;
  memcpy(&note, monitor.note, sizeof note);
  return is_valid_note_body(header, note) ? 0 : EPROTO;
}

}  // namespace

int open_monitor(vp_monitor **opened) {
  auto *const monitor = static_cast<vp_monitor *>(malloc(sizeof(vp_monitor)));
  if (monitor == nullptr)
    return ENOMEM;
  monitor->error = 0;
  monitor->begin = monitor->end = 0;
  monitor->request = {0, kMonitor, 0, 0, 0, 0, 0};
  int64_t deadline = kNever;
  int error = open_stream(monitor->request, &monitor->fd, &deadline);
  if (error == 0 && (error = receive_answer(*monitor, deadline)) != 0)
    close(monitor->fd);
  if (error != 0) {
    free(monitor);
    return error;
  }
  *opened = monitor;
  return 0;
}

int next_note(vp_monitor &monitor, int timeout, const vp_note **note) {
  if (monitor.error != 0)
    return monitor.error;
  const int error = receive_note(monitor, timeout < 0 ? kNever : now() + timeout);
  if (error != 0 && error != ETIMEDOUT)
    monitor.error = error;
  *note = reinterpret_cast<const vp_note *>(monitor.note);
  return error;
}

void close_monitor(vp_monitor *monitor) {
  if (monitor == nullptr)
    return;
  close(monitor->fd);
  free(monitor);
}

}  // namespace remote
