// One run of the tool.
#include "commands/session.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "output/last_words.h"
#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr char kTraceIsOff[] = "LIB debug disabled:";
constexpr char kTraceIsOn[] = "LIB debug enabled:";
constexpr char kInterrupted[] = "<Interrupted>";  // as the library names it
constexpr size_t kLongestTransactionName = 31;

// Collects what is printed on standard output, which is standard error by now.
class Capture {
 public:
  Capture() : file_(memfd_create("mrvctl", MFD_CLOEXEC)) {
    std::fflush(stdout);
    if (file_ < 0 || dup2(file_, STDOUT_FILENO) < 0)
      throw OperationFailed(std::string("no memory file: ") + std::strerror(errno));
  }
  ~Capture() {
    close_stdout();
    close(file_);
  }
  Capture(const Capture &) = delete;
  Capture &operator=(const Capture &) = delete;

  std::string text() const {
    close_stdout();
    std::string text;
    char part[4096];
    ssize_t length = 0;
    while ((length = pread(file_, part, sizeof part, static_cast<off_t>(text.size()))) > 0)
      text.append(part, static_cast<size_t>(length));
    return text;
  }

 private:
  static void close_stdout() {
    std::fflush(stdout);
    dup2(STDERR_FILENO, STDOUT_FILENO);
  }

  int file_;
};

bool begins_with(const std::string &text, const char *beginning) {
  return text.compare(0, std::strlen(beginning), beginning) == 0;
}

}  // namespace

bool Transaction::interrupted() const {
  return name_ == kInterrupted;
}

std::string Transaction::pending_text() const {
  return (exact_ ? "" : "at least ") + count_text(pending_, "write", "writes");
}

std::string Transaction::loss_text() const {
  return "transaction \"" + name_ + "\" was never committed: " + pending_text() + " lost";
}

void Transaction::note_loss() const {
  set_exit_notice(exact_ && pending_ == 0 ? "" : loss_text());
}

void Transaction::start(const std::string &name) {
  *this = Transaction();
  open_ = true;
  name_ = name.substr(0, kLongestTransactionName);
  note_loss();
}

void Transaction::close() {
  *this = Transaction();
  set_exit_notice("");
}

void Transaction::add(uint64_t writes) {
  if (!open_)
    return;
  pending_ += writes;
  if (pending_ > KEL_ASIC_XN_ENTRIES) {
    pending_ = (pending_ - 1) % KEL_ASIC_XN_ENTRIES + 1;
    name_ = "Contd XN..";
  }
  note_loss();
}

void Transaction::add_some() {
  if (!open_)
    return;
  exact_ = false;
  note_loss();
}

void Transaction::after_read(syserr_t result) {
  const bool refused = result == SYSERR_KEL_ASIC_INVALID_ARG || result == SYSERR_KEL_ASIC_UNINIT;
  if (open_ && !refused)
    start(kInterrupted);
}

void Session::initialise() {
  std::error_code code;
  std::string printed;
  {
    Capture capture;
    morvane::init(static_cast<uint8_t>(slot), code, caller());
    printed = capture.text();
  }
  trace_on = begins_with(printed, kTraceIsOn);
  if (begins_with(printed, kTraceIsOff))
    printed.erase(0, std::strlen(kTraceIsOff));
  std::fputs(printed.c_str(), stderr);
  check(result_of(code), code == SYSERR_KEL_ASIC_INVALID_ARG
                             ? format("the card in slot %u carries no Morvane", slot)
                             : "");
}

void Session::set_place(const std::string &file, int line) {
  file_ = file;
  line_ = line;
}

morvane::caller Session::caller() const {
  return {file_.c_str(), line_, command_.c_str(), static_cast<uint32_t>(line_)};
}

morvane::asic_reg Session::at(const Register &reg) const {
  return morvane::at(reg.block, reg.instance, reg.vreg).on(on());
}

morvane::port Session::port(uint32_t type, uint32_t number) const {
  return {static_cast<cardcfg_port_type_t>(type), number, on()};
}

std::string Session::resolve(const std::string &path) const {
  const bool stays = folder.empty() || path.empty() || path[0] == '/' || path == "-";
  return stays ? path : folder + path;
}

const RegisterMap &Session::map() {
  if (!map_)
    map_.emplace(caller());
  return *map_;
}

std::string Session::place_hint() {
  if (asic > map().limits().max_asic)
    return format("ASIC numbers are 0 to %u", map().limits().max_asic);
  return "";
}

void Session::check_result(syserr_t result, const std::string &hint) {
  if (result == 0)
    return;
  const std::string place = place_hint();
  throw OperationFailed(result, place.empty() ? hint : place);
}

std::string Session::refusal_hint(const Register &reg) {
  const std::string place = place_hint();
  return place.empty() ? map().missing(reg) : place;
}

}  // namespace mrvctl
