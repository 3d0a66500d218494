// A trace log of the library, read back into calls: the operations that a process entered, as far
// as the log tells of them.
#ifndef MRVCTL_TRACE_LOG_H
#define MRVCTL_TRACE_LOG_H

#include <istream>
#include <string>
#include <vector>

#include "calls/decoded_call.h"

namespace mrvctl {

struct TraceLog {
  // In the order in which they were entered; their process is not filled in. The outcome is one of
  //   ok         the service took it
  //   queued     it joined a transaction
  //   refused    left early, before anything was sent
  //   no-effect  a transaction that was opened twice, or committed while none was open
  //   failed     left without a success: a refused write, or a failed service call
  //   lost       a commit that failed
  //   no-memory  the request buffer could not grow
  //   entered    the log ends before it was left
  //   -          the log does not tell
  std::vector<DecodedCall> calls;
  uint64_t unplaced_lines = 0;  // which are no lines of a trace, or belong to no operation
};

// Throws UsageError where the input cannot be read.
TraceLog read_trace_log(std::istream &input, const std::string &name);

}  // namespace mrvctl

#endif
