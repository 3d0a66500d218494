// The virtual platform, driven through the six platform functions and its controls.
#include "virtual_platform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "dhs_tables.h"
#include "kel_asic_lib_common.h"
#include "platform/card_config.h"
#include "platform/register_map.h"
#include "platform/system_service.h"

namespace {

constexpr uint32_t kAll = 0xFFFFFFFF;

std::size_t allocations_left = SIZE_MAX;

}  // namespace

[[gnu::noinline]] void *operator new(std::size_t size) {
  void *const memory = allocations_left == 0 ? nullptr : std::malloc(size);
  if (memory == nullptr)
    throw std::bad_alloc();
  --allocations_left;
  return memory;
}

[[gnu::noinline]] void operator delete(void *memory) noexcept {
  std::free(memory);
}

[[gnu::noinline]] void operator delete(void *memory, std::size_t) noexcept {
  std::free(memory);
}

namespace {

uint32_t address(kel_asic_blk_t block, uint32_t instance, kel_asic_reg_t vreg) {
  return kel_asic_get_all_base_table(KEL_ASIC_VER_B0)[block][instance] +
         kel_asic_get_all_reg_table(KEL_ASIC_VER_B0)[block][vreg];
}

// Sends a record; 0, or the errno of the failure.
int send(uint32_t case_code, void *record, size_t length) {
  sys_srvc_case_params_t params = {KEL_ASIC_DRIVER_MORVANE, record};
  const int result = sse_call2(case_code, &params, static_cast<uint32_t>(length));
  EXPECT_TRUE(result == 0 || result == -1) << result;
  return result == 0 ? 0 : errno;
}

// The words of a register request, with five data words after its header.
using Request = std::array<uint32_t, 49 + 5>;
enum Word : size_t { kData = 4, kNum = 6, kWords = 49 };

int read(Request &request, size_t room = 0) {
  return send(SYSSRV_REG_READ_CASE, request.data(), 4 * (kWords + room));
}

int write(Request request, size_t room = 0) {
  return send(SYSSRV_REG_WRITE_CASE, request.data(), 4 * (kWords + room));
}

uint32_t word_at(uint32_t addr) {
  Request request = {TYPE_READ, 0, 0, addr};
  EXPECT_EQ(read(request), 0);
  return request[kData];
}

// Words of a table register, or 0 for any other register.
uint32_t table_words(const KEL_ASIC_fn &funcs, kel_asic_blk_t block, kel_asic_reg_t vreg) {
  const dhs_table *table = find_dhs_table(block, vreg);
  uint32_t words = table == nullptr ? 0 : table->entries * static_cast<uint32_t>(table->words);
  for (uint32_t entry = 0; funcs.reg_dhs_entry_size(block, vreg, entry) > 0; ++entry) {
    EXPECT_TRUE(table != nullptr && table->words == 0) << block << " " << vreg;
    words += static_cast<uint32_t>(funcs.reg_dhs_entry_size(block, vreg, entry));
  }
  EXPECT_EQ(words == 0, table == nullptr) << block << " " << vreg;
  return words;
}

// How many registers each block has.
constexpr uint32_t kRegisters[KEL_ASIC_NUM_BLK] = {
    3933, 544, 842, 1584, 1106, 786, 246, 753, 169, 184, 36, 38, 364, 309, 243, 651, 43, 289, 184};

// Also run on a switch that morvaned serves, where all tests share one.
class VirtualPlatform : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(vp_reset(), 0); }
};

// mrvctl check tests the requirements on every platform, and has a separate test.
TEST_F(VirtualPlatform, has_a_word_at_every_address_of_its_own_and_none_behind_a_table) {
  KEL_ASIC_fn funcs{};
  kel_asic_limits_t limits{};
  kel_asic_ver_t version{};
  EXPECT_EQ(morvane_lib_init(&funcs, &limits, &version, 0, nullptr, 0, nullptr), 0U);
  EXPECT_TRUE(version == KEL_ASIC_VER_B0 && limits.max_hi == 32 && limits.max_ni == 8);
  for (uint32_t b = 0; b < KEL_ASIC_NUM_BLK; ++b) {
    const auto block = static_cast<kel_asic_blk_t>(b);
    for (uint32_t vreg = 0; vreg < kRegisters[b]; ++vreg) {
      const uint32_t in_table = table_words(funcs, block, vreg), words = std::max(in_table, 1U);
      if (kel_asic_get_all_reg_table(version)[b][vreg] == KEL_ASIC_NO_REGISTER) {
        ASSERT_EQ(in_table, 0U) << b << " " << vreg;
        continue;
      }
      const uint32_t last = address(block, 0, vreg) + 4 * (words - 1);
      ASSERT_EQ(word_at(last), 0U) << b << " " << vreg;
      Request run_beyond = {TYPE_READ_DHS, 0, 0, last, 0, kAll, 2};
      ASSERT_TRUE(in_table == 0 || read(run_beyond, 2) == EFAULT) << b << " " << vreg;
    }
  }
}

