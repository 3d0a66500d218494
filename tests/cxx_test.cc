// morvaneusd.hpp on the virtual platform.
#include "cxx_pairs.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <new>
#include <thread>

#include "kel_asic_lib_common.h"
#include "platform/card_config.h"
#include "platform/system_service.h"
#include "virtual_platform.h"

static std::atomic<int> allocations = 0;
static bool has_memory = true;

[[gnu::noinline]] void *operator new(std::size_t size) {
  ++allocations;
  void *block = has_memory ? std::malloc(size) : nullptr;
  return block == nullptr ? throw std::bad_alloc() : block;
}

[[gnu::noinline]] void operator delete(void *block) noexcept {
  std::free(block);
}

[[gnu::noinline]] void operator delete(void *block, std::size_t) noexcept {
  std::free(block);
}

namespace {

using namespace std::string_literals;
using morvane::at;

using cxx_pairs::host;
using cxx_pairs::plain;
using cxx_pairs::policers;
using cxx_pairs::second;
using cxx_pairs::steps;
using cxx_pairs::there;
using cxx_pairs::values;

// The records that reached the service, without the caller of a request and without the words that
// a read only has room for.
std::vector<std::string> calls;

void keep_call(vp_phase phase, const vp_call *call, void *) {
  if (phase != VP_CALL_SENT)
    return;
  std::string record(static_cast<const char *>(call->record), call->length);
  if (call->case_code == SYSSRV_REG_READ_CASE || call->case_code == SYSSRV_REG_WRITE_CASE)
    record.erase(offsetof(kel_asic_reg_access_params_t, info),
                 call->case_code == SYSSRV_REG_READ_CASE ? std::string::npos
                                                         : sizeof(kel_asic_lib_debug_info_t));
  calls.push_back(std::to_string(call->case_code) + record);
}

uint32_t asked_slot = 99;

morvane::session card;

// Whether another thread finds the lock taken.
bool is_locked() {
  bool locked = true;
  std::thread([&] { locked = !std::unique_lock(card, std::try_to_lock); }).join();
  return locked;
}

template <typename Operation>
std::vector<std::string> calls_of(Operation operation) {
  calls.clear();
  operation();
  return calls;
}

template <typename Operation>
std::error_code thrown_by(Operation operation, const std::string &text = "") {
  try {
    operation();
  } catch (const std::system_error &error) {
    EXPECT_NE(std::string(error.what()).find(text), std::string::npos) << error.what();
    return error.code();
  }
  return {};
}

}  // namespace

// In front of the platform's own: which card initialisation asks after.
int cardcfg_get_real_asic_type(uint32_t slot, uint32_t asic_index, uint32_t *dev_type) {
  asked_slot = slot;
  void *const next = dlsym(RTLD_NEXT, "cardcfg_get_real_asic_type");
  return reinterpret_cast<decltype(cardcfg_get_real_asic_type) *>(next)(slot, asic_index, dev_type);
}

