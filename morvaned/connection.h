// The service's end of one client's messages, without the socket: bytes arrive in pieces of any
// size, and replies go out. A message is checked completely before any of it is used; the first
// fault ends the connection.
#ifndef MORVANED_CONNECTION_H
#define MORVANED_CONNECTION_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "service.h"

namespace morvaned {

// Received bytes. Unlike a vector it grows without clearing, and a long one without copying.
class ReceiveBuffer {
 public:
  uint8_t *data() const { return bytes_.get(); }
  std::size_t size() const { return size_; }
  // Throws std::bad_alloc if it cannot grow, and then stays as it is.
  void resize(std::size_t size);

 private:
  struct Free {
    void operator()(uint8_t *bytes) const { std::free(bytes); }
  };
  std::unique_ptr<uint8_t, Free> bytes_;
  std::size_t size_ = 0;
};

class Connection {
 public:
  // The service's hello is in the output at once.
  Connection(Service &service, Peer &peer);

  // Where the next bytes go; received() says how many have arrived.
  Part room();
  void received(std::size_t count);

  // Answers the request in progress with ENOMEM and ends the connection.
  void run_out_of_memory();

  // Whether the hello or a request is complete, and the reply before it is sent.
  bool is_ready() const;

  // Serves the complete message.
  void serve_one();

  // What the client is to receive; sent() says how much of it has gone.
  Part output();
  bool has_output() const { return has_reply() || has_notes(); }
  bool has_reply() const { return sent_ < output_size(); }
  void sent(std::size_t count);

  bool is_monitor() const { return peer_.notes != nullptr; }
  bool is_greeted() const { return greeted_; }
  bool is_within_message() const { return have_ != 0; }
  // Why the connection has to end once its output is gone; null as long as it continues.
  const char *fault() const { return fault_; }

 private:
  void serve_hello();
  void serve_request();
  const char *fault_of_request(const remote::Header &request) const;
  void refuse(int error_number, const char *why);
  void reply_in_place(const remote::Header &reply);
  void update_buffered();
  bool has_notes() const { return is_monitor() && !peer_.notes->empty(); }
  std::size_t current_length() const;
  std::size_t output_size() const { return reply_ != 0 ? reply_ : out_.size(); }
  void consume(std::size_t count);

  Service &service_;
  Peer &peer_;
  ReceiveBuffer in_;
  std::size_t have_ = 0;     // bytes of in_ that have arrived
  std::size_t request_ = 0;  // bytes of the request that is answered, at the front of in_
  std::size_t reply_ = 0;    // bytes of its reply in the same place; 0 if the output is out_
  Bytes out_;
  std::size_t sent_ = 0;
  bool greeted_ = false;
  const char *fault_ = nullptr;
};

// The hello of the service; with an errno if it rejects the client.
remote::Hello service_hello(const Service &service, int error_number);

}  // namespace morvaned

#endif
