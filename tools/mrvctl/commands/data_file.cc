// Files of table entries and of register program steps.
#include "commands/data_file.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "asic/register_reference.h"
#include "morvaneusd.hpp"
#include "text/errors.h"
#include "text/lines.h"
#include "text/numbers.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr const char kStandardInput[] = "-";

using TakeLine = std::function<void(const std::string &line, const std::string &position)>;

// Takes the lines of a file, or of standard input, that are not empty, without their comments.
void read_lines(const std::string &path, const TakeLine &take) {
  TextFile file(path);
  LineReader reader(file, path == kStandardInput ? "stdin" : path);
  while (reader.next()) {
    const std::string line = reader.line().substr(0, reader.line().find('#'));
    if (line.find_first_not_of(" \t") == std::string::npos)
      continue;
    try {
      take(line, reader.position());
    } catch (const UsageError &error) {
      throw UsageError(reader.position() + error.what());
    }
  }
}

// Standard input has no file name: a comma decides.
bool is_csv(const std::string &path, const std::string &line) {
  if (path == kStandardInput)
    return line.find(',') != std::string::npos;
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

// The first line of a file of columns may name them.
bool is_header(const std::vector<std::string> &cells) {
  return std::none_of(cells.begin(), cells.end(), begins_as_number);
}

kel_asic_pgm_t parse_step(const std::string &line) {
  const std::vector<std::string> words = split_words(line);
  if (words.size() != 4 && words.size() != 5)
    throw UsageError("a step is BLOCK INSTANCE REGISTER DATA [MASK]");
  const Register reg =
      single_register(parse_register_reference(words[0] + "." + words[1] + ":" + words[2]));
  return morvane::step(morvane::at(reg.block, reg.instance, reg.vreg), parse_word(words[3]),
                       words.size() == 5 ? parse_word(words[4]) : UINT32_MAX);
}

}  // namespace

std::vector<uint32_t> read_entries(const std::string &path, uint32_t entry_size) {
  std::vector<uint32_t> words;
  bool first = true;
  read_lines(path, [&](const std::string &line, const std::string & /*position*/) {
    const bool csv = is_csv(path, line);
    const std::vector<std::string> cells = columns(line, csv);
    const bool header = std::exchange(first, false) && csv && is_header(cells);
    if (header)
      return;
    if (cells.size() != entry_size)
      throw UsageError(
          format("%zu words, but an entry of this table has %u", cells.size(), entry_size));
    for (const std::string &cell : cells)
      words.push_back(parse_word(cell));
  });
  if (words.empty())
    throw UsageError(path + " has no entry");
  return words;
}

Program read_program(const std::string &path) {
  Program program;
  read_lines(path, [&](const std::string &line, const std::string &position) {
    program.steps.push_back(parse_step(line));
    program.positions.push_back(position);
  });
  if (program.steps.empty())
    throw UsageError(path + " has no step");
  return program;
}

}  // namespace mrvctl
