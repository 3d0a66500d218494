// Compares a trace line with spdlog: synchronous, two sinks, the same prefix. All outputs go to
// /dev/null.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "kel_asic_intf.h"
#include "ratio_report.h"

namespace {

FILE *open_null(const char *name, const char *path, const char *mode) {
  const bool is_trace_file =
      std::strcmp(path, "/bootflash/kel_lib_debug") == 0 || std::strstr(path, "kel_asic_log");
  const auto real_fopen =
      reinterpret_cast<FILE *(*)(const char *, const char *)>(dlsym(RTLD_NEXT, name));
  return real_fopen(is_trace_file ? "/dev/null" : path, mode);
}

// A read that is refused before its address is looked at writes one line, its "Enter".
void trace_one_line(benchmark::State &state) {
  for (auto _ : state)
    lib_mrv_asic_read(4, 0, KEL_ASIC_BLK_HI, 0, 0, nullptr, 0, nullptr, 0, nullptr);
}

void log_one_line(benchmark::State &state) {
  using file_sink = spdlog::sinks::basic_file_sink_st;
  const spdlog::sink_ptr sinks[] = {std::make_shared<file_sink>("/dev/null"),
                                    std::make_shared<file_sink>("/dev/null")};
  spdlog::logger logger("bench", std::begin(sinks), std::end(sinks));
  logger.set_pattern("%m/%d/%Y %H:%M:%S.%f |t|  0 |   : %v");
  for (auto _ : state)
    logger.info("{}: {}", "lib_mrv_asic_read", "Enter");
}

}  // namespace

// The marker file is there, and the log goes nowhere.
extern "C" FILE *fopen(const char *path, const char *mode) {
  return open_null("fopen", path, mode);
}

extern "C" FILE *fopen64(const char *path, const char *mode) {
  return open_null("fopen64", path, mode);
}

int main(int argc, char **argv) {
  FILE *out = take_standard_output();
  benchmark::RegisterBenchmark("trace line, spdlog@1.00/library", [](benchmark::State &state) {
    if (lib_mrv_asic_init(0, KEL_ASIC_DRIVER_MORVANE, 0, nullptr, 0, nullptr) != 0)
      state.SkipWithError("the library does not initialise");
    trace_one_line(state);
  });
  benchmark::RegisterBenchmark("trace line, spdlog@1.00/baseline", log_one_line);
  return run_ratio_benchmarks(out, argc, argv);
}
