// Lists as tables and as objects.
#include "output/listing.h"

#include <algorithm>
#include <cstring>

#include "text/text.h"

namespace mrvctl {
namespace {

std::string aligned(const std::string &text, size_t width, Align align) {
  const int signed_width = static_cast<int>(width);
  return format("%*s", align == Align::kLeft ? -signed_width : signed_width, text.c_str());
}

}  // namespace

std::string Listing::text() const {
  std::vector<std::string> lines(rows_.size() + 1);
  for (size_t i = 0; i < columns_.size(); ++i) {
    const Column &column = columns_[i];
    if (column.heading == nullptr)
      continue;
    size_t width = std::strlen(column.heading);
    for (const std::vector<Cell> &row : rows_)
      width = std::max(width, row[i].text.size());
    const std::string gap = lines[0].empty() && lines.back().empty() ? "" : "  ";
    lines[0] += gap + aligned(column.heading, width, column.align);
    for (size_t row = 0; row < rows_.size(); ++row)
      lines[row + 1] += gap + aligned(rows_[row][i].text, width, column.align);
  }
  std::string text;
  for (const std::string &line : lines) {
    if (const size_t end = line.find_last_not_of(' '); end != std::string::npos)
      text += line.substr(0, end + 1) + "\n";
  }
  return text;
}

Json Listing::json() const {
  Json list = Json::array();
  for (size_t row = 0; row < rows_.size(); ++row)
    list.push_back(json_of(row));
  return list;
}

Json Listing::json_of(size_t row) const {
  Json object;
  for (size_t i = 0; i < columns_.size(); ++i) {
    if (columns_[i].key != nullptr)
      object[columns_[i].key] = rows_[row][i].value;
  }
  return object;
}

std::string facts_text(const std::vector<Fact> &facts) {
  std::string text;
  for (const Fact &fact : facts) {
    if (fact.heading != nullptr)
      text += format("%-24s  ", fact.heading) + fact.cell.text + "\n";
  }
  return text;
}

void add_facts(const std::vector<Fact> &facts, Json &object) {
  for (const Fact &fact : facts) {
    if (fact.key != nullptr)
      object[fact.key] = fact.cell.value;
  }
}

}  // namespace mrvctl
