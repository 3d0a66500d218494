// One client's end of the messages, without the socket: bytes come in as they arrive, in pieces of
// any size, and answers go out. What comes in is checked whole before any of it is used; the first
// fault ends the connection.
#ifndef MORVANED_CONNECTION_H
#define MORVANED_CONNECTION_H

#include <cstddef>
#include <cstdint>

#include "service.h"

namespace morvaned {

// Some bytes of a buffer.
struct Part {
  uint8_t *bytes;
  std::size_t count;
};

class Connection {
 public:
  // The service's hello stands in the output at once.
  Connection(Service &service, Peer &peer);
  ~Connection();
  Connection(const Connection &) = delete;
  Connection &operator=(const Connection &) = delete;

  // Where the next bytes go, and, with received(), how many have come.
  Part room();
  void received(std::size_t count);

  // Whether the hello or a request is there whole, and the answer before it is taken.
  bool is_ready() const;

  // Serves what is ready.
  void serve_one();

  // What the client is to receive, and, with sent(), how much of it has gone.
  Part output() { return {out_.data() + sent_, out_.size() - sent_}; }
  bool has_output() const { return sent_ < out_.size(); }
  void sent(std::size_t count);

  bool is_greeted() const { return greeted_; }
  bool is_within_message() const { return have_ != 0; }
  // Why the connection has to end once its output is gone; null as long as it goes on.
  const char *fault() const { return fault_; }

 private:
  void serve_hello();
  void serve_request();
  const char *fault_of_request(const remote::Header &request) const;
  void refuse(const remote::Header &request, int error_number, const char *why);
  void update_buffered();
  std::size_t current_length() const;
  void consume(std::size_t count);

  Service &service_;
  Peer &peer_;
  Bytes in_;  // the first have_ bytes have come
  std::size_t have_ = 0;
  Bytes out_;
  std::size_t sent_ = 0;
  std::size_t buffered_ = 0;  // as the service knows it
  bool greeted_ = false;
  const char *fault_ = nullptr;
};

// The hello of the service; with the errno where it turns a client away.
remote::Hello service_hello(const Service &service, int error_number);

}  // namespace morvaned

#endif
