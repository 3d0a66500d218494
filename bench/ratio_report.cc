#include "ratio_report.h"

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

namespace {

struct pair_times {
  std::vector<double> library, baseline;  // nanoseconds an item, one a repetition
};

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

class ratio_reporter : public benchmark::BenchmarkReporter {
 public:
  explicit ratio_reporter(FILE *out) : out_(out) {}

  bool ReportContext(const Context &) override { return true; }

  void ReportRuns(const std::vector<Run> &runs) override {
    for (const Run &run : runs) {
      if (run.run_type != Run::RT_Iteration)
        continue;
      const std::string &name = run.run_name.function_name;
      const std::size_t slash = name.rfind('/');
      const std::string pair = name.substr(0, slash);
      order_.emplace(run.family_index, pair);
      const auto items = run.counters.find("items");
      const double per_item = items != run.counters.end() ? items->second.value : 1;
      const bool in_real_time = !run.run_name.time_type.empty();  // what other processes do counts
      const double nanoseconds =
          (in_real_time ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime()) / per_item;
      const bool is_library = name.substr(slash + 1) == "library";
      (is_library ? times_[pair].library : times_[pair].baseline).push_back(nanoseconds);
    }
  }

  void Finalize() override {
    std::fprintf(out_, "%-34s %12s %12s %8s %8s\n", "operation", "ns", "baseline ns", "ratio",
                 "at most");
    for (const auto &[index, pair] : order_)
      if (times_.count(pair) != 0) {
        print_row(pair, times_[pair]);
        times_.erase(pair);
      }
  }

 private:
  void print_row(const std::string &pair, const pair_times &times) const {
    std::vector<double> ratios, differences;
    for (std::size_t i = 0; i < std::min(times.library.size(), times.baseline.size()); ++i) {
      ratios.push_back(times.library[i] / times.baseline[i]);
      differences.push_back(times.library[i] - times.baseline[i]);
    }
    if (ratios.empty())
      return;
    const std::size_t at = pair.find('@');
    const std::string bar = at != std::string::npos ? pair.substr(at + 1) : "";
    const double ratio = median(ratios);
    const double measured = bar[0] == '+' ? median(differences) : ratio;
    const bool above = !bar.empty() && measured > std::strtod(bar.c_str(), nullptr);
    std::fprintf(out_, "%-34s %12.1f %12.1f %8.3f %8s%s\n", pair.substr(0, at).c_str(),
                 median(times.library), median(times.baseline), ratio, bar.c_str(),
                 above ? "  ABOVE" : "");
  }

  FILE *out_;
  std::map<int64_t, std::string> order_;  // the pairs, in the order in which they were registered
  std::map<std::string, pair_times> times_;
};

}  // namespace

FILE *take_standard_output() {
  FILE *out = fdopen(dup(STDOUT_FILENO), "w");
  if (out == nullptr || std::freopen("/dev/null", "w", stdout) == nullptr)
    std::abort();
  return out;
}

int run_ratio_benchmarks(FILE *out, int argc, char **argv) {
  char program[] = "bench", interleave[] = "--benchmark_enable_random_interleaving=true",
       repeat[] = "--benchmark_repetitions=21", time[] = "--benchmark_min_time=0.02";
  std::vector<char *> arguments = {program, interleave, repeat, time};
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
    return EXIT_FAILURE;
  ratio_reporter reporter(out);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::fclose(out);
  return EXIT_SUCCESS;
}
