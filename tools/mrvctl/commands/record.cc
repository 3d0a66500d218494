// record: a program with the recorder loaded.
#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "commands/call_files.h"
#include "commands/commands.h"
#include "host/platform_library.h"
#include "recording_format.h"
#include "text/text.h"

namespace mrvctl {
namespace {

struct RecordArgs {
  std::string directory;
  std::optional<uint32_t> size;
  std::vector<std::string> program;
};

void describe_record(Arguments &arguments, RecordArgs &args) {
  arguments.word("DIR", args.directory, "Directory for the recordings, made if it is missing");
  arguments.number<uint32_t>(
      "--size N", args.size,
      format("Bytes of calls to keep per process (default: %u)", MREC_RING_DEFAULT), MREC_RING_MIN,
      MREC_RING_MAX);
  arguments.words("PROGRAM", args.program, "Program and its arguments");
}

// The recorder of the same build or install, for programs of the tool's word size.
std::string find_recorder() {
  const std::string found = sibling_library("libmorvanerecord.so");
  char path[PATH_MAX];
  if (realpath(found.c_str(), path) == nullptr)
    throw OperationFailed("no recorder: cannot find " + found);
  if (std::strpbrk(path, " :") != nullptr)
    throw OperationFailed(
        std::string("no recorder: LD_PRELOAD takes no path with a space or a colon: ") + path);
  return path;
}

constexpr int kBits = 8 * sizeof(void *);

// Where libraries are on a machine that has both word sizes, as its ld.so calls it $LIB: the
// second is that of a 64-bit distribution's own 32-bit C library.
struct LibraryFolder {
  int bits;
  const char *name;
};
constexpr LibraryFolder kLibraryFolders[] = {
    {32, "/lib/i386-linux-gnu/"}, {32, "/lib32/"}, {64, "/lib/x86_64-linux-gnu/"}};

// Whether $LIB is the folder in this process: its C library is there.
bool is_own(const LibraryFolder &folder) {
  Dl_info library = {};
  return folder.bits == kBits && dladdr(dlsym(RTLD_NEXT, "getenv"), &library) != 0 &&
         std::strstr(library.dli_fname, folder.name) != nullptr;
}

// The path with $LIB in place of such a folder, if the same file is in one of the other word
// size; else the path.
std::string for_both_sizes(const std::string &own) {
  for (const LibraryFolder &mine : kLibraryFolders) {
    const size_t at = own.rfind(mine.name);
    if (at == std::string::npos || !is_own(mine))
      continue;
    const std::string file = own.substr(own.rfind('/') + 1);
    for (const LibraryFolder &other : kLibraryFolders) {
      const std::string path = own.substr(0, at) + other.name + file;
      if (other.bits != kBits && access(path.c_str(), R_OK) == 0)
        return own.substr(0, at) + "/$LIB/" + file;
    }
  }
  return own;
}

void set_variable(const char *name, const std::string &value) {
  if (setenv(name, value.c_str(), 1) != 0)
    throw OperationFailed(std::string("cannot set ") + name + ": " + std::strerror(errno));
}

void run_record(Session &session, const RecordArgs &args) {
  if (session.in_script())
    throw UsageError("record runs another program in place of the tool: not from a script");
  const char *const preloaded = getenv("LD_PRELOAD");
  const std::string others =
      preloaded == nullptr || *preloaded == '\0' ? "" : std::string(":") + preloaded;
  set_variable("MORVANE_RECORD", recording_directory(args.directory));
  if (args.size)
    set_variable("MORVANE_RECORD_SIZE", std::to_string(*args.size));
  set_variable("LD_PRELOAD", for_both_sizes(find_recorder()) + others);
  session.report.return_standard_output();
  std::vector<char *> words;
  for (const std::string &word : args.program)
    words.push_back(const_cast<char *>(word.c_str()));
  words.push_back(nullptr);
  execvp(words[0], words.data());
  throw OperationFailed("cannot run " + args.program[0] + ": " + std::strerror(errno));
}

}  // namespace

void add_record_command(Parser &parser) {
  parser.add<RecordArgs>(
      {"record", "Recordings",
       "Run PROGRAM and record its service calls in DIR\n"
       "Every process that makes service calls gets a file DIR/PROGRAM.PID.mrec with its most "
       "recent calls. The file survives a crash. The exit status is the program's. A 32-bit mrvctl "
       "records 64-bit programs, and vice versa, if that recorder is installed too; otherwise "
       "ld.so prints that it ignores the recorder. Set-user-ID programs are not recorded.",
       "mrvctl record calls -- mrvctl read HI.2:40\n"
       "mrvctl calls calls",
       Requires::kNone},
      describe_record, run_record);
}

}  // namespace mrvctl
