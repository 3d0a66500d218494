// The register addresses of the virtual Morvane.
#include "register_layout.h"

#include <algorithm>
#include <iterator>

#include "kel_asic_blocks.h"
#include "kel_asic_dhs_tables.h"
#include "platform/register_map.h"
#include "virtual_asic.h"

namespace {

using virtual_asic::RegisterLayout;
using virtual_asic::Window;

// Instances of each block, SS to XL in the order of kel_asic_blk_t.
constexpr std::array<uint32_t, KEL_ASIC_NUM_BLK> kInstances = {
    8, 4, 2, virtual_asic::kHostPorts, virtual_asic::kNetworkPorts, 1, 8, 2, 1, 4, 1, 1, 1, 1, 1, 1,
    1, 8, 8};

struct Hole {
  kel_asic_blk_t block;
  kel_asic_reg_t vreg;
};

constexpr Hole kHoles[] = {
    {KEL_ASIC_BLK_SS, 512}, {KEL_ASIC_BLK_HR, 26},   {KEL_ASIC_BLK_NI, 700},
    {KEL_ASIC_BLK_CI, 168}, {KEL_ASIC_BLK_MISC, 99}, {KEL_ASIC_BLK_CH, 640},
};

// The tables whose shape is not published: clients call the hook.
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

// Block 0 begins one span above address 0, so that no register has address 0.
constexpr uint32_t kBlockSpan = 0x04000000;
constexpr uint32_t kInstanceSpan = 0x00100000;
constexpr uint32_t kWindowAlignment = 0x100;

// Gives a table its window, unless it has one. A gap before it separates it from the previous
// table, so that a block access past the last entry there fails.
void add_table(RegisterLayout &layout, kel_asic_blk_t block, kel_asic_reg_t vreg, uint32_t entries,
               uint32_t entry_words) {
  if (layout.offsets[block][vreg] != 4 * vreg)
    return;
  std::vector<Window> &windows = layout.windows[block];
  const uint32_t used = windows.empty() ? 4 * kel_asic_blocks[block].registers
                                        : windows.back().begin + windows.back().size;
  const uint32_t begin = (used / kWindowAlignment + 1) * kWindowAlignment;
  windows.push_back({begin, 4 * entries * entry_words, vreg, entry_words});
  layout.offsets[block][vreg] = begin;
}

void add_tables(RegisterLayout &layout) {
  // Before the tables that clients know: scripts and recordings contain the addresses.
  const HookTable &first = kHookTables[0];
  add_table(layout, first.block, first.vreg, first.entries, first.words);
  for (const kel_asic_dhs_row_t &row : kel_asic_dhs_rows) {
    for (kel_asic_reg_t vreg = row.first; vreg <= row.last; ++vreg) {
      const HookTable *const hook = find_hook_table(row.block, vreg);
      if (hook != nullptr)
        add_table(layout, row.block, vreg, hook->entries, hook->words);
      else
        add_table(layout, row.block, vreg, row.highest_index + 1, row.words);
    }
  }
}

// Neighbouring registers, between holes and tables, make one window.
void add_registers(std::vector<Window> &windows, const std::vector<kel_asic_reg_t> &offsets) {
  const std::size_t tables = windows.size();
  for (uint32_t place = 0; place < 4 * offsets.size(); place += 4) {
    if (offsets[place / 4] != place)
      continue;
    if (windows.size() > tables && windows.back().begin + windows.back().size == place)
      windows.back().size += 4;
    else
      windows.push_back({place, 4, place / 4, 0});
  }
}

const RegisterLayout *build_layout() {
  auto *layout = new RegisterLayout;
  for (uint32_t block = 0; block < KEL_ASIC_NUM_BLK; ++block) {
    for (uint32_t instance = 0; instance < kInstances[block]; ++instance)
      layout->bases[block].push_back(kBlockSpan * (block + 1) + kInstanceSpan * instance);
    for (uint32_t vreg = 0; vreg < kel_asic_blocks[block].registers; ++vreg)
      layout->offsets[block].push_back(4 * vreg);
  }
  for (const Hole &hole : kHoles)
    layout->offsets[hole.block][hole.vreg] = KEL_ASIC_NO_REGISTER;
  add_tables(*layout);
  for (uint32_t block = 0; block < KEL_ASIC_NUM_BLK; ++block)
    add_registers(layout->windows[block], layout->offsets[block]);
  return layout;
}

}  // namespace

namespace virtual_asic {

const RegisterLayout &register_layout() {
  static const RegisterLayout *const layout = build_layout();
  return *layout;
}

int hook_entry_size(kel_asic_blk_t block, kel_asic_reg_t vreg, uint32_t index) {
  const HookTable *const table = find_hook_table(block, vreg);
  return table != nullptr && index < table->entries ? static_cast<int>(table->words) : -1;
}

Window cached_window;

bool find_window(uint32_t address) {
  const uint32_t block = address / kBlockSpan - 1;
  const uint32_t instance = address % kBlockSpan / kInstanceSpan;
  if (block >= KEL_ASIC_NUM_BLK || instance >= kInstances[block])
    return false;
  const uint32_t place = address % kInstanceSpan;
  for (const Window &window : register_layout().windows[block]) {
    if (!window.has(place))
      continue;
    cached_window = window;
    cached_window.begin += address - place;
    return true;
  }
  return false;
}

Location location_of(uint32_t address) {
  if (!has_word(address))
    return {};
  const auto block = static_cast<kel_asic_blk_t>(address / kBlockSpan - 1);
  const uint32_t instance = address % kBlockSpan / kInstanceSpan;
  const Window &window = cached_window;
  const uint32_t place = (address - window.begin) / 4;
  if (window.entry_words == 0)
    return {block, instance, window.vreg + place, 0, 0, 0};
  return {block,
          instance,
          window.vreg,
          window.entry_words,
          place / window.entry_words,
          place % window.entry_words};
}

uint32_t address_of(kel_asic_blk_t block, uint32_t instance, kel_asic_reg_t vreg, uint32_t index) {
  const RegisterLayout &layout = register_layout();
  if (block >= KEL_ASIC_NUM_BLK || instance >= layout.bases[block].size() ||
      vreg >= layout.offsets[block].size())
    return 0;
  const uint32_t address = layout.bases[block][instance] + layout.offsets[block][vreg];
  if (!has_word(address))
    return 0;
  const uint32_t bytes = 4 * location_of(address).entry_words;
  return index == 0 || index < cached_window.size / std::max(bytes, 1U) ? address + index * bytes
                                                                        : 0;
}

}  // namespace virtual_asic
