// What morvaned answers: the one switch, the rights of who asks, and the count of what was asked.
#ifndef MORVANED_SERVICE_H
#define MORVANED_SERVICE_H

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <list>
#include <string>
#include <vector>

#include "model/virtual_switch.h"
#include "wire/messages.h"

namespace morvaned {

using Bytes = std::vector<uint8_t>;
using Clock = std::chrono::steady_clock;

// Who is at the other end of a connection.
struct Peer {
  pid_t process = 0;
  uid_t user = 0;
  bool may_control = false;  // and look into the switch
  std::string program;
  uint64_t calls = 0;
  uint64_t failures = 0;
  uint32_t last_case = 0;
  int32_t last_error = 0;
  Clock::time_point came = Clock::now();
  Clock::time_point last_call = came;
};

class Service {
 public:
  explicit Service(uint32_t max_record) : max_record_(max_record) {}

  uint32_t max_record() const { return max_record_; }

  // Bytes of messages on their way, in and out, of all clients: more or fewer.
  void account_buffered(int64_t bytes) { buffered_bytes_ += bytes; }
  // Whether there is no room for more of a long record.
  bool is_full() const { return buffered_bytes_ > int64_t{kRecordsAtOnce} * max_record_; }

  // Serves a request whose header has passed its check, with its body behind it; a service call is
  // answered in the body. Puts header and body of the answer behind what stands in out.
  void serve(Peer &peer, const remote::Header &request, uint8_t *body, Bytes &out);

  // Peers stay where they are until they leave.
  std::list<Peer>::iterator enter(Peer peer) {
    return peers_.insert(peers_.end(), std::move(peer));
  }
  void leave(std::list<Peer>::iterator peer) { peers_.erase(peer); }
  const std::list<Peer> &peers() const { return peers_; }

 private:
  int control(const remote::Header &request, const uint8_t *body, Bytes &answer);
  Bytes client_list() const;

  static constexpr int kRecordsAtOnce = 8;  // of the longest ones

  VirtualSwitch switch_;
  std::list<Peer> peers_;
  uint32_t max_record_;
  int64_t buffered_bytes_ = 0;
};

// The header of an answer: 0, or the errno of a failure.
remote::Header answer_to(const remote::Header &request, int error_number, std::size_t length);

void append(Bytes &out, const void *bytes, std::size_t count);

}  // namespace morvaned

#endif
