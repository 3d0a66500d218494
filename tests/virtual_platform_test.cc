// The virtual platform, driven through the six platform functions and its controls.
#include "virtual_platform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "kel_asic_lib_common.h"
#include "platform/register_map.h"
#include "platform/system_service.h"

namespace {

constexpr cardcfg_port_type_t kHif = CARDCFG_PORT_TYPE_HIF, kNif = CARDCFG_PORT_TYPE_NIF;
constexpr uint32_t kAll = 0xFFFFFFFF;

class VirtualPlatform : public testing::Test {
 protected:
  VirtualPlatform() {
    vp_reset();
    EXPECT_EQ(morvane_lib_init(&funcs, &limits, &version, 0, nullptr, 0, nullptr), 0U);
    bases = kel_asic_get_all_base_table(version);
    offsets = kel_asic_get_all_reg_table(version);
  }

  uint32_t address(kel_asic_blk_t block, uint32_t instance, kel_asic_reg_t vreg) const {
    return bases[block][instance] + offsets[block][vreg];
  }

  KEL_ASIC_fn funcs{};
  kel_asic_limits_t limits{};
  kel_asic_ver_t version{};
  const kel_asic_reg_t **bases;
  const kel_asic_reg_t **offsets;
};

// Sends a record; 0, or the errno of the failure.
int send(uint32_t case_code, void *record, size_t length,
         uint32_t driver = KEL_ASIC_DRIVER_MORVANE) {
  sys_srvc_case_params_t params = {driver, record};
  errno = 0;
  const int result = sse_call2(case_code, &params, static_cast<uint32_t>(length));
  EXPECT_TRUE(result == 0 || result == -1) << result;
  return result == 0 ? 0 : errno;
}

// A register request with room for five data words behind its header.
struct Request {
  std::array<uint32_t, 49 + 5> storage{};

