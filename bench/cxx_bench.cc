// What each operation of morvaneusd.hpp costs compared with the call of the C interface that it
// wraps. Both say who asks, with texts of the same length, and look at the result.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "cxx_pairs.h"
#include "ratio_report.h"

namespace {

using cxx_pairs::plain;
using Operation = void (*)();

void add(const std::string &name, Operation operation) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
    for (auto _ : state)
      operation();
  });
}

void add_pair(const std::string &name, Operation cxx, Operation c) {
  add(name + "@1.02/library", cxx);
  add(name + "@1.02/baseline", c);
}

void check(syserr_t result) {
  if (result != 0)
    std::abort();
}

// The calls of a pair have no state, so a function can keep each of them.
template <typename Call>
Operation c_operation(Call call) {
  static const Call c = call;
  return [] { check(c()); };
}

template <typename Call>
Operation cxx_operation(Call call) {
  static const Call cxx = call;
  return [] {
    if constexpr (std::is_void_v<decltype(cxx())>)
      cxx();
    else
      benchmark::DoNotOptimize(cxx());
  };
}

template <typename Call>
Operation coded_operation(Call call) {
  static const Call cxx = call;
  static std::error_code ec;
  return [] {
    benchmark::DoNotOptimize(cxx(ec));
    if (ec)
      std::abort();
  };
}

uint32_t read(const char *func) {
  uint32_t value = 0;
  check(lib_mrv_asic_read(0, 0, KEL_ASIC_BLK_HI, 2, 40, &value, 0, const_cast<char *>(__FILE__),
                          __LINE__, func));
  return value;
}

// As a batch does, it leaves no transaction open where the write fails.
void write_in_transaction(const char *func) {
  mrv_asic_transaction_start(const_cast<char *>("bench"), 0);
  const syserr_t result = lib_mrv_asic_write(0, 0, KEL_ASIC_BLK_HI, 2, 40, 5, KEL_ASIC_WR_SYMBOLIC,
                                             0, const_cast<char *>(__FILE__), __LINE__, func);
  mrv_asic_transaction_commit();
  check(result);
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
        morvane::write(plain, 5);
      },
      [] { write_in_transaction(__func__); });
  add_pair(
      "batch, commit_and_verify",
      [] {
        morvane::batch one("bench");
        morvane::write(plain, 0);
        one.commit_and_verify(plain, 0);
      },
      [] {
        write_in_transaction(__func__);
        check(read(__func__));
      });
}

}  // namespace

int main(int argc, char **argv) {
  FILE *out = take_standard_output();
  morvane::init();
  cxx_pairs::visit_pairs([](const std::string &name, auto c, auto cxx) {
    add_pair(name, cxx_operation(cxx), c_operation(c));
    if constexpr (std::is_same_v<decltype(cxx()), uint32_t>)
      add_pair(name + ", error code", coded_operation(cxx), c_operation(c));
  });
  add_batch_pairs();
  return run_ratio_benchmarks(out, argc, argv);
}
