// The command line of morvaned.
#ifndef MORVANED_OPTIONS_H
#define MORVANED_OPTIONS_H

#include <cstdint>
#include <string>

namespace morvaned {

struct Options {
  std::string socket;  // a path, or @name; empty if there is no default for this user
  std::string group;   // empty: none
  std::string state;   // the file of the state; empty: none
  uint32_t max_clients = 256;
  uint32_t max_record = 16 * 1024 * 1024;  // bytes
  bool stop_at_eof = false;
  bool verbose = false;
};

// Ends the program after --help and --version (status 0) and after an error (status 2).
Options parse_options(int argc, char **argv);

}  // namespace morvaned

#endif
