// The service of morvaned: the switch, the rights of each client, and the counts of its calls.
#ifndef MORVANED_SERVICE_H
#define MORVANED_SERVICE_H

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "call_notes.h"
#include "model/virtual_switch.h"
#include "wire/messages.h"

namespace morvaned {

using Bytes = std::vector<uint8_t>;
using Clock = std::chrono::steady_clock;

// The client at the other end of a connection.
struct Peer {
  uint64_t serial = 0;  // from 1; no two clients have the same
  pid_t process = 0;
  uid_t user = 0;
  bool may_control = false;  // root or the service's user; else a member of the group
  std::string program;
  uint64_t calls = 0;
  uint64_t failures = 0;
  uint32_t last_case = 0;
  int32_t last_error = 0;
  uint64_t buffered = 0;  // bytes of its messages, received and to be sent
  Clock::time_point came = Clock::now();
  Clock::time_point last_call = came;
  Clock::time_point reply_time = came;  // a fault delays the reply until then
  std::unique_ptr<NoteQueue> notes;     // null unless it monitors the switch
};

class Service {
 public:
  explicit Service(uint32_t max_record) : max_record_(max_record) {}

  uint32_t max_record() const { return max_record_; }

  // Whether a client may not send more of a long record now. Members of the group have a pool of
  // buffers and each of their users a share of it; root and the service's user have another pool.
  bool is_full(const Peer &peer) const;

  // Serves a request whose header has passed its check. Returns the header of the reply. The body
  // of the reply replaces that of the request; a longer one is appended to out, with the header
  // before it. Allocates nothing after the request has changed the switch.
  remote::Header serve(Peer &peer, const remote::Header &request, uint8_t *body, Bytes &out);

  VirtualSwitch &switch_state() { return switch_; }

  // Peers stay where they are until they leave.
  std::list<Peer>::iterator enter(Peer peer) {
    peer.serial = ++last_serial_;
    return peers_.insert(peers_.end(), std::move(peer));
  }
  void leave(std::list<Peer>::iterator peer);
  const std::list<Peer> &peers() const { return peers_; }

 private:
  remote::Header serve_call(Peer &peer, const remote::Header &request, uint8_t *body);
  VirtualSwitch::Outcome call_monitored(const Peer &peer, const ServiceCall &call);
  void monitor(Peer &peer, uint32_t sequence);
  int control(Peer &peer, const remote::Header &request, const uint8_t *body, Bytes &answer);
  Bytes client_list() const;

  VirtualSwitch switch_;
  std::list<Peer> peers_;
  std::vector<NoteQueue *> monitors_;
  CallNote note_;
  uint64_t last_serial_ = 0;
  uint32_t max_record_;
};

// The header of a reply; its error number is 0 or the errno of a failure.
remote::Header answer_to(const remote::Header &request, int error_number, std::size_t length);

void append(Bytes &out, const void *bytes, std::size_t count);

}  // namespace morvaned

#endif
