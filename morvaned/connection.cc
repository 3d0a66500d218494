#include "connection.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace morvaned {
namespace {

using remote::Header;
using remote::Hello;

// At least so much is read at a time, which a transaction fits in, and of a long record at most so
// much, as others have their turn.
constexpr std::size_t kLeastRoom = 16384;
constexpr std::size_t kMostRoom = 65536;

// A buffer that a long message has needed is not kept; for a shorter one there is always room.
constexpr std::size_t kKeptCapacity = 65536;

constexpr const char *kTooLong = "a record that is too long";
constexpr const char *kNoRoom = "a long record, while those of others leave no room";

template <typename Message>
Message front(const Bytes &bytes) {
  Message message;
  std::memcpy(&message, bytes.data(), sizeof message);
  return message;
}

void release(Bytes &buffer) {
  if (buffer.capacity() > kKeptCapacity)
    Bytes().swap(buffer);
}

}  // namespace

Hello service_hello(const Service &service, int error_number) {
  return {remote::kMagic, remote::kVersion, remote::kFeatures, service.max_record(), error_number};
}

Connection::Connection(Service &service, Peer &peer) : service_(service), peer_(peer) {
  const Hello hello = service_hello(service, 0);
  append(out_, &hello, sizeof hello);
  update_buffered();
}

Connection::~Connection() {
  service_.account_buffered(-static_cast<int64_t>(buffered_));
}

void Connection::update_buffered() {
  const std::size_t buffered = have_ + out_.size();
  service_.account_buffered(static_cast<int64_t>(buffered) - static_cast<int64_t>(buffered_));
  buffered_ = buffered;
}

// Why a request is not taken; null where it is.
const char *Connection::fault_of_request(const Header &request) const {
  const char *const fault = remote::validate(request);
  return fault == nullptr && request.length > service_.max_record() ? kTooLong : fault;
}

// Bytes of the message at hand, as far as is known of it.
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
  const std::size_t whole = current_length(), missing = whole > have_ ? whole - have_ : 0;
  const std::size_t count = std::clamp(missing, kLeastRoom, kMostRoom);
  if (in_.size() < have_ + count)
    in_.resize(std::max(have_ + count, std::min(in_.size() * 2, whole)));
  return {in_.data() + have_, count};
}

void Connection::received(std::size_t count) {
  have_ += count;
  update_buffered();
  if (greeted_ && have_ > kKeptCapacity && !is_ready() && service_.is_full())
    refuse(front<Header>(in_), ENOBUFS, kNoRoom);
}

// The answer, and the end behind it.
void Connection::refuse(const Header &request, int error_number, const char *why) {
  const Header answer = answer_to(request, error_number, 0);
  append(out_, &answer, sizeof answer);
  fault_ = why;
}

void Connection::sent(std::size_t count) {
  sent_ += count;
  if (sent_ < out_.size())
    return;
  out_.clear();
  sent_ = 0;
  release(out_);
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
  const auto header = front<Header>(in_);
  fault_ = fault_of_request(header);
  if (fault_ == kTooLong)
    refuse(header, EMSGSIZE, kTooLong);
  if (fault_ != nullptr)
    return;
  service_.serve(peer_, header, in_.data() + sizeof header, out_);
  consume(sizeof header + header.length);
}

void Connection::consume(std::size_t count) {
  have_ -= count;
  std::memmove(in_.data(), in_.data() + count, have_);
  if (in_.capacity() > kKeptCapacity) {
    in_.resize(have_);
    in_.shrink_to_fit();
  }
}

}  // namespace morvaned