TEST_F(VirtualPlatform, writes_a_run_completely_or_not_at_all) {
  const uint32_t before_a_hole = address(KEL_ASIC_BLK_HR, 0, 25);
  Request request = {TYPE_WRITE_DHS, 0, 0, before_a_hole, 0, kAll, 3};
  request[kWords] = 1;
  EXPECT_EQ(write(request, 3), EFAULT);
  EXPECT_EQ(word_at(before_a_hole), 0U);
}

TEST_F(VirtualPlatform, applies_a_write_completely_or_not_at_all_when_memory_runs_out) {
  const uint32_t page_end = address(KEL_ASIC_BLK_HI, 0, HI_HI0_DHS_LVIF_TCAM_OFFSET) | 0xFFC;
  const uint32_t other = address(KEL_ASIC_BLK_NI, 0, 7);
  Request run = {TYPE_WRITE_DHS, 0, 0, page_end, 0, kAll, 2};
  run[kWords] = run[kWords + 1] = 1;
  static kel_asic_xn_t transaction;
  transaction.num = 3;
  transaction.xn[0] = {0, 0, page_end, 1, kAll};
  transaction.xn[1] = {0, 0, other, 1, kAll};
  transaction.xn[2] = {0, 0, page_end + 4, 1, kAll};
  const auto write_run = [&] { return write(run, 2); };
  const auto commit = [] { return send(SYSSRV_MEM_WRITE_CASE, &transaction, sizeof transaction); };
  const auto fails_without_a_trace = [&](const auto &write_all, std::size_t allocations) {
    EXPECT_EQ(vp_reset(), 0);
    allocations_left = allocations;
    const int error = write_all();
    allocations_left = SIZE_MAX;
    EXPECT_TRUE(error == 0 || error == ENOMEM) << error;
    const uint32_t expected = error == 0 ? 1 : 0;
    EXPECT_TRUE(word_at(page_end) == expected && word_at(page_end + 4) == expected);
    return error != 0;
  };
  std::size_t run_allocations = 0, commit_allocations = 0;
  while (fails_without_a_trace(write_run, run_allocations))
    ++run_allocations;
  while (fails_without_a_trace(commit, commit_allocations))
    ++commit_allocations;
  const bool is_remote = std::getenv("MORVANE_SWITCH") != nullptr;
  EXPECT_TRUE(is_remote || (run_allocations > 1 && commit_allocations > run_allocations));
}

