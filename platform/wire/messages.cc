#include "messages.h"

namespace remote {
namespace {

constexpr int32_t kMaxErrno = 4095;

// Lengths of the bodies by kind; 0 if the header gives the length.
struct Lengths {
  uint32_t request;
  uint32_t answer;
};

constexpr Lengths kLengths[kEndOfKinds] = {
    {0, 0},
    {0, 0},  // kCall
    {0, sizeof(Card)},
    {sizeof(Card), 0},
    {sizeof(Traffic), 0},
    {0, 0},
    {sizeof(AsicNumber), sizeof(vp_asic_state)},
    {0, 0},  // kListClients
};

bool has_answer_length(const Header &answer, const Header &request) {
  if (answer.result != 0)
    return answer.length == 0;
  if (request.kind == kCall)
    return answer.length == 0 || answer.length == request.length;
  if (request.kind == kListClients) {
    return answer.length % sizeof(vp_client) == 0 &&
           answer.length / sizeof(vp_client) <= kMaxClients;
  }
  return answer.length == kLengths[request.kind].answer;
}

bool is_valid(const vp_client &client) {
  return client.process >= 0 && is_errno_or_zero(client.last_error) &&
         client.program[sizeof client.program - 1] == '\0';
}

}  // namespace

bool is_errno_or_zero(int32_t value) {
  return value >= 0 && value <= kMaxErrno;
}

const char *validate(const Hello &hello) {
  if (hello.magic != kMagic)
    return "unknown protocol";
  if (hello.version != kVersion)
    return "unsupported protocol version";
  if (hello.max_record != 0 || hello.error_number != 0)
    return "malformed handshake";
  return nullptr;
}

const char *validate(const Header &request) {
  if (request.kind < kCall || request.kind >= kEndOfKinds)
    return "unknown request kind";
  if (request.result != 0 || request.error_number != 0)
    return "request with a result";
  if (request.kind == kCall)
    return nullptr;
  if (request.case_code != 0 || request.driver_id != 0)
    return "control request with a case or driver";
  return request.length == kLengths[request.kind].request ? nullptr : "wrong request length";
}

bool is_valid_reply(const Header &answer, const Header &request) {
  if (answer.sequence != request.sequence || answer.kind != request.kind ||
      answer.case_code != request.case_code || answer.driver_id != request.driver_id) {
    return false;
  }
  return is_errno_or_zero(answer.error_number) &&
         (answer.result < 0) == (answer.error_number != 0) && has_answer_length(answer, request);
}

bool is_valid_body(const Header &answer, const void *body) {
  if (answer.result != 0)
    return true;
  if (answer.kind == kCard)
    return static_cast<const Card *>(body)->sw_card_id <= UINT16_MAX;
  if (answer.kind != kListClients)
    return true;
  const auto *client = static_cast<const vp_client *>(body);
  const auto *const end = client + answer.length / sizeof(vp_client);
  while (client != end && is_valid(*client))
    ++client;
  return client == end;
}

}  // namespace remote