namespace {

class Cxx : public testing::Test {
 protected:
  Cxx() {
    morvane::init();
    vp_watch(keep_call, nullptr);
  }
};

template <typename Run>
int allocations_of(Run run) {
  const int before = allocations;
  run();
  return allocations - before;
}

template <typename C, typename Cxx>
void compare(const std::string &name, C c, Cxx cxx) {
  SCOPED_TRACE(name);
  static_assert(noexcept(cxx(std::declval<std::error_code &>())));
  const auto throwing = [&] { (void)cxx(); };
  std::error_code ec = morvane::errc::wrong_size;
  const auto coded = [&] { (void)cxx(ec); };

  const auto wanted = calls_of([&] { EXPECT_EQ(c(), 0U); });
  ASSERT_FALSE(wanted.empty());
  EXPECT_EQ(calls_of(throwing), wanted);
  EXPECT_EQ(calls_of(coded), wanted);
  EXPECT_EQ(ec, std::error_code());

  vp_fail_next_call(ETIMEDOUT);
  EXPECT_EQ(thrown_by(throwing, name.substr(0, name.find_first_of(" ,")) + " "),
            std::errc::timed_out);
  vp_fail_next_call(ETIMEDOUT);
  coded();
  EXPECT_EQ(ec, std::errc::timed_out);
  EXPECT_EQ(ec.value(), static_cast<int>(KEL_ASIC_SYSERR_SERVICE | ETIMEDOUT));

  vp_watch(nullptr, nullptr);  // which allocates itself
  const int by_c = allocations_of(c);
  EXPECT_EQ(allocations_of(throwing), by_c);
  EXPECT_EQ(allocations_of(coded), by_c);
  vp_watch(keep_call, nullptr);
}

TEST_F(Cxx, makes_the_call_of_the_c_interface_and_reports_its_failure) {
  cxx_pairs::visit_pairs([](const std::string &name, auto c, auto cxx) { compare(name, c, cxx); });
}

constexpr const char *kMessages =
    R"(morvane
success (0x00000000)
KEL_ASIC_SYSERR_NO_BUFFER: no memory: the request buffer cannot be allocated or cannot grow: move fewer words at a time (0x0000000C)
KEL_ASIC_SYSERR_NO_TRACE_LOG: the trace log cannot be opened or positioned: make /tmp writable, or remove the marker file (0xFFFFFFFF)
SYSERR_KEL_ASIC_UNINIT: the library is not initialised (or a general error of a transceiver): call lib_mrv_asic_init first (0x4223002E)
SYSERR_KEL_ASIC_INVALID_ARG: a bad argument, or no register at that address: check the arguments, and that lib_mrv_asic_init succeeded (0x42230003)
SYSERR_KEL_ASIC_MALLOC: no memory: it comes from the register map or other software of the ASIC family: see there (0x42230002)
KEL_ASIC_SYSERR_SERVICE: the service call failed with an I/O error, or with a positive answer: see the log of the driver service (0x82230005)
KEL_ASIC_SYSERR_SERVICE: Operation not permitted: check that the driver service runs and has what was requested; the library does not retry (0x82230001)
wrong_size: the words are not complete entries of this table: use its entry size (0x43230001)
already_open: this program has an open batch: end it first (0x43230002)
not_verified: the register does not hold what was written: the commit was lost, or the register keeps other bits; write again (0x43230003))";

TEST_F(Cxx, names_each_code_and_says_what_to_do) {
  std::ifstream header(SYSERR_HEADER);
  int names = 0;
  for (std::string line; std::getline(header, line);) {
    const size_t equals = line.find(" = 0x");
    if (line.rfind("  SYSERR_KEL_ASIC_", 0) != 0 || equals == std::string::npos)
      continue;
    const auto code = static_cast<syserr_t>(std::stoul(line.substr(equals + 3), nullptr, 16));
    const std::string name =
        code == SYSERR_KEL_ASIC_UNINIT ? "SYSERR_KEL_ASIC_UNINIT" : line.substr(2, equals - 2);
    EXPECT_EQ(morvane::to_error_code(code).message().find(name + ": "), 0U) << code;
    ++names;
  }
  EXPECT_EQ(names, 47);
  const std::error_code no_such = morvane::to_error_code(KEL_ASIC_SYSERR_SERVICE | ENXIO);
  EXPECT_EQ(no_such, std::errc::no_such_device_or_address);
  EXPECT_NE(no_such, std::errc::io_error);
  EXPECT_EQ(morvane::to_error_code(KEL_ASIC_SYSERR_SERVICE_ANSWER), std::errc::io_error);
  EXPECT_EQ(morvane::to_error_code(12), morvane::errc::no_buffer);
  EXPECT_EQ(morvane::to_error_code(12), std::errc::not_enough_memory);
  EXPECT_EQ(morvane::to_error_code(SYSERR_KEL_ASIC_INVALID_ARG), SYSERR_KEL_ASIC_INVALID_ARG);
  EXPECT_EQ(morvane::to_error_code(SYSERR_KEL_ASIC_INVALID_ARG), std::errc::invalid_argument);
  EXPECT_FALSE(morvane::to_error_code(0));
  std::string messages = morvane::error_category().name();
  for (const uint32_t code : {0U, 12U, ~0U, 0x4223002EU, 0x42230003U, 0x42230002U, 0x82230005U,
                              0x82230001U, 0x43230001U, 0x43230002U, 0x43230003U})
    messages += "\n" + morvane::error_category().message(static_cast<int>(code));
  EXPECT_EQ(messages, kMessages);
}

