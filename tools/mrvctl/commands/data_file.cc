// Files of table entries and of register program steps.
#include "commands/data_file.h"

#include <cerrno>
#include <cstring>
#include <fstream>

#include "base/errors.h"
#include "base/lines.h"
#include "base/numbers.h"
#include "base/text.h"
#include "registers/register_names.h"

namespace mrvctl {
namespace {

// Reads a file line by line; `take` gets the lines that are not empty, without their comments.
void read_lines(const std::string &path, const std::function<void(const std::string &)> &take) {
  std::ifstream input(path);
  if (!input)
    throw UsageError("cannot open " + path + ": " + std::strerror(errno));
  LineReader reader(input, path);
  while (reader.next()) {
    const std::string line = reader.line().substr(0, reader.line().find('#'));
    if (line.find_first_not_of(" \t") == std::string::npos)
      continue;
    try {
      take(line);
    } catch (const UsageError &error) {
      throw UsageError(reader.position() + error.what());
    }
  }
}

bool is_csv(const std::string &path) {
  return path.size() > 4 && lower_case(path.substr(path.size() - 4)) == ".csv";
}

std::string trimmed(const std::string &text) {
  const size_t first = text.find_first_not_of(" \t");
  return first == std::string::npos ? ""
                                    : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::vector<std::string> columns(const std::string &line, bool csv) {
  if (!csv)
    return split_words(line);
  std::vector<std::string> cells = split(line, ',');
  for (std::string &cell : cells)
    cell = trimmed(cell);
  return cells;
}

kel_asic_pgm_t parse_step(const std::string &line) {
  const std::vector<std::string> words = split_words(line);
  if (words.size() != 4 && words.size() != 5)
    throw UsageError("a step is: block, instance, register, data and perhaps a mask");
  const kel_asic_blk_t block = parse_block(words[0]);
  return {KEL_ASIC_PGM_MAGIC,     block,
          parse_number(words[1]), parse_vreg(block, words[2]),
          parse_number(words[3]), words.size() == 5 ? parse_number(words[4]) : UINT32_MAX};
}

}  // namespace

std::vector<uint32_t> read_entries(const std::string &path, uint32_t entry_size) {
  std::vector<uint32_t> words;
  const bool csv = is_csv(path);
  read_lines(path, [&](const std::string &line) {
    const std::vector<std::string> cells = columns(line, csv);
    if (cells.size() != entry_size)
      throw UsageError(
          format("%zu words, but an entry of this table has %u", cells.size(), entry_size));
    for (const std::string &cell : cells)
      words.push_back(parse_hex_word(cell));
  });
  if (words.empty())
    throw UsageError(path + " has no entry");
  return words;
}

std::vector<kel_asic_pgm_t> read_program(const std::string &path) {
  std::vector<kel_asic_pgm_t> steps;
  read_lines(path, [&](const std::string &line) { steps.push_back(parse_step(line)); });
  if (steps.empty())
    throw UsageError(path + " has no step");
  return steps;
}

}  // namespace mrvctl
