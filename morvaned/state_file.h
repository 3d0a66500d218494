// The file in which morvaned keeps the state of the switch from one run to the next.
#ifndef MORVANED_STATE_FILE_H
#define MORVANED_STATE_FILE_H

#include <string>

#include "descriptor.h"
#include "log.h"
#include "model/virtual_switch.h"

namespace morvaned {

class StateFile {
 public:
  // Restores the state of the file, if there is one. An empty path is no file: then there is
  // nothing to restore or to save. Throws a StartError if another service has the file, or if it is
  // not a saved state.
  StateFile(std::string path, VirtualSwitch &state, Log &log);

  // Replaces the file: a reader finds the old state or the new one, even after a crash. A failure
  // is logged, and leaves the old file.
  bool save();

 private:
  void lock();
  void restore();
  void write(const std::string &text) const;

  std::string path_;
  VirtualSwitch &switch_;
  Log &log_;
  Descriptor lock_;
};

}  // namespace morvaned

#endif
