#include "dhs_entry_size.h"

#include "trace_log.h"

namespace {

struct dhs_row {
  uint16_t first;  // registers first to last
  uint16_t last;
  uint16_t highest_index;  // of their entries
  uint8_t words;           // in each entry, or by_hook
};

// The register map's hook knows the entry size, and the index is its to judge.
constexpr uint8_t by_hook = 0;

constexpr dhs_row ss_rows[] = {
    {SS_DHS_DD_OFFSET, SS_DHS_DD_OFFSET, 1023, 1},
    {SS_DHS_ARB0_OFFSET, SS_DHS_ARB9_HI_OFFSET, 1023, 2},
};

constexpr dhs_row hr_rows[] = {
    {HR_DHS_OQ0_STATUS_OFFSET, HR_DHS_OQ0_STATUS_OFFSET, 402, 1},
    {HR_DHS_OQ1_STATUS_OFFSET, HR_DHS_OQ1_STATUS_OFFSET, 402, 1},
    {HR_DHS_OQ2_STATUS_OFFSET, HR_DHS_OQ2_STATUS_OFFSET, 402, 1},
    {HR_DHS_OQ3_STATUS_OFFSET, HR_DHS_OQ3_STATUS_OFFSET, 402, 1},
    {HR_DHS_OQ4_STATUS_OFFSET, HR_DHS_OQ4_STATUS_OFFSET, 402, 1},
    {HR_DHS_OQ5_STATUS_OFFSET, HR_DHS_OQ5_STATUS_OFFSET, 402, 1},
    {HR_DHS_ARB0_OFFSET, HR_DHS_ARB8_OFFSET, 31, 1},
};

constexpr dhs_row nr_rows[] = {
    {NR_DHS_OQ0_STATUS_OFFSET, NR_DHS_OQ0_STATUS_OFFSET, 402, 1},
    {NR_DHS_OQ1_STATUS_OFFSET, NR_DHS_OQ1_STATUS_OFFSET, 402, 1},
    {NR_DHS_OQ2_STATUS_OFFSET, NR_DHS_OQ2_STATUS_OFFSET, 402, 1},
    {NR_DHS_OQ3_STATUS_OFFSET, NR_DHS_OQ3_STATUS_OFFSET, 402, 1},
    {NR_DHS_OQ4_STATUS_OFFSET, NR_DHS_OQ4_STATUS_OFFSET, 402, 1},
    {NR_DHS_OQ5_STATUS_OFFSET, NR_DHS_OQ5_STATUS_OFFSET, 402, 1},
    {NR_DHS_ARB0_OFFSET, NR_DHS_ARB33_OFFSET, 31, 1},
    {NR_DHS_ARB34_OFFSET, NR_DHS_ARB49_OFFSET, 31, 1},
};

constexpr dhs_row hi_rows[] = {
    {HI_DHS_LVIF_TCAM_OFFSET, HI_DHS_LVIF_TCAM_OFFSET, 1023, 1},
    {HI_DHS_LVIF_OFFSET, HI_DHS_LVIF_OFFSET, 1023, 1},
    {HI_HI0_DHS_LVIF_TCAM_OFFSET, HI_HI0_DHS_LVIF_TCAM_OFFSET, 0, by_hook},
};

constexpr dhs_row hf_rows[] = {
    {HF_DHS_SVIF_MEM_OFFSET, HF_DHS_SVIF_MEM_OFFSET, 16383, 1},
    {HF_DHS_SVIF_MEM_LO_OFFSET, HF_DHS_SVIF_MEM_LO_OFFSET, 16383, 2},
    {HF_DHS_LVIF_MEM_OFFSET, HF_DHS_LVIF_MEM_OFFSET, 4095, 1},
    {HF_DHS_TCAM_OFFSET, HF_DHS_TCAM_OFFSET, 2047, 16},
    {HF_DHS_RESULT_OFFSET, HF_DHS_RESULT_OFFSET, 1023, 1},
    {HF_DHS_RESULT_00_OFFSET, HF_DHS_RESULT_00_OFFSET, 0, by_hook},
    {HF_DHS_POL_OFFSET, HF_DHS_POL_OFFSET, 63, 8},
    {HF_DHS_RESULT_LO_OFFSET, HF_DHS_RESULT_HI_OFFSET, 1023, 2},
};

constexpr dhs_row nf_rows[] = {
    {NF_DHS_MCAST_MEM_OFFSET, NF_DHS_MCAST_MEM_OFFSET, 16383, 1},
    {NF_DHS_MCAST_MEM_00_OFFSET, NF_DHS_MCAST_MEM_00_OFFSET, 0, by_hook},
    {NF_DHS_UCAST_MEM_OFFSET, NF_DHS_UCAST_MEM_00_OFFSET, 0, by_hook},
    {NF_DHS_TCAM_OFFSET, NF_DHS_TCAM_OFFSET, 2047, 16},
    {NF_DHS_RESULT_OFFSET, NF_DHS_RESULT_OFFSET, 1023, 2},
    {NF_DHS_RESULT_00_OFFSET, NF_DHS_RESULT_00_OFFSET, 0, by_hook},
    {NF_DHS_MCAST_MEMIF_DATA_OFFSET, NF_DHS_MCAST_MEMIF_DATA_OFFSET, 4095, 2},
    {NF_DHS_UCAST_MEMIF_DATA_OFFSET, NF_DHS_UCAST_MEMIF_DATA_OFFSET, 0, by_hook},
    {NF_DHS_TCAM_MASK_OFFSET, NF_DHS_TCAM_MASK_OFFSET, 2047, 16},
};

constexpr dhs_row ci_rows[] = {
    {CI_DHS_MCAST_MEMIF_DATA_OFFSET, CI_DHS_MCAST_MEMIF_DATA_OFFSET, 255, 2},
};

constexpr dhs_row qs_rows[] = {
    {QS_DHS_OQ0_STATUS_OFFSET, QS_DHS_OQ7_STATUS_OFFSET, 511, 1},
    {QS_DHS_ARB_NI_OFFSET, QS_DHS_ARB_HI_OFFSET, 255, 1},
    {QS_DHS_ARB_BI_OFFSET, QS_DHS_ARB_CI_OFFSET, 31, 1},
};

template <std::size_t count>
const dhs_row *find_row(const dhs_row (&rows)[count], kel_asic_reg_t vreg) {
  for (const dhs_row &row : rows) {
    if (vreg >= row.first && vreg <= row.last)
      return &row;
  }
  return nullptr;
}

const dhs_row *find_row(kel_asic_blk_t blk, kel_asic_reg_t vreg) {
  switch (blk) {
    case KEL_ASIC_BLK_SS:
      return find_row(ss_rows, vreg);
    case KEL_ASIC_BLK_HR:
      return find_row(hr_rows, vreg);
    case KEL_ASIC_BLK_NR:
      return find_row(nr_rows, vreg);
    case KEL_ASIC_BLK_HI:
      return find_row(hi_rows, vreg);
    case KEL_ASIC_BLK_HF:
      return find_row(hf_rows, vreg);
    case KEL_ASIC_BLK_NF:
      return find_row(nf_rows, vreg);
    case KEL_ASIC_BLK_CI:
      return find_row(ci_rows, vreg);
    case KEL_ASIC_BLK_QS:
      return find_row(qs_rows, vreg);
    default:
      return nullptr;
  }
}

}  // namespace

int kel_asic_reg_dhs_entry_size(kel_asic_num_t asic_id, kel_asic_blk_t blk, kel_asic_reg_t vreg,
                                uint32_t dhs_index) {
  KEL_TRACE('l', 0, "%s: vreg %d dhs_index %d\n", "kel_asic_reg_dhs_entry_size",
            static_cast<int>(vreg), static_cast<int>(dhs_index));
  const dhs_row *row = find_row(blk, vreg);
  const KEL_ASIC_fn &funcs = lib_ctx.asic_specific[asic_id].funcs;
  if (row != nullptr && row->words == by_hook && funcs.reg_dhs_entry_size != nullptr)
    return funcs.reg_dhs_entry_size(blk, vreg, dhs_index);
  if (row != nullptr && row->words != by_hook && dhs_index <= row->highest_index)
    return row->words;
  KEL_TRACE('l', 0, "%s: Unrecognized DHS entry for block %d vreg %d dhs_index %d\n",
            "kel_asic_reg_dhs_entry_size", static_cast<int>(blk), static_cast<int>(vreg),
            static_cast<int>(dhs_index));
  return -1;
}
