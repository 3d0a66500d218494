// record: a program with the recorder loaded.
#include <dlfcn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "commands/call_files.h"
#include "commands/commands.h"
#include "commands/recorded_program.h"
#include "host/platform_library.h"
#include "output/report.h"
#include "reader.h"
#include "recording_format.h"
#include "text/text.h"

namespace mrvctl {
namespace {

struct RecordArgs {
  std::string directory;
  std::optional<uint32_t> size;
  bool becomes_program = false;
  std::vector<std::string> program;
};

void describe_record(Arguments &arguments, RecordArgs &args) {
  arguments.word("DIR", args.directory, "Directory for the recordings, made if it is missing");
  arguments.number<uint32_t>(
      "--size N", args.size,
      format("Bytes of calls to keep per process (default: %u)", MREC_RING_DEFAULT), MREC_RING_MIN,
      MREC_RING_MAX);
  arguments.flag("--exec", args.becomes_program,
                 "Become PROGRAM, without a report at the end: for a parent that stops, kills or "
                 "waits for the process itself");
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

std::set<std::string> recordings_in(const std::string &directory) {
  std::set<std::string> files;
  std::error_code ec;
  for (const auto &entry : std::filesystem::directory_iterator(directory, ec)) {
    if (entry.path().extension() == ".mrec")
      files.insert(entry.path());
  }
  return files;
}

// Whether a recording has a call, or writes for one.
bool has_calls(const std::string &file) {
  try {
    recording::Reader reader(file);
    recording::Call call;
    return reader.next(&call) || reader.under_way(&call) || !reader.uncommitted().writes().empty();
  } catch (const recording::Unreadable &) {
    return false;
  }
}

bool has_new_calls(const std::string &directory, const std::set<std::string> &before) {
  const std::set<std::string> files = recordings_in(directory);
  return std::any_of(files.begin(), files.end(), [&](const std::string &file) {
    return before.count(file) == 0 && has_calls(file);
  });
}

// Ends the tool with the exit status or the signal of the program.
[[noreturn]] void end_like(int status) {
  if (!WIFSIGNALED(status))
    _exit(WEXITSTATUS(status));
  const rlimit none = {};  // the program has left the core, if any
  setrlimit(RLIMIT_CORE, &none);
  std::signal(WTERMSIG(status), SIG_DFL);
  raise(WTERMSIG(status));
  _exit(128 + WTERMSIG(status));
}

void run_record(Session &session, const RecordArgs &args) {
  if (session.in_script())
    throw UsageError("record runs another program in place of the tool: not from a script");
  const char *const preloaded = getenv("LD_PRELOAD");
  const std::string others =
      preloaded == nullptr || *preloaded == '\0' ? "" : std::string(":") + preloaded;
  const std::string directory = recording_directory(args.directory);
  set_variable("MORVANE_RECORD", directory);
  if (args.size)
    set_variable("MORVANE_RECORD_SIZE", std::to_string(*args.size));
  set_variable("LD_PRELOAD", for_both_sizes(find_recorder()) + others);
  session.report.return_standard_output();
  if (args.becomes_program)
    become_program(args.program);
  const std::set<std::string> before = recordings_in(directory);
  const int status = run_program(args.program);
  if (!has_new_calls(directory, before))
    print_error("mrvctl record: no call was recorded of " + args.program[0] + ": " +
                why_not_recorded(args.program[0]) + "\n");
  end_like(status);
}

}  // namespace

void add_record_command(Parser &parser) {
  parser.add<RecordArgs>(
      {"record", "Recordings",
       "Run PROGRAM and record its service calls in DIR\n"
       "Every process that makes service calls gets a file DIR/PROGRAM.PID.mrec with its most "
       "recent calls. The file survives a crash. The exit status is the program's. If no recording "
       "was made, the command reports the reason at the end. A 32-bit mrvctl "
       "records 64-bit programs, and vice versa, if that recorder is installed too; otherwise "
       "ld.so prints that it ignores the recorder. Set-user-ID programs are not recorded.",
       "mrvctl record calls -- mrvctl read HI.2:40\n"
       "mrvctl calls calls",
       Requires::kNone},
      describe_record, run_record);
}

}  // namespace mrvctl
