// The terminal of a view, restored however the process ends. Signal handlers call some functions
// here: these use only write, tcsetattr, dup2 and other calls that are safe in a handler.
#include "view/terminal.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "text/errors.h"
#include "text/times.h"

namespace mrvctl {
namespace {

// Another screen, no cursor, long lines cut off; and back.
constexpr char kEnter[] = "\033[?1049h\033[?25l\033[?7l";
constexpr char kLeave[] = "\033[?7h\033[?25h\033[?1049l";

// What the handlers know of the terminal.
struct SavedTerminal {
  int tty = -1;
  termios before = {};
  termios during = {};
  int null = -1;  // receives what is printed during a view if standard error is the terminal
  int error_output = -1;  // standard error before; below 0 if it is not a terminal
  volatile std::sig_atomic_t active = 0;
};

SavedTerminal saved;

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
  if (saved.error_output < 0)
    return;
  dup2(file, STDERR_FILENO);
  dup2(file, STDOUT_FILENO);
}

// A process in the background leaves the terminal to its owner.
void enter() {
  if (saved.active != 0 || saved.tty < 0 || tcgetpgrp(saved.tty) != getpgrp())
    return;
  saved.active = 1;
  send_errors_to(saved.null);
  tcsetattr(saved.tty, TCSADRAIN, &saved.during);
  write_all(saved.tty, kEnter, sizeof kEnter - 1);
}

void leave() {
  if (saved.active == 0)
    return;
  saved.active = 0;
  write_all(saved.tty, kLeave, sizeof kLeave - 1);
  tcsetattr(saved.tty, TCSADRAIN, &saved.before);
  send_errors_to(saved.error_output);
}

// Another program may have had the terminal.
void resume() {
  saved.active = 0;
  enter();
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

// How long the rest of a key's sequence may take to arrive.
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
  if (tty_ < 0 || tcgetattr(tty_, &saved.before) != 0) {
    const int error_number = errno;
    if (tty_ >= 0)
      close(tty_);
    throw OperationFailed(std::string("no terminal: ") + std::strerror(error_number));
  }
  saved.during = saved.before;
  saved.during.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
  saved.during.c_cc[VMIN] = 0;
  saved.during.c_cc[VTIME] = 0;
  saved.tty = tty_;
  saved.null = open("/dev/null", O_WRONLY | O_CLOEXEC);
  saved.error_output = isatty(STDERR_FILENO) != 0 ? fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0) : -1;
  signals_.emplace(resume, leave);
  static const int at_exit = std::atexit(leave);  // a platform's library may end the process
  static_cast<void>(at_exit);
  enter();
}

Terminal::~Terminal() {
  leave();
  signals_.reset();
  for (int *const file : {&saved.error_output, &saved.null, &saved.tty}) {
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
  enter();  // a shell that brings a running process to the foreground sends it no signal
  if (saved.active == 0)
    return;
  std::string frame = "\033[H";
  for (size_t i = 0; i < lines.size(); ++i)
    frame += (i == 0 ? "" : "\r\n") + lines[i] + "\033[K";
  frame += "\033[J";
  write_all(tty_, frame.data(), frame.size());
}

// Removes a key from what was typed; kNoKey if there is none, or if the rest of one is missing.
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
    if (screen_changed != 0) {
      screen_changed = 0;
      return kRepaint;
    }
    const double left = std::max(end - monotonic_seconds(), 0.0);
    const double time = typed_.empty() ? left : std::min(left, kRestOfSequence);
    const int readable = wait_readable(saved.active != 0 ? tty_ : -1, time);
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
