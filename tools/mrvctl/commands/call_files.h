// Recordings of the clients that a monitor sees, one file each.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "ring.h"
#include "virtual_platform.h"

namespace mrvctl {

// The absolute path of a directory for recordings, as a program may change its directory before it
// is recorded. Makes the directory if it is missing. Throws OperationFailed.
std::string recording_directory(const std::string &name);

class CallFiles {
 public:
  // Files in this directory, each with so many bytes for calls.
  CallFiles(std::string directory, uint32_t ring_size)
      : directory_(std::move(directory)), ring_size_(ring_size) {}
  ~CallFiles();
  CallFiles(const CallFiles &) = delete;
  CallFiles &operator=(const CallFiles &) = delete;

  // Adds a call to the file of its client. Throws OperationFailed if there can be no such file.
  void add(const vp_note &note, const uint8_t *call);

 private:
  struct File {
    ring notes{};
    uint64_t last_use = 0;
  };

  File &file_of(const vp_note &note);
  void close_oldest();

  std::string directory_;
  uint32_t ring_size_;
  std::map<uint64_t, File> files_;  // by the number of the client
  uint64_t uses_ = 0;
};

}  // namespace mrvctl
