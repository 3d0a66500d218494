// The addresses of all registers of the ASIC.
#include "asic/address_spans.h"

#include <algorithm>
#include <array>

#include "asic/table_shapes.h"

namespace mrvctl {
namespace {

// What a register has in every instance of its block.
struct Shape {
  uint64_t address;  // in instance 0
  kel_asic_reg_t vreg;
  uint32_t entry_size;
  uint64_t bytes;
};

std::vector<Shape> shapes_of(const RegisterMap &map, kel_asic_blk_t block) {
  std::vector<Shape> shapes;
  for (kel_asic_reg_t vreg = 0; vreg < kel_asic_blocks[block].registers; ++vreg) {
    const Register reg = {block, 0, vreg};
    if (!map.missing(reg).empty())
      continue;
    if (const std::optional<Table> table = find_table(map, block, vreg))
      shapes.push_back({map.whole_address(reg), vreg, table->entry_size,
                        4 * uint64_t{table->entry_size} * (uint64_t{table->highest_index} + 1)});
    else
      shapes.push_back({map.whole_address(reg), vreg, 0, 4});
  }
  std::stable_sort(shapes.begin(), shapes.end(),
                   [](const Shape &a, const Shape &b) { return a.address < b.address; });
  return shapes;
}

using Shapes = std::array<std::vector<Shape>, KEL_ASIC_NUM_BLK>;

Shapes all_shapes(const RegisterMap &map) {
  Shapes shapes;
  for (uint32_t block = 0; block < KEL_ASIC_NUM_BLK; ++block)
    shapes[block] = shapes_of(map, static_cast<kel_asic_blk_t>(block));
  return shapes;
}

template <typename Use>
void use_each(const RegisterMap &map, const Shapes &shapes, Use use) {
  for (uint32_t i = 0; i < KEL_ASIC_NUM_BLK; ++i) {
    const auto block = static_cast<kel_asic_blk_t>(i);
    for (uint32_t instance = 0; instance < map.instances(block); ++instance) {
      for (const Shape &shape : shapes[block]) {
        const Register reg = {block, instance, shape.vreg};
        const uint64_t begin = map.whole_address(reg);
        use(AddressSpan{begin, begin + shape.bytes, shape.entry_size, reg});
      }
    }
  }
}

}  // namespace

std::optional<AddressSpan> first_span(const RegisterMap &map,
                                      const std::function<bool(const AddressSpan &)> &wanted) {
  std::optional<AddressSpan> first;
  use_each(map, all_shapes(map), [&](const AddressSpan &span) {
    if (wanted(span) && (!first || span.begin < first->begin))
      first = span;
  });
  return first;
}

std::vector<AddressSpan> address_spans(const RegisterMap &map) {
  const Shapes shapes = all_shapes(map);
  size_t count = 0;
  for (uint32_t block = 0; block < KEL_ASIC_NUM_BLK; ++block)
    count += shapes[block].size() * map.instances(static_cast<kel_asic_blk_t>(block));
  std::vector<AddressSpan> spans;
  spans.reserve(count);  // there are tens of thousands
  use_each(map, shapes, [&](const AddressSpan &span) { spans.push_back(span); });
  const auto before = [](const AddressSpan &a, const AddressSpan &b) { return a.begin < b.begin; };
  // Where the instances stand one behind the other, they are.
  if (!std::is_sorted(spans.begin(), spans.end(), before))
    std::stable_sort(spans.begin(), spans.end(), before);
  return spans;
}

}  // namespace mrvctl
