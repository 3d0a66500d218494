// The register map of the virtual Morvane.
//
// Each block has a span of addresses, each of its instances a part of that. An instance begins with
// its registers, four bytes each in the order of their enumeration, so that a run of words reads
// neighbours; the places of holes and of table registers stay empty. Behind them follow the windows
// of the tables, with room for every entry.
#include "platform/register_map.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <vector>

#include "kel_asic_dhs_tables.h"
#include "virtual_asic.h"

namespace {

struct Block {
  uint32_t kel_asic_limits_t::*limit;
  uint32_t instances;
  uint32_t registers;
};

// In the order of kel_asic_blk_t.
constexpr std::array<Block, KEL_ASIC_NUM_BLK> kBlocks = {{
    {&kel_asic_limits_t::max_ss, 8, KEL_ASIC_SS_NUM_ENUM},
    {&kel_asic_limits_t::max_hr, 4, KEL_ASIC_HR_NUM_ENUM},
    {&kel_asic_limits_t::max_nr, 2, KEL_ASIC_NR_NUM_ENUM},
    {&kel_asic_limits_t::max_hi, virtual_asic::kHostPorts, KEL_ASIC_HI_NUM_ENUM},
    {&kel_asic_limits_t::max_ni, virtual_asic::kNetworkPorts, KEL_ASIC_NI_NUM_ENUM},
    {&kel_asic_limits_t::max_si, 1, KEL_ASIC_SI_NUM_ENUM},
    {&kel_asic_limits_t::max_hf, 8, KEL_ASIC_HF_NUM_ENUM},
    {&kel_asic_limits_t::max_nf, 2, KEL_ASIC_NF_NUM_ENUM},
    {&kel_asic_limits_t::max_ci, 1, KEL_ASIC_CI_NUM_ENUM},
    {&kel_asic_limits_t::max_bi, 4, KEL_ASIC_BI_NUM_ENUM},
    {&kel_asic_limits_t::max_cc, 1, KEL_ASIC_CC_NUM_ENUM},
    {&kel_asic_limits_t::max_pc, 1, KEL_ASIC_PC_NUM_ENUM},
    {&kel_asic_limits_t::max_rs_edma, 1, KEL_ASIC_RS_EDMA_NUM_ENUM},
    {&kel_asic_limits_t::max_rs_pcie, 1, KEL_ASIC_RS_PCIE_NUM_ENUM},
    {&kel_asic_limits_t::max_misc, 1, KEL_ASIC_MISC_NUM_ENUM},
    {&kel_asic_limits_t::max_ch, 1, KEL_ASIC_CH_NUM_ENUM},
    {&kel_asic_limits_t::max_mb, 1, KEL_ASIC_MB_NUM_ENUM},
    {&kel_asic_limits_t::max_qs, 8, KEL_ASIC_QS_NUM_ENUM},
    {&kel_asic_limits_t::max_xl, 8, KEL_ASIC_XL_NUM_ENUM},
}};

struct Hole {
  kel_asic_blk_t block;
  kel_asic_reg_t vreg;
};

constexpr Hole kHoles[] = {
    {KEL_ASIC_BLK_SS, 512}, {KEL_ASIC_BLK_HR, 26},   {KEL_ASIC_BLK_NI, 700},
    {KEL_ASIC_BLK_CI, 168}, {KEL_ASIC_BLK_MISC, 99}, {KEL_ASIC_BLK_CH, 640},
};

// The tables whose shape clients do not know, and ask the hook for.
struct HookTable {
  kel_asic_blk_t block;
  kel_asic_reg_t vreg;
  uint32_t entries;
  uint32_t words;
};

constexpr HookTable kHookTables[] = {
    {KEL_ASIC_BLK_HI, HI_HI0_DHS_LVIF_TCAM_OFFSET, 1024, 2},
    {KEL_ASIC_BLK_HF, HF_DHS_RESULT_00_OFFSET, 1024, 4},
    {KEL_ASIC_BLK_NF, NF_DHS_MCAST_MEM_00_OFFSET, 16384, 2},
    {KEL_ASIC_BLK_NF, NF_DHS_UCAST_MEM_OFFSET, 16384, 1},
    {KEL_ASIC_BLK_NF, NF_DHS_UCAST_MEM_00_OFFSET, 16384, 2},
    {KEL_ASIC_BLK_NF, NF_DHS_RESULT_00_OFFSET, 1024, 4},
    {KEL_ASIC_BLK_NF, NF_DHS_UCAST_MEMIF_DATA_OFFSET, 4096, 2},
};

const HookTable *find_hook_table(kel_asic_blk_t block, kel_asic_reg_t vreg) {
  const auto *const found = std::find_if(
      std::begin(kHookTables), std::end(kHookTables),
      [=](const HookTable &table) { return table.block == block && table.vreg == vreg; });
  return found != std::end(kHookTables) ? found : nullptr;
}

// Block 0 begins one span above address 0, which no register has.
constexpr uint32_t kBlockSpan = 0x04000000;
constexpr uint32_t kInstanceSpan = 0x00100000;
constexpr uint32_t kWindowAlignment = 0x100;

// The only revision of the virtual ASIC: not 0, so that a forgotten revision is noticed.
constexpr kel_asic_ver_t kRevision = KEL_ASIC_VER_B0;

using virtual_asic::Window;

struct RegisterMap {
  std::array<std::vector<kel_asic_reg_t>, KEL_ASIC_NUM_BLK> bases;
  std::array<std::vector<kel_asic_reg_t>, KEL_ASIC_NUM_BLK> offsets;
  std::array<std::vector<Window>, KEL_ASIC_NUM_BLK> windows;  // by their place in an instance
  std::array<const kel_asic_reg_t *, KEL_ASIC_NUM_BLK> base_rows;
  std::array<const kel_asic_reg_t *, KEL_ASIC_NUM_BLK> offset_rows;
};

// Gives a table its window, unless it has one. A gap before it lets a run past the last entry of
// the table before meet no register.
void add_table(RegisterMap &map, kel_asic_blk_t block, kel_asic_reg_t vreg, uint32_t words) {
  if (map.offsets[block][vreg] != 4 * vreg)
    return;
  std::vector<Window> &windows = map.windows[block];
  const uint32_t used =
      windows.empty() ? 4 * kBlocks[block].registers : windows.back().begin + windows.back().size;
  const uint32_t begin = (used / kWindowAlignment + 1) * kWindowAlignment;
  windows.push_back({begin, 4 * words});
  map.offsets[block][vreg] = begin;
}

void add_tables(RegisterMap &map) {
  // Before its neighbours, which clients know: scripts and recordings tell their addresses.
  const HookTable &first = kHookTables[0];
  add_table(map, first.block, first.vreg, first.entries * first.words);
  for (const kel_asic_dhs_row_t &row : kel_asic_dhs_rows) {
    for (kel_asic_reg_t vreg = row.first; vreg <= row.last; ++vreg) {
      const HookTable *const hook = find_hook_table(row.block, vreg);
      add_table(
          map, row.block, vreg,
          hook != nullptr ? hook->entries * hook->words : (row.highest_index + 1) * row.words);
    }
  }
}

// Registers that stand in their place are the windows between holes and tables.
void add_registers(std::vector<Window> &windows, const std::vector<kel_asic_reg_t> &offsets) {
  const std::size_t tables = windows.size();
  for (uint32_t place = 0; place < 4 * offsets.size(); place += 4) {
    if (offsets[place / 4] != place)
      continue;
    if (windows.size() > tables && windows.back().begin + windows.back().size == place)
      windows.back().size += 4;
    else
      windows.push_back({place, 4});
  }
}

RegisterMap *build_register_map() {
  auto *map = new RegisterMap;
  for (uint32_t block = 0; block < KEL_ASIC_NUM_BLK; ++block) {
    for (uint32_t instance = 0; instance < kBlocks[block].instances; ++instance)
      map->bases[block].push_back(kBlockSpan * (block + 1) + kInstanceSpan * instance);
    for (uint32_t vreg = 0; vreg < kBlocks[block].registers; ++vreg)
      map->offsets[block].push_back(4 * vreg);
    map->base_rows[block] = map->bases[block].data();
    map->offset_rows[block] = map->offsets[block].data();
  }
  for (const Hole &hole : kHoles)
    map->offsets[hole.block][hole.vreg] = KEL_ASIC_NO_REGISTER;
  add_tables(*map);
  for (uint32_t block = 0; block < KEL_ASIC_NUM_BLK; ++block)
    add_registers(map->windows[block], map->offsets[block]);
  return map;
}

// Built at the first use and never destroyed: clients keep the tables until the process ends.
RegisterMap &register_map() {
  static RegisterMap *const map = build_register_map();
  return *map;
}

// The hook.
int dhs_entry_size(kel_asic_blk_t block, kel_asic_reg_t vreg, uint32_t dhs_index) {
  const HookTable *const table = find_hook_table(block, vreg);
  return table != nullptr && dhs_index < table->entries ? static_cast<int>(table->words) : -1;
}

}  // namespace

