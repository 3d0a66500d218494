// Turns bytes into what clients send to morvaned, in pieces of any size, and holds each answer
// against a second, plain reading of the same bytes: the same requests are answered, in their order
// and once each, the same fault ends the connection, and an answer is one that the client side
// takes.
#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string_view>
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

uint32_t pick(input_bytes &input, std::initializer_list<uint32_t> values) {
  return values.begin()[input.take<uint8_t>() % values.size()];
}

template <typename Message>
void append(Bytes &stream, const Message &message) {
  morvaned::append(stream, &message, sizeof message);
}

Hello any_hello(input_bytes &input) {
  return input.take<uint8_t>() > 250 ? input.take<Hello>()
                                     : Hello{remote::kMagic, remote::kVersion, 0, 0, 0};
}

// Mostly a header that is taken, or one with one field wrong.
Header any_header(input_bytes &input) {
  const auto choice = input.take<uint8_t>();
  if (choice > 250)
    return input.take<Header>();
  Header header = {input.take<uint8_t>(), choice % (remote::kEndOfKinds + 1), 0, 0, 0, 0, 0};
  if (header.kind == remote::kCall) {
    header.case_code =
        pick(input, {SYSSRV_REG_READ_CASE, SYSSRV_REG_WRITE_CASE, SYSSRV_MEM_READ_CASE,
                     SYSSRV_MEM_WRITE_CASE, SYSSRV_SP_TIME_CONFIGURE});
    header.driver_id = pick(input, {236, 236, 236, 235});
  }
  header.length =
      pick(input, {0, 4, 8, 16, 40, 56, 160, 196, 200, sizeof(kel_asic_qos_stats_params_t),
                   max_record, max_record + 1, UINT32_MAX, input.take<uint8_t>()});
  return header;
}

// Fills a body with lines of a saved state.
void write_state(Bytes &body, input_bytes &input) {
  constexpr std::string_view kLines[] = {
      "module 3",  "switch card 65535",        "switch set nif:0 n2h_drops[5][7] 9",
      "# comment", "write HI.2:41 0xffffffff", "dhs-write HI.2:HI_DHS_LVIF[1023] 7"};
  std::fill(body.begin(), body.end(), '\n');
  for (size_t at = 0; at < body.size();) {
    const std::string_view line = kLines[input.take<uint8_t>() % std::size(kLines)];
    std::copy_n(line.begin(), std::min(line.size(), body.size() - at), &body[at]);
    at += line.size() + 1;
  }
}

// A body that is mostly taken, with bytes of the input.
void append_body(Bytes &stream, input_bytes &input, const Header &header) {
  Bytes body(std::min(header.length, max_record));
  if (header.kind == remote::kRestore && body.size() < 256)
    write_state(body, input);
  if (header.kind == remote::kAddFault && body.size() == sizeof(vp_fault))
    body[offsetof(vp_fault, every)] = 1;
  const auto given = std::min<size_t>(body.size(), input.take<uint8_t>());
  const size_t first = given == body.size() ? 0 : input.take<uint8_t>() % (body.size() - given);
  for (size_t i = 0; i < given; ++i)
    body[first + i] = input.take<uint8_t>();
  stream.insert(stream.end(), body.begin(), body.end());
}

Bytes any_stream(input_bytes &input) {
  Bytes stream;
  append(stream, any_hello(input));
  while (!input.empty() && stream.size() < 200000) {
    const Header header = any_header(input);
    append(stream, header);
    append_body(stream, input, header);
  }
  return stream;
}

// The requests of a stream that the service has to answer, and whether it then ends the connection.
struct Expected {
  std::vector<Header> answered;
  bool fault = false;
};