TEST_F(VirtualPlatform, refuses_a_bad_request_with_the_errno_of_its_fault) {
  const uint32_t good = address(KEL_ASIC_BLK_HI, 0, 7), table = address(KEL_ASIC_BLK_HI, 0, 1461);
  const uint32_t reads = SYSSRV_REG_READ_CASE, writes = SYSSRV_REG_WRITE_CASE;
  const struct {
    const char *fault;
    int expected;
    uint32_t case_code;
    size_t length;
    Request request;  // type, module, ASIC, address, data, mask, number of words
  } cases[] = {
      {"case", ENOSYS, 0x40000004, 196, {TYPE_READ, 0, 0, good}},
      {"no header", EMSGSIZE, reads, 195, {TYPE_READ, 0, 0, good}},
      {"words of one write", EMSGSIZE, writes, 200, {TYPE_WRITE, 0, 0, good}},
      {"half a word", EMSGSIZE, reads, 202, {TYPE_READ_DHS, 0, 0, good, 0, kAll, 1}},
      {"no room", EMSGSIZE, writes, 200, {TYPE_WRITE_DHS, 0, 0, good, 0, kAll, 0x40000001}},
      {"no transaction", EMSGSIZE, SYSSRV_MEM_WRITE_CASE, 200, {}},
      {"timer with words", EMSGSIZE, SYSSRV_SP_TIME_CONFIGURE, 200, {}},
      {"no statistics", EMSGSIZE, SYSSRV_MEM_READ_CASE, 196, {}},
      {"write as a read", EINVAL, reads, 196, {TYPE_WRITE, 0, 0, good}},
      {"read as a write", EINVAL, writes, 200, {TYPE_READ_DHS, 0, 0, good, 0, kAll, 1}},
      {"timer", EINVAL, SYSSRV_SP_TIME_CONFIGURE, 196, {TYPE_READ, 0, 0, 0, 0x10000}},
      {"module", ENXIO, writes, 196, {TYPE_WRITE, kAll, 0, good}},
      {"ASIC", ENXIO, writes, 200, {TYPE_WRITE_DHS, 0, 1, good, 0, kAll, 1}},
      {"port", ENXIO, writes, 196, {TYPE_WRITE, 0, 0x320, KEL_ASIC_CMD_LINK_PAUSE_ENABLE, 0, kAll}},
      {"address 0", EFAULT, reads, 196, {TYPE_READ}},
      {"odd address", EFAULT, writes, 196, {TYPE_WRITE, 0, 0, table + 2}},
      {"read of a command", EFAULT, reads, 196, {TYPE_READ, 0, 0, 0xFFFFFFFC}},
  };
  for (const auto &c : cases) {
    Request request = c.request;
    EXPECT_EQ(send(c.case_code, request.data(), c.length), c.expected) << c.fault;
  }
  static kel_asic_xn_t transaction;
  transaction.num = 1;  // to address 0
  EXPECT_EQ(send(SYSSRV_MEM_WRITE_CASE, &transaction, sizeof transaction), EFAULT);
  transaction.num = KEL_ASIC_XN_ENTRIES + 1;
  EXPECT_EQ(send(SYSSRV_MEM_WRITE_CASE, &transaction, sizeof transaction), EINVAL);
  EXPECT_EQ(send(reads, nullptr, 196), EFAULT);
  uint32_t type = 0;
  EXPECT_EQ(cardcfg_get_real_asic_type(0, 1, &type), -1);
  EXPECT_EQ(vp_port_count(CARDCFG_PORT_TYPE_NIF), 8U);
  const vp_traffic class_8 = {VP_N2H, 8, 1, 0};
  EXPECT_EQ(vp_add_traffic(0, 0, CARDCFG_PORT_TYPE_HIF, 0, &class_8), EINVAL);
}

TEST_F(VirtualPlatform, tells_the_watcher_of_every_call_and_lets_calls_go_wrong_in_turn) {
  std::vector<vp_call> seen;
  vp_watch(
      [](vp_phase phase, const vp_call *call, void *user) {
        auto *calls = static_cast<std::vector<vp_call> *>(user);
        EXPECT_EQ(phase, calls->size() % 2 == 0 ? VP_CALL_SENT : VP_CALL_ANSWERED);
        EXPECT_TRUE(phase != VP_CALL_SENT || call->result == 0);
        calls->push_back(*call);
        errno = ENOTTY;
      },
      &seen);
  Request request = {TYPE_READ, 0, 0, address(KEL_ASIC_BLK_QS, 0, 0)};
  sys_srvc_case_params_t params = {1, request.data()};
  vp_answer_next_call(4);
  vp_fail_next_call(ETIMEDOUT);
  vp_answer_next_call(-2);
  const int answers[][2] = {{4, 0}, {-1, ETIMEDOUT}, {-2, EIO}, {-1, ENODEV}};
  for (const auto &[result, error_number] : answers) {
    EXPECT_EQ(sse_call2(SYSSRV_REG_READ_CASE, &params, 196), result);
    EXPECT_EQ(errno, result < 0 ? error_number : ENOTTY);
    EXPECT_TRUE(seen.back().result == result && seen.back().error_number == error_number);
    EXPECT_TRUE(seen.back().case_code == SYSSRV_REG_READ_CASE && seen.back().driver_id == 1);
    EXPECT_TRUE(seen.back().record == params.params && seen.back().length == 196);
  }
  vp_fail_next_call(EBUSY);
  vp_reset();
  errno = ENOTTY;
  EXPECT_EQ(read(request), 0);
  EXPECT_EQ(errno, ENOTTY);
  EXPECT_EQ(seen.size(), 2U * 4U);
}

