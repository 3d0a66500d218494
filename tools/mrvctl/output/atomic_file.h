// A file that others read while it is replaced: they find the old one or the new one, never a part.
#ifndef MRVCTL_ATOMIC_FILE_H
#define MRVCTL_ATOMIC_FILE_H

#include <string>

namespace mrvctl {

// Writes a temporary file in the same directory and renames it. Throws OperationFailed, and leaves
// what was there; refuses to replace anything but a plain file.
void write_atomically(const std::string &path, const std::string &text);

}  // namespace mrvctl

#endif