TEST(CxxUninitialised, refuses_and_says_so) {
  std::error_code ec;
  EXPECT_EQ(morvane::read(plain, ec), 0U);
  EXPECT_EQ(ec, SYSERR_KEL_ASIC_UNINIT);
  vp_set_card(3, 1);
  EXPECT_EQ(thrown_by([] { morvane::init(); }, "init of the library"), std::errc::invalid_argument);
  EXPECT_EQ(asked_slot, 0U);
}

// The enumeration belongs to the block that has as many registers, the last of which may be a hole.
template <typename Enumeration>
void expect_block(Enumeration end) {
  std::error_code last, beyond;
  morvane::write(at(static_cast<Enumeration>(end - 2), 0), 0, last);
  morvane::write(at(end, 0), 0, beyond);
  EXPECT_FALSE(last) << end;
  EXPECT_TRUE(beyond) << end;
}

TEST_F(Cxx, takes_the_block_from_the_type_of_the_register) {
  const auto expect_blocks = [](auto... end) { (expect_block(end), ...); };
  expect_blocks(
      KEL_ASIC_SS_NUM_ENUM, KEL_ASIC_HR_NUM_ENUM, KEL_ASIC_NR_NUM_ENUM, KEL_ASIC_HI_NUM_ENUM,
      KEL_ASIC_NI_NUM_ENUM, KEL_ASIC_SI_NUM_ENUM, KEL_ASIC_HF_NUM_ENUM, KEL_ASIC_NF_NUM_ENUM,
      KEL_ASIC_CI_NUM_ENUM, KEL_ASIC_BI_NUM_ENUM, KEL_ASIC_CC_NUM_ENUM, KEL_ASIC_PC_NUM_ENUM,
      KEL_ASIC_RS_EDMA_NUM_ENUM, KEL_ASIC_RS_PCIE_NUM_ENUM, KEL_ASIC_MISC_NUM_ENUM,
      KEL_ASIC_CH_NUM_ENUM, KEL_ASIC_MB_NUM_ENUM, KEL_ASIC_QS_NUM_ENUM, KEL_ASIC_XL_NUM_ENUM);
  morvane::write(at(KEL_ASIC_BLK_HI, 2, 40), 0x1234);
  morvane::write_field(plain, 0xF000, 0xF000);
  EXPECT_EQ(morvane::read(plain), 0xF234U);
}

