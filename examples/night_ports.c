/* A process of a control plane, for night_with_a_fault.sh: once standard input says "ready",
   switches link pause on for host ports and sets how many frames each may send at once. That
   register has no name; its number is the first argument. */
#include <inttypes.h>
#include <kel_asic_intf.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void wait_until_ready(void) {
  char line[128];
  while (fgets(line, sizeof line, stdin) != NULL && strcmp(line, "ready\n") != 0) {
  }
}

static syserr_t tune(uint32_t port, kel_asic_reg_t burst_register, uint32_t frames) {
  const syserr_t err = lib_mrv_asic_link_pause_enable(0, 0, CARDCFG_PORT_TYPE_HIF, port);
  if (err != 0)
    return err;
  return lib_mrv_asic_write(0, 0, KEL_ASIC_BLK_HI, port, burst_register, frames,
                            KEL_ASIC_WR_SYMBOLIC, 0, __FILE__, __LINE__, __func__);
}

int main(int argc, char **argv) {
  if (argc < 3) {
    fprintf(stderr, "usage: night_ports REGISTER FRAMES PORT...\n");
    return 2;
  }
  wait_until_ready();
  syserr_t err = lib_mrv_asic_init(0, KEL_ASIC_DRIVER_MORVANE, 0, __FILE__, __LINE__, __func__);
  for (int i = 3; i < argc && err == 0; ++i)
    err = tune((uint32_t)strtoul(argv[i], NULL, 0), (kel_asic_reg_t)strtoul(argv[1], NULL, 0),
               (uint32_t)strtoul(argv[2], NULL, 0));
  if (err != 0)
    fprintf(stderr, "night_ports: error 0x%08" PRIx32 "\n", err);
  return err != 0;
}
