// Calls on standard output: a table with a line per call, or an object each.
#pragma once

#include <optional>

#include "asic/address_index.h"
#include "calls/decoded_call.h"
#include "commands/session.h"
#include "output/call_lines.h"

namespace mrvctl {

class Arguments;

// The columns of the table, and whether it is wider than the terminal.
struct CallTableArgs {
  CallColumns columns;
  bool wide = false;
};
void describe_call_table(Arguments &arguments, CallTableArgs &args);

class CallTable {
 public:
  // The register is the one that calls were chosen by.
  CallTable(Session &session, const AddressIndex &index, const CallTableArgs &args,
            size_t process_width, const std::optional<RegisterReference> &wanted);

  void show(const DecodedCall &call);

  // Shows the calls so far, which may wait for others, or the headings.
  void flush();

 private:
  Report &report_;
  const AddressIndex &index_;
  CallLines lines_;
};

}  // namespace mrvctl