TEST_F(Cxx, names_the_register_and_the_argument_that_is_refused) {
  using namespace morvane;
  const table policer = at(HF_DHS_POL_OFFSET, 2);
  const std::array wrong_step = {step(plain, 1), step(plain, 1, 0)};
  const std::array missing_step = {step(at(HI_DHS_LVIF_OFFSET, 40), 1)};
  std::array wrong_magic = wrong_step;
  wrong_magic[0].magic = 0;
  std::vector<uint32_t> row(8);
  const std::pair<const char *, std::function<void()>> refusals[] = {
      {"read HI.40:HI_DHS_LVIF of module 0, ASIC 0: block HI has instances 0 to 31: ",
       [] { (void)read(at(HI_DHS_LVIF_OFFSET, 40)); }},
      {"write HI.2:1584 of module 0, ASIC 0: block HI has registers 0 to 1583: ",
       [] { write(at(KEL_ASIC_BLK_HI, 2, 1584), 1); }},
      {"read HR.1:26 of module 1, ASIC 0: block HR has no register 26: ",
       [] { (void)read(at(KEL_ASIC_BLK_HR, 1, 26).on(second)); }},
      {"read 20.0:5 of module 4, ASIC 0: modules are 0 to 3: ",
       [] {
         (void)read(at(static_cast<kel_asic_blk_t>(20), 0, 5).on({4, 0}));
       }},
      {"read_block 19.0:5 of module 0, ASIC 0: blocks are 0 to 18: ",
       [] { (void)read_block(at(KEL_ASIC_NUM_BLK, 0, 5), 4); }},
      {"write_field with mask 0 HI.2:40 of module 0, ASIC 1: ASIC numbers are 0 to 0: ",
       [] {
         write_field(plain.on({0, 1}), 0, 0);
       }},
      {"read_entries HF.2:HF_DHS_POL[64] of module 0, ASIC 0: indices are 0 to 63: ",
       [&] { read_entries(policer, 64, row); }},
      {"write_entries HI.2:40[0] of module 0, ASIC 0: the register is not a table: ",
       [&] { write_entries(plain, 0, row); }},
      {"HF.0:HF_DHS_RESULT_00[0] of module 0, ASIC 0: the register map decides its entry size and "
       "indices: ",
       [&] { write_entries(at(HF_DHS_RESULT_00_OFFSET, 0), 0, row); }},
      {"run module 0, ASIC 0, step 1, HI.2:40: a mask of 0 selects no bit: ",
       [&] { run(wrong_step); }},
      {"run module 0, ASIC 0, step 0, HI.40:HI_DHS_LVIF: block HI has instances 0 to 31: ",
       [&] { run(missing_step); }},
      {"run module 0, ASIC 0, step 0, HI.2:40: the magic is not KEL_ASIC_PGM_MAGIC: ",
       [&] { run(wrong_magic); }},
      {"run module 0, ASIC 0: a program has at least one step: ", [] { run(program()); }},
      {"run module 0, ASIC map 0: a program has at least one step: ",
       [] { run(program(), asic_set::map(0)); }},
      {"link_pause_enable hif:32 of module 0, ASIC 0: ports are hif:0 to hif:31 and nif:0 to "
       "nif:7: ",
       [] { link_pause_enable(hif(32)); }},
      {"get_qos_stats cif:256 of module 0, ASIC 0: port types and numbers are 0 to 255: ",
       [] {
         (void)get_qos_stats({CARDCFG_PORT_TYPE_CIF, 256});
       }},
      {"batch without a name: ", [] { const batch unnamed(""); }},
      {"prog_sp_timer module 7, ASIC 0: modules are 0 to 3: ", [] { prog_sp_timer(1, {7}); }},
      {"write 0x000000ab of module 9, ASIC 5: modules are 0 to 3: ", [] {
         write(raw(0xAB, {9, 5}), 0);
       }}};
  for (const auto &[text, refused] : refusals)
    EXPECT_EQ(thrown_by(refused, text + "SYSERR_KEL_ASIC_INVALID_ARG"s),
              SYSERR_KEL_ASIC_INVALID_ARG)
        << text;

  vp_fail_next_call(EIO);
  EXPECT_TRUE(
      thrown_by([] { write(command(KEL_ASIC_CMD_LINK_PAUSE_ENABLE, hif(5)), 0); },
                "write KEL_ASIC_CMD_LINK_PAUSE_ENABLE with port word 0x00000305 of module 0: "
                "KEL_ASIC_S"));
  EXPECT_TRUE(thrown_by([] { (void)get_qos_stats(nif(8, second)); },
                        "get_qos_stats nif:8 of module 1, ASIC 0: KEL_ASIC_SYSERR_S"));
  EXPECT_EQ(to_string(at(HF_DHS_POL_OFFSET, 3)), "HF.3:HF_DHS_POL");
}

