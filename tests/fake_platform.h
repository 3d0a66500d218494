// A recording fake of the six platform functions, and faults of the C library. A test links it in
// place of a platform, runs the library through its public interface, and looks at what was sent.
#ifndef FAKE_PLATFORM_H
#define FAKE_PLATFORM_H

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "kel_asic_intf.h"
#include "kel_asic_lib_common.h"
#include "platform/register_map.h"
#include "platform/system_service.h"

// A service call as it arrived.
struct sent_call {
  uint32_t case_code;
  uint32_t driver_id;
  uint32_t length;
  std::vector<uint8_t> bytes;  // the record before the answer

  // The record, or the start of it, as one of the wire types.
  template <typename Record>
  Record as() const {
    Record record;
    std::memset(&record, 0, sizeof record);
    std::memcpy(&record, bytes.data(), bytes.size() < sizeof record ? bytes.size() : sizeof record);
    return record;
  }
  kel_asic_reg_access_params_t request() const { return as<kel_asic_reg_access_params_t>(); }
};

struct fake_platform {
  uint32_t device_type = CARDCFG_DEV_TYPE_MORVANE;
  bool device_query_fails = false;  // without writing its output
  uint16_t sw_card_id = 1;
  bool sw_card_query_fails = false;  // without writing its output

  syserr_t map_result = 0;
  kel_asic_limits_t limits;
  int (*hook)(kel_asic_blk_t, kel_asic_reg_t, uint32_t) = nullptr;
  std::vector<std::pair<kel_asic_blk_t, kel_asic_reg_t>> holes = {{KEL_ASIC_BLK_HR, 26}};

  // The service, which answers in the record; it changes nothing and succeeds if null.
  std::function<int(uint32_t case_code, void *record, uint32_t length)> answer;

  std::vector<sent_call> calls;
  std::vector<std::string> platform_calls;  // names, arguments and order of all but sse_call2

  fake_platform();
};

fake_platform &fake();

// The base address of a block in the fake's register map, from which each register is 8 bytes after
// the one before; the addresses of block XL wrap.
uint32_t fake_base(kel_asic_blk_t block, uint32_t instance);

// Faults of the C library. Only calls made between arm() and disarm() count, so that the test's own
// do not; of each kind that is to fail the first one does.
struct libc_faults {
  bool fail_calloc = false, fail_realloc = false, fail_fopen = false, fail_fseek = false;
  bool allocates = false;                 // since arm()
  bool marker_file = false;               // /bootflash/kel_lib_debug is there
  const char *log_path = nullptr;         // opened in place of the log file
  int64_t seconds = 0, microseconds = 0;  // the clock
  char outputs[64] = "";  // since arm(): an s for a text to standard output, an l for one to a file
  bool armed = false;  // no member needs a destructor: calloc runs before any could be registered

  void arm();
  void disarm();
};

libc_faults &faults();

// Initialises the library as a client does; the fake's limits and faults stay as set before.
syserr_t initialise();
syserr_t initialise_with_trace();  // and drops its lines

// What the log file of this process has got since the last call: the lines without their date and
// time, from the level on, such as "|t|  0 |   : lib_mrv_asic_read: Enter".
std::vector<std::string> trace_lines();
// The exact content of the log file.
std::string log_text();
std::string log_path();

// A caller's identification as the operations take it: context, file, line, func.
#define CALLER 0x51U, const_cast<char *>("client.c"), 42, "client"

// A register, and a read of it by CALLER.
struct reg_place {
  int module = 0;
  kel_asic_num_t asic = 0;
  kel_asic_blk_t block = KEL_ASIC_BLK_HI;
  uint32_t instance = 2;
  kel_asic_reg_t vreg = 5;
};
syserr_t read_reg(const reg_place &place, uint32_t *data);

#endif
