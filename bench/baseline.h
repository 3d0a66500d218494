// The least that any client of the service must do by itself: clear the record, set its fields,
// copy both texts, call the service, take the answer.
#ifndef BASELINE_H
#define BASELINE_H

#include <cstdint>

#include "kel_asic_lib_common.h"

// Allocates the request buffer. Call it directly after the library's initialisation: how fast
// words move depends on their place in a page, so both buffers have the same place.
bool baseline_init();

int baseline_access(kel_asic_access_type_t type, uint32_t addr, uint32_t *data, uint32_t mask,
                    uint32_t context, const char *file, int line, const char *func);

// Runs of 1, 16, 256 and 2048 words. A client with one table knows the length when it is
// compiled, and so does the baseline.
template <uint32_t num>
struct baseline_run {
  static int read(uint32_t addr, uint32_t *words, uint32_t context, const char *file, int line,
                  const char *func);
  static int write(uint32_t addr, const uint32_t *words, uint32_t context, const char *file,
                   int line, const char *func);
};

// A null stats asks for no answer.
int baseline_stats(uint8_t module, uint8_t asic, cardcfg_port_type_t port_type, uint8_t port,
                   kel_asic_qos_stats_t *stats, uint32_t opts);

#endif