TEST_F(Cxx, sends_who_asked) {
  static kel_asic_lib_debug_info_t asked;
  vp_watch(
      [](vp_phase, const vp_call *call, void *) {
        asked = static_cast<const kel_asic_reg_access_params_t *>(call->record)->info;
      },
      nullptr);
  std::error_code ec;
  const auto expect_asked = [](uint32_t line, uint32_t context) {
    EXPECT_EQ(asked.file, std::string(__FILE__).substr(0, 127));
    EXPECT_EQ(asked.func, "TestBody"s);
    EXPECT_EQ(asked.line, line);
    EXPECT_EQ(asked.userdata, context);
  };
  morvane::write(plain, 1), expect_asked(__LINE__, 0);
  morvane::run(steps, {}, ec), expect_asked(__LINE__, 0);
  morvane::write_entries(policers, 0, values), expect_asked(__LINE__, 0);
  card([here = morvane::caller::here()] { morvane::write(plain, 1, here); });
  expect_asked(__LINE__ - 1, 0);
  (void)morvane::read_row(policers, 0, ec), expect_asked(__LINE__, 0);
  morvane::write(plain, 1, morvane::caller::here().with_context(7)), expect_asked(__LINE__, 7);
}

TEST_F(Cxx, moves_words_and_rows_and_refuses_what_is_no_entry) {
  std::vector<std::array<uint32_t, 8>> rows(2);
  rows[0].fill(5);
  rows[1].fill(6);
  morvane::write_entries(policers, 1, rows);
  EXPECT_EQ(morvane::read_rows(policers, 1, 2), rows);
  EXPECT_EQ(morvane::read_row(policers, 2), rows[1]);
  std::error_code ec;
  EXPECT_EQ(morvane::read_rows(policers, 1, 2, ec), rows);
  EXPECT_EQ(morvane::read_row(policers, 2, ec), rows[1]);
  EXPECT_EQ(morvane::read_entries(policers, 2, 1, ec), std::vector<uint32_t>(8, 6));
  EXPECT_EQ(morvane::read_block(plain, 3, ec).size(), 3U);
  morvane::write(plain, 9);
  EXPECT_TRUE(morvane::read(plain) == 9 && morvane::read(plain, ec) == 9);
  for (int i = 0; i < 4; ++i)
    vp_fail_next_call(EIO);
  EXPECT_TRUE(morvane::read_rows(policers, 1, 2, ec).empty());
  EXPECT_EQ(morvane::read_row(policers, 2, ec)[0], 0U);
  EXPECT_TRUE(morvane::read_entries(policers, 2, 1, ec).empty());
  EXPECT_TRUE(morvane::read_block(plain, 3, ec).empty());
  EXPECT_EQ(morvane::read_entries(policers, 1, 1), std::vector<uint32_t>(8, 5));
  has_memory = false;
  const std::size_t words_read = morvane::read_block(plain, morvane::max_words, ec).size();
  has_memory = true;
  EXPECT_EQ(words_read, 0U);
  EXPECT_EQ(ec, morvane::errc::no_buffer);
  morvane::write_entries(at(HF_DHS_SVIF_MEM_LO_OFFSET, 0), 3, {7, 8});
  EXPECT_EQ(morvane::read_entries(at(HF_DHS_SVIF_MEM_LO_OFFSET, 0), 3, 1),
            (std::vector<uint32_t>{7, 8}));
  const morvane::table_of<HF_DHS_RESULT_00_OFFSET, 4> by_map(0);
  morvane::write_entries(by_map, 0, {1, 2, 3, 4});
  EXPECT_EQ(morvane::read_row(by_map, 0)[3], 4U);
  morvane::write_entries(policers, 1, std::vector<uint32_t>());
  EXPECT_EQ(morvane::read_block(plain, 0), morvane::read_entries(policers, 1, 0));

  const morvane::table runtime(at(KEL_ASIC_BLK_HF, 0, HF_DHS_POL_OFFSET + 0U));
  std::vector<uint32_t> nine(9), out(9, 77);
  EXPECT_EQ(morvane::table(at(HF_DHS_POL_OFFSET, 0).on(second)).words(), 8U);
  EXPECT_EQ(morvane::table(at(HF_DHS_RESULT_00_OFFSET, 0).on(second)).words(), 0U);
  EXPECT_EQ(morvane::max_words, (UINT32_MAX - sizeof(kel_asic_reg_access_params_t)) / 4);
  uint32_t narrow[2][4] = {};
  const std::error_code invalid = morvane::to_error_code(SYSERR_KEL_ASIC_INVALID_ARG);
  const std::pair<std::error_code, std::function<void()>> refusals[] = {
      {morvane::errc::wrong_size, [&] { morvane::write_entries(runtime, 0, nine, ec); }},
      {morvane::errc::wrong_size, [&] { morvane::read_entries(policers, 0, out, ec); }},
      {morvane::errc::wrong_size, [&] { morvane::read_entries(policers, 0, narrow, ec); }},
      {invalid, [&] { morvane::read_entries(morvane::table(plain), 0, out, ec); }},
      {invalid, [&] { (void)morvane::read_entries(at(HF_DHS_RESULT_00_OFFSET, 0), 0, 1, ec); }},
      {invalid,
       [&] { morvane::read_entries(morvane::table(at(HF_DHS_POL_OFFSET, 0), 4), 0, out, ec); }},
      {invalid, [&] { (void)morvane::read_block(plain, morvane::max_words + 1, ec); }},
      {invalid, [&] { (void)morvane::read_rows(policers, 0, morvane::max_words / 8 + 1, ec); }},
      {invalid, [&] { (void)morvane::get_qos_stats(morvane::hif(256), ec); }},
      {invalid, [&] { morvane::clear_all_qos_stats({256}, ec); }},
      {invalid,
       [&] {
         morvane::prog_sp_timer(1, {0, 256}, ec);
       }},
      {invalid, [&] { morvane::sfp_validation_failed(morvane::nif(256), ec); }}};
  calls.clear();
  for (const auto &[code, refuse] : refusals) {
    ec.clear();
    refuse();
    EXPECT_EQ(ec, code);
    EXPECT_EQ(ec, std::errc::invalid_argument);
  }
  EXPECT_TRUE(calls.empty());
  EXPECT_EQ(out, std::vector<uint32_t>(9, 77));
}

