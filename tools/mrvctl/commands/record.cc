// Runs a program with the recorder loaded.
#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "base/text.h"
#include "commands/commands.h"
#include "platform/platform.h"
#include "recording_format.h"

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

// The recorder of the same build or install.
std::string find_recorder() {
  const std::string found = beside_library("libmorvanerecord.so");
  char path[PATH_MAX];
  if (realpath(found.c_str(), path) == nullptr)
    throw OperationFailed("no recorder: there is no " + found);
  if (std::strpbrk(path, " :") != nullptr)
    throw OperationFailed(
        std::string("no recorder: LD_PRELOAD takes no path with a space or a colon: ") + path);
  return path;
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
  set_variable("LD_PRELOAD", find_recorder() + others);
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
       "exit status is the program's.",
       Setup::kNone},
      describe_record, run_record);
}

}  // namespace mrvctl
