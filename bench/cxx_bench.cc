// What each operation of morvaneusd.hpp costs beside the call of the C interface that it wraps.
// Both say who asks, with texts of the same length, and look at the result.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdlib>
#include <string>
#include <vector>

#include "morvaneusd.hpp"
#include "ratio_report.h"

namespace {

constexpr auto reg = morvane::at(static_cast<kel_asic_hi_reg_t>(7), 1);
constexpr morvane::table_of<HF_DHS_POL_OFFSET> policers(1);
constexpr morvane::port port = morvane::hif(1);

std::array<uint32_t, 16> words;
std::array<kel_asic_pgm_t, 16> steps;
char *const file = const_cast<char *>(__FILE__);

void add(const std::string &name, void (*operation)()) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
    for (auto _ : state)
      operation();
  });
}

void add_pair(const std::string &name, void (*cxx)(), void (*c)()) {
  add(name + "@1.02/library", cxx);
  add(name + "@1.02/baseline", c);
}

void check(syserr_t result) {
  if (result != 0)
    std::abort();
}

uint32_t read(const char *func) {
  uint32_t value = 0;
  check(lib_mrv_asic_read(0, 0, KEL_ASIC_BLK_HI, 1, 7, &value, 0, file, __LINE__, func));
  return value;
}

syserr_t write(const char *func) {
  return lib_mrv_asic_write(0, 0, KEL_ASIC_BLK_HI, 1, 7, 5, KEL_ASIC_WR_SYMBOLIC, 0, file, __LINE__,
                            func);
}

// As a batch does, it leaves no transaction open where the write fails.
void write_in_transaction(const char *func) {
  mrv_asic_transaction_start(const_cast<char *>("bench"), 0);
  const syserr_t result = write(func);
  mrv_asic_transaction_commit();
  check(result);
}

void add_single_register_pairs() {
  add_pair(
      "read", [] { benchmark::DoNotOptimize(morvane::read(reg)); },
      [] { benchmark::DoNotOptimize(read(__func__)); });
  add_pair(
      "read, error code",
      [] {
        std::error_code ec;
        benchmark::DoNotOptimize(morvane::read(reg, ec));
        if (ec)
          std::abort();
      },
      [] { benchmark::DoNotOptimize(read(__func__)); });
  add_pair(
      "write", [] { morvane::write(reg, 5); }, [] { check(write(__func__)); });
  add_pair(
      "write, raw", [] { morvane::write(morvane::raw(28), 5); },
      [] {
        check(lib_mrv_asic_write(0, 0, KEL_ASIC_NUM_BLK, 0, 28, 5, KEL_ASIC_WR_RAW, 0, file,
                                 __LINE__, __func__));
      });
  add_pair(
      "write_field", [] { morvane::write_field(reg, 5, 0xFF); },
      [] {
        check(lib_mrv_asic_write_field(0, 0, KEL_ASIC_BLK_HI, 1, 7, 5, 0xFF, KEL_ASIC_WR_SYMBOLIC,
                                       0, file, __LINE__, __func__));
      });
}

void add_run_and_table_pairs() {
  add_pair(
      "read_block 16", [] { morvane::read_block(reg, words); },
      [] {
        check(lib_mrv_asic_n_read(0, 0, KEL_ASIC_BLK_HI, 1, 7, words.data(), 16, 0, file, __LINE__,
                                  __func__));
      });
  add_pair(
      "read_block 16, a vector", [] { benchmark::DoNotOptimize(morvane::read_block(reg, 16)); },
      [] {
        std::vector<uint32_t> run(16);
        check(lib_mrv_asic_n_read(0, 0, KEL_ASIC_BLK_HI, 1, 7, run.data(), 16, 0, file, __LINE__,
                                  __func__));
        benchmark::DoNotOptimize(run);
      });
  add_pair(
      "read_entries 2", [] { morvane::read_entries(policers, 3, words); },
      [] {
        check(lib_mrv_asic_read_dhs(0, 0, KEL_ASIC_BLK_HF, 1, HF_DHS_POL_OFFSET, 3, words.data(), 2,
                                    0, file, __LINE__, __func__));
      });
  add_pair(
      "read_row", [] { benchmark::DoNotOptimize(morvane::read_row(policers, 3)); },
      [] {
        std::array<uint32_t, 8> row = {};
        check(lib_mrv_asic_read_dhs(0, 0, KEL_ASIC_BLK_HF, 1, HF_DHS_POL_OFFSET, 3, row.data(), 1,
                                    0, file, __LINE__, __func__));
        benchmark::DoNotOptimize(row);
      });
  add_pair(
      "write_entries 2", [] { morvane::write_entries(policers, 3, words); },
      [] {
        check(lib_mrv_asic_write_dhs(0, 0, KEL_ASIC_BLK_HF, 1, HF_DHS_POL_OFFSET, 3, words.data(),
                                     2, 0, file, __LINE__, __func__));
      });
}

