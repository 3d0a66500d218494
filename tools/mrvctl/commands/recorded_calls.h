// The calls of recordings: those of several processes, in the order in which they began.
#pragma once

#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "calls/call_choice.h"
#include "calls/decoded_call.h"
#include "commands/arguments.h"
#include "commands/session.h"
#include "output/call_table.h"
#include "reader.h"
#include "text/errors.h"

namespace mrvctl {

// The options that choose calls, by what they are and by their time.
void describe_choice(Arguments &arguments, CallChoice &choice);
void describe_period(Arguments &arguments, CallChoice &choice);

// The options of a table of calls.
void describe_call_table(Arguments &arguments, CallTableOptions &options);

// The call, without its process and its order among those of other processes.
DecodedCall decoded_call(recording::Call &&call);

// The positional arguments that name recordings.
void describe_recordings(Arguments &arguments, std::vector<std::string> &files);

// The option --map, and the names of registers: from its file or the platform, or else none. Throws
// OperationFailed if the file is not a register map, or if there is none and `reg` requires one.
void describe_map(Arguments &arguments, std::string &map_file);
AddressIndex register_names(Session &session, const std::string &map_file,
                            const std::optional<RegisterReference> &reg);

class RecordedCalls {
 public:
  // kShow includes calls that were under way when the files were read: of a process that died, its
  // last. kFollow accepts a directory without recordings, as they may come.
  enum class Purpose { kShow, kFollow, kReplay };

  // Files, and directories for all recordings in them. A file that cannot be read, now or later, is
  // reported, and the others are read on. Throws OperationFailed if no file can be read. Writes of
  // a transaction that was not sent are under way too. The index, which has the addresses of their
  // registers, must outlive this.
  RecordedCalls(Session &session, const std::vector<std::string> &files, Purpose purpose,
                const AddressIndex &index);

  // The next call of all files; empty after the last. Within a process they come as the process
  // made them; processes of one boot of the machine compare by its monotonic clock, so that a wall
  // clock that was set confuses nothing.
  std::optional<DecodedCall> next();

  // Looks at the files and directories again: next() goes on with what has come since.
  void refresh();

  const CallingProcess &process(size_t file) const { return sources_[file].process; }
  size_t files() const { return sources_.size(); }
  size_t label_width() const;

  // Prints on standard error, and as JSON, what next() could not give: one line per file.
  void report_gaps() const;

  // Throws OperationFailed if a file could not be read.
  void throw_if_unreadable() const;

 private:
  struct Source {
    Source(const std::string &path, const recording::FindTarget &find_target)
        : reader(path, find_target) {}
    recording::Reader reader;
    CallingProcess process;
    uint64_t offset_ns = 0;  // what makes a wall clock of the boot's monotonic clock
    std::optional<DecodedCall> head;
    bool gave_in_flight = false, gave_uncommitted = false;
    bool unreadable = false;
  };

  template <typename Step>
  bool can_read(Step step);
  void open_new_files();
  void identify(Source &source);
  void advance(size_t file);
  DecodedCall noted(size_t file, recording::Call &&call) const;
  DecodedCall placed(size_t file, DecodedCall &&call, uint64_t monotonic_ns) const;
  std::optional<DecodedCall> under_way(size_t file);

  Session &session_;
  std::vector<std::string> paths_;
  Purpose purpose_;
  recording::FindTarget find_target_;
  std::set<std::string> files_;  // that were opened, or could not be
  size_t unreadable_ = 0;
  std::deque<Source> sources_;
  std::map<std::string, uint64_t> boots_;  // the offset of each boot of the machine
};

}  // namespace mrvctl
