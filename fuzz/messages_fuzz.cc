// Turns bytes into what clients send to morvaned, in pieces of any size, and holds each answer
// against a second, plain reading of the same bytes: the same requests are answered, in their order
// and once each, the same fault ends the connection, and an answer is one that the client side
// takes.
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <vector>

#include "connection.h"
#include "input_bytes.h"
#include "kel_asic_lib_common.h"
#include "platform/system_service.h"

namespace {

using morvaned::Bytes;
using remote::Header;
using remote::Hello;

constexpr uint32_t max_record = sizeof(kel_asic_xn_t);

template <typename Value>
Value pick(uint8_t choice, std::initializer_list<Value> values) {
  return values.begin()[choice % values.size()];
}

template <typename Message>
void append(Bytes &stream, const Message &message) {
  morvaned::append(stream, &message, sizeof message);
}

Hello any_hello(input_bytes &input) {
  const auto choice = input.take<uint8_t>();
  Hello hello = {remote::kMagic, remote::kVersion, 0, 0, 0};
  if (choice > 250)
    hello = input.take<Hello>();
  return hello;
}

// Mostly a header that is taken, or one with one field wrong.
Header any_header(input_bytes &input) {
  const auto choice = input.take<uint8_t>();
  if (choice > 250)
    return input.take<Header>();
  Header header = {input.take<uint8_t>(), choice % 9U, 0, 0, 0, 0, 0};
  if (header.kind == remote::kCall) {
    header.case_code = SYSSRV_REG_READ_CASE + input.take<uint8_t>() % 5;
    if (header.case_code == SYSSRV_REG_READ_CASE + 4)
      header.case_code = SYSSRV_SP_TIME_CONFIGURE;
    header.driver_id = pick<uint32_t>(choice / 9, {236, 236, 236, 236, 235});
  }
  const uint32_t lengths[] = {0,          8,
                              40,         196,
                              200,        sizeof(kel_asic_qos_stats_params_t),
                              max_record, max_record + 1,
                              UINT32_MAX, input.take<uint8_t>()};
  header.length = lengths[input.take<uint8_t>() % std::size(lengths)];
  return header;
}

// A record that begins with values which lead somewhere, then bytes of the input, then zeros.
void append_body(Bytes &stream, input_bytes &input, uint32_t length) {
  Bytes body(std::min(length, max_record));
  const auto given = std::min<size_t>(body.size(), input.take<uint8_t>());
  for (size_t i = 0; i < given; ++i)
    body[i] = input.take<uint8_t>();
  stream.insert(stream.end(), body.begin(), body.end());
}

Bytes any_stream(input_bytes &input) {
  Bytes stream;
  append(stream, any_hello(input));
  while (!input.empty() && stream.size() < 200000) {
    const Header header = any_header(input);
    append(stream, header);
    append_body(stream, input, header.length);
  }
  return stream;
}

// What the service owes for a stream, read in one go.
struct Expected {
  std::vector<Header> served;
  bool too_long = false;
  bool fault = false;
};

Expected read_stream(const Bytes &stream) {
  Expected expected;
  size_t at = sizeof(Hello);
  if (stream.size() < at)
    return expected;
  Hello hello;
  std::memcpy(&hello, stream.data(), sizeof hello);
  expected.fault = remote::validate(hello) != nullptr;
  while (!expected.fault && stream.size() - at >= sizeof(Header)) {
    Header header;
    std::memcpy(&header, &stream[at], sizeof header);
    expected.fault = remote::validate(header) != nullptr;
    expected.too_long = !expected.fault && header.length > max_record;
    expected.fault |= expected.too_long;
    at += sizeof header;
    if (expected.too_long)
      expected.served.push_back(header);
    if (expected.fault || stream.size() - at < header.length)
      return expected;
    expected.served.push_back(header);
    at += header.length;
  }
  return expected;
}

// Hands the stream over in pieces, as a socket would, and takes the answers in pieces.
Bytes converse(morvaned::Connection &connection, const Bytes &stream, uint8_t most) {
  Bytes answers;
  size_t at = 0;
  for (bool moved = true; moved;) {
    moved = false;
    if (connection.has_output()) {
      const morvaned::Part output = connection.output();
      const size_t count = std::min<size_t>(output.count, 1U + most);
      morvaned::append(answers, output.bytes, count);
      connection.sent(count);
      moved = true;
    } else if (connection.is_ready()) {
      connection.serve_one();
      moved = true;
    } else if (connection.fault() == nullptr && at < stream.size()) {
      const morvaned::Part room = connection.room();
      const size_t step = most == 0 ? 1 : most % 16 == 0 ? 4096 : most;
      const size_t count = std::min({room.count, stream.size() - at, step});
      std::memcpy(room.bytes, &stream[at], count);
      connection.received(count);
      at += count;
      moved = true;
    }
  }
  return answers;
}

void check_answers(const Bytes &answers, const Expected &expected) {
  size_t at = sizeof(Hello);
  require(answers.size() >= at);
  for (const Header &request : expected.served) {
    require(answers.size() - at >= sizeof(Header));
    Header answer;
    std::memcpy(&answer, &answers[at], sizeof answer);
    require(remote::is_valid_reply(answer, request));
    at += sizeof answer;
    require(answers.size() - at >= answer.length);
    const Bytes body(&answers[at], &answers[at] + answer.length);
    require(remote::is_valid_body(answer, body.data()));
    at += answer.length;
  }
  require(at == answers.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  input_bytes input(data, size);
  const auto most = input.take<uint8_t>();
  morvaned::Service service(max_record);
  morvaned::Peer peer;
  peer.may_control = most % 2 == 0;
  const auto place = service.enter(peer);
  morvaned::Connection connection(service, *place);
  const Bytes stream = any_stream(input);
  const Expected expected = read_stream(stream);
  const Bytes answers = converse(connection, stream, most);
  require((connection.fault() != nullptr) == expected.fault);
  check_answers(answers, expected);
  service.leave(place);
  return 0;
}
