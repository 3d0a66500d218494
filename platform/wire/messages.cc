#include "messages.h"

namespace remote {
namespace {

constexpr int32_t kHighestErrno = 4095;

// Lengths of the bodies, by kind. A service call has its own.
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
    {0, 0},  // kListClients: of each client
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

}  // namespace

const char *validate(const Hello &hello) {
  if (hello.magic != kMagic)
    return "it does not speak this protocol";
  if (hello.version != kVersion)
    return "it speaks another version of the protocol";
  if (hello.max_record != 0 || hello.error_number != 0)
    return "its hello is malformed";
  return nullptr;
}

const char *validate(const Header &request) {
  if (request.kind < kCall || request.kind >= kEndOfKinds)
    return "a request of an unknown kind";
  if (request.result != 0 || request.error_number != 0)
    return "a request with a result";
  if (request.kind == kCall)
    return nullptr;
  if (request.case_code != 0 || request.driver_id != 0)
    return "a case or a driver in a request that is no service call";
  return request.length == kLengths[request.kind].request ? nullptr : "a request of another length";
}

bool is_valid_reply(const Header &answer, const Header &request) {
  if (answer.sequence != request.sequence || answer.kind != request.kind ||
      answer.case_code != request.case_code || answer.driver_id != request.driver_id) {
    return false;
  }
  const bool has_errno = answer.error_number >= 1 && answer.error_number <= kHighestErrno;
  return (answer.result < 0 ? has_errno : answer.error_number == 0) &&
         has_answer_length(answer, request);
}

}  // namespace remote
