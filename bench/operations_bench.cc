// Compares each operation with the minimum that a client would do without the library.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "baseline.h"
#include "kel_asic_intf.h"
#include "ratio_report.h"

namespace {

constexpr uint32_t whole_register = 0xFFFFFFFF;
constexpr int program_steps = 256;

// The texts are reached through pointers that the compiler cannot see through.
char *volatile caller_file = const_cast<char *>("control/plane/port_manager.cc");
const char *volatile caller_func = "port_manager_program_port";

// The caller's array. How fast words move depends on their place in a page and on the page, so the
// array has another place in each repetition.
constexpr uint32_t array_words = 2048, place_words = 64 * 1024;
uint32_t places[place_words + array_words];
uint32_t *words = places;

void move_array(uint32_t repetition) {
  constexpr uint32_t step = 1421;  // a page and more; odd, so that it comes to every place
  words = places + repetition * step % place_words;
}

template <typename Operation>
void add(const std::string &name, double items, Operation operation) {
  benchmark::RegisterBenchmark(name.c_str(), [=, repetition = 0U](benchmark::State &state) mutable {
    move_array(repetition++);
    for (auto _ : state)
      operation();
    state.counters["items"] = items;
  });
}

template <typename Library, typename Baseline>
void add_pair(const std::string &name, Library library, Baseline baseline) {
  add(name + "/library", 1, library);
  add(name + "/baseline", 1, baseline);
}

void write() {
  lib_mrv_asic_write(0, 0, KEL_ASIC_BLK_HI, 1, 7, 5, KEL_ASIC_WR_SYMBOLIC, 1, caller_file, 99,
                     caller_func);
}

void baseline_write() {
  uint32_t data = 5;
  baseline_access(TYPE_WRITE, 7, &data, whole_register, 1, caller_file, 99, caller_func);
}

void add_single_register_pairs() {
  add_pair(
      "read@1.00",
      [] {
        uint32_t data;
        lib_mrv_asic_read(0, 0, KEL_ASIC_BLK_HI, 1, 7, &data, 1, caller_file, 99, caller_func);
        benchmark::DoNotOptimize(data);
      },
      [] {
        uint32_t data = 0;
        baseline_access(TYPE_READ, 7, &data, whole_register, 1, caller_file, 99, caller_func);
        benchmark::DoNotOptimize(data);
      });
  add_pair("write@1.00", write, baseline_write);
  add_pair(
      "write_field@1.00",
      [] {
        lib_mrv_asic_write_field(0, 0, KEL_ASIC_BLK_HI, 1, 7, 5, 0xFF, KEL_ASIC_WR_SYMBOLIC, 1,
                                 caller_file, 99, caller_func);
      },
      [] {
        uint32_t data = 5;
        baseline_access(TYPE_WRITE_FIELD, 7, &data, 0xFF, 1, caller_file, 99, caller_func);
      });
}

void in_transaction(void (*operation)(), benchmark::State &state) {
  mrv_asic_transaction_start(const_cast<char *>("bench"), 0);
  for (auto _ : state)
    operation();
  mrv_asic_transaction_commit();
}

void write_table() {
  lib_mrv_asic_write_dhs(0, 0, KEL_ASIC_BLK_HF, 1, HF_DHS_SVIF_MEM_OFFSET, 0, words, 2048, 1,
                         caller_file, 99, caller_func);
}

// Full transactions are committed on the way.
void add_transaction_pairs() {
  add_pair(
      "transaction start and commit",
      [] {
        mrv_asic_transaction_start(const_cast<char *>("bench"), 0);
        mrv_asic_transaction_commit();
      },
      baseline_write);
  benchmark::RegisterBenchmark("write in a transaction@0.40/library",
                               [](benchmark::State &state) { in_transaction(write, state); });
  add("write in a transaction@0.40/baseline", 1, baseline_write);
  benchmark::RegisterBenchmark("write_dhs of 2048 words in a transaction, per word@0.15/library",
                               [](benchmark::State &state) {
                                 in_transaction(write_table, state);
                                 state.counters["items"] = 2048;
                               });
  add("write_dhs of 2048 words in a transaction, per word@0.15/baseline", 1, baseline_write);
}

template <uint32_t count>
void add_multi_word_pairs(const std::string &bar) {
  const std::string suffix = " " + std::to_string(count) + bar;
  const auto baseline_read = [] {
    baseline_run<count>::read(0, words, 1, caller_file, 99, caller_func);
  };
  add_pair(
      "n_read" + suffix,
      [] {
        lib_mrv_asic_n_read(0, 0, KEL_ASIC_BLK_HI, 1, 7, words, count, 1, caller_file, 99,
                            caller_func);
      },
      baseline_read);
  add_pair(
      "read_dhs" + suffix,
      [] {
        lib_mrv_asic_read_dhs(0, 0, KEL_ASIC_BLK_HF, 1, HF_DHS_SVIF_MEM_OFFSET, 0, words, count, 1,
                              caller_file, 99, caller_func);
      },
      baseline_read);
  add_pair(
      "write_dhs" + suffix,
      [] {
        lib_mrv_asic_write_dhs(0, 0, KEL_ASIC_BLK_HF, 1, HF_DHS_SVIF_MEM_OFFSET, 0, words, count, 1,
                               caller_file, 99, caller_func);
      },
      [] { baseline_run<count>::write(0, words, 1, caller_file, 99, caller_func); });
}

kel_asic_qos_stats_t *stats() {
  return reinterpret_cast<kel_asic_qos_stats_t *>(words);
}

void add_stats_pairs() {
  add_pair(
      "get_qos_stats@1.10",
      [] { lib_mrv_asic_get_qos_stats(0, 0, CARDCFG_PORT_TYPE_HIF, 1, stats(), 0); },
      [] { baseline_stats(0, 0, CARDCFG_PORT_TYPE_HIF, 1, stats(), 0); });
  const auto baseline_clear = [] { baseline_stats(0, 0, CARDCFG_PORT_TYPE_HIF, 1, nullptr, 0); };
  add_pair(
      "clear_qos_stats", [] { lib_mrv_asic_clear_qos_stats(0, 0, CARDCFG_PORT_TYPE_HIF, 1, 0); },
      baseline_clear);
  add_pair(
      "clear_all_qos_stats", [] { lib_mrv_asic_clear_all_qos_stats(0, 0, 0); }, baseline_clear);
}

void add_port_pairs() {
  const std::pair<const char *, syserr_t (*)()> operations[] = {
      {"link_pause_enable",
       [] { return lib_mrv_asic_link_pause_enable(0, 0, CARDCFG_PORT_TYPE_HIF, 1); }},
      {"link_pause_disable",
       [] { return lib_mrv_asic_link_pause_disable(0, 0, CARDCFG_PORT_TYPE_HIF, 1); }},
      {"set_nodrop_class_map", [] { return lib_mrv_asic_set_nodrop_class_map(0, 0, 1); }},
      {"sfp_validation_failed", [] { return lib_mrv_asic_sfp_validation_failed(0, 0, 3, 1); }},
      {"prog_sp_timer", [] { return lib_mrv_asic_prog_sp_timer(0, 0, 1); }},
      {"clear_all_drop_counters", lib_mrv_asic_clear_all_drop_counters}};
  for (const auto &[name, operation] : operations)
    add_pair(name, operation, baseline_write);
}

// Here the baseline is the library's own write.
void add_program_pair() {
  static std::vector<kel_asic_pgm_t> program(
      program_steps, {KEL_ASIC_PGM_MAGIC, KEL_ASIC_BLK_HI, 1, 7, 5, whole_register});
  add("pgm 256 steps, a step@1.05/library", program_steps, [] {
    lib_mrv_asic_pgm(0, 0, program.data(), program_steps, 1, caller_file, 99, caller_func);
  });
  add("pgm 256 steps, a step@1.05/baseline", program_steps, [] {
    for (int i = 0; i < program_steps; ++i)
      write();
  });
}

}  // namespace

int main(int argc, char **argv) {
  FILE *out = take_standard_output();
  const std::size_t heap_before = mallinfo2().uordblks;
  if (lib_mrv_asic_init(0, KEL_ASIC_DRIVER_MORVANE, 0, caller_file, 0, caller_func) != 0)
    return EXIT_FAILURE;
  const std::size_t heap_taken = mallinfo2().uordblks - heap_before;
  if (!baseline_init())
    return EXIT_FAILURE;
  std::fprintf(out, "heap taken by initialisation, standard output's own included: %zu bytes\n\n",
               heap_taken);
  add_single_register_pairs();
  add_transaction_pairs();
  add_multi_word_pairs<1>("@1.00");
  add_multi_word_pairs<16>("");
  add_multi_word_pairs<256>("");
  add_multi_word_pairs<2048>("@1.00");
  add_stats_pairs();
  add_port_pairs();
  add_program_pair();
  return run_ratio_benchmarks(out, argc, argv);
}
