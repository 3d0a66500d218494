// A file that others read while it is replaced.
#include "output/atomic_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "text/errors.h"

namespace mrvctl {
namespace {

[[noreturn]] void fail(const std::string &path, const char *what) {
  throw OperationFailed(path + ": " + what);
}

// Writes the text, with the permissions that the umask allows; false if it is not complete.
bool fill(int file, const std::string &text) {
  const mode_t mask = umask(0);
  umask(mask);
  std::FILE *const stream = fdopen(file, "w");
  if (stream == nullptr) {
    close(file);
    return false;
  }
  const bool written = fchmod(file, 0666 & ~mask) == 0 && std::fputs(text.c_str(), stream) >= 0;
  return std::fclose(stream) == 0 && written;
}

}  // namespace

void write_atomically(const std::string &path, const std::string &text) {
  struct stat old = {};
  if (lstat(path.c_str(), &old) == 0 && !S_ISREG(old.st_mode))
    fail(path, "is not a plain file");
  std::string temporary = path + ".XXXXXX";
  const int file = mkstemp(temporary.data());
  if (file < 0)
    fail(path, std::strerror(errno));
  if (fill(file, text) && std::rename(temporary.c_str(), path.c_str()) == 0)
    return;
  const int error_number = errno;
  unlink(temporary.c_str());
  fail(path, std::strerror(error_number));
}

}  // namespace mrvctl
