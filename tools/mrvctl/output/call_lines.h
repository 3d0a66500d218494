// Calls as the lines of a table: in full, or cut to the width of a terminal.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "asic/address_index.h"
#include "calls/decoded_call.h"

namespace mrvctl {

using CallColumns = std::vector<size_t>;

// time, process, duration, operation, register, value, result, caller
std::vector<std::string> call_column_names();

// Reads some of them, with commas and no blanks between them. Throws UsageError.
CallColumns parse_call_columns(const std::string &text);

struct CallFormat {
  CallColumns columns;                      // empty: all
  size_t width;                             // of the terminal; 0: in full, with dates
  size_t process_width;                     // of the longest name of a process, in full
  std::optional<RegisterReference> wanted;  // the register that the calls were chosen by
};

class CallLines {
 public:
  CallLines(const AddressIndex &index, CallFormat format);

  // Returns the lines that are complete, headings first. On a terminal the first calls wait for
  // each other: columns are as wide as their contents require.
  std::string add(const DecodedCall &call);

  // Returns the lines that wait, or the headings if there is none.
  std::string flush();

 private:
  using Row = std::vector<std::string>;

  void lay_out();
  std::string line(const Row &row) const;

  const AddressIndex &index_;
  CallFormat format_;
  std::vector<size_t> widths_;  // of all columns; empty until they are known
  std::vector<Row> waiting_;    // the headings first
};

}  // namespace mrvctl
