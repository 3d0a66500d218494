// The calls of recordings: those of several processes, in the order in which they began.
#ifndef MRVCTL_RECORDED_CALLS_H
#define MRVCTL_RECORDED_CALLS_H

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "calls/call_choice.h"
#include "calls/decoded_call.h"
#include "commands/arguments.h"
#include "reader.h"

namespace mrvctl {

// The options that choose calls.
void describe_choice(Arguments &arguments, CallChoice &choice);

class RecordedCalls {
 public:
  // Calls that were under way when the files were looked at: of a process that died, its last.
  enum class UnderWay { kLeftOut, kIncluded };

  // Throws OperationFailed where one cannot be read.
  RecordedCalls(const std::vector<std::string> &paths, UnderWay under_way);

  // The next call of all files; empty behind the last. Within a process they come as the process
  // made them; processes of one boot of the machine compare by its monotonic clock, so that a wall
  // clock that was set confuses nothing.
  std::optional<DecodedCall> next();

  // Looks at the files again: next() goes on with what has come since.
  void refresh();

  const CallingProcess &process(size_t file) const { return sources_[file].process; }
  size_t files() const { return sources_.size(); }
  size_t label_width() const;

  // What next() could not give, a line a file; empty where it gave all.
  std::vector<std::string> gaps() const;

 private:
  struct Source {
    explicit Source(const std::string &path) : reader(path) {}
    recording::Reader reader;
    CallingProcess process;
    uint64_t offset_ns = 0;  // what makes a wall clock of the boot's monotonic clock
    std::optional<DecodedCall> head;
    bool gave_under_way = false;
  };

  void identify(Source &source);
  void advance(size_t file);
  DecodedCall noted(size_t file, recording::Call &&call) const;

  UnderWay under_way_;
  std::deque<Source> sources_;
  std::map<std::string, uint64_t> boots_;  // the offset of each boot of the machine
};

}  // namespace mrvctl

#endif
