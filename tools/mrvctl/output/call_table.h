// Calls on standard output: an object each, or the lines of a table, in full or cut to the width of
// a terminal.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "asic/address_index.h"
#include "calls/decoded_call.h"
#include "output/report.h"

namespace mrvctl {

using CallColumns = std::vector<size_t>;

// time, process, duration, operation, register, value, result, caller
std::vector<std::string> call_column_names();

// Reads one of them. Throws UsageError.
size_t parse_call_column(const std::string &text);

struct CallTableOptions {
  CallColumns columns;  // empty: all
  bool wide = false;    // in full also at a terminal
};

class CallTable {
 public:
  // `process_width` is that of the longest name of a process, in full. The register is the one that
  // calls were chosen by.
  CallTable(Report &report, const AddressIndex &index, const CallTableOptions &options,
            size_t process_width, const std::optional<RegisterReference> &wanted);

  // The first calls on a terminal wait for each other: columns are as wide as their contents
  // require.
  void show(const DecodedCall &call);

  // Shows the calls that wait, or the headings if there is none.
  void flush();

 private:
  using Row = std::vector<std::string>;

  void lay_out();
  std::string line(const Row &row) const;

  Report &report_;
  const AddressIndex &index_;
  CallColumns columns_;
  size_t width_;  // of the terminal; 0: in full, with dates
  size_t process_width_;
  std::optional<RegisterReference> wanted_;
  std::vector<size_t> widths_;  // of all columns; empty until they are known
  std::vector<Row> waiting_;    // the headings first
};

}  // namespace mrvctl
