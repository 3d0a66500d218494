/* Writes 600 words in a batch from three functions after a command, as a plug-in of plugin_host, or
   with run=main as a program. */
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include "kel_asic_intf.h"

int run(void);

static void set_registers(uint32_t first) {
  for (uint32_t i = first; i < first + 10; ++i)
    lib_mrv_asic_write(0, 0, KEL_ASIC_BLK_HI, 2, i, 3 * i, KEL_ASIC_WR_SYMBOLIC, KEL_ASIC_HERE);
}

static void set_fields(uint32_t first) {
  for (uint32_t i = first; i < first + 10; ++i)
    lib_mrv_asic_write_field(0, 0, KEL_ASIC_BLK_HI, 3, i, 5, 0xF, KEL_ASIC_WR_SYMBOLIC,
                             KEL_ASIC_HERE);
}

/* And a program, which fails in its second step, whose value is that of the next write. */
static void fill_table(uint32_t first) {
  uint32_t words[5][8] = {{0}};
  kel_asic_pgm_t steps[] = {
      {KEL_ASIC_PGM_MAGIC, KEL_ASIC_BLK_HI, 4, 5, first, 0xFFFFFFFF},
      {KEL_ASIC_PGM_MAGIC, KEL_ASIC_BLK_HI, 99, 5, 6 * first + 30, 0xFFFFFFFF}};
  for (uint32_t i = 0; i < 5; ++i)
    words[i][0] = first + i;
  lib_mrv_asic_write_dhs(0, 0, KEL_ASIC_BLK_HF, 0, HF_DHS_POL_OFFSET, first, words[0], 5,
                         KEL_ASIC_HERE);
  lib_mrv_asic_pgm(0, 0, steps, 2, KEL_ASIC_HERE);
}

int run(void) {
  char name[] = "batch";
  lib_mrv_asic_init(0, KEL_ASIC_DRIVER_MORVANE, KEL_ASIC_HERE);
  mrv_asic_transaction_start(name, 0);
  lib_mrv_asic_link_pause_enable(0, 0, CARDCFG_PORT_TYPE_HIF, 3);
  for (uint32_t round = 0; round < 10; ++round) {
    set_registers(10 * round);
    set_fields(10 * round);
    fill_table(5 * round);
  }
  lib_mrv_asic_write(0, 0, KEL_ASIC_BLK_HI, 99, 0, 1, KEL_ASIC_WR_SYMBOLIC, KEL_ASIC_HERE);
  if (getenv("BATCH_FORKS") != NULL && fork() == 0) {
    set_registers(100);
    raise(SIGKILL);
  }
  wait(NULL);
  if (getenv("BATCH_DIES") != NULL)
    raise(SIGKILL);
  return mrv_asic_transaction_commit();
}
