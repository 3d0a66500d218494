#include "messages.h"

#include <string.h>

namespace remote {
namespace {

constexpr int32_t kMaxErrno = 4095;

constexpr uint32_t kAnyLength = UINT32_MAX;

// Lengths of the bodies by kind. The answer may be a list of up to max_entries. A service call
// gives the lengths in its header.
struct Lengths {
  uint32_t request;
  uint32_t answer;
  uint32_t max_entries;
};

// The call of a note begins with so many bytes and has a multiple of 16.
constexpr uint32_t kMinCallNote = 96;

constexpr Lengths kLengths[kEndOfKinds] = {
    {0, 0, 0},
    {0, 0, 0},  // kCall
    {0, sizeof(Card), 1},
    {sizeof(Card), 0, 1},
    {sizeof(Traffic), 0, 1},
    {0, 0, 1},
    {sizeof(AsicNumber), sizeof(vp_asic_state), 1},
    {0, sizeof(vp_client), kMaxClients},
    {0, sizeof(vp_switch), 1},
    {sizeof(vp_fault), 0, 1},
    {0, sizeof(vp_fault), VP_FAULTS_MAX},
    {sizeof(FaultNumber), 0, 1},
    {sizeof(Traffic), 0, 1},
    {sizeof(Port), 0, 1},
    {sizeof(Time), 0, 1},
    {0, 1, UINT32_MAX},                 // kSave
    {kAnyLength, sizeof(Restored), 1},  // kRestore
    {0, 0, 1},                          // kMonitor
    {sizeof(FieldValue), 0, 1},
};

bool repeats(const Header &request, const Header &answer) {
  return answer.sequence == request.sequence && answer.kind == request.kind &&
         answer.case_code == request.case_code && answer.driver_id == request.driver_id;
}

bool has_answer_length(const Header &answer, const Header &request) {
  if (answer.result != 0)
    return answer.length == 0;
  if (request.kind == kCall)
    return answer.length == 0 || answer.length == request.length;
  const Lengths &lengths = kLengths[request.kind];
  if (lengths.max_entries == 1)
    return answer.length == lengths.answer;
  return answer.length % lengths.answer == 0 &&
         answer.length / lengths.answer <= lengths.max_entries;
}

template <size_t kSize>
bool ends(const char (&text)[kSize]) {
  return memchr(text, '\0', kSize) != nullptr;
}

bool is_valid(const Card &card) {
  return card.sw_card_id <= UINT16_MAX;
}

bool is_valid(const vp_client &client) {
  return client.process >= 0 && is_errno_or_zero(client.last_error) && ends(client.program);
}

bool is_valid(const vp_switch &shown) {
  return shown.process >= 0;
}

bool is_valid(const vp_fault &fault) {
  return fault.action <= VP_FAULT_NUM && ends(fault.operation) && ends(fault.program) &&
         ends(fault.caller);
}

template <typename Entry>
bool has_valid_entries(const Header &answer, const void *body) {
  const auto *entry = static_cast<const Entry *>(body);
  const auto *const end = entry + answer.length / sizeof(Entry);
  while (entry != end && is_valid(*entry))
    ++entry;
  return entry == end;
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
  const uint32_t length = kLengths[request.kind].request;
  return length == kAnyLength || request.length == length ? nullptr : "wrong request length";
}

bool is_valid_reply(const Header &answer, const Header &request) {
  return repeats(request, answer) && is_errno_or_zero(answer.error_number) &&
         (answer.result < 0) == (answer.error_number != 0) && has_answer_length(answer, request);
}

bool is_valid_note(const Header &note, const Header &request) {
  return repeats(request, note) && note.result == 0 && note.error_number == 0 &&
         note.length >= sizeof(vp_note) && note.length <= sizeof(vp_note) + kMaxCallNote;
}

bool is_valid_note_body(const Header &note, const vp_note &body) {
  const bool has_call = body.size >= kMinCallNote && body.size % 16 == 0;
  return body.size == note.length - sizeof body && (body.lost != 0 ? body.size == 0 : has_call) &&
         body.process >= 0 && ends(body.program);
}

bool is_valid_body(const Header &answer, const void *body) {
  switch (answer.kind) {
    case kCard:
      return has_valid_entries<Card>(answer, body);
    case kListClients:
      return has_valid_entries<vp_client>(answer, body);
    case kShowSwitch:
      return has_valid_entries<vp_switch>(answer, body);
    case kListFaults:
      return has_valid_entries<vp_fault>(answer, body);
    default:
      return true;
  }
}

}  // namespace remote
