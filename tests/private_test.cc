// State of the library that no caller sees: the pending transaction, the buffer of a trace line,
// and several ASICs in one context, as no initialisation leaves it. Then each operation uses the
// slot of its ASIC, and a program sweeps over them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>

#include "fake_platform.h"
#include "kel_asic_lib_private.h"
#include "trace_log.h"
#include "transaction.h"

namespace {

using words = std::vector<uint32_t>;

// Slots that hold an ASIC besides slot 0, which all but their highest number is copied from.
void initialise_with_asics(const words &asics) {
  initialise_with_trace();
  for (const uint32_t asic : asics) {
    lib_ctx.asic_specific[asic] = lib_ctx.asic_specific[0];
    lib_ctx.asic_specific[asic].limits.max_asic = 3;
  }
}

// Runs two steps, in which the writes to some ASICs fail. Gives what was written to, as
// asic * 16 + step.
words sweep(uint32_t asic, syserr_t expected = 0, const words &failing = {}) {
  kel_asic_pgm_t steps[] = {{KEL_ASIC_PGM_MAGIC, KEL_ASIC_BLK_HI, 0, 0, 1, ~0U},
                            {KEL_ASIC_PGM_MAGIC, KEL_ASIC_BLK_HI, 0, 0, 2, 0xF}};
  words written;
  fake().answer = [&](uint32_t, void *record, uint32_t) {
    const auto *request = static_cast<kel_asic_reg_access_params_t *>(record);
    written.push_back(request->asic * 16 + request->data);
    errno = static_cast<int>(16 + request->asic);
    return std::count(failing.begin(), failing.end(), request->asic) != 0 ? -1 : 0;
  };
  EXPECT_EQ(lib_mrv_asic_pgm(0, asic, steps, 2, CALLER), expected);
  return written;
}

}  // namespace

TEST(ProgramSweep, writes_a_step_to_each_selected_asic_before_the_next) {
  initialise_with_asics({1, 2, 3});
  EXPECT_EQ(sweep(0x80000003), (words{0x01, 0x11, 0x02, 0x12}));
  EXPECT_EQ(sweep(0xFFFFFFFA), (words{0x11, 0x31, 0x12, 0x32}));
  trace_lines();
  EXPECT_EQ(sweep(3), (words{0x31, 0x32}));
  EXPECT_EQ(trace_lines()[1], "|l|  3 |   : lib_mrv_asic_pgm: 0 3 3 0 0 1");
  lib_ctx.asic_specific[1] = {};  // the sweep ends there, and so do the numbers
  EXPECT_EQ(sweep(0x8000000F), (words{0x01, 0x02}));
  EXPECT_EQ(sweep(2), words{});
}

TEST(ProgramSweep, has_the_status_of_the_last_write_of_a_step) {
  initialise_with_asics({1, 2});
  EXPECT_EQ(sweep(0x80000007, 0, {0, 1}), (words{0x01, 0x11, 0x21, 0x02, 0x12, 0x22}));
  EXPECT_EQ(sweep(0x80000003, 0x82230011, {0, 1}), (words{0x01, 0x11}));
}

