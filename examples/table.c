/* A client of libmorvaneusd in C: prints the first entries of a table, whatever words they have. */
#include <inttypes.h>
#include <kel_asic_dhs_tables.h>
#include <kel_asic_intf.h>
#include <stdio.h>
#include <stdlib.h>

enum { ENTRIES = 4 };

static syserr_t print_policers(void) {
  const size_t size = (size_t)kel_asic_dhs_entry_size(KEL_ASIC_BLK_HF, HF_DHS_POL_OFFSET, 0);
  /* zeros, since a card whose entries are short answers fewer words */
  uint32_t *words = calloc(ENTRIES * size, sizeof *words);
  if (words == NULL)
    return KEL_ASIC_SYSERR_NO_BUFFER;
  const syserr_t err = lib_mrv_asic_read_dhs(0, 0, KEL_ASIC_BLK_HF, 0, HF_DHS_POL_OFFSET, 0, words,
                                             ENTRIES, 0, __FILE__, __LINE__, __func__);
  for (size_t i = 0; err == 0 && i < ENTRIES * size; ++i)
    printf(i % size == 0 ? "\n%08" PRIx32 : " %08" PRIx32, words[i]);
  free(words);
  return err;
}

int main(void) {
  syserr_t err = lib_mrv_asic_init(0, KEL_ASIC_DRIVER_MORVANE, 0, __FILE__, __LINE__, __func__);
  if (err == 0)
    err = print_policers();
  if (err != 0)
    fprintf(stderr, "\nerror 0x%08" PRIx32, err);
  putchar('\n');
  return err != 0;
}
