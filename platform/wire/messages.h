// The messages between a client of the switch and morvaned, byte by byte in
// docs/switch-protocol.md. All numbers are little-endian; the layouts are the same for both word
// sizes.
//
// The receiver of a message checks all of it with the functions below before it uses any part.
#ifndef REMOTE_MESSAGES_H
#define REMOTE_MESSAGES_H

#include <stddef.h>
#include <stdint.h>

#include "virtual_platform.h"

namespace remote {

constexpr uint32_t kMagic = 0x5356524D;  // "MRVS"
constexpr uint32_t kVersion = 1;

// One bit for each later addition. A peer without the bit does not get its messages.
constexpr uint32_t kTestBench = 1;  // the kinds from kShowSwitch on
constexpr uint32_t kFeatures = kTestBench;

// The first message in either direction: each side sends its own without waiting for the other's.
struct Hello {
  uint32_t magic;
  uint32_t version;
  uint32_t features;
  uint32_t max_record;   // the longest record that the service accepts; 0 from a client
  int32_t error_number;  // why the service rejects the client; 0 from a client
};
static_assert(sizeof(Hello) == 20, "five words");

enum Kind : uint32_t {
  kCall = 1,     // a service call: the record, and the record with its answer
  kCard,         // nothing; a Card
  kSetCard,      // a Card; nothing
  kAddTraffic,   // a Traffic; nothing
  kReset,        // nothing; nothing
  kShowAsic,     // an AsicNumber; a vp_asic_state
  kListClients,  // nothing; a vp_client for each
  kShowSwitch,   // nothing; a vp_switch
  kAddFault,     // a vp_fault; nothing
  kListFaults,   // nothing; a vp_fault for each
  kRemoveFault,  // a FaultNumber; nothing
  kAddFlow,      // a Traffic; nothing
  kStopFlows,    // a Port; nothing
  kSetTime,      // a Time; nothing
  kSave,         // nothing; a snapshot
  kRestore,      // a snapshot; a Restored
  // Nothing; nothing. Then one more answer for each call of each client, a note. The client sends
  // nothing more.
  kMonitor,
  kSetField,  // a FieldValue; nothing
  kEndOfKinds
};

// Begins each request and each answer. An answer repeats the first four words of its request.
struct Header {
  uint32_t sequence;
  uint32_t kind;
  uint32_t case_code;  // of a service call; else 0
  uint32_t driver_id;  // of a service call; else 0
  int32_t result;      // 0 in a request
  int32_t error_number;
  uint32_t length;  // of the body that follows
};
static_assert(sizeof(Header) == 28, "seven words");

struct Card {
  uint32_t device_type;
  uint32_t sw_card_id;
};

struct AsicNumber {
  uint32_t module;
  uint32_t asic;
};

struct Port {
  AsicNumber asic;
  uint32_t port_type;
  uint32_t port;
};

struct Traffic {
  Port port;
  vp_traffic traffic;
};

struct FaultNumber {
  uint32_t number;
};

struct Time {
  uint32_t run;
  uint32_t reserved;  // 0
  uint64_t advance_ms;
};

struct Restored {
  uint32_t line;  // the first one that is wrong, from 1; 0 if the state is restored
};

struct FieldValue {
  Port port;
  uint64_t value;
  char name[32];
};

static_assert(sizeof(FieldValue) == 56 && offsetof(FieldValue, value) == 16 && sizeof(Card) == 8 &&
                  sizeof(AsicNumber) == 8 && sizeof(Port) == 16 && sizeof(Traffic) == 40 &&
                  offsetof(Traffic, traffic.frames) == 24 && sizeof(Time) == 16 &&
                  offsetof(Time, advance_ms) == 8 && sizeof(vp_asic_state) == 20 &&
                  offsetof(vp_asic_state, sp_timer) == 2 && sizeof(vp_client) == 64 &&
                  offsetof(vp_client, calls) == 8 && offsetof(vp_client, program) == 48 &&
                  sizeof(vp_switch) == 64 && offsetof(vp_switch, reserved) == 56 &&
                  sizeof(vp_note) == 48 && offsetof(vp_note, program) == 32 &&
                  sizeof(vp_fault) == 160 && offsetof(vp_fault, matches) == 80 &&
                  offsetof(vp_fault, caller) == 128,
              "the bodies are the same for both word sizes");

// What is wrong with a client's hello; null if it is valid.
const char *validate(const Hello &hello);

// What is wrong with the header of a request; null if it is valid. The caller compares the length
// with the longest record that it accepts.
const char *validate(const Header &request);

// Whether this is the header of an answer to the request. A failure has no body. The service
// chooses only the number of entries in a list, up to kMaxClients or VP_FAULTS_MAX, and the length
// of a snapshot.
bool is_valid_reply(const Header &answer, const Header &request);
constexpr uint32_t kMaxClients = 65536;

// Whether the body of such an answer is valid. It is aligned like a vp_fault.
bool is_valid_body(const Header &answer, const void *body);

// Whether this is the header of a note, one of the answers to a kMonitor after the first. Its body
// is a vp_note and the call, if any, as the recorder writes it at position 0 of a recording.
bool is_valid_note(const Header &note, const Header &request);
constexpr uint32_t kMaxCallNote = 26768;

// Whether the vp_note of such a body is valid.
bool is_valid_note_body(const Header &note, const vp_note &body);

// Whether a field that gives a failure's errno, or 0, has such a value.
bool is_errno_or_zero(int32_t value);

}  // namespace remote

#endif
