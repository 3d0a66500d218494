// A list of like things, described once: its rows become the lines of a table, and objects.
//
//     Listing blocks({{"block", "block"}, {"instances", "instances", Align::kRight}});
//     blocks.add({"HI", 32});
//     report.result({{"command", "info"}, {"blocks", blocks.json()}}, blocks.text());
#pragma once

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "output/json.h"

namespace mrvctl {

enum class Align { kLeft, kRight };

struct Column {
  const char *key;      // in an object; null: only in the table
  const char *heading;  // in the table; null: only in objects. Blanks in it widen the column.
  Align align = Align::kLeft;
};

// A value, and its text in the table.
struct Cell {
  Cell(const std::string &shown, Json json) : text(shown), value(std::move(json)) {}
  Cell(const std::string &shown) : Cell(shown, shown) {}
  Cell(const char *shown) : Cell(std::string(shown)) {}
  Cell(Json json) : value(std::move(json)) {}  // for a column that is only in objects
  template <typename Number, typename = std::enable_if_t<std::is_integral_v<Number>>>
  Cell(Number number) : Cell(std::to_string(number), number) {}

  std::string text;
  Json value;
};

class Listing {
 public:
  explicit Listing(std::vector<Column> columns) : columns_(std::move(columns)) {}

  // A cell for each column.
  void add(std::vector<Cell> cells) { rows_.push_back(std::move(cells)); }
  // The headings, if there are any, and a line per row; two blanks between columns.
  std::string text() const;
  Json json() const;
  Json json_of(size_t row) const;

 private:
  std::vector<Column> columns_;
  std::vector<std::vector<Cell>> rows_;
};

// What is known about one thing, described once: a line for each fact, and members of an object.
struct Fact {
  const char *key;      // in an object; null: only in the text
  const char *heading;  // in the text; null: only in objects
  Cell cell;
};

std::string facts_text(const std::vector<Fact> &facts);
void add_facts(const std::vector<Fact> &facts, Json &object);

}  // namespace mrvctl
