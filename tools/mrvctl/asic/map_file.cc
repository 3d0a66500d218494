// A register map as text.
#include "asic/map_file.h"

#include "asic/table_shapes.h"
#include "text/errors.h"
#include "text/lines.h"
#include "text/numbers.h"
#include "text/text.h"

namespace mrvctl {
namespace {

void add_block(StoredMap &map, const std::vector<std::string> &words) {
  std::vector<kel_asic_reg_t> &bases = map.bases[parse_block(words[1])];
  for (size_t i = 2; i < words.size(); ++i)
    bases.push_back(parse_number(words[i]));
}

void add_register(StoredMap &map, const std::vector<std::string> &words) {
  const kel_asic_blk_t block = parse_block(words[1]);
  const auto vreg = parse_number<uint32_t>(words[2], 0, kel_asic_blocks[block].registers - 1);
  map.offsets[block][vreg] = parse_number(words[3]);
  if (words.size() == 6)
    map.tables[{block, vreg}] = {parse_number(words[4], 1U, kLargestEntry), parse_number(words[5])};
}

// Adds a line; false if it is the last.
bool add_line(StoredMap &map, const std::vector<std::string> &words) {
  const size_t count = words.size();
  if (count > 2 && words[0] == "block")
    add_block(map, words);
  else if ((count == 4 || count == 6) && words[0] == "register")
    add_register(map, words);
  else if (count != 0 && (count != 1 || words[0] != "end"))
    throw UsageError("not a line of a register map, which 'mrvctl dump-map' writes");
  return count != 1;
}

}  // namespace

std::string map_text(const RegisterMap &map) {
  std::string text = "# Register map of a Morvane: mrvctl calls --map FILE\n";
  for (const kel_asic_block_t &info : kel_asic_blocks) {
    const uint32_t instances = map.instances(info.block);
    if (instances == 0)
      continue;
    text += format("block %s", info.name);
    for (uint32_t instance = 0; instance < instances; ++instance)
      text += format(" 0x%08x", map.base(info.block, instance));
    text += "\n";
    for (kel_asic_reg_t vreg = 0; vreg < info.registers; ++vreg) {
      if (map.offset(info.block, vreg) == KEL_ASIC_NO_REGISTER)
        continue;
      text += format("register %s %u 0x%08x", info.name, vreg, map.offset(info.block, vreg));
      const std::optional<Table> table = find_table(map, info.block, vreg);
      if (table && table->by_hook)
        text += format(" %u %u", table->entry_size, table->highest_index);
      text += "\n";
    }
  }
  return text + "end\n";
}

RegisterMap read_map(const std::string &path) {
  TextFile file(path);
  LineReader reader(file, path);
  const auto map = std::make_shared<StoredMap>();
  for (const kel_asic_block_t &info : kel_asic_blocks)
    map->offsets[info.block].assign(info.registers, KEL_ASIC_NO_REGISTER);
  while (reader.next()) {
    try {
      if (!add_line(*map, split_words(reader.line())))
        return RegisterMap(map);
    } catch (const UsageError &error) {
      throw OperationFailed(reader.position() + error.what());
    }
  }
  throw OperationFailed(path + ": not a complete register map: it does not end with 'end'");
}

}  // namespace mrvctl
