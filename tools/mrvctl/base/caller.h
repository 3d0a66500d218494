// Who asks: what the tool sends along with each request, so that the service can tell.
#ifndef MRVCTL_CALLER_H
#define MRVCTL_CALLER_H

#include <cstdint>

namespace mrvctl {

struct Caller {
  uint32_t context;  // the script line, 0 outside a script
  char *file;        // the script, or "mrvctl"
  int line;          // the script line, 0 outside a script
  const char *func;  // the command
};

}  // namespace mrvctl

#endif
