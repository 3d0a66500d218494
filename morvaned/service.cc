#include "service.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include "platform/system_service.h"

namespace morvaned {
namespace {

using remote::Header;

// Long records that may be received at once, in units of the longest one.
constexpr int kRecordsOfPool = 8;
constexpr int kRecordsOfUser = 2;

CallingClient client_of(const Peer &peer) {
  return {peer.serial, peer.process, peer.program.c_str()};
}

uint64_t milliseconds_since(Clock::time_point then) {
  const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - then);
  return static_cast<uint64_t>(passed.count());
}

vp_client client_entry(const Peer &peer) {
  vp_client client = {peer.process,
                      peer.user,
                      peer.calls,
                      peer.failures,
                      peer.last_case,
                      peer.last_error,
                      milliseconds_since(peer.last_call),
                      milliseconds_since(peer.came),
                      {}};
  peer.program.copy(client.program, sizeof client.program - 1);
  return client;
}

}  // namespace

void append(Bytes &out, const void *bytes, std::size_t count) {
  const auto *first = static_cast<const uint8_t *>(bytes);
  out.insert(out.end(), first, first + count);
}

Header answer_to(const Header &request, int error_number, std::size_t length) {
  Header answer = request;
  answer.result = error_number == 0 ? 0 : -1;
  answer.error_number = error_number;
  answer.length = static_cast<uint32_t>(length);
  return answer;
}

bool Service::is_full(const Peer &peer) const {
  uint64_t in_pool = 0, of_user = 0;
  for (const Peer &other : peers_) {
    in_pool += other.may_control == peer.may_control ? other.buffered : 0;
    of_user += other.user == peer.user ? other.buffered : 0;
  }
  return in_pool > uint64_t{kRecordsOfPool} * max_record_ ||
         (!peer.may_control && of_user > uint64_t{kRecordsOfUser} * max_record_);
}

Header Service::serve(Peer &peer, const Header &request, uint8_t *body, Bytes &out) {
  if (request.kind == remote::kCall)
    return serve_call(peer, request, body);
  try {
    Bytes answer;
    const bool allowed =
        peer.may_control || request.kind == remote::kCard || request.kind == remote::kShowSwitch;
    const int error = allowed ? control(peer, request, body, answer) : EPERM;
    const Header reply = answer_to(request, error, answer.size());
    if (!answer.empty()) {
      append(out, &reply, sizeof reply);
      append(out, answer.data(), answer.size());
    }
    return reply;
  } catch (const std::bad_alloc &) {
    out.clear();
    return answer_to(request, ENOMEM, 0);
  }
}

Header Service::serve_call(Peer &peer, const Header &request, uint8_t *body) {
  const ServiceCall call = {request.case_code, request.driver_id, body, request.length};
  const VirtualSwitch::Outcome outcome =
      monitors_.empty() ? switch_.call(call, client_of(peer)) : call_monitored(peer, call);
  const bool is_read =
      request.case_code == SYSSRV_REG_READ_CASE || request.case_code == SYSSRV_MEM_READ_CASE;
  ++peer.calls;
  peer.failures += outcome.result != 0 ? 1 : 0;
  peer.last_case = request.case_code;
  peer.last_error = outcome.error_number;
  peer.last_call = Clock::now();
  peer.reply_time = peer.last_call + std::chrono::microseconds(outcome.delay_us);
  Header answer =
      answer_to(request, outcome.error_number, outcome.result == 0 && is_read ? request.length : 0);
  answer.result = outcome.result;
  return answer;
}

VirtualSwitch::Outcome Service::call_monitored(const Peer &peer, const ServiceCall &call) {
  note_.begin(call, peer.calls + 1);
  const VirtualSwitch::Outcome outcome = switch_.call(call, client_of(peer));
  note_.end(call, outcome);
  vp_note note = {0, peer.serial, peer.process, peer.user, note_.size(), 0, {}};
  peer.program.copy(note.program, sizeof note.program - 1);
  for (NoteQueue *const monitor : monitors_)
    monitor->add(note, note_.bytes());
  return outcome;
}

void Service::monitor(Peer &peer, uint32_t sequence) {
  auto notes = std::make_unique<NoteQueue>(sequence);
  monitors_.push_back(notes.get());
  peer.notes = std::move(notes);
}

void Service::leave(std::list<Peer>::iterator peer) {
  monitors_.erase(std::remove(monitors_.begin(), monitors_.end(), peer->notes.get()),
                  monitors_.end());
  peers_.erase(peer);
}

// Requests other than service calls: 0 and the body of the answer, or the errno of the refusal.
int Service::control(Peer &peer, const Header &request, const uint8_t *body, Bytes &answer) {
  if (request.kind == remote::kListClients) {
    answer = client_list();
    return 0;
  }
  if (request.kind == remote::kMonitor) {
    monitor(peer, request.sequence);
    return 0;
  }
  const int error = switch_.control(request.kind, body, request.length, client_of(peer), answer);
  if (request.kind == remote::kShowSwitch) {
    auto &shown = *reinterpret_cast<vp_switch *>(answer.data());
    shown.shared = 1;
    shown.clients = static_cast<uint32_t>(peers_.size());
  }
  return error;
}

Bytes Service::client_list() const {
  Bytes list;
  for (const Peer &peer : peers_) {
    const vp_client client = client_entry(peer);
    append(list, &client, sizeof client);
  }
  return list;
}

}  // namespace morvaned
