// The table (DHS) registers as clients know them. They are listed by number, so that a test notices
// a name with a wrong number.
#ifndef DHS_TABLES_H
#define DHS_TABLES_H

#include "kel_asic_intf.h"

struct dhs_table {
  kel_asic_blk_t block;
  uint32_t first, last;  // registers, each a separate table
  uint32_t entries;
  int words;  // in an entry; 0, like the entries, if the register map's hook decides
};

// The table that a register is, or null.
inline const dhs_table *find_dhs_table(kel_asic_blk_t block, uint32_t vreg) {
  constexpr auto SS = KEL_ASIC_BLK_SS, HR = KEL_ASIC_BLK_HR, NR = KEL_ASIC_BLK_NR,
                 HI = KEL_ASIC_BLK_HI, HF = KEL_ASIC_BLK_HF, NF = KEL_ASIC_BLK_NF,
                 CI = KEL_ASIC_BLK_CI, QS = KEL_ASIC_BLK_QS;
  static constexpr dhs_table tables[] = {
      {SS, 2690, 2690, 1024, 1}, {SS, 2692, 2721, 1024, 2}, {HR, 87, 87, 403, 1},
      {HR, 170, 170, 403, 1},    {HR, 253, 253, 403, 1},    {HR, 336, 336, 403, 1},
      {HR, 344, 352, 32, 1},     {HR, 416, 416, 403, 1},    {HR, 481, 481, 403, 1},
      {NR, 87, 87, 403, 1},      {NR, 178, 178, 403, 1},    {NR, 269, 269, 403, 1},
      {NR, 360, 360, 403, 1},    {NR, 368, 401, 32, 1},     {NR, 494, 494, 403, 1},
      {NR, 585, 585, 403, 1},    {NR, 593, 608, 32, 1},     {HI, 309, 309, 0, 0},
      {HI, 1250, 1250, 1024, 1}, {HI, 1461, 1461, 1024, 1}, {HF, 0, 0, 16384, 1},
      {HF, 1, 1, 16384, 2},      {HF, 3, 3, 4096, 1},       {HF, 108, 108, 2048, 16},
      {HF, 109, 109, 1024, 1},   {HF, 110, 110, 0, 0},      {HF, 116, 116, 64, 8},
      {HF, 225, 226, 1024, 2},   {NF, 0, 0, 16384, 1},      {NF, 1, 1, 0, 0},
      {NF, 4, 5, 0, 0},          {NF, 516, 516, 2048, 16},  {NF, 517, 517, 1024, 2},
      {NF, 518, 518, 0, 0},      {NF, 641, 641, 4096, 2},   {NF, 644, 644, 0, 0},
      {NF, 752, 752, 2048, 16},  {CI, 130, 130, 256, 2},    {QS, 264, 271, 512, 1},
      {QS, 282, 283, 256, 1},    {QS, 284, 285, 32, 1}};
  for (const dhs_table &table : tables) {
    if (table.block == block && table.first <= vreg && vreg <= table.last)
      return &table;
  }
  return nullptr;
}

#endif
