/* A client in C: writes a register and reads it back. */
#include <inttypes.h>
#include <kel_asic_intf.h>
#include <kel_asic_syserr_text.h>
#include <stdio.h>

int main(void) {
  uint32_t value = 0;
  syserr_t err = lib_mrv_asic_init(0, KEL_ASIC_DRIVER_MORVANE, KEL_ASIC_HERE);
  if (err == 0)
    err = lib_mrv_asic_write(0, 0, KEL_ASIC_BLK_SS, 0, SS_CFG_CG_OFFSET, 0x1234,
                             KEL_ASIC_WR_SYMBOLIC, KEL_ASIC_HERE);
  if (err == 0)
    err = lib_mrv_asic_read(0, 0, KEL_ASIC_BLK_SS, 0, SS_CFG_CG_OFFSET, &value, KEL_ASIC_HERE);
  if (err != 0)
    fprintf(stderr, "\n%s: %s\n", kel_asic_syserr_name(err), kel_asic_syserr_meaning(err));
  else /* the newline ends the line "LIB debug disabled:" that lib_mrv_asic_init prints */
    printf("\nSS.0:SS_CFG_CG = 0x%08" PRIx32 "\n", value);
  return err != 0;
}
