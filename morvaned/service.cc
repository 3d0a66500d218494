#include "service.h"

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

// A record of the messages, which may be unaligned. The check of the header has shown that the body
// is long enough.
template <typename Record>
Record record_at(const uint8_t *bytes) {
  Record record;
  std::memcpy(&record, bytes, sizeof record);
  return record;
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
    const bool allowed = peer.may_control || request.kind == remote::kCard;
    const int error = allowed ? control(request, body, answer) : EPERM;
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
  const int error =
      switch_.driver.handle(request.case_code, request.driver_id, body, request.length);
  const bool is_read =
      request.case_code == SYSSRV_REG_READ_CASE || request.case_code == SYSSRV_MEM_READ_CASE;
  ++peer.calls;
  peer.failures += error != 0 ? 1 : 0;
  peer.last_case = request.case_code;
  peer.last_error = error;
  peer.last_call = Clock::now();
  return answer_to(request, error, error == 0 && is_read ? request.length : 0);
}

// Requests other than service calls: 0 and the body of the answer, or the errno of the refusal.
int Service::control(const Header &request, const uint8_t *body, Bytes &answer) {
  switch (request.kind) {
    case remote::kCard: {
      const remote::Card card = {switch_.device_type, switch_.sw_card_id};
      append(answer, &card, sizeof card);
      return 0;
    }
    case remote::kSetCard: {
      const auto card = record_at<remote::Card>(body);
      if (card.sw_card_id > UINT16_MAX)
        return EINVAL;
      switch_.device_type = card.device_type;
      switch_.sw_card_id = static_cast<uint16_t>(card.sw_card_id);
      return 0;
    }
    case remote::kAddTraffic: {
      const auto added = record_at<remote::Traffic>(body);
      return switch_.driver.add_traffic(added.asic.module, added.asic.asic,
                                        static_cast<cardcfg_port_type_t>(added.port_type),
                                        added.port, added.traffic);
    }
    case remote::kReset:
      switch_ = VirtualSwitch();
      return 0;
    case remote::kShowAsic: {
      const auto number = record_at<remote::AsicNumber>(body);
      const VirtualAsic *const asic = switch_.driver.find_asic(number.module, number.asic);
      if (asic == nullptr)
        return ENXIO;
      append(answer, &asic->commands, sizeof asic->commands);
      return 0;
    }
    case remote::kListClients:
      answer = client_list();
      return 0;
    default:
      return ENOSYS;
  }
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
