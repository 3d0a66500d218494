// The terminal of a view, given back however the process ends. What signal handlers call here is
// safe in them: write, tcsetattr, dup2 and their like.
#include "view/terminal.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "output/interrupt.h"
#include "output/last_words.h"
#include "text/errors.h"
#include "text/times.h"

namespace mrvctl {
namespace {

// Another screen, no cursor, long lines cut off; and back.
constexpr char kTake[] = "\033[?1049h\033[?25l\033[?7l";
constexpr char kGiveBack[] = "\033[?7h\033[?25h\033[?1049l";

// What the handlers know of the terminal.
struct SavedTerminal {
  int tty = -1;
  termios before = {};
  termios during = {};
  int null = -1;  // takes what is printed meanwhile on a standard error that is the terminal
  int error_output = -1;  // standard error before; below 0 where it is no terminal
  volatile std::sig_atomic_t now = 0;
};

SavedTerminal taken;
volatile std::sig_atomic_t changed = 0;

void write_all(int file, const char *text, size_t length) {
  while (length > 0) {
    const ssize_t written = write(file, text, length);
    if (written <= 0 && errno != EINTR)
      return;
    const size_t part = written > 0 ? static_cast<size_t>(written) : 0;
    text += part;
    length -= part;
  }
}

// The library prints on standard output, which is standard error by now.
void send_errors_to(int file) {
  if (taken.error_output < 0)
    return;
  dup2(file, STDERR_FILENO);
  dup2(file, STDOUT_FILENO);
}

// A process in the background leaves the terminal to whom it belongs.
void take() {
  if (taken.now != 0 || taken.tty < 0 || tcgetpgrp(taken.tty) != getpgrp())
    return;
  taken.now = 1;
  send_errors_to(taken.null);
  tcsetattr(taken.tty, TCSADRAIN, &taken.during);
  write_all(taken.tty, kTake, sizeof kTake - 1);
}

void leave() {
  if (taken.now == 0)
    return;
  taken.now = 0;
  write_all(taken.tty, kGiveBack, sizeof kGiveBack - 1);
  tcsetattr(taken.tty, TCSADRAIN, &taken.before);
  send_errors_to(taken.error_output);
}

// The handlers. All signals wait while one runs.

void on_interrupt(int signal_number) {
  if (interrupted != 0) {
    leave();
    print_exit_notice();
    std::signal(signal_number, SIG_DFL);
    raise(signal_number);
  }
  interrupted = 1;
}

// The signal has its default action again: raised, it ends the process once the handler returns.
void on_end(int signal_number) {
  leave();
  print_exit_notice();
  raise(signal_number);
}

void on_resize(int) {
  changed = 1;
}

// Whoever had the terminal meanwhile may have changed its modes.
void on_continue(int) {
  const int error_number = errno;
  taken.now = 0;
  take();
  changed = 1;
  errno = error_number;
}

void on_stop(int signal_number) {
  const int error_number = errno;
  leave();
  struct sigaction ours = {}, stopping = {};
  stopping.sa_handler = SIG_DFL;
  sigaction(signal_number, &stopping, &ours);
  sigset_t only, before;
  sigemptyset(&only);
  sigaddset(&only, signal_number);
  raise(signal_number);
  sigprocmask(SIG_UNBLOCK, &only, &before);  // stops here
  sigprocmask(SIG_SETMASK, &before, nullptr);
  sigaction(signal_number, &ours, nullptr);
  on_continue(SIGCONT);  // where nobody could continue it, it never stopped
  errno = error_number;
}

// A service call that a signal interrupts goes on behind it.
void handle(int signal_number, void (*handler)(int), unsigned flags, struct sigaction *before) {
  struct sigaction action = {};
  action.sa_handler = handler;
  action.sa_flags = static_cast<int>(flags);
  sigfillset(&action.sa_mask);
  sigaction(signal_number, &action, before);
}

// A signal that a view handles its own way.
struct Handled {
  int signal_number;
  void (*handler)(int);
  unsigned flags;
  struct sigaction before;
};

constexpr unsigned kOnce = SA_RESETHAND;
constexpr unsigned kGoOn = SA_RESTART;

Handled handled[] = {
    {SIGINT, on_interrupt, kGoOn, {}}, {SIGHUP, on_end, kOnce, {}},
    {SIGQUIT, on_end, kOnce, {}},      {SIGTERM, on_end, kOnce, {}},
    {SIGPIPE, on_end, kOnce, {}},      {SIGALRM, on_end, kOnce, {}},
    {SIGUSR1, on_end, kOnce, {}},      {SIGUSR2, on_end, kOnce, {}},
    {SIGABRT, on_end, kOnce, {}},      {SIGSEGV, on_end, kOnce, {}},
    {SIGBUS, on_end, kOnce, {}},       {SIGFPE, on_end, kOnce, {}},
    {SIGILL, on_end, kOnce, {}},       {SIGXCPU, on_end, kOnce, {}},
    {SIGWINCH, on_resize, kGoOn, {}},  {SIGTSTP, on_stop, kGoOn, {}},
    {SIGCONT, on_continue, kGoOn, {}},
};

// Waits until the file, if it is one, can be read; signals come through in the wait alone, so that
// none is missed between a look at what they set and the wait. Above 0 where it can be read.
int wait_readable(int file, double seconds) {
  fd_set files;
  FD_ZERO(&files);
  if (file >= 0)
    FD_SET(file, &files);
  sigset_t waiting, before;
  sigemptyset(&waiting);
  for (const int signal_number : {SIGINT, SIGWINCH, SIGCONT, SIGTSTP})
    sigaddset(&waiting, signal_number);
  sigprocmask(SIG_BLOCK, &waiting, &before);
  int result = -1;
  if (interrupted == 0 && changed == 0) {
    const timespec time = timespec_of(seconds);
    result = pselect(file + 1, &files, nullptr, nullptr, &time, &before);
  }
  sigprocmask(SIG_SETMASK, &before, nullptr);
  return result;
}

int open_tty() {
  return open("/dev/tty", O_RDWR | O_CLOEXEC);
}

struct Sequence {
  const char *text;
  Key key;
};

constexpr Sequence kSequences[] = {
    {"\033[A", kUp},      {"\033OA", kUp},        {"\033[B", kDown},  {"\033OB", kDown},
    {"\033[5~", kPageUp}, {"\033[6~", kPageDown}, {"\033[H", kFirst}, {"\033OH", kFirst},
    {"\033[1~", kFirst},  {"\033[F", kLast},      {"\033OF", kLast},  {"\033[4~", kLast},
};

// How long the rest of a key's sequence may be on its way.
constexpr double kRestOfSequence = 0.05;

bool begins_sequence(const std::string &typed) {
  return std::any_of(std::begin(kSequences), std::end(kSequences), [&](const Sequence &sequence) {
    return std::strncmp(sequence.text, typed.c_str(), typed.size()) == 0;
  });
}

}  // namespace

bool Terminal::available() {
  const char *const type = std::getenv("TERM");
  if (type == nullptr || type[0] == '\0' || std::strcmp(type, "dumb") == 0)
    return false;
  const int tty = open_tty();
  if (tty >= 0)
    close(tty);
  return tty >= 0;
}

Terminal::Terminal() : tty_(open_tty()) {
  if (tty_ < 0 || tcgetattr(tty_, &taken.before) != 0) {
    const int error_number = errno;
    if (tty_ >= 0)
      close(tty_);
    throw OperationFailed(std::string("no terminal: ") + std::strerror(error_number));
  }
  taken.during = taken.before;
  taken.during.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
  taken.during.c_cc[VMIN] = 0;
  taken.during.c_cc[VTIME] = 0;
  taken.tty = tty_;
  taken.null = open("/dev/null", O_WRONLY | O_CLOEXEC);
  taken.error_output = isatty(STDERR_FILENO) != 0 ? fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0) : -1;
  changed = 0;
  for (Handled &each : handled)
    handle(each.signal_number, each.handler, each.flags, &each.before);
  static const int at_exit = std::atexit(leave);  // a platform's library may end the process
  static_cast<void>(at_exit);
  take();
}

