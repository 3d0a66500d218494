#include "state_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <system_error>
#include <utility>

#include "listener.h"

namespace morvaned {
namespace {

[[noreturn]] void fail(const std::string &what) {
  throw std::system_error(errno, std::generic_category(), what);
}

Descriptor open_file(const std::string &path, int flags, mode_t mode = 0644) {
  Descriptor file(open(path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, mode));
  if (file.get() < 0)
    fail(path);
  return file;
}

std::string read_all(const Descriptor &file, const std::string &path) {
  std::string text;
  char part[65536];
  for (;;) {
    const ssize_t count = read(file.get(), part, sizeof part);
    if (count == 0)
      return text;
    if (count > 0)
      text.append(part, static_cast<std::size_t>(count));
    else if (errno != EINTR)
      fail(path);
  }
}

void write_all(const Descriptor &file, const std::string &text, const std::string &path) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t count = ::write(file.get(), text.data() + done, text.size() - done);
    if (count >= 0)
      done += static_cast<std::size_t>(count);
    else if (errno != EINTR)
      fail(path);
  }
  if (fsync(file.get()) != 0)
    fail(path);
}

}  // namespace

StateFile::StateFile(std::string path, VirtualSwitch &state, Log &log)
    : path_(std::move(path)), switch_(state), log_(log) {
  if (path_.empty())
    return;
  try {
    lock();
    restore();
  } catch (const std::system_error &error) {
    throw StartError(std::string("--state: ") + error.what());
  }
}

// The file itself is replaced by each save, so the lock is another one. No other user can open it,
// and so hold the lock.
void StateFile::lock() {
  const std::string path = path_ + ".lock";
  lock_ = open_file(path, O_RDWR | O_CREAT, 0600);
  if (flock(lock_.get(), LOCK_EX | LOCK_NB) == 0)
    return;
  if (errno == EWOULDBLOCK)
    throw StartError("--state: another morvaned uses " + path_);
  fail(path);
}

void StateFile::restore() {
  struct stat found = {};
  if (lstat(path_.c_str(), &found) != 0) {
    if (errno == ENOENT)
      return;
    fail(path_);
  }
  if (!S_ISREG(found.st_mode))
    throw StartError("--state: " + path_ + ": not a regular file");
  const std::string text = read_all(open_file(path_, O_RDONLY), path_);
  if (const uint32_t line = switch_.restore(text))
    throw StartError("--state: " + path_ + ":" + std::to_string(line) +
                     ": not a line of a saved state");
}

bool StateFile::save() {
  if (path_.empty())
    return true;
  try {
    write(switch_.save());
    log_.line("state saved to %s", path_.c_str());
    return true;
  } catch (const std::exception &error) {
    log_.line("state not saved: %s", error.what());
    return false;
  }
}

// The directory is synchronised too: without it the new name may be lost in a crash.
void StateFile::write(const std::string &text) const {
  const std::string made = path_ + ".new";
  const std::size_t slash = path_.rfind('/');
  write_all(open_file(made, O_WRONLY | O_CREAT | O_TRUNC), text, made);
  if (std::rename(made.c_str(), path_.c_str()) != 0)
    fail(path_);
  const std::string folder = slash == std::string::npos ? "." : path_.substr(0, slash + 1);
  if (fsync(open_file(folder, O_RDONLY | O_DIRECTORY).get()) != 0)
    fail(folder);
}

}  // namespace morvaned
