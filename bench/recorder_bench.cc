// Compares recording a service call with a recorder that appends the same note with one write(2)
// to a file in memory. Both are between caller and a service that answers at once, and both read
// the clocks. Then compares writes that join a transaction with the same calls of the library
// itself, which the recorder does not see.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "compact_record.h"
#include "kel_asic_intf.h"
#include "kel_asic_lib_common.h"
#include "platform/system_service.h"
#include "ratio_report.h"

namespace {

using service_call = decltype(&sse_call2);

uint64_t now_ns(clockid_t clock) {
  timespec now = {};
  clock_gettime(clock, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1000000000U + static_cast<uint64_t>(now.tv_nsec);
}

// The baseline.
class writing_recorder {
 public:
  explicit writing_recorder(service_call next) : next_(next) {}

  int call(uint32_t case_code, sys_srvc_case_params_t *params, uint32_t length) {
    const call_payload record = {case_code, static_cast<const uint8_t *>(params->params), length};
    mrec_call_t note = {};
    uint8_t *const request = note_.data() + sizeof note;
    const compact_record kept = keep_request(record, request);
    note.number = ++calls_;
    note.case_code = case_code;
    note.driver = params->caseId;
    note.length = length;
    note.shape = kept.shape;
    note.request_size = kept.size;
    note.wall_ns = now_ns(CLOCK_REALTIME);
    note.monotonic_ns = now_ns(CLOCK_MONOTONIC);
    note.result = next_(case_code, params, length);
    note.duration_ns = now_ns(CLOCK_MONOTONIC) - note.monotonic_ns;
    const compact_record answer = measure_answer(record, kept.shape, request);
    keep_answer(record, answer, request + kept.size);
    note.flags = kept.flags | answer.flags;
    note.answer_size = answer.size;
    const auto used = static_cast<uint32_t>(sizeof note) + kept.size + answer.size;
    note.note = {MREC_NOTE_MARK, (used + 15) / 16 * 16, MREC_NOTE_CALL, 0};
    std::memcpy(note_.data(), &note, sizeof note);
    append(note.note.size);
    return note.result;
  }

 private:
  // As much as the ring holds is kept in memory: then the file begins again.
  void append(uint32_t size) {
    written_ += size;
    if (written_ > MREC_RING_DEFAULT) {
      lseek(file_, 0, SEEK_SET);
      written_ = size;
    }
    if (write(file_, note_.data(), size) != static_cast<ssize_t>(size))
      std::abort();
  }

  service_call next_;
  int file_ = memfd_create("notes", 0);
  uint64_t calls_ = 0;
  uint32_t written_ = 0;
  std::array<uint8_t, 2 *MREC_REQUEST_MAX> note_ = {};
};

template <typename Call>
void add(const std::string &name, uint32_t case_code, const std::vector<uint32_t> &words,
         Call call) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) mutable {
    std::vector<uint32_t> record = words;
    sys_srvc_case_params_t params = {KEL_ASIC_DRIVER_MORVANE, record.data()};
    for (auto _ : state)
      call(case_code, &params, static_cast<uint32_t>(4 * record.size()));
  });
}

// A record of that size whose fields are zero but for one.
std::vector<uint32_t> record(std::size_t size, std::size_t offset, uint32_t value) {
  std::vector<uint32_t> words(size / 4);
  words[offset / 4] = value;
  return words;
}

std::vector<uint32_t> words_record(uint32_t type, uint32_t num) {
  std::vector<uint32_t> words = record(sizeof(kel_asic_reg_access_params_t) + 4 * num,
                                       offsetof(kel_asic_reg_access_params_t, num), num);
  words[0] = type;
  return words;
}

std::vector<uint32_t> transaction_record(uint32_t entries) {
  return record(sizeof(kel_asic_xn_t), offsetof(kel_asic_xn_t, num), entries);
}

void add_pairs(writing_recorder *baseline) {
  const auto write = [baseline](uint32_t code, sys_srvc_case_params_t *params, uint32_t length) {
    baseline->call(code, params, length);
  };
  const struct {
    const char *name;
    uint32_t case_code;
    std::vector<uint32_t> record;
  } calls[] = {
      {"read", SYSSRV_REG_READ_CASE, words_record(TYPE_READ, 0)},
      {"write", SYSSRV_REG_WRITE_CASE, words_record(TYPE_WRITE, 0)},
      {"read of 16 words", SYSSRV_REG_READ_CASE, words_record(TYPE_READ_DHS, 16)},
      {"write of 2048 words", SYSSRV_REG_WRITE_CASE, words_record(TYPE_WRITE_DHS, 2048)},
      {"transaction of 16 entries", SYSSRV_MEM_WRITE_CASE, transaction_record(16)},
      {"transaction of 512 entries", SYSSRV_MEM_WRITE_CASE, transaction_record(512)},
      {"QoS statistics", SYSSRV_MEM_READ_CASE,
       record(sizeof(kel_asic_qos_stats_params_t), 0, QOS_STATS_GET)},
  };
  for (const auto &[name, case_code, words] : calls) {
    const std::string pair = std::string("noting a ") + name + "@0.35/";
    add(pair + "library", case_code, words, sse_call2);
    add(pair + "baseline", case_code, words, write);
  }
}

