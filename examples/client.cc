// A client of libmorvaneusd in C++: fills a table in one batch, verifies the last entry and reads
// the table back, then enables link pause on a port and reads the port's statistics.
#include <cinttypes>
#include <cstdio>
#include <morvaneusd.hpp>
#include <numeric>

int main() {
  try {
    morvane::init();

    constexpr morvane::table_of<HI_DHS_LVIF_OFFSET> table(2);
    std::array<uint32_t, 8> written;
    std::iota(written.begin(), written.end(), 100U);
    morvane::batch batch("fill the table");
    morvane::write_entries(table, 0, written);
    batch.commit_and_verify(table, 7, {written.back()});  // a commit cannot report failure
    const auto read = morvane::read_entries(table, 0, written.size());
    std::printf("\n%s: %zu entries written, %" PRIu32 " to %" PRIu32 " read back\n",
                to_string(table.where()).c_str(), read.size(), read.front(), read.back());

    constexpr morvane::port port = morvane::hif(5);
    morvane::link_pause_enable(port);
    const morvane::qos_stats stats = morvane::get_qos_stats(port);
    std::printf("host port 5: flow control %u, %" PRIu64 " writes discarded\n", stats.flow_ctrl(),
                stats.writes_discarded());
  } catch (const std::exception &error) {
    std::fprintf(stderr, "\n%s\n", error.what());
    return 1;
  }
}
