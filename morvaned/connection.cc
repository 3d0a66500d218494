#include "connection.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

namespace morvaned {
namespace {

using remote::Header;
using remote::Hello;

// A transaction fits into the smallest receive. The largest one bounds the turn of a client that
// sends a long record.
constexpr std::size_t kMinReceive = 16384;
constexpr std::size_t kMaxReceive = 65536;

// A larger buffer is released after its message. A record that fits is never refused because
// buffers are full.
constexpr std::size_t kKeptCapacity = 65536;

constexpr const char *kTooLong = "record too long";

template <typename Message>
Message front(const ReceiveBuffer &buffer) {
  Message message;
  std::memcpy(&message, buffer.data(), sizeof message);
  return message;
}

}  // namespace

void ReceiveBuffer::resize(std::size_t size) {
  void *const moved = std::realloc(bytes_.get(), std::max<std::size_t>(size, 1));
  if (moved == nullptr) {
    if (size <= size_)
      return;
    throw std::bad_alloc();
  }
  static_cast<void>(bytes_.release());
  bytes_.reset(static_cast<uint8_t *>(moved));
  size_ = size;
}

Hello service_hello(const Service &service, int error_number) {
  return {remote::kMagic, remote::kVersion, remote::kFeatures, service.max_record(), error_number};
}

Connection::Connection(Service &service, Peer &peer) : service_(service), peer_(peer) {
  const Hello hello = service_hello(service, 0);
  append(out_, &hello, sizeof hello);
  update_buffered();
}

void Connection::update_buffered() {
  peer_.buffered = have_ + out_.size();
}

// Why a request is refused; null if it is accepted.
const char *Connection::fault_of_request(const Header &request) const {
  const char *const fault = is_monitor() ? "request from a monitor" : remote::validate(request);
  return fault == nullptr && request.length > service_.max_record() ? kTooLong : fault;
}

// Bytes of the current message, as far as they are known.
std::size_t Connection::current_length() const {
  if (!greeted_)
    return sizeof(Hello);
  if (have_ < sizeof(Header))
    return sizeof(Header);
  const auto header = front<Header>(in_);
  return sizeof header + (fault_of_request(header) == nullptr ? header.length : 0);
}

bool Connection::is_ready() const {
  return fault_ == nullptr && !has_output() && have_ >= current_length();
}

Part Connection::room() {
  const std::size_t length = current_length(), missing = length > have_ ? length - have_ : 0;
  const std::size_t count = std::clamp(missing, kMinReceive, kMaxReceive);
  if (in_.size() < have_ + count)
    in_.resize(std::max(have_ + count, std::min(in_.size() * 2, length)));
  return {in_.data() + have_, count};
}

void Connection::received(std::size_t count) {
  have_ += count;
  update_buffered();
  if (greeted_ && have_ > kKeptCapacity && !is_ready() && service_.is_full(peer_))
    refuse(ENOBUFS, "receive buffers exhausted");
}

void Connection::run_out_of_memory() {
  fault_ = "out of memory";
  if (greeted_ && !has_output() && have_ >= sizeof(Header))
    refuse(ENOMEM, fault_);
}

// The reply to the current request, and the end of the connection after it.
void Connection::refuse(int error_number, const char *why) {
  reply_in_place(answer_to(front<Header>(in_), error_number, 0));
  fault_ = why;
}

// The body of the reply is already in the place of the request's.
void Connection::reply_in_place(const Header &reply) {
  std::memcpy(in_.data(), &reply, sizeof reply);
  reply_ = sizeof reply + reply.length;
}

Part Connection::output() {
  if (!has_reply())
    return peer_.notes->front();
  return {(reply_ != 0 ? in_.data() : out_.data()) + sent_, output_size() - sent_};
}

void Connection::sent(std::size_t count) {
  if (!has_reply())
    return peer_.notes->pop(count);
  sent_ += count;
  if (has_reply())
    return;
  sent_ = reply_ = 0;
  out_.clear();
  if (out_.capacity() > kKeptCapacity)
    Bytes().swap(out_);
  if (fault_ == nullptr && request_ != 0)
    consume(std::exchange(request_, 0));
  update_buffered();
}

void Connection::serve_one() {
  if (greeted_)
    serve_request();
  else
    serve_hello();
  update_buffered();
}

void Connection::serve_hello() {
  fault_ = remote::validate(front<Hello>(in_));
  greeted_ = fault_ == nullptr;
  consume(sizeof(Hello));
}

void Connection::serve_request() {
  const auto request = front<Header>(in_);
  fault_ = fault_of_request(request);
  if (fault_ == kTooLong)
    refuse(EMSGSIZE, kTooLong);
  if (fault_ != nullptr)
    return;
  request_ = sizeof request + request.length;
  const Header reply = service_.serve(peer_, request, in_.data() + sizeof request, out_);
  if (out_.empty())
    reply_in_place(reply);
}

void Connection::consume(std::size_t count) {
  have_ -= count;
  std::memmove(in_.data(), in_.data() + count, have_);
  if (in_.size() > kKeptCapacity)
    in_.resize(have_);
}

}  // namespace morvaned