struct library_functions {
  decltype(&lib_mrv_asic_write) write;
  decltype(&lib_mrv_asic_write_dhs) write_dhs;
  decltype(&lib_mrv_asic_pgm) pgm;
};

// The texts are reached through pointers that the compiler cannot see through.
char *volatile caller_file = const_cast<char *>("control/plane/port_manager.cc");
const char *volatile caller_func = "port_manager_program_port";

template <typename Write>
void add_in_transaction(const std::string &name, int items, Write write) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
    mrv_asic_transaction_start(const_cast<char *>("bench"), 0);
    for (auto _ : state)
      write();
    mrv_asic_transaction_commit();
    state.counters["items"] = items;
  });
}

void add_joining_writes(const std::string &side, const library_functions &to) {
  constexpr int steps = 256;
  constexpr uint32_t all_bits = 0xFFFFFFFF;
  static std::vector<kel_asic_pgm_t> program(
      steps, {KEL_ASIC_PGM_MAGIC, KEL_ASIC_BLK_HI, 1, 7, 5, all_bits});
  static std::vector<uint32_t> words(2048);
  const auto write_table = [write_dhs = to.write_dhs](uint32_t entries) {
    write_dhs(0, 0, KEL_ASIC_BLK_HF, 1, HF_DHS_SVIF_MEM_OFFSET, 0, words.data(), entries, 1,
              caller_file, 99, caller_func);
  };
  add_in_transaction("joining with a write@+30/" + side, 1, [write = to.write] {
    write(0, 0, KEL_ASIC_BLK_HI, 1, 7, 5, KEL_ASIC_WR_SYMBOLIC, 1, caller_file, 99, caller_func);
  });
  add_in_transaction("joining with an entry of a table@+30/" + side, 1, [=] { write_table(1); });
  add_in_transaction("joining with 2048 words, a word@+30/" + side, 2048,
                     [=] { write_table(2048); });
  add_in_transaction("joining with 256 steps, a step@+30/" + side, steps, [pgm = to.pgm] {
    pgm(0, 0, program.data(), steps, 1, caller_file, 99, caller_func);
  });
}

template <typename Function>
void find(Function *&function, void *library, const char *name) {
  function = reinterpret_cast<Function *>(dlsym(library, name));
  if (function == nullptr)
    std::abort();
}

void add_pairs_of_the_library() {
  void *const library = dlopen("libmorvaneusd.so.1", RTLD_NOW | RTLD_NOLOAD);
  library_functions own = {};
  find(own.write, library, "lib_mrv_asic_write");
  find(own.write_dhs, library, "lib_mrv_asic_write_dhs");
  find(own.pgm, library, "lib_mrv_asic_pgm");
  if (lib_mrv_asic_init(0, KEL_ASIC_DRIVER_MORVANE, 0, caller_file, 0, caller_func) != 0)
    std::abort();
  add_joining_writes("library", {lib_mrv_asic_write, lib_mrv_asic_write_dhs, lib_mrv_asic_pgm});
  add_joining_writes("baseline", own);
}

// The recorder takes its directory from the environment that the program begins with.
void run_again_recorded(char **argv) {
  char folder[] = "/dev/shm/recorder_bench_XXXXXX";
  if (mkdtemp(folder) == nullptr)
    std::abort();
  setenv("MORVANE_RECORD", folder, 1);
  execv("/proc/self/exe", argv);
  std::abort();
}

}  // namespace

int main(int argc, char **argv) {
  if (getenv("MORVANE_RECORD") == nullptr)
    run_again_recorded(argv);
  FILE *out = take_standard_output();
  void *const platform = dlopen("libnull_platform.so", RTLD_NOW | RTLD_NOLOAD);
  if (platform == nullptr)
    return EXIT_FAILURE;
  writing_recorder baseline(reinterpret_cast<service_call>(dlsym(platform, "sse_call2")));
  add_pairs(&baseline);
  add_pairs_of_the_library();
  const int status = run_ratio_benchmarks(out, argc, argv);
  std::filesystem::remove_all(getenv("MORVANE_RECORD"));
  return status;
}
