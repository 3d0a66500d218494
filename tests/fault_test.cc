// One scenario over every exported operation, in which each fault comes in turn: the n-th call of
// its kind fails, for every n until the scenario passes without one. An operation that meets the
// fault answers with its documented code, and works when it is called again.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "fake_platform.h"

namespace {

constexpr syserr_t passes = 0;  // of an operation that does not tell
constexpr syserr_t service_failed = 0x82230000 | ETIMEDOUT;

std::array<uint32_t, 3000> words;
kel_asic_qos_stats_t stats;
kel_asic_pgm_t program[] = {{KEL_ASIC_PGM_MAGIC, KEL_ASIC_BLK_XL, 0, 1, 2, 0xFFFFFFFF},
                            {KEL_ASIC_PGM_MAGIC, KEL_ASIC_BLK_XL, 0, 1, 2, 0xF}};

syserr_t write_one() {
  return write_reg({}, 3);
}

syserr_t begin() {
  return static_cast<syserr_t>(mrv_asic_transaction_start(const_cast<char *>("faults"), 0));
}

syserr_t end() {
  return static_cast<syserr_t>(mrv_asic_transaction_commit());
}

template <uint32_t num>
syserr_t n_read() {
  return lib_mrv_asic_n_read(0, 0, KEL_ASIC_BLK_NI, 1, 2, words.data(), num, CALLER);
}

template <decltype(lib_mrv_asic_read_dhs) access, uint32_t entries>
syserr_t table() {
  return access(0, 0, KEL_ASIC_BLK_HF, 1, HF_DHS_SVIF_MEM_OFFSET, 5, words.data(), entries, CALLER);
}

constexpr struct step {
  const char *name;
  syserr_t (*operation)();
  syserr_t when_service_fails = service_failed;
} scenario[] = {
    {"helpers",
     [] {
       const bool right = std::strcmp(kel_get_driver_string(236), "Morvane") == 0 &&
                          kel_get_asic_type(7) == 236 && kel_get_cardcfg_asic_type(236) == 7 &&
                          (kel_check_lib_debug() != 0) == faults().marker_file;
       return right ? 0U : 1U;
     },
     passes},
    {"init", initialise},
    {"init again", initialise, passes},
    {"read", [] { return read_reg({}, words.data()); }},
    {"write", write_one},
    {"write_field", [] { return write_field({}, 3, 3); }},
    {"n_read", n_read<2049>},
    {"read_dhs", table<lib_mrv_asic_read_dhs, 2050>},
    {"write_dhs", table<lib_mrv_asic_write_dhs, 2051>},
    {"begin", begin},
    {"write, joining", write_one, passes},
    {"write_dhs, joining", table<lib_mrv_asic_write_dhs, 600>, passes},  // commits a full one
    {"commit", end, passes},
    {"pgm", [] { return lib_mrv_asic_pgm(0, 0, program, 2, CALLER); }},
    {"get_qos_stats",
     [] { return lib_mrv_asic_get_qos_stats(0, 0, CARDCFG_PORT_TYPE_HIF, 1, &stats, 0); }},
    {"clear_qos_stats",
     [] { return lib_mrv_asic_clear_qos_stats(0, 0, CARDCFG_PORT_TYPE_HIF, 1, 0); }},
    {"clear_all_qos_stats", [] { return lib_mrv_asic_clear_all_qos_stats(0, 0, 0); }},
    {"pause_enable", [] { return lib_mrv_asic_link_pause_enable(0, 0, CARDCFG_PORT_TYPE_HIF, 1); }},
    {"pause_disable",
     [] { return lib_mrv_asic_link_pause_disable(0, 0, CARDCFG_PORT_TYPE_NIF, 1); }},
    {"nodrop", [] { return lib_mrv_asic_set_nodrop_class_map(0, 0, 3); }},
    {"sfp", [] { return lib_mrv_asic_sfp_validation_failed(0, 0, 3, 1); }},
    {"sp_timer", [] { return lib_mrv_asic_prog_sp_timer(0, 0, 9); }},
    {"clear_drops", lib_mrv_asic_clear_all_drop_counters},
    {"begin again", begin},
    {"n_read, interrupting", n_read<3000>},
    {"commit again", end, passes},
};

const struct fault {
  const char *kind;
  unsigned libc_faults::*fail_at;  // null for the service
  unsigned libc_faults::*calls;    // of that kind so far
  syserr_t code;                   // 0: as the step says
  bool traced;
} kinds[] = {{"calloc", &libc_faults::fail_calloc, &libc_faults::callocs, 12, true},
             {"calloc, no trace", &libc_faults::fail_calloc, &libc_faults::callocs, 12, false},
             {"realloc", &libc_faults::fail_realloc, &libc_faults::reallocs, 12, true},
             {"realloc, no trace", &libc_faults::fail_realloc, &libc_faults::reallocs, 12, false},
             {"fopen", &libc_faults::fail_fopen, &libc_faults::fopens, 0xFFFFFFFF, true},
             {"fseek", &libc_faults::fail_fseek, &libc_faults::fseeks, 0xFFFFFFFF, true},
             {"service", nullptr, nullptr, 0, true},
             {"service, no trace", nullptr, nullptr, 0, false}};

// The service call that fails, 0 for none.
unsigned service_calls, failing_call;
bool commit_failed;  // by the fault; the operation that it interrupts or joins does not tell

int answer(uint32_t case_code, void *, uint32_t) {
  if (++service_calls != failing_call)
    return 0;
  commit_failed = case_code == SYSSRV_MEM_WRITE_CASE;
  errno = ETIMEDOUT;
  return -1;
}

enum outcome { no_fault, survived, wrong };

// Runs the scenario with one fault; the step that meets it is run again, and so is all behind it.
outcome run_scenario(const fault &fault, unsigned nth) {
  (fault.fail_at != nullptr ? faults().*fault.fail_at : failing_call) = nth;
  faults().marker_file = fault.traced;
  faults().arm();
  fake().answer = answer;
  bool met = false;
  for (const step &step : scenario) {
    const syserr_t result = step.operation();
    if (result == 0)
      continue;
    met = true;
    const syserr_t documented = fault.fail_at != nullptr ? fault.code : step.when_service_fails;
    if (result != documented || step.operation() != 0) {
      std::fprintf(stderr, "%s fails at %u: %s answers %x\n", fault.kind, nth, step.name, result);
      return wrong;
    }
  }
  const unsigned calls = fault.calls != nullptr ? faults().*fault.calls : service_calls;
  if (nth == 0 || calls < nth)
    return met ? wrong : no_fault;
  if (met || commit_failed)
    return survived;
  std::fprintf(stderr, "%s fails at %u, and no operation says so\n", fault.kind, nth);
  return wrong;
}

// The library initialises once in a process, so each run has one of its own.
template <typename Body>
int in_child(Body body) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    const int result = std::freopen("/dev/null", "w", stdout) != nullptr ? body() : wrong;
    std::exit(result);  // no _exit: what a coverage build has counted is written at the end
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : wrong;
}

}  // namespace

TEST(Fault, each_operation_answers_with_its_code_and_works_again) {
  for (const fault &fault : kinds) {
    int outcome = survived;
    unsigned nth = 0;
    while (outcome == survived) {
      ++nth;
      outcome = in_child([&] { return run_scenario(fault, nth); });
    }
    EXPECT_EQ(outcome, no_fault) << fault.kind << " at " << nth;
    EXPECT_GT(nth, 1U) << fault.kind << " is never called";
  }
}

TEST(Fault, a_trace_that_cannot_be_written_changes_no_result) {
  const auto on_a_full_disk = [] {
    faults().log_path = "/dev/full";
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO);
    return run_scenario(kinds[0], 0);
  };
  const auto without_standard_output = [] {
    close(STDOUT_FILENO);
    return run_scenario(kinds[0], 0);
  };
  EXPECT_EQ(in_child(on_a_full_disk), no_fault);
  EXPECT_EQ(in_child(without_standard_output), no_fault);
}