kel_asic_xn_t transaction(const std::string &call) {
  const std::string code = std::to_string(SYSSRV_MEM_WRITE_CASE);
  kel_asic_xn_t sent = {};
  EXPECT_EQ(call.compare(0, code.size(), code), 0);
  call.copy(reinterpret_cast<char *>(&sent), sizeof sent, code.size());
  return sent;
}

TEST_F(Cxx, sends_a_batch_where_it_is_left) {
  const auto sent = calls_of([] {
    try {
      morvane::batch port_2("port 2", morvane::reorder::allowed);
      morvane::write(plain, 5);
      morvane::write_entries(policers, 0, {1, 2, 3, 4, 5, 6, 7, 8});
      EXPECT_TRUE(calls.empty());
      EXPECT_EQ(thrown_by([] { morvane::batch inner("inner"); }, "batch inner"),
                morvane::errc::already_open);
      std::error_code ec;
      morvane::batch inner("inner", morvane::reorder::forbidden, ec);
      EXPECT_EQ(ec, std::errc::device_or_resource_busy);
      inner.commit();
      EXPECT_TRUE(calls.empty());
      throw std::runtime_error("out of it");
    } catch (const std::runtime_error &) {
    }
  });
  ASSERT_EQ(sent.size(), 1U);
  EXPECT_EQ(transaction(sent[0]).name, "port 2"s);
  EXPECT_EQ(transaction(sent[0]).num, 9);
  EXPECT_EQ(transaction(sent[0]).reorder_allowed, 1);
  EXPECT_EQ(morvane::read(plain), 5U);

  const auto early = calls_of([] {
    morvane::session::batch batch(card, "early");
    morvane::write(plain, 6);
    batch.commit();
    morvane::write(plain, 7);
    EXPECT_TRUE(is_locked());
  });
  EXPECT_FALSE(is_locked());
  EXPECT_EQ(early.size(), 2U);
  EXPECT_EQ(transaction(early[0]).reorder_allowed, 0);
  for (const char *name : {"", static_cast<const char *>(nullptr)})
    EXPECT_EQ(thrown_by([&] { morvane::batch unnamed(name); }), SYSERR_KEL_ASIC_INVALID_ARG);
}

