// record: a program with the recorder loaded.
#include <dlfcn.h>
#include <elf.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

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
  arguments.word("DIR", args.directory, "Where the recordings go; it must be there").required();
  arguments
      .parsed(
          "--size", args.size,
          [](const std::string &text) {
            return parse_number<uint32_t>(text, MREC_RING_MIN, MREC_RING_MAX);
          },
          format("Bytes of calls that each process keeps (%u to %u); %u if left out", MREC_RING_MIN,
                 MREC_RING_MAX, MREC_RING_DEFAULT))
      .type_name("N");
  arguments.words("PROGRAM", args.program, "It and its arguments").required();
}

// The program may change its folder before it is recorded.
std::string recordable_directory(const std::string &name) {
  char path[PATH_MAX];
  struct stat status = {};
  if (realpath(name.c_str(), path) == nullptr || stat(path, &status) != 0)
    throw OperationFailed("cannot record in " + name + ": " + std::strerror(errno));
  if (!S_ISDIR(status.st_mode))
    throw OperationFailed("cannot record in " + name + ": it is no directory");
  if (access(path, W_OK | X_OK) != 0)
    throw OperationFailed("cannot record in " + name + ": " + std::strerror(errno));
  return path;
}

// The recorder of the same build or install, for programs of the tool's word size.
std::string find_recorder() {
  const std::string found = sibling_library("libmorvanerecord.so");
  char path[PATH_MAX];
  if (realpath(found.c_str(), path) == nullptr)
    throw OperationFailed("no recorder: there is no " + found);
  if (std::strpbrk(path, " :") != nullptr)
    throw OperationFailed(
        std::string("no recorder: LD_PRELOAD takes no path with a space or a colon: ") + path);
  return path;
}

// Where execvp() finds a program; empty where it does not.
std::string find_program(const std::string &name) {
  if (name.find('/') != std::string::npos)
    return name;
  const char *const path = getenv("PATH");
  for (const std::string &folder : split(path == nullptr ? "/bin:/usr/bin" : path, ':')) {
    std::string file = (folder.empty() ? "." : folder) + '/' + name;
    if (access(file.c_str(), X_OK) == 0)
      return file;
  }
  return "";
}

// 32 or 64 of a program in machine code; 0 of a script, and of what cannot be read.
int bits_of(const std::string &program) {
  char ident[EI_NIDENT] = "";
  std::ifstream(find_program(program), std::ios::binary).read(ident, sizeof ident);
  if (std::memcmp(ident, ELFMAG, SELFMAG) != 0)
    return 0;
  return ident[EI_CLASS] == ELFCLASS64 ? 64 : 32;
}

constexpr int kBits = 8 * sizeof(void *);

// Where libraries stand on a machine that has both word sizes, as its ld.so calls it $LIB: the
// second is that of a 64-bit distribution's own 32-bit C library.
struct LibraryFolder {
  int bits;
  const char *name;
};
constexpr LibraryFolder kLibraryFolders[] = {
    {32, "/lib/i386-linux-gnu/"}, {32, "/lib32/"}, {64, "/lib/x86_64-linux-gnu/"}};

// Whether $LIB stands for the folder in this process: its C library is there.
bool is_own(const LibraryFolder &folder) {
  Dl_info library = {};
  return folder.bits == kBits && dladdr(dlsym(RTLD_NEXT, "getenv"), &library) != 0 &&
         std::strstr(library.dli_fname, folder.name) != nullptr;
}

// The path with $LIB in place of such a folder, if the same file stands in one of the other word
// size; else empty.
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
  return "";
}

// What ld.so is to load into a program and all that it starts, of whatever word size if it can.
std::string preload_for(const std::string &program) {
  std::string own = find_recorder();
  std::string both = for_both_sizes(own);
  if (!both.empty())
    return both;  // of each program its own
  const int bits = bits_of(program);
  if (bits != 0 && bits != kBits)
    std::fprintf(stderr,
                 "mrvctl: %s is a %d-bit program and is not recorded: %s is for %d-bit ones; the "
                 "recorder of a %d-bit build beside it, or that build's mrvctl, records it\n",
                 program.c_str(), bits, own.c_str(), kBits, bits);
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
  set_variable("MORVANE_RECORD", recordable_directory(args.directory));
  if (args.size)
    set_variable("MORVANE_RECORD_SIZE", std::to_string(*args.size));
  set_variable("LD_PRELOAD", preload_for(args.program[0]) + others);
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
       "Run the PROGRAM behind DIR with its service calls recorded\n"
       "Each of its processes that makes one has a file DIR/PROGRAM.PID.mrec with the\n"
       "newest of them, however it ends. -- stands before a program that has options. The\n"
       "exit status is the program's. One of another word size than the tool is recorded\n"
       "where the recorder for it is installed too; a set-user-ID program is not.",
       Requires::kNone},
      describe_record, run_record);
}

}  // namespace mrvctl
