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
  // A register request's header, see request_header(), and the data words behind it.
  std::vector<uint32_t> header() const;
  std::vector<uint32_t> words() const;
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
  void fail_calls(int result, int error_number = 0);  // every call from now on
  void answer_words(uint32_t num, uint32_t first);    // num, and words first, first + 1, ...
};

fake_platform &fake();

// The addresses of the fake's register map; those of block XL wrap.
uint32_t fake_base(kel_asic_blk_t block, uint32_t instance);
uint32_t fake_rreg(kel_asic_blk_t block, uint32_t instance, kel_asic_reg_t vreg);

// Faults of the C library. Only calls made between arm() and disarm() count, so that the test's own
// do not; the n-th of a kind fails, 0 for none.
struct libc_faults {
  unsigned fail_calloc = 0, fail_realloc = 0, fail_fopen = 0, fail_fseek = 0;
  unsigned callocs = 0, reallocs = 0, fopens = 0, fseeks = 0;  // counted since arm()
  bool marker_file = false;                                    // /bootflash/kel_lib_debug is there
  const char *log_path = nullptr;                              // opened in place of the log file
  int64_t seconds = 0, microseconds = 0;                       // the clock
  char outputs[64] = "";  // since arm(): an s for a text to standard output, an l for one to a file
  bool armed = false;  // no member needs a destructor: calloc runs before any could be registered

  void arm();
  void disarm();
};

libc_faults &faults();

// Initialises the library as a client does; the fake's limits and the faults stand as set before.
syserr_t initialise();
syserr_t initialise_with_trace();  // and drops its lines

// What the log file of this process has got since the last call: the lines without their date and
// time, from the level on, such as "|t|  0 |   : lib_mrv_asic_read: Enter".
std::vector<std::string> trace_lines();
// Such lines, as a test expects them.
std::string enter_line(const std::string &operation);
std::string exit_line(const std::string &operation);
std::string detail_line(uint32_t number, const std::string &message);
// The log file as it stands, to the byte.
std::string log_text();
std::string log_path();

// A caller's identification as the operations take it: context, file, line, func.
#define CALLER 0x51U, const_cast<char *>("client.c"), 42, "client"

// A register, and the single-register operations on it by CALLER.
struct reg_place {
  int module = 0;
  kel_asic_num_t asic = 0;
  kel_asic_blk_t block = KEL_ASIC_BLK_HI;
  uint32_t instance = 2;
  kel_asic_reg_t vreg = 5;
};
syserr_t read_reg(const reg_place &place, uint32_t *data);
syserr_t write_reg(const reg_place &place, uint32_t data, uint32_t code = KEL_ASIC_WR_SYMBOLIC);
syserr_t write_field(const reg_place &place, uint32_t value, uint32_t mask,
                     uint32_t code = KEL_ASIC_WR_SYMBOLIC);

// Opens a transaction "mine", reordering allowed, with one write in it.
void open_transaction();
// Commits, and gives the record that was sent; a record of zeros when there was none.
kel_asic_xn_t commit();

// The header of a register request as it should arrive, to the byte; by default from CALLER.
std::vector<uint32_t> request_header(kel_asic_access_type_t type, int module, uint32_t asic,
                                     uint32_t addr, uint32_t data, uint32_t mask, uint32_t num,
                                     const char *func = "client", uint32_t line = 42,
                                     const char *file = "client.c", uint32_t context = 0x51);

#endif