  Request(uint32_t type, uint32_t addr, uint32_t num = 0) {
    storage[0] = type;
    storage[3] = addr;
    storage[5] = kAll;
    storage[6] = num;
  }
  kel_asic_reg_access_params_t *operator->() {
    return reinterpret_cast<kel_asic_reg_access_params_t *>(storage.data());
  }
  int read(size_t room = 0) { return send(SYSSRV_REG_READ_CASE, storage.data(), 196 + 4 * room); }
  int write(size_t room = 0) { return send(SYSSRV_REG_WRITE_CASE, storage.data(), 196 + 4 * room); }
};

uint32_t word_at(uint32_t addr, int module = 0) {
  Request request(TYPE_READ, addr);
  request->module = module;
  EXPECT_EQ(request.read(), 0);
  return request->data;
}

int write_word(uint32_t addr, uint32_t data, uint32_t asic = 0) {
  Request request(TYPE_WRITE, addr);
  request->asic = asic;
  request->data = data;
  return request.write();
}

int qos(uint32_t type, cardcfg_port_type_t port_type, uint8_t port,
        kel_asic_qos_stats_t *stats = nullptr, uint8_t module = 0, uint8_t asic = 0) {
  kel_asic_qos_stats_params_t request = {type, module, asic, port_type, port, {}, 0};
  const int refusal = send(SYSSRV_MEM_READ_CASE, &request, sizeof request);
  if (stats != nullptr)
    *stats = request.stats;
  return refusal;
}

std::string bytes_of(const kel_asic_qos_stats_t &stats) {
  return {reinterpret_cast<const char *>(&stats), sizeof stats};
}

vp_asic_state shown(uint32_t module = 0) {
  vp_asic_state state{};
  EXPECT_EQ(vp_asic_show(module, 0, &state), 0);
  return state;
}

// What clients know of table registers; 0 words: the hook tells.
struct Table {
  uint32_t block, first, last, entries, words;
};

constexpr uint32_t SS = 0, HR = 1, NR = 2, HI = 3, HF = 6, NF = 7, CI = 8, QS = 17;
const Table kTables[] = {
    {SS, 2690, 2690, 1024, 1}, {SS, 2692, 2721, 1024, 2}, {HR, 87, 87, 403, 1},
    {HR, 170, 170, 403, 1},    {HR, 253, 253, 403, 1},    {HR, 336, 336, 403, 1},
    {HR, 344, 352, 32, 1},     {HR, 416, 416, 403, 1},    {HR, 481, 481, 403, 1},
    {NR, 87, 87, 403, 1},      {NR, 178, 178, 403, 1},    {NR, 269, 269, 403, 1},
    {NR, 360, 360, 403, 1},    {NR, 368, 401, 32, 1},     {NR, 494, 494, 403, 1},
    {NR, 585, 585, 403, 1},    {NR, 593, 608, 32, 1},     {HI, 309, 309, 0, 0},
    {HI, 1250, 1250, 1024, 1}, {HI, 1461, 1461, 1024, 1}, {HF, 0, 0, 16384, 1},
    {HF, 1, 1, 16384, 2},      {HF, 3, 3, 4096, 1},       {HF, 108, 108, 2048, 16},
    {HF, 109, 109, 1024, 1},   {HF, 110, 110, 0, 0},      {HF, 116, 116, 64, 8},
    {HF, 225, 226, 1024, 2},   {NF, 0, 0, 16384, 1},      {NF, 1, 1, 0, 0},
    {NF, 4, 5, 0, 0},          {NF, 516, 516, 2048, 16},  {NF, 517, 517, 1024, 2},
    {NF, 518, 518, 0, 0},      {NF, 641, 641, 4096, 2},   {NF, 644, 644, 0, 0},
    {NF, 752, 752, 2048, 16},  {CI, 130, 130, 256, 2},    {QS, 264, 271, 512, 1},
    {QS, 282, 283, 256, 1},    {QS, 284, 285, 32, 1}};

// Words of a table register, or 0 for any other register.
uint32_t table_words(const KEL_ASIC_fn &funcs, kel_asic_blk_t block, kel_asic_reg_t vreg) {
  for (const Table &table : kTables) {
    if (table.block != block || vreg < table.first || vreg > table.last)
      continue;
    uint32_t entries = table.entries, words = table.words;
    while (table.words == 0 && funcs.reg_dhs_entry_size(block, vreg, entries) > 0)
      words = static_cast<uint32_t>(funcs.reg_dhs_entry_size(block, vreg, entries++));
    EXPECT_GT(entries * words, 0U) << block << " " << vreg;
    return entries * words;
  }
  return 0;
}

constexpr std::pair<uint32_t kel_asic_limits_t::*, uint32_t> kBlocks[KEL_ASIC_NUM_BLK] = {
    {&kel_asic_limits_t::max_ss, 3933},     {&kel_asic_limits_t::max_hr, 544},
    {&kel_asic_limits_t::max_nr, 842},      {&kel_asic_limits_t::max_hi, 1584},
    {&kel_asic_limits_t::max_ni, 1106},     {&kel_asic_limits_t::max_si, 786},
    {&kel_asic_limits_t::max_hf, 246},      {&kel_asic_limits_t::max_nf, 753},
    {&kel_asic_limits_t::max_ci, 169},      {&kel_asic_limits_t::max_bi, 184},
    {&kel_asic_limits_t::max_cc, 36},       {&kel_asic_limits_t::max_pc, 38},
    {&kel_asic_limits_t::max_rs_edma, 364}, {&kel_asic_limits_t::max_rs_pcie, 309},
    {&kel_asic_limits_t::max_misc, 243},    {&kel_asic_limits_t::max_ch, 651},
    {&kel_asic_limits_t::max_mb, 43},       {&kel_asic_limits_t::max_qs, 289},
    {&kel_asic_limits_t::max_xl, 184}};

TEST_F(VirtualPlatform, gives_every_register_and_table_entry_an_address_of_its_own) {
  EXPECT_EQ(limits.max_asic, 0U);
  EXPECT_EQ(limits.max_hi, 32U);
  EXPECT_EQ(limits.max_ni, 8U);
  std::vector<std::pair<uint64_t, uint64_t>> windows;
  for (uint32_t b = 0; b < KEL_ASIC_NUM_BLK; ++b) {
    const auto block = static_cast<kel_asic_blk_t>(b);
    for (uint32_t vreg = 0; vreg < kBlocks[b].second; ++vreg) {
      const uint32_t in_table = table_words(funcs, block, vreg), words = std::max(in_table, 1U);
      if (offsets[b][vreg] == KEL_ASIC_NO_REGISTER) {
        ASSERT_EQ(in_table, 0U) << b << " " << vreg;
        continue;
      }
      ASSERT_GE(limits.*kBlocks[b].first, 1U);
      for (uint32_t instance = 0; instance < limits.*kBlocks[b].first; ++instance) {
        const uint32_t begin = address(block, instance, vreg), last = begin + 4 * (words - 1);
        windows.emplace_back(begin, uint64_t{last} + 4);
        ASSERT_EQ(word_at(last), 0U) << b << " " << vreg;
        Request run_beyond(TYPE_READ_DHS, last, 2);
        ASSERT_TRUE(in_table == 0 || run_beyond.read(2) == EFAULT) << b << " " << vreg;
      }
    }
  }
  std::sort(windows.begin(), windows.end());
  for (size_t i = 1; i < windows.size(); ++i)
    ASSERT_LE(windows[i - 1].second, windows[i].first);
  EXPECT_LT(windows.back().second, KEL_ASIC_CMD_CLEAR_DROP_COUNTERS);
}

TEST_F(VirtualPlatform, tells_by_its_hook_the_entry_size_of_seven_tables_alone) {
  int answered = 0;
  for (uint32_t b = 0; b <= KEL_ASIC_NUM_BLK; ++b) {
    for (uint32_t vreg = 0; vreg < 4000; ++vreg) {
      const auto block = static_cast<kel_asic_blk_t>(b);
      answered += funcs.reg_dhs_entry_size(block, vreg, 0) >= 1;
      ASSERT_LT(funcs.reg_dhs_entry_size(block, vreg, kAll), 1);
    }
  }
  EXPECT_EQ(answered, 7);
  EXPECT_GT(funcs.reg_dhs_entry_size(KEL_ASIC_BLK_HF, HF_DHS_RESULT_00_OFFSET, 0), 1);
}

TEST_F(VirtualPlatform, hands_out_its_map_for_its_own_revision_alone) {
  const auto other = static_cast<kel_asic_ver_t>(version - 1);
  EXPECT_EQ(kel_asic_get_all_base_table(other), nullptr);
  EXPECT_EQ(kel_asic_get_all_reg_table(other), nullptr);
  const syserr_t invalid = SYSERR_KEL_ASIC_INVALID_ARG;
  EXPECT_EQ(morvane_lib_init(nullptr, &limits, &version, 0, nullptr, 0, nullptr), invalid);
  EXPECT_EQ(morvane_lib_init(&funcs, nullptr, &version, 0, nullptr, 0, nullptr), invalid);
  EXPECT_EQ(morvane_lib_init(&funcs, &limits, nullptr, 0, nullptr, 0, nullptr), invalid);
}

TEST_F(VirtualPlatform, shows_the_card_that_is_plugged_in_until_a_reset) {
  uint32_t type = 0;
  uint16_t id = 0;
  vp_set_card(3, 266);
  EXPECT_EQ(cardcfg_get_real_asic_type(9, 0, &type), 0);
  EXPECT_EQ(cardcfg_card_get_sw_card_id(200, &id), 0);
  EXPECT_TRUE(type == 3 && id == 266 && vp_sw_card_id() == 266);
  vp_reset();
  EXPECT_EQ(cardcfg_get_real_asic_type(0, 0, &type), 0);
  EXPECT_TRUE(type == CARDCFG_DEV_TYPE_MORVANE && vp_sw_card_id() == 1);
  EXPECT_NE(cardcfg_get_real_asic_type(0, 0, nullptr), 0);
  EXPECT_NE(cardcfg_card_get_sw_card_id(0, nullptr), 0);
}

TEST_F(VirtualPlatform, keeps_words_by_module_and_changes_only_the_bits_under_a_field_mask) {
  const uint32_t addr = address(KEL_ASIC_BLK_HI, 2, 7);
  EXPECT_EQ(write_word(addr, 0xAABBCCDD), 0);
  Request field(TYPE_WRITE_FIELD, addr);
  field->data = 0x11223344;
  field->mask = 0x00FF0FF0;
  EXPECT_EQ(field.write(), 0);
  EXPECT_EQ(word_at(addr), 0xAA22C34DU);
  EXPECT_EQ(word_at(addr, 1), 0U);
  vp_reset();
  EXPECT_EQ(word_at(addr), 0U);
}

TEST_F(VirtualPlatform, moves_as_many_words_of_a_run_as_num_says) {
  const uint32_t addr = address(KEL_ASIC_BLK_HI, 0, 100);
  Request write(TYPE_WRITE_DHS, addr, 3), read(TYPE_READ_DHS, addr, 4);
  std::iota(write->pdata, write->pdata + 5, 1U);
  std::fill_n(read->pdata, 5, 9U);
  EXPECT_EQ(write.write(5), 0);
  EXPECT_EQ(word_at(address(KEL_ASIC_BLK_HI, 0, 102)), 3U);
  EXPECT_EQ(read.read(5), 0);
  EXPECT_EQ(std::vector<uint32_t>(read->pdata, read->pdata + 5),
            (std::vector<uint32_t>{1, 2, 3, 0, 9}));

  vp_answer_next_num(77);
  EXPECT_EQ(read.read(3), EMSGSIZE);
  EXPECT_EQ(read.read(4), 0);
  EXPECT_EQ(std::exchange(read->num, 5), 77U);
  EXPECT_EQ(read.read(5), 0);
  EXPECT_EQ(read->num, 5U);

  EXPECT_EQ(offsets[KEL_ASIC_BLK_HR][26], KEL_ASIC_NO_REGISTER);
  Request across_a_hole(TYPE_WRITE_DHS, address(KEL_ASIC_BLK_HR, 0, 25), 3);
  across_a_hole->pdata[0] = 1;
  EXPECT_EQ(across_a_hole.write(3), EFAULT);
  EXPECT_EQ(word_at(address(KEL_ASIC_BLK_HR, 0, 25)), 0U);
}

TEST_F(VirtualPlatform, refuses_a_bad_request_with_the_errno_of_its_fault) {
  const uint32_t good = address(KEL_ASIC_BLK_HI, 0, 7),
                 nobody = good + 32 * (bases[3][1] - bases[3][0]);
  const uint32_t table = address(KEL_ASIC_BLK_HI, 0, HI_DHS_LVIF_OFFSET);
  const uint32_t reads = SYSSRV_REG_READ_CASE, writes = SYSSRV_REG_WRITE_CASE;
  const uint32_t timer = SYSSRV_SP_TIME_CONFIGURE;
  const struct {
    const char *fault;
    int expected;
    uint32_t case_code;
    size_t length;
    uint32_t type, module, asic, addr, num, data;
  } cases[] = {
      {"case", ENOSYS, 0x40000004, 196, TYPE_READ, 0, 0, good, 0, 0},
      {"no header", EMSGSIZE, reads, 195, TYPE_READ, 0, 0, good, 0, 0},
      {"words of a single read", EMSGSIZE, reads, 200, TYPE_READ, 0, 0, good, 0, 0},
      {"words of a single write", EMSGSIZE, writes, 200, TYPE_WRITE, 0, 0, good, 0, 0},
      {"half a word", EMSGSIZE, reads, 202, TYPE_READ_DHS, 0, 0, good, 1, 0},
      {"no room", EMSGSIZE, writes, 200, TYPE_WRITE_DHS, 0, 0, good, 0x40000001, 0},
      {"long timer", EMSGSIZE, timer, 200, 0, 0, 0, 0, 0, 0},
      {"short statistics", EMSGSIZE, SYSSRV_MEM_READ_CASE, 200, 0, 0, 0, 0, 0, 0},
      {"short transaction", EMSGSIZE, SYSSRV_MEM_WRITE_CASE, 200, 0, 0, 0, 0, 0, 0},
      {"write as a read", EINVAL, reads, 196, TYPE_WRITE, 0, 0, good, 0, 0},
      {"read as a write", EINVAL, writes, 200, TYPE_READ_DHS, 0, 0, good, 1, 0},
      {"timer", EINVAL, timer, 196, 0, 0, 0, 0, 0, 0x10000},
      {"module", ENXIO, reads, 196, TYPE_READ, 4, 0, good, 0, 0},
      {"module below 0", ENXIO, writes, 196, TYPE_WRITE, kAll, 0, good, 0, 0},
      {"ASIC", ENXIO, writes, 200, TYPE_WRITE_DHS, 0, 1, good, 1, 0},
      {"ASIC of a timer", ENXIO, timer, 196, 0, 0, 1, 0, 0, 0},
      {"host port", ENXIO, writes, 196, TYPE_WRITE, 0, 0x320, KEL_ASIC_CMD_LINK_PAUSE_ENABLE, 0, 0},
      {"net port", ENXIO, writes, 196, TYPE_WRITE, 0, 0x208, KEL_ASIC_CMD_LINK_PAUSE_DISABLE, 0, 0},
      {"type", ENXIO, writes, 196, TYPE_WRITE, 0, 0x100, KEL_ASIC_CMD_SFP_VALIDATION_FAILED, 0, 0},
      {"whose", ENXIO, writes, 196, TYPE_WRITE, 0, 0x10000, KEL_ASIC_CMD_NODROP_CLASS_MAP, 0, 0},
      {"address 0", EFAULT, reads, 196, TYPE_READ, 0, 0, 0, 0, 0},
      {"odd address", EFAULT, writes, 196, TYPE_WRITE, 0, 0, table + 2, 0, 0},
      {"instance", EFAULT, reads, 196, TYPE_READ, 0, 0, nobody, 0, 0},
      {"read of a command", EFAULT, reads, 196, TYPE_READ, 0, 0, 0xFFFFFFFC, 0, 0},
  };
  for (const auto &c : cases) {
    Request request(c.type, c.addr, c.num);
    request->module = static_cast<int32_t>(c.module);
    request->asic = c.asic;
    request->data = c.data;
    EXPECT_EQ(send(c.case_code, request.storage.data(), c.length), c.expected) << c.fault;
  }
  Request request(TYPE_READ, good);
  EXPECT_EQ(send(reads, request.storage.data(), 196, 235), ENODEV);
  EXPECT_EQ(send(reads, nullptr, 196), EFAULT);
  EXPECT_EQ(sse_call2(reads, nullptr, 196), -1);
  EXPECT_EQ(errno, EFAULT);
  EXPECT_EQ(qos(3, kHif, 0), EINVAL);
  EXPECT_EQ(qos(QOS_STATS_GET, CARDCFG_PORT_TYPE_CIF, 0), ENXIO);
  EXPECT_EQ(qos(QOS_STATS_CLEAR, kNif, 8), ENXIO);
  EXPECT_EQ(qos(QOS_STATS_CLEAR_ALL, kHif, 0, nullptr, 0, 1), ENXIO);
}

TEST_F(VirtualPlatform, applies_a_transaction_in_order_up_to_its_number_or_not_at_all) {
  const uint32_t addr = address(KEL_ASIC_BLK_NI, 1, 20);
  static kel_asic_xn_t xn;
  xn.xn[0] = {2, 0, addr, 0x12345678, kAll};
  xn.xn[1] = {2, 0, addr, kAll, 0x000000F0};
  xn.xn[2] = {2, 0x305, KEL_ASIC_CMD_SFP_VALIDATION_FAILED, 0, kAll};
  xn.xn[3] = {2, 0, KEL_ASIC_CMD_NODROP_CLASS_MAP, 0, 0xFF};  // a command takes no mask
  const auto commit = [&](int32_t num) {
    xn.num = num;
    return send(SYSSRV_MEM_WRITE_CASE, &xn, sizeof xn);
  };
  EXPECT_EQ(commit(-1), EINVAL);
  EXPECT_EQ(commit(513), EINVAL);
  EXPECT_EQ(commit(4), EFAULT);
  EXPECT_EQ(commit(0), 0);
  EXPECT_EQ(word_at(addr, 2), 0U);
  EXPECT_EQ(shown(2).sfp_failures, 0U);
  EXPECT_EQ(commit(3), 0);
  EXPECT_EQ(word_at(addr, 2), 0x123456F8U);
  const vp_asic_state state = shown(2);
  EXPECT_TRUE(state.sfp_failures == 1 && state.last_sfp_port_type == 3 && state.last_sfp_port == 5);
}

TEST_F(VirtualPlatform, shows_what_commands_set_on_their_own_asic) {
  EXPECT_EQ(write_word(KEL_ASIC_CMD_NODROP_CLASS_MAP, 0, 0x5A), 0);
  Request timer(TYPE_READ, 0);
  timer->data = 0xFFFF;
  EXPECT_EQ(send(SYSSRV_SP_TIME_CONFIGURE, timer.storage.data(), 196), 0);
  EXPECT_TRUE(shown().nodrop_class_map == 0x5A && shown().sp_timer == 0xFFFF);
  EXPECT_TRUE(shown(3).nodrop_class_map == 0 && shown(3).sp_timer == 0);
  vp_asic_state state{};
  EXPECT_EQ(vp_asic_show(4, 0, &state), ENXIO);
  EXPECT_EQ(vp_asic_show(0, 1, &state), ENXIO);
  EXPECT_EQ(vp_asic_show(0, 0, nullptr), EFAULT);
}

TEST_F(VirtualPlatform, holds_excess_back_by_pfc_before_pause_and_drops_it_otherwise) {
  const vp_traffic n2h = {VP_N2H, 3, 100, 10}, h2n = {VP_H2N, 3, 50, 50};
  EXPECT_EQ(write_word(KEL_ASIC_CMD_NODROP_CLASS_MAP, 0, 0xF7), 0);
  EXPECT_EQ(vp_add_traffic(0, 0, kHif, 31, &n2h), 0);
  EXPECT_EQ(vp_add_traffic(0, 0, kHif, 31, &h2n), 0);
  EXPECT_EQ(write_word(KEL_ASIC_CMD_LINK_PAUSE_ENABLE, 0, 0x31F), 0);
  EXPECT_EQ(vp_add_traffic(0, 0, kHif, 31, &n2h), 0);
  EXPECT_EQ(write_word(KEL_ASIC_CMD_NODROP_CLASS_MAP, 0, 0x08), 0);
  EXPECT_EQ(vp_add_traffic(0, 0, kHif, 31, &n2h), 0);
  kel_asic_qos_stats_t stats{}, expected{};
  expected.pause.flow_ctrl = 1;
  expected.pause.tx_xoff_cnt = expected.pause.tx_xon_cnt = 1;
  expected.pause.tx_pfc_xoff_cnt[3] = 1;
  expected.pause.tx_pfc_cnt = 2;
  expected.ss_dhs.wr_rcvd_cnt[3] = 350;
  expected.ss_dhs.rd_sent_cnt[3] = 290;
  expected.ss_dhs.wr_discard_cnt = 60;
  expected.drops.n2h_drops[0][3] = 10;
  expected.drops.h2n_drops[0][3] = 50;
  EXPECT_EQ(qos(QOS_STATS_GET, kHif, 31, &stats), 0);
  EXPECT_EQ(bytes_of(stats), bytes_of(expected));

  EXPECT_EQ(write_word(KEL_ASIC_CMD_CLEAR_DROP_COUNTERS, 0), 0);
  expected.drops = {};
  EXPECT_EQ(qos(QOS_STATS_GET, kHif, 31, &stats), 0);
  EXPECT_EQ(bytes_of(stats), bytes_of(expected));
  EXPECT_EQ(shown().drop_clears, 1U);
}

TEST_F(VirtualPlatform, refuses_traffic_through_a_port_that_the_asic_lacks_and_impossible_traffic) {
  const vp_traffic good = {VP_N2H, 7, 1, 1};
  EXPECT_EQ(vp_add_traffic(4, 0, kHif, 0, &good), ENXIO);
  EXPECT_EQ(vp_add_traffic(0, 1, kHif, 0, &good), ENXIO);
  EXPECT_EQ(vp_add_traffic(0, 0, kHif, vp_port_count(kHif), &good), ENXIO);
  EXPECT_EQ(vp_add_traffic(0, 0, kNif, 8, &good), ENXIO);
  EXPECT_EQ(vp_add_traffic(0, 0, CARDCFG_PORT_TYPE_BIF, 0, &good), ENXIO);
  EXPECT_EQ(vp_add_traffic(0, 0, kHif, 0, nullptr), EFAULT);
  const auto no_direction = static_cast<vp_direction>(2);
  for (const vp_traffic &bad :
       {vp_traffic{VP_N2H, 8, 1, 0}, {no_direction, 0, 1, 0}, {VP_N2H, 0, 1, 2}}) {
    EXPECT_EQ(vp_add_traffic(0, 0, kHif, 0, &bad), EINVAL);
  }
}

TEST_F(VirtualPlatform, clears_the_statistics_of_one_port_or_of_all_ports_and_keeps_their_pause) {
  const vp_traffic traffic = {VP_N2H, 1, 5, 0};
  const auto received = [](cardcfg_port_type_t type, uint8_t module = 0) {
    kel_asic_qos_stats_t stats{};
    EXPECT_EQ(qos(QOS_STATS_GET, type, 7, &stats, module), 0);
    return std::make_pair(stats.pause.flow_ctrl == 1, uint64_t{stats.ss_dhs.wr_rcvd_cnt[1]});
  };
  for (const uint32_t module : {0U, 1U}) {
    EXPECT_EQ(vp_add_traffic(module, 0, kHif, 7, &traffic), 0);
    EXPECT_EQ(vp_add_traffic(module, 0, kNif, 7, &traffic), 0);
  }
  EXPECT_EQ(write_word(KEL_ASIC_CMD_LINK_PAUSE_ENABLE, 0, 0x207), 0);
  EXPECT_EQ(qos(QOS_STATS_CLEAR, kNif, 7), 0);
  EXPECT_EQ(received(kNif), std::make_pair(true, uint64_t{0}));
  EXPECT_EQ(received(kHif), std::make_pair(false, uint64_t{5}));
  EXPECT_EQ(qos(QOS_STATS_CLEAR_ALL, CARDCFG_PORT_TYPE_CIF, 0), 0);  // names no port
  EXPECT_EQ(received(kHif), std::make_pair(false, uint64_t{0}));
  EXPECT_EQ(write_word(KEL_ASIC_CMD_LINK_PAUSE_DISABLE, 0, 0x207), 0);
  EXPECT_EQ(received(kNif), std::make_pair(false, uint64_t{0}));
  EXPECT_EQ(received(kNif, 1), std::make_pair(false, uint64_t{5}));
}

struct Seen {
  vp_phase phase;
  int result, error_number;
  uint32_t driver_id, data;
};

TEST_F(VirtualPlatform, tells_the_watcher_of_every_call_and_lets_calls_go_wrong_in_turn) {
  std::vector<Seen> seen;
  vp_watch(
      [](vp_phase phase, const vp_call *call, void *user) {
        const auto *record = static_cast<const kel_asic_reg_access_params_t *>(call->record);
        EXPECT_TRUE(call->case_code == SYSSRV_REG_READ_CASE && call->length == 196);
        static_cast<std::vector<Seen> *>(user)->push_back(
            {phase, call->result, call->error_number, call->driver_id, record->data});
        errno = ENOTTY;
      },
      &seen);
  Request request(TYPE_READ, address(KEL_ASIC_BLK_QS, 0, 0));
  request->data = 9;
  sys_srvc_case_params_t params = {KEL_ASIC_DRIVER_MORVANE, request.storage.data()};
  vp_fail_next_call(ETIMEDOUT);
  vp_answer_next_call(4);
  vp_answer_next_call(-2);
  const Seen answers[] = {{VP_CALL_ANSWERED, -1, ETIMEDOUT, 236, 9},
                          {VP_CALL_ANSWERED, 4, 0, 236, 9},
                          {VP_CALL_ANSWERED, -2, EIO, 236, 9},
                          {VP_CALL_ANSWERED, 0, 0, 236, 0},
                          {VP_CALL_ANSWERED, -1, ENODEV, 1, 0}};
  for (const Seen &answer : answers) {
    params.caseId = answer.driver_id;
    EXPECT_EQ(sse_call2(SYSSRV_REG_READ_CASE, &params, 196), answer.result);
    EXPECT_EQ(errno, answer.result < 0 ? answer.error_number : ENOTTY);
    ASSERT_EQ(seen.size(), 2U);
    EXPECT_EQ(seen[0].phase, VP_CALL_SENT);
    EXPECT_EQ(std::memcmp(&seen[1], &answer, sizeof answer), 0) << answer.result;
    seen.clear();
  }
  vp_fail_next_call(EBUSY);
  vp_reset();
  EXPECT_EQ(request.read(), 0);
  EXPECT_TRUE(seen.empty());
}

}  // namespace