TEST(SecondAsic, is_checked_and_asked_by_its_own_slot) {
  initialise_with_asics({1});
  kel_asic_specific_context_t &slot = lib_ctx.asic_specific[1];
  slot.limits.max_hi = 40;
  slot.limits.max_ni = 0;
  slot.funcs.reg_dhs_entry_size = [](kel_asic_blk_t, kel_asic_reg_t, uint32_t) { return 3; };
  uint32_t data[3] = {};
  fake().answer = [](uint32_t case_code, void *record, uint32_t) {
    if (case_code == SYSSRV_REG_READ_CASE)
      static_cast<kel_asic_reg_access_params_t *>(record)->num = 1;
    return 0;
  };
  trace_lines();
  lib_mrv_asic_n_read(0, 1, KEL_ASIC_BLK_HI, 0, 0, data, 3, CALLER);
  for (const auto call : {lib_mrv_asic_read_dhs, lib_mrv_asic_write_dhs})
    EXPECT_EQ(call(0, 1, KEL_ASIC_BLK_HF, 0, HF_DHS_RESULT_00_OFFSET, 0, data, 1, CALLER), 0U);
  int numbered = 0;  // lines of the trace that contain the ASIC
  for (const std::string &line : trace_lines())
    numbered += line.rfind("|l|  1 |   : lib_mrv_asic_", 0) == 0;
  EXPECT_EQ(numbered, 2 + 3 + 5);
  lib_mrv_asic_prog_sp_timer(0, 1, 9);
  ASSERT_EQ(fake().calls.size(), 4U);
  for (const sent_call &call : fake().calls) {
    EXPECT_EQ(call.request().asic, 1U);
    EXPECT_EQ(call.request().num, call.case_code == SYSSRV_SP_TIME_CONFIGURE ? 0U : 3U);
  }
  lib_mrv_asic_link_pause_enable(0, 1, CARDCFG_PORT_TYPE_HIF, 39);
  EXPECT_EQ(fake().calls.back().request().asic, 0x00010327U);
  EXPECT_EQ(lib_mrv_asic_link_pause_enable(0, 1, CARDCFG_PORT_TYPE_NIF, 0),
            SYSERR_KEL_ASIC_INVALID_ARG);
  lib_mrv_asic_clear_all_qos_stats(0, 1, 0);
  EXPECT_EQ(fake().calls.back().as<kel_asic_qos_stats_params_t>().asic, 1);
}

TEST(TraceLine, ends_with_one_newline_and_fits_its_buffer) {
  initialise_with_trace();
  char line[trace_line_size];
  constexpr std::size_t prefix = 40, longest = 190;  // but for the newline
  for (const char *end : {"", "\n"}) {
    for (std::size_t length : {0U, 1U, 148U, 149U, 150U, 151U, 152U, 400U, 3U}) {
      const std::size_t before = log_text().size();
      const std::string message(length, 'm');
      trace_write(line, 'l', 0, "%s%s", message.c_str(), end);
      EXPECT_EQ(log_text().substr(before + prefix), message.substr(0, longest - prefix) + "\n");
    }
  }
  const std::size_t before = log_text().size();
  trace_write(line, 'l', 0x80000000, "%s", std::string(300, 'm').c_str());
  EXPECT_EQ(log_text().substr(before + 27),
            "|l|  -2147483648 |   : " + std::string(140, 'm') + "\n");
}

TEST(PendingTransaction, is_opened_by_an_entry_that_finds_none) {
  initialise_with_trace();
  kel_asic_transaction_add(1, 0x80000002, 3, 4, 5);
  EXPECT_STREQ(pending_xn.name, "Collision Xn");
  EXPECT_EQ(pending_xn.reorder_allowed, 0);
  EXPECT_EQ(pending_xn.num, 1);
  const kel_asic_xn_entry_t entry = {1, INT32_MIN + 2, 3, 4, 5};
  EXPECT_EQ(std::memcmp(pending_xn.xn, &entry, sizeof entry), 0);
  EXPECT_EQ(trace_lines(),
            (std::vector<std::string>{"|t|  0 |   : kel_asic_transaction_add: Enter",
                                      "|t|  0 |   : mrv_asic_transaction_start: Enter",
                                      "|t|  0 |   : mrv_asic_transaction_start: Exit",
                                      "|t|  0 |   : kel_asic_transaction_add: Exit"}));
}

TEST(PendingTransaction, is_closed_in_three_fields_alone) {
  mrv_asic_transaction_start(const_cast<char *>("batch"), 7);
  kel_asic_transaction_add(1, 2, 3, 4, 5);
  kel_asic_xn_t expected = pending_xn;
  expected.name[0] = '\0';
  expected.reorder_allowed = expected.num = 0;
  mrv_asic_transaction_commit();
  EXPECT_EQ(std::memcmp(&pending_xn, &expected, sizeof expected), 0);
}

TEST(PendingTransaction, keeps_the_flag_of_a_start_without_a_name) {
  mrv_asic_transaction_start(const_cast<char *>(""), 7);
  EXPECT_FALSE(kel_asic_transaction_pending());
  EXPECT_EQ(pending_xn.reorder_allowed, 7);
}
