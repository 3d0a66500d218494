// A client of libmorvaneusd in C++: fills a table in one transaction and reads it back, then
// switches on link pause for a port and looks at the port's statistics.
#include <kel_asic_intf.h>

#include <array>
#include <cinttypes>
#include <cstdio>
#include <numeric>
#include <stdexcept>

namespace {

char this_file[] = __FILE__;  // the interface takes a char *, which a C++ literal is not

void check(syserr_t err, const char *operation) {
  if (err == 0)
    return;
  char text[80];
  std::snprintf(text, sizeof text, "%s: error 0x%08" PRIx32, operation, err);
  throw std::runtime_error(text);
}

// Entries of this table have one word each.
void fill_table() {
  std::array<uint32_t, 8> written;
  std::iota(written.begin(), written.end(), 100U);
  std::array<uint32_t, 8> read = {};

  char name[] = "fill the table";
  mrv_asic_transaction_start(name, 0);
  check(lib_mrv_asic_write_dhs(0, 0, KEL_ASIC_BLK_HI, 2, HI_DHS_LVIF_OFFSET, 0, written.data(),
                               written.size(), 0, this_file, __LINE__, __func__),
        "write");
  mrv_asic_transaction_commit();
  // A commit reports nothing: only a read shows whether the words have arrived.
  check(lib_mrv_asic_read_dhs(0, 0, KEL_ASIC_BLK_HI, 2, HI_DHS_LVIF_OFFSET, 0, read.data(),
                              read.size(), 0, this_file, __LINE__, __func__),
        "read");
  if (read != written)
    throw std::runtime_error("the table does not hold what was written");
  std::printf("\nHI.2 HI_DHS_LVIF: %zu entries written and read back\n", read.size());
}

void pause_port() {
  check(lib_mrv_asic_link_pause_enable(0, 0, CARDCFG_PORT_TYPE_HIF, 5), "pause");
  kel_asic_qos_stats_t stats;
  check(lib_mrv_asic_get_qos_stats(0, 0, CARDCFG_PORT_TYPE_HIF, 5, &stats, 0), "statistics");
  const uint64_t discarded = stats.ss_dhs.wr_discard_cnt;
  std::printf("host port 5: flow control %u, %" PRIu64 " writes discarded\n", stats.pause.flow_ctrl,
              discarded);
}

}  // namespace

int main() {
  try {
    check(lib_mrv_asic_init(0, KEL_ASIC_DRIVER_MORVANE, 0, this_file, __LINE__, __func__), "init");
    fill_table();
    pause_port();
  } catch (const std::exception &error) {
    std::fprintf(stderr, "\n%s\n", error.what());
    return 1;
  }
}