TEST_F(Cxx, verifies_a_commit) {
  const auto commit = [](uint32_t expected) {
    morvane::batch batch("verified");
    morvane::write(there, 9);
    batch.commit_and_verify(there, expected);
  };
  EXPECT_FALSE(thrown_by([&] { commit(9); }));
  morvane::write(there, 0);
  vp_answer_next_call(0);  // the commit is lost, and nothing says so
  EXPECT_EQ(thrown_by([&] { commit(9); }, "commit_and_verify HI.2:40 of"), std::errc::io_error);
  vp_answer_next_call(0);
  vp_fail_next_call(ENODEV);
  EXPECT_EQ(thrown_by([&] { commit(9); }), std::errc::no_such_device);
  std::error_code ec;
  morvane::batch batch("verified", morvane::reorder::forbidden, ec);
  morvane::write(there, 10);
  batch.commit_and_verify(there, 11, ec);
  EXPECT_EQ(ec, morvane::errc::not_verified);
}

TEST_F(Cxx, verifies_the_entry_that_a_long_batch_wrote_last) {
  constexpr morvane::table_of<HI_DHS_LVIF_OFFSET> interfaces(2, second);
  const auto commit = [&](uint32_t value, uint32_t verified, bool last_call_is_lost) {
    morvane::batch batch("long");
    morvane::write_entries(interfaces, 0, std::vector<uint32_t>(600, value));
    if (last_call_is_lost)
      vp_answer_next_call(0);
    batch.commit_and_verify(interfaces, verified, {value});
  };
  EXPECT_FALSE(thrown_by([&] { commit(1, 599, false); }));
  EXPECT_FALSE(thrown_by([&] { commit(2, 511, true); }));
  EXPECT_EQ(thrown_by([&] { commit(3, 599, true); }, "commit_and_verify HI.2:HI_DHS_LVIF[599] of"),
            morvane::errc::not_verified);

  const auto verify = [](const morvane::table &table, const std::vector<uint32_t> &row) {
    std::error_code ec;
    morvane::batch batch("rows", morvane::reorder::forbidden, ec);
    batch.commit_and_verify(table, 0, row, ec);
    return ec;
  };
  EXPECT_FALSE(verify(policers, std::vector<uint32_t>(8)));
  EXPECT_EQ(verify(policers, std::vector<uint32_t>(7)), morvane::errc::wrong_size);
  EXPECT_EQ(verify(policers, {}), morvane::errc::wrong_size);
  EXPECT_EQ(verify(plain, std::vector<uint32_t>(300)), morvane::errc::wrong_size);
  EXPECT_EQ(verify(plain, {1}), SYSERR_KEL_ASIC_INVALID_ARG);
}

TEST_F(Cxx, builds_programs) {
  morvane::program program;
  program.write(plain, 0x10).write_field(plain, 0x200, 0xF00);
  morvane::run(program, second);
  EXPECT_EQ(morvane::read(there), 0x210U);
  EXPECT_EQ(morvane::read(plain), 0U);
  EXPECT_EQ(morvane::asic_set::map(5, 2).selection.number, 0x80000005);
  EXPECT_EQ(morvane::asic_set::map(5, 2).selection.module, 2);
  morvane::run(program, morvane::asic_set::map(3));
  EXPECT_EQ(morvane::read(plain), 0x210U);
}

