#include "commands/call_files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "recording_file.h"
#include "text/errors.h"

namespace mrvctl {
namespace {

// Files that are mapped at once: with rings of the default size they need 1 GiB of addresses.
constexpr size_t kMaxOpenFiles = 256;

}  // namespace

std::string recording_directory(const std::string &name) {
  char path[PATH_MAX];
  const bool made = mkdir(name.c_str(), 0777) == 0 || errno == EEXIST;
  if (!made || realpath(name.c_str(), path) == nullptr ||
      access((std::string(path) + "/.").c_str(), W_OK | X_OK) != 0)
    throw OperationFailed("cannot record in " + name + ": " + std::strerror(errno));
  return path;
}

CallFiles::~CallFiles() {
  for (const auto &[client, file] : files_)
    unmap_recording(file.notes);
}

void CallFiles::add(const vp_note &note, const uint8_t *call) {
  File &file = file_of(note);
  file.last_use = ++uses_;
  std::memcpy(ring_reserve(&file.notes, note.size), call, note.size);
  ring_publish(&file.notes, MREC_NOTE_CALL, note.size);
}

CallFiles::File &CallFiles::file_of(const vp_note &note) {
  const auto found = files_.find(note.client);
  if (found != files_.end())
    return found->second;
  if (files_.size() == kMaxOpenFiles)
    close_oldest();
  File file;
  const recorded_process client = {note.program, static_cast<uint32_t>(note.process), 0, 0};
  if (const int error = create_recording_of(client, directory_.c_str(), ring_size_, &file.notes))
    throw OperationFailed("cannot record in " + directory_ + ": " + std::strerror(error));
  return files_.emplace(note.client, file).first->second;
}

// If that client makes another call, the call begins another file.
void CallFiles::close_oldest() {
  const auto oldest =
      std::min_element(files_.begin(), files_.end(), [](const auto &one, const auto &other) {
        return one.second.last_use < other.second.last_use;
      });
  unmap_recording(oldest->second.notes);
  files_.erase(oldest);
}

}  // namespace mrvctl
