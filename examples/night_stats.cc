// A process of a control plane, for night_with_a_fault.sh: reads the statistics of host ports
// repeatedly, with a pause between two rounds.
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <morvaneusd.hpp>
#include <thread>

namespace {

uint64_t discarded(uint32_t ports) {
  uint64_t sum = 0;
  for (uint32_t port = 0; port < ports; ++port)
    sum += morvane::get_qos_stats(morvane::hif(port)).writes_discarded();
  return sum;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: night_stats PORTS ROUNDS MILLISECONDS\n");
    return 2;
  }
  const auto number = [&](int i) {
    return static_cast<uint32_t>(std::strtoul(argv[i], nullptr, 0));
  };
  const std::chrono::milliseconds pause(number(3));
  try {
    morvane::init();
    uint64_t frames = 0;
    for (uint32_t round = 0; round < number(2); ++round) {
      frames = discarded(number(1));
      std::this_thread::sleep_for(pause);
    }
    std::printf("\n%" PRIu64 " frames discarded\n", frames);
  } catch (const std::exception &error) {
    std::fprintf(stderr, "night_stats: %s\n", error.what());
    return 1;
  }
}
