/* A client of libmorvaneusd in C: writes a register and reads it back. */
#include <inttypes.h>
#include <kel_asic_intf.h>
#include <stdio.h>

int main(void) {
  uint32_t value = 0;
  syserr_t err = lib_mrv_asic_init(0, KEL_ASIC_DRIVER_MORVANE, 0, __FILE__, __LINE__, __func__);
  if (err == 0)
    err = lib_mrv_asic_write(0, 0, KEL_ASIC_BLK_HI, 2, HI_DHS_LVIF_OFFSET, 0x1234,
                             KEL_ASIC_WR_SYMBOLIC, 0, __FILE__, __LINE__, __func__);
  if (err == 0)
    err = lib_mrv_asic_read(0, 0, KEL_ASIC_BLK_HI, 2, HI_DHS_LVIF_OFFSET, &value, 0, __FILE__,
                            __LINE__, __func__);
  if (err != 0)
    fprintf(stderr, "\nerror 0x%08" PRIx32 "\n", err);
  else /* begins a line: initialisation leaves one without its end on standard output */
    printf("\nHI.2:HI_DHS_LVIF = 0x%08" PRIx32 "\n", value);
  return err != 0;
}
