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
constexpr uint32_t kFeatures = 0;  // one bit for each later addition

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

struct Traffic {
  AsicNumber asic;
  uint32_t port_type;
  uint32_t port;
  vp_traffic traffic;
};

static_assert(sizeof(Card) == 8 && sizeof(AsicNumber) == 8 && sizeof(Traffic) == 40 &&
                  offsetof(Traffic, traffic.frames) == 24 && sizeof(vp_asic_state) == 20 &&
                  offsetof(vp_asic_state, sp_timer) == 2 && sizeof(vp_client) == 64 &&
                  offsetof(vp_client, calls) == 8 && offsetof(vp_client, program) == 48,
              "the bodies are the same for both word sizes");

// What is wrong with a client's hello; null if it is valid.
const char *validate(const Hello &hello);

// What is wrong with the header of a request; null if it is valid. The caller compares the length
// with the longest record that it accepts.
const char *validate(const Header &request);

// Whether this is the header of an answer to the request. A failure has no body. The service
// chooses only the number of clients in a list, up to kMaxClients.
bool is_valid_reply(const Header &answer, const Header &request);
constexpr uint32_t kMaxClients = 65536;

// Whether the body of such an answer is valid. It is aligned like a vp_client.
bool is_valid_body(const Header &answer, const void *body);

// Whether a field that gives a failure's errno, or 0, has such a value.
bool is_errno_or_zero(int32_t value);

}  // namespace remote

#endif
