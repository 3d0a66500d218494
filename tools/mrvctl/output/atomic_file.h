// A file that others read while it is replaced: they find the old one or the new one, never a part.
#ifndef MRVCTL_WHOLE_FILE_H
#define MRVCTL_WHOLE_FILE_H

#include <string>

namespace mrvctl {

// Writes a temporary file beside the path and gives it its name. Throws OperationFailed, and leaves
// what was there; refuses to replace anything but a plain file.
void write_atomically(const std::string &path, const std::string &text);

}  // namespace mrvctl

#endif