TEST_F(Cxx, shows_statistics_by_value) {
  const vp_traffic traffic = {VP_N2H, 3, 100, 40};
  ASSERT_EQ(vp_add_traffic(1, 0, host.type, host.number, &traffic), 0);
  const morvane::qos_stats stats = morvane::get_qos_stats(host);
  uint64_t drops = 0, received = 0;
  for (const auto &row : stats.n2h_drops())
    for (const uint64_t count : row)
      drops += count;
  for (const uint64_t count : morvane::get_qos_stats(host).writes_received())
    received += count;
  EXPECT_EQ(drops, 40U);
  EXPECT_EQ(received, 100U);
  EXPECT_EQ(stats.reads_sent()[3], 60U);
  EXPECT_EQ(stats.writes_discarded(), 40U);
  std::error_code ec;
  EXPECT_EQ(morvane::get_qos_stats(host, ec).writes_discarded(), 40U);

  // Each counter is another one of the record.
  std::array<unsigned char, sizeof(kel_asic_qos_stats_t)> bytes;
  for (std::size_t i = 0; i < bytes.size(); ++i)
    bytes[i] = static_cast<unsigned char>(i % 251);
  kel_asic_qos_stats_t filled;
  std::memcpy(&filled, bytes.data(), sizeof filled);
  const morvane::qos_stats all(filled);
  for (const bool receive : {false, true}) {
    kel_asic_qos_stats_t state = {};
    (receive ? state.pause.rx_xoff_status : state.pause.tx_xoff_status) = 1;
    EXPECT_EQ(morvane::qos_stats(state).rx_in_xoff(), receive);
    EXPECT_EQ(morvane::qos_stats(state).tx_in_xoff(), !receive);
  }
  const auto &[pause, ss_dhs, oq, by_direction] = filled;
  const uint64_t scalars[][2] = {{all.flow_ctrl(), pause.flow_ctrl},
                                 {all.rx_xoff(), pause.rx_xoff_cnt},
                                 {all.rx_xon(), pause.rx_xon_cnt},
                                 {all.tx_xoff(), pause.tx_xoff_cnt},
                                 {all.tx_xon(), pause.tx_xon_cnt},
                                 {all.tx_pfc(), pause.tx_pfc_cnt},
                                 {all.rx_pfc(), pause.rx_pfc_cnt},
                                 {all.rx_in_xoff(), pause.rx_xoff_status != 0},
                                 {all.tx_in_xoff(), pause.tx_xoff_status != 0},
                                 {all.tx_pfc_xoff()[7], pause.tx_pfc_xoff_cnt[7]},
                                 {all.rx_pfc_xoff()[7], pause.rx_pfc_xoff_cnt[7]},
                                 {all.writes_received()[7], ss_dhs.wr_rcvd_cnt[7]},
                                 {all.writes_discarded(), ss_dhs.wr_discard_cnt},
                                 {all.multicast_writes_discarded(), ss_dhs.wr_discard_mcast_cnt},
                                 {all.write_errors(), ss_dhs.wr_rcvd_err_cnt},
                                 {all.reads_sent()[7], ss_dhs.rd_sent_cnt[7]},
                                 {all.queue_flushes(), oq.flush_cnt},
                                 {all.queue_timeouts(), oq.tout_cnt},
                                 {all.n2h_drops()[5][7], by_direction.n2h_drops[5][7]},
                                 {all.h2n_drops()[5][7], by_direction.h2n_drops[5][7]}};
  for (const auto &[shown, counter] : scalars)
    EXPECT_EQ(shown, counter);
}

TEST_F(Cxx, holds_the_lock_of_a_session_for_operations_and_returns_what_they_return) {
  morvane::session same;
  const uint32_t value = card([&] {
    EXPECT_TRUE(is_locked());
    same([] { morvane::write(plain, 9); });
    EXPECT_TRUE(is_locked());
    return morvane::read(plain);
  });
  EXPECT_EQ(value, 9U);
  EXPECT_FALSE(is_locked());
  vp_fail_next_call(EIO);
  EXPECT_TRUE(thrown_by([] { card([] { morvane::write(plain, 9); }); }));
  EXPECT_FALSE(is_locked());
}

}  // namespace
