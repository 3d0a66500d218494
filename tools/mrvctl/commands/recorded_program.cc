#include "commands/recorded_program.h"

#include <elf.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <utility>

#include "output/signals.h"
#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {
namespace {

volatile pid_t running = 0;

constexpr auto kPassedOn = {SIGTERM, SIGHUP, SIGUSR1, SIGUSR2, SIGALRM}, kKeys = {SIGINT, SIGQUIT};

void pass_on(int signal_number) {
  if (running != 0)
    kill(running, signal_number);
}

// The program gets the keys of the terminal itself.
void pass_on_unless_key(int signal_number, siginfo_t *info, void *) {
  if (info->si_code <= 0)  // from a process
    pass_on(signal_number);
}

// A record at a place of a file; zeros beyond its end.
template <typename Record>
Record record_at(const std::string &file, uint64_t offset) {
  Record record = {};
  if (offset <= file.size() && file.size() - offset >= sizeof record)
    std::memcpy(&record, file.data() + offset, sizeof record);
  return record;
}

bool has_name(const std::string &file, uint64_t offset, const std::string &name) {
  return offset < file.size() && file.compare(static_cast<size_t>(offset), name.size() + 1,
                                              name.c_str(), name.size() + 1) == 0;
}

// Whether the symbols of a section have a definition of a function.
template <typename Section, typename Symbol>
bool defines(const std::string &file, const Section &symbols, uint64_t names,
             const std::string &function) {
  const uint64_t count = symbols.sh_size / sizeof(Symbol);
  for (uint64_t i = 0; i < count && symbols.sh_offset + i * sizeof(Symbol) < file.size(); ++i) {
    const auto symbol = record_at<Symbol>(file, symbols.sh_offset + i * sizeof(Symbol));
    if (symbol.st_shndx != SHN_UNDEF && has_name(file, names + symbol.st_name, function))
      return true;
  }
  return false;
}

template <typename Header, typename Part, typename Section, typename Symbol>
std::string reason_in_elf(const std::string &file) {
  const auto header = record_at<Header>(file, 0);
  bool is_dynamic = false;
  for (uint64_t i = 0; i < header.e_phnum; ++i)
    is_dynamic |= record_at<Part>(file, header.e_phoff + i * sizeof(Part)).p_type == PT_INTERP;
  if (!is_dynamic)
    return "it is statically linked, so that it loads no library";
  const auto section_at = [&](uint64_t i) {
    return record_at<Section>(file, header.e_shoff + i * sizeof(Section));
  };
  for (uint64_t i = 0; i < header.e_shnum; ++i) {
    const Section section = section_at(i);
    if (section.sh_type == SHT_DYNSYM &&
        defines<Section, Symbol>(file, section, section_at(section.sh_link).sh_offset, "sse_call2"))
      return "it made no service call, or none that it forwards, as it defines sse_call2; see "
             "'A program that contains its platform' in recording.md";
  }
  return "";
}

// As the system takes arguments. Valid as long as the words.
std::vector<char *> argument_list(const std::vector<std::string> &words) {
  std::vector<char *> arguments;
  arguments.reserve(words.size() + 1);
  for (const std::string &word : words)
    arguments.push_back(const_cast<char *>(word.c_str()));
  arguments.push_back(nullptr);
  return arguments;
}

[[noreturn]] void throw_cannot_run(const std::vector<std::string> &words, int error) {
  throw OperationFailed("cannot run " + words[0] + ": " + std::strerror(error));
}

// Starts a program as `running`. A signal to pass on waits until then. Returns an errno, or 0.
int start(const std::vector<char *> &arguments) {
  sigset_t passed_on, before;
  sigemptyset(&passed_on);
  for (const auto &signals : {kPassedOn, kKeys}) {
    for (const int signal_number : signals)
      sigaddset(&passed_on, signal_number);
  }
  sigprocmask(SIG_BLOCK, &passed_on, &before);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setsigmask(&attributes, &before);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  pid_t child = 0;
  const int error =
      posix_spawnp(&child, arguments[0], nullptr, &attributes, arguments.data(), environ);
  posix_spawnattr_destroy(&attributes);
  running = child;
  sigprocmask(SIG_SETMASK, &before, nullptr);
  return error;
}

}  // namespace

std::string file_of_program(const std::string &name) {
  const char *const path = std::getenv("PATH");
  if (name.find('/') != std::string::npos || path == nullptr)
    return name;
  for (const std::string &directory : split(path, ':')) {
    std::string file = (directory.empty() ? "." : directory) + "/" + name;
    if (access(file.c_str(), X_OK) == 0)
      return file;
  }
  return name;
}

void become_program(const std::vector<std::string> &words) {
  execvp(words[0].c_str(), argument_list(words).data());
  throw_cannot_run(words, errno);
}

int run_program(const std::vector<std::string> &words) {
  const SignalHandler passed_on(kPassedOn, pass_on);
  const SignalHandler keys(kKeys, pass_on_unless_key);
  std::signal(SIGCHLD, SIG_DFL);  // a status that is ignored is lost
  if (const int error = start(argument_list(words)))
    throw_cannot_run(words, error);
  siginfo_t ended = {};
  while (waitid(P_PID, static_cast<id_t>(running), &ended, WEXITED | WNOWAIT) < 0 &&
         errno == EINTR) {
  }
  const pid_t child = std::exchange(running, 0);  // another process can get its number now
  int status = 0;
  waitpid(child, &status, 0);
  return status;
}

std::string why_not_recorded(const std::string &program) {
  const std::string name = file_of_program(program);
  struct stat status = {};
  if (stat(name.c_str(), &status) == 0 && (status.st_mode & (S_ISUID | S_ISGID)) != 0)
    return "it is a set-user-ID program";
  std::ifstream stream(name, std::ios::binary);
  const std::string file{std::istreambuf_iterator<char>(stream), {}};
  std::string reason;
  if (file.compare(0, SELFMAG, ELFMAG) == 0 && file.size() > EI_CLASS) {
    const bool is_64_bit = file[EI_CLASS] == ELFCLASS64;
    reason = is_64_bit ? reason_in_elf<Elf64_Ehdr, Elf64_Phdr, Elf64_Shdr, Elf64_Sym>(file)
                       : reason_in_elf<Elf32_Ehdr, Elf32_Phdr, Elf32_Shdr, Elf32_Sym>(file);
    if (reason.empty() && is_64_bit != (sizeof(void *) == 8))
      reason = format("it is a %d-bit program, and the recorder may be missing for it",
                      is_64_bit ? 64 : 32);
  }
  return reason.empty() ? "none of its processes made a service call that the recorder could see"
                        : reason;
}

}  // namespace mrvctl