namespace virtual_asic {

Window cached_window;

bool find_window(uint32_t address) {
  const uint32_t block = address / kBlockSpan - 1;
  const uint32_t instance = address % kBlockSpan / kInstanceSpan;
  if (block >= KEL_ASIC_NUM_BLK || instance >= kBlocks[block].instances)
    return false;
  const uint32_t place = address % kInstanceSpan;
  for (const Window &window : register_map().windows[block]) {
    if (!window.has(place))
      continue;
    cached_window = {address - place + window.begin, window.size};
    return true;
  }
  return false;
}

}  // namespace virtual_asic

syserr_t morvane_lib_init(KEL_ASIC_fn *funcs, kel_asic_limits_t *limits, kel_asic_ver_t *asic_ver,
                          uint32_t /*context*/, char * /*file*/, int /*line*/,
                          const char * /*func*/) {
  if (funcs == nullptr || limits == nullptr || asic_ver == nullptr)
    return SYSERR_KEL_ASIC_INVALID_ARG;
  funcs->reg_dhs_entry_size = dhs_entry_size;
  limits->max_modules = virtual_asic::kModules;
  limits->max_asic = virtual_asic::kHighestAsic;
  for (const Block &block : kBlocks)
    limits->*block.limit = block.instances;
  *asic_ver = kRevision;
  return 0;
}

const kel_asic_reg_t **kel_asic_get_all_base_table(kel_asic_ver_t asic_ver) {
  return asic_ver == kRevision ? register_map().base_rows.data() : nullptr;
}

const kel_asic_reg_t **kel_asic_get_all_reg_table(kel_asic_ver_t asic_ver) {
  return asic_ver == kRevision ? register_map().offset_rows.data() : nullptr;
}