Expected read_stream(const Bytes &stream, bool may_monitor) {
  Expected expected;
  Hello hello;
  size_t at = sizeof hello;
  std::memcpy(&hello, stream.data(), sizeof hello);
  expected.fault = remote::validate(hello) != nullptr;
  bool is_monitor = false;
  while (!expected.fault && stream.size() - at >= sizeof(Header)) {
    Header header;
    std::memcpy(&header, &stream[at], sizeof header);
    const bool is_valid = !is_monitor && remote::validate(header) == nullptr;
    const bool is_too_long = is_valid && header.length > max_record;
    expected.fault = !is_valid || is_too_long;
    at += sizeof header;
    if (is_too_long || (is_valid && stream.size() - at >= header.length))
      expected.answered.push_back(header);
    is_monitor = is_monitor || (is_valid && header.kind == remote::kMonitor && may_monitor);
    at += std::min<size_t>(header.length, stream.size() - at);
  }
  return expected;
}

// Passes the stream in pieces, as a socket does, and receives the answers in pieces.
Bytes converse(morvaned::Connection &connection, const Bytes &stream, uint8_t most) {
  const size_t step = most == 0 ? 1 : most % 16 == 0 ? 4096 : most;
  Bytes answers;
  for (size_t at = 0;;) {
    if (connection.has_output()) {
      const morvaned::Part output = connection.output();
      const size_t count = std::min<size_t>(output.count, 1U + most);
      morvaned::append(answers, output.bytes, count);
      connection.sent(count);
    } else if (connection.is_ready()) {
      connection.serve_one();
    } else if (connection.fault() == nullptr && at < stream.size()) {
      const morvaned::Part room = connection.room();
      const size_t count = std::min({room.count, stream.size() - at, step});
      std::memcpy(room.bytes, &stream[at], count);
      connection.received(count);
      at += count;
    } else {
      return answers;
    }
  }
}

// A monitor gets a valid note for each call that was served, with its client's number, and no
// other.
void check_notes(morvaned::Connection &monitor, const Expected &expected) {
  const Header request = {0, remote::kMonitor, 0, 0, 0, 0, 0};
  const Bytes notes = converse(monitor, {}, 255);
  size_t at = 0;
  uint64_t calls = 0;
  for (uint64_t lost = 0; at < notes.size(); calls += lost == 0 ? 1 : lost) {
    require(notes.size() - at >= sizeof(Header) + sizeof(vp_note));
    Header header;
    vp_note note;
    std::memcpy(&header, &notes[at], sizeof header);
    std::memcpy(&note, &notes[at + sizeof header], sizeof note);
    require(remote::is_valid_note(header, request) && remote::is_valid_note_body(header, note));
    lost = note.lost;
    at += sizeof header + header.length;
  }
  const auto is_call = [](const Header &answered) {
    return answered.kind == remote::kCall && answered.length <= max_record;
  };
  require(at == notes.size());
  require(calls == static_cast<uint64_t>(
                       std::count_if(expected.answered.begin(), expected.answered.end(), is_call)));
}

void check_answers(const Bytes &answers, const Expected &expected) {
  size_t at = sizeof(Hello);
  require(answers.size() >= at);
  for (const Header &request : expected.answered) {
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
  morvaned::Peer owner, peer;
  owner.may_control = true;
  peer.may_control = most % 2 == 0;
  const auto owners_place = service.enter(std::move(owner));
  morvaned::Connection monitor(service, *owners_place);
  Bytes opening;
  append(opening, Hello{remote::kMagic, remote::kVersion, 0, 0, 0});
  append(opening, Header{0, remote::kMonitor, 0, 0, 0, 0, 0});
  converse(monitor, opening, 255);
  const auto place = service.enter(std::move(peer));
  morvaned::Connection connection(service, *place);
  const Bytes stream = any_stream(input);
  const Expected expected = read_stream(stream, most % 2 == 0);
  const Bytes answers = converse(connection, stream, most);
  require((connection.fault() != nullptr) == expected.fault);
  check_answers(answers, expected);
  check_notes(monitor, expected);
  service.leave(place);
  service.leave(owners_place);
  return 0;
}
