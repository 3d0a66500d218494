#include "commands/call_table.h"

#include "commands/arguments.h"
#include "output/call_json.h"
#include "text/text.h"

namespace mrvctl {

void describe_call_table(Arguments &arguments, CallTableArgs &args) {
  arguments.flag("--wide", args.wide,
                 "Dates and complete columns, as in a file (default at a terminal: its width)");
  arguments.parsed("--columns COLUMN,...", args.columns, parse_call_columns,
                   "Some of " + join(call_column_names(), ", "));
}

CallTable::CallTable(Session &session, const AddressIndex &index, const CallTableArgs &args,
                     size_t process_width, const std::optional<RegisterReference> &wanted)
    : report_(session.report),
      index_(index),
      lines_(index,
             {args.columns, args.wide ? 0 : report_.terminal_width(), process_width, wanted}) {
}

void CallTable::show(const DecodedCall &call) {
  if (report_.json())
    report_.result(call_json(call, index_), "");
  else
    report_.result({}, lines_.add(call));
}

void CallTable::flush() {
  if (!report_.json())
    report_.result({}, lines_.flush());
}

}  // namespace mrvctl