Terminal::~Terminal() {
  leave();
  for (const Handled &each : handled)
    sigaction(each.signal_number, &each.before, nullptr);
  for (int *const file : {&taken.error_output, &taken.null, &taken.tty}) {
    if (*file >= 0)
      close(*file);
    *file = -1;
  }
}

Terminal::Size Terminal::size() const {
  winsize size = {};
  if (ioctl(tty_, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0)
    return {80, 24};
  return {size.ws_col, size.ws_row};
}

void Terminal::paint(const std::vector<std::string> &lines) const {
  take();  // a shell that brings a running process to the foreground sends it no signal
  if (taken.now == 0)
    return;
  std::string frame = "\033[H";
  for (size_t i = 0; i < lines.size(); ++i)
    frame += (i == 0 ? "" : "\r\n") + lines[i] + "\033[K";
  frame += "\033[J";
  write_all(tty_, frame.data(), frame.size());
}

// Takes a key from what was typed; kNoKey where there is none, or the rest of one is missing.
int Terminal::next_key() {
  for (const Sequence &sequence : kSequences) {
    if (typed_.rfind(sequence.text, 0) == 0) {
      typed_.erase(0, std::strlen(sequence.text));
      return sequence.key;
    }
  }
  if (typed_.empty() || begins_sequence(typed_))
    return kNoKey;
  const int key = static_cast<unsigned char>(typed_[0]);
  typed_.erase(0, 1);
  return key;
}

int Terminal::wait_key(double seconds) {
  const double end = monotonic_seconds() + seconds;
  while (true) {
    if (const int key = next_key(); key != kNoKey)
      return key;
    if (interrupted != 0)
      return kEnd;
    if (changed != 0) {
      changed = 0;
      return kRepaint;
    }
    const double left = std::max(end - monotonic_seconds(), 0.0);
    const double time = typed_.empty() ? left : std::min(left, kRestOfSequence);
    const int readable = wait_readable(taken.now != 0 ? tty_ : -1, time);
    if (readable > 0) {
      char part[64];
      const ssize_t length = read(tty_, part, sizeof part);
      if (length == 0 || (length < 0 && errno != EINTR))
        return kEnd;
      typed_.append(part, static_cast<size_t>(std::max<ssize_t>(length, 0)));
    } else if (readable == 0 && !typed_.empty()) {
      typed_.clear();  // the rest never came
    } else if (readable == 0) {
      return kNoKey;
    }
  }
}

}  // namespace mrvctl
