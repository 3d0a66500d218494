// The register request, byte by byte, and what becomes of the service's result.
#include <gtest/gtest.h>

#include <cerrno>
#include <climits>

#include "fake_platform.h"

namespace {

uint32_t value;

// The single-register operations, one request each.
syserr_t read_as(uint32_t context, char *file, int line, const char *func) {
  return lib_mrv_asic_read(3, 0, KEL_ASIC_BLK_HI, 2, 5, &value, context, file, line, func);
}

syserr_t write_as(uint32_t context, char *file, int line, const char *func) {
  return lib_mrv_asic_write(2, 0, KEL_ASIC_BLK_XL, 3, 183, 0x8899AABB, KEL_ASIC_WR_SYMBOLIC,
                            context, file, line, func);
}

syserr_t write_field_as(uint32_t context, char *file, int line, const char *func) {
  return lib_mrv_asic_write_field(0, 0x01020304, KEL_ASIC_NUM_BLK, 9, 0xFFFFFFF8, 0x3, 0x30,
                                  KEL_ASIC_WR_RAW, context, file, line, func);
}

constexpr struct {
  syserr_t (*call_as)(uint32_t context, char *file, int line, const char *func);
  uint32_t case_code;
  kel_asic_access_type_t type;
  int module;
  uint32_t asic, addr, data, mask;
} operations[] = {
    {read_as, 0x40000000, TYPE_READ, 3, 0, 0x13020028, 0, ~0U},
    {write_as, 0x40000001, TYPE_WRITE, 2, 0, 0xFFFD05B4, 0x8899AABB, ~0U},
    {write_field_as, 0x40000001, TYPE_WRITE_FIELD, 0, 0x01020304, 0xFFFFFFF8, 0x3, 0x30},
};

// What an earlier function leaves on the stack must not be sent.
__attribute__((noinline)) void poison_stack() {
  volatile char litter[4096];
  for (volatile char &byte : litter)
    byte = 'X';
}

void expect_requests(const char *file, const char *func) {
  for (const auto &op : operations) {
    poison_stack();
    EXPECT_EQ(op.call_as(0xC0FFEE01, const_cast<char *>(file), -2, func), 0U);
    const sent_call &sent = fake().calls.back();
    EXPECT_EQ(sent.header(), request_header(op.type, op.module, op.asic, op.addr, op.data, op.mask,
                                            0, func != nullptr ? func : "", 0xFFFFFFFE,
                                            file != nullptr ? file : "", 0xC0FFEE01));
    EXPECT_EQ(sent.case_code, op.case_code);
    EXPECT_EQ(sent.length, 196U);
    EXPECT_EQ(sent.driver_id, 0xA1B2C3D4U);
  }
}

}  // namespace

TEST(Request, holds_each_field_in_its_place) {
  lib_mrv_asic_init(3, 0xA1B2C3D4, CALLER);
  expect_requests("dir/client.c", nullptr);
  expect_requests(nullptr, "function");
  for (std::size_t length : {0U, 1U, 30U, 31U, 32U, 40U, 126U, 127U, 128U, 200U}) {
    const std::string text(length, 't');
    expect_requests(text.c_str(), text.c_str());
  }
}
