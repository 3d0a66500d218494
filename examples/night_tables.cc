// A process of a control plane, for night_with_a_fault.sh: loads two tables, each in one
// transaction, and prints a line when host ports may be tuned. Its argument is the address of the
// register that stops the policers while their table changes; that register has no
// name.
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <morvaneusd.hpp>
#include <numeric>

namespace {

void load_interfaces() {
  constexpr morvane::table_of<HI_DHS_LVIF_OFFSET> interfaces(2);
  std::array<uint32_t, 96> entries;
  std::iota(entries.begin(), entries.end(), 0x1000U);
  morvane::batch load("interfaces");
  morvane::write_entries(interfaces, 0, entries);
  load.commit_and_verify(interfaces, 95, {entries.back()});
}

void load_policers(const morvane::raw_address &hold) {
  constexpr morvane::table_of<HF_DHS_POL_OFFSET> policers(0);
  std::array<uint32_t, 4 * policers.words()> rates;
  rates.fill(0x2710);
  const morvane::batch load("policers");
  morvane::write(hold, 1);
  morvane::write_entries(policers, 0, rates);
  morvane::write(hold, 0);
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: night_tables ADDRESS\n");
    return 2;
  }
  try {
    morvane::init();
    load_interfaces();
    std::printf("\nready\n");
    std::fflush(stdout);
    load_policers(morvane::raw(static_cast<uint32_t>(std::strtoul(argv[1], nullptr, 0))));
  } catch (const std::exception &error) {
    std::fprintf(stderr, "night_tables: %s\n", error.what());
    return 1;
  }
}