void add_batch_pairs() {
  add_pair(
      "batch", [] { const morvane::batch empty("bench"); },
      [] {
        mrv_asic_transaction_start(const_cast<char *>("bench"), 0);
        mrv_asic_transaction_commit();
      });
  add_pair(
      "batch of a write",
      [] {
        const morvane::batch one("bench");
        morvane::write(reg, 5);
      },
      [] { write_in_transaction(__func__); });
  add_pair(
      "batch, commit_and_verify",
      [] {
        morvane::batch one("bench");
        morvane::write(reg, 0);
        one.commit_and_verify(reg, 0);
      },
      [] {
        write_in_transaction(__func__);
        check(read(__func__));
      });
  add_pair(
      "run 16 steps", [] { morvane::run(steps); },
      [] {
        check(lib_mrv_asic_pgm(0, 0, steps.data(), steps.size(), 0, file, __LINE__, __func__));
      });
}

void add_qos_pairs() {
  add_pair(
      "get_qos_stats", [] { benchmark::DoNotOptimize(morvane::get_qos_stats(port)); },
      [] {
        kel_asic_qos_stats_t record;
        check(lib_mrv_asic_get_qos_stats(0, 0, CARDCFG_PORT_TYPE_HIF, 1, &record, 0));
        benchmark::DoNotOptimize(record);
      });
  add_pair(
      "clear_qos_stats", [] { morvane::clear_qos_stats(port); },
      [] { check(lib_mrv_asic_clear_qos_stats(0, 0, CARDCFG_PORT_TYPE_HIF, 1, 0)); });
  add_pair(
      "clear_all_qos_stats", [] { morvane::clear_all_qos_stats(); },
      [] { check(lib_mrv_asic_clear_all_qos_stats(0, 0, 0)); });
}

void add_port_pairs() {
  add_pair(
      "link_pause_enable", [] { morvane::link_pause_enable(port); },
      [] { check(lib_mrv_asic_link_pause_enable(0, 0, CARDCFG_PORT_TYPE_HIF, 1)); });
  add_pair(
      "link_pause_disable", [] { morvane::link_pause_disable(port); },
      [] { check(lib_mrv_asic_link_pause_disable(0, 0, CARDCFG_PORT_TYPE_HIF, 1)); });
  add_pair(
      "set_nodrop_class_map", [] { morvane::set_nodrop_class_map(1); },
      [] { check(lib_mrv_asic_set_nodrop_class_map(0, 0, 1)); });
  add_pair(
      "sfp_validation_failed", [] { morvane::sfp_validation_failed(port); },
      [] { check(lib_mrv_asic_sfp_validation_failed(0, 0, CARDCFG_PORT_TYPE_HIF, 1)); });
  add_pair(
      "prog_sp_timer", [] { morvane::prog_sp_timer(1); },
      [] { check(lib_mrv_asic_prog_sp_timer(0, 0, 1)); });
  add_pair(
      "clear_all_drop_counters", [] { morvane::clear_all_drop_counters(); },
      [] { check(lib_mrv_asic_clear_all_drop_counters()); });
}

}  // namespace

int main(int argc, char **argv) {
  FILE *out = take_standard_output();
  morvane::init();
  steps.fill(morvane::step(reg, 5));
  add_single_register_pairs();
  add_run_and_table_pairs();
  add_batch_pairs();
  add_qos_pairs();
  add_port_pairs();
  return run_ratio_benchmarks(out, argc, argv);
}