TEST_F(VirtualPlatform, has_controls_that_refuse_missing_arguments_and_values_out_of_range) {
  const auto hif = CARDCFG_PORT_TYPE_HIF;
  const vp_fault *faults = nullptr;
  const char *text = nullptr;
  uint32_t number = 0;
  vp_monitor *monitor = nullptr;
  const std::string long_name(40, 'w');
  const int results[][2] = {
      {vp_switch_info(nullptr), EFAULT},
      {vp_asic_show(0, 0, nullptr), EFAULT},
      {vp_add_fault(nullptr), EFAULT},
      {vp_faults(nullptr, &number), EFAULT},
      {vp_faults(&faults, nullptr), EFAULT},
      {vp_save(nullptr, &number), EFAULT},
      {vp_save(&text, nullptr), EFAULT},
      {vp_restore(nullptr, 0, &number), EFAULT},
      {vp_restore("", 0, nullptr), EFAULT},
      {vp_add_traffic(0, 0, hif, 0, nullptr), EFAULT},
      {vp_add_flow(0, 0, hif, 0, nullptr), EFAULT},
      {vp_monitor_open(nullptr), EFAULT},
      {vp_monitor_next(nullptr, 0, nullptr), EFAULT},
      {vp_set_field(0, 0, hif, 0, nullptr, 1), EFAULT},
      {vp_set_field(0, 0, hif, 0, long_name.c_str(), 1), EINVAL},
      {vp_stop_flows(0, 0, hif, 32), ENXIO},
      {vp_stop_flows(4, 0, CARDCFG_PORT_TYPE_MAX, 0), ENXIO},
      {vp_delay_calls(1, 0), EINVAL},
      {vp_delay_calls(UINT32_MAX / 1000 + 1, 1), EINVAL},
      {cardcfg_get_real_asic_type(0, 0, nullptr), -1},
      {cardcfg_card_get_sw_card_id(0, nullptr), -1},
  };
  for (size_t i = 0; i < std::size(results); ++i)
    EXPECT_EQ(results[i][0], results[i][1]) << "call " << i;
  vp_switch shown = {};
  EXPECT_TRUE(vp_switch_info(&shown) == 0 && shown.modules == 4);
  EXPECT_EQ(vp_monitor_open(&monitor), vp_switch_address() == nullptr ? ENOTCONN : 0);
  vp_monitor_close(monitor);
}

TEST_F(VirtualPlatform, answers_another_num_to_the_next_run_alone_and_has_room_for_so_many_faults) {
  Request request = {TYPE_READ, 0, 0, address(KEL_ASIC_BLK_QS, 0, 0)};
  ASSERT_EQ(vp_answer_next_num(3), 0);
  EXPECT_EQ(read(request), 0);
  EXPECT_EQ(request[kNum], 0U);
  request = {TYPE_READ_DHS, 0, 0, address(KEL_ASIC_BLK_QS, 0, 0), 0, 0, 1};
  EXPECT_EQ(read(request, 1), 0);
  EXPECT_EQ(request[kNum], 3U);
  const vp_fault *fault = nullptr;
  uint32_t count = 0;
  ASSERT_TRUE(vp_delay_calls(20, 3) == 0 && vp_faults(&fault, &count) == 0 && count == 2);
  EXPECT_TRUE(fault[1].min_delay_us == 20000 && fault[1].max_delay_us == 20000);
  EXPECT_EQ(fault[1].times, 3U);
  // The used fault goes for the 65th; there is no room for another.
  for (uint32_t added = count; added <= VP_FAULTS_MAX; ++added)
    ASSERT_EQ(vp_fail_next_call(EIO), 0);
  EXPECT_EQ(vp_fail_next_call(EIO), ENOSPC);
  ASSERT_EQ(vp_faults(&fault, &count), 0);
  EXPECT_TRUE(count == VP_FAULTS_MAX && fault[0].min_delay_us == 20000);
}

}  // namespace
