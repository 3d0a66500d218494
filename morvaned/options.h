// What morvaned is told on its command line.
#ifndef MORVANED_OPTIONS_H
#define MORVANED_OPTIONS_H

#include <cstdint>
#include <string>

namespace morvaned {

struct Options {
  std::string socket;  // a path, or @name; empty where there is no default for this user
  std::string group;   // empty: none
  uint32_t max_clients = 256;
  uint32_t max_record = 16 * 1024 * 1024;  // bytes
  bool verbose = false;
};

// Ends the program where the command line asks for a text (status 0) or is wrong (status 2).
Options parse_options(int argc, char **argv);

}  // namespace morvaned

#endif
