// The calls of the C interface that python_bench.py compares the Python module with, in a loop.
#include <cstdlib>

#include "kel_asic_intf.h"

// Reads consecutive entries of one word.
extern "C" void read_entries(uint32_t *words, uint32_t count, unsigned calls) {
  for (unsigned i = 0; i < calls; ++i) {
    if (lib_mrv_asic_read_dhs(0, 0, KEL_ASIC_BLK_HI, 2, HI_DHS_LVIF_OFFSET, 0, words, count,
                              KEL_ASIC_HERE) != 0)
      std::abort();
  }
}
