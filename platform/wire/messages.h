// The messages between a client of the switch and morvaned, byte by byte in
// docs/switch-protocol.md. All numbers are little-endian; the layouts are the same for both word
// sizes.
//
// Whoever receives a message checks it whole, with the functions below, before any of it is used.
#ifndef REMOTE_MESSAGES_H
#define REMOTE_MESSAGES_H

#include <stddef.h>
#include <stdint.h>

#include "virtual_platform.h"

namespace remote {

constexpr uint32_t kMagic = 0x5356524D;  // "MRVS"
constexpr uint32_t kVersion = 1;
constexpr uint32_t kFeatures = 0;  // a bit for each thing that a later service adds

// The first message in either direction: each side sends its own without waiting for the other's.
struct Hello {
  uint32_t magic;
  uint32_t version;
  uint32_t features;
  uint32_t max_record;   // the longest record that the service takes; 0 from a client
  int32_t error_number;  // why the service turns the client away; 0 from a client
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

// Stands before each request and each answer, which repeats the request's first four words.
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

// What is wrong with a client's hello; null where nothing is.
const char *validate(const Hello &hello);

// What is wrong with the header of a request; null where nothing is. A length beyond what the
// service takes is not looked at here.
const char *validate(const Header &request);

// Whether this is the header of an answer to the request. A failure has no body. Only the number of
// clients in a list is the service's to choose, up to kMaxClients.
bool is_valid_reply(const Header &answer, const Header &request);
constexpr uint32_t kMaxClients = 65536;

}  // namespace remote

#endif
