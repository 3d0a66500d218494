#include "commands/call_table.h"

#include "calls/call_text.h"
#include "output/call_json.h"

namespace mrvctl {

CallTable::CallTable(Session &session, const AddressIndex &index, size_t process_width,
                     const std::optional<RegisterReference> &wanted)
    : report_(session.report), index_(index), process_width_(process_width), wanted_(wanted) {
  if (!report_.json())
    report_.result({}, call_heading(process_width));
}

void CallTable::show(const DecodedCall &call) const {
  if (report_.json())
    report_.result(call_json(call, index_), "");
  else
    report_.result({}, call_line(call, index_, process_width_, wanted_));
}

}  // namespace mrvctl
