// What the handlers call is safe in them: write, tcsetattr, dup2 and the like.
#include "output/signals.h"

#include <sys/select.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <string_view>

#include "text/errors.h"
#include "text/text.h"
#include "text/times.h"

namespace mrvctl {

volatile std::sig_atomic_t interrupted = 0;
volatile std::sig_atomic_t screen_changed = 0;

namespace {

// Two texts by turns, so that a signal finds a complete one at any moment.
std::array<std::string, 2> notices;
std::atomic<const std::string *> notice = notices.data();

// Of a shell: the prompt that is on the terminal, or null while a command runs; and whether ^C has
// ended the command.
std::atomic<const std::string *> prompt = nullptr;
volatile std::sig_atomic_t in_shell = 0, cancelled = 0;

void write_error(std::string_view text) {
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
}

void no_screen() {
}
std::atomic<void (*)()> resume_screen = no_screen, leave_screen = no_screen;

// All signals are blocked while a handler runs: a raised one is delivered when it returns.

// A terminal shows ^C where the cursor is: what is printed next begins a line.
void end_line_of_interrupt(int signal_number) {
  termios modes = {};
  if (signal_number == SIGINT && tcgetattr(STDERR_FILENO, &modes) == 0 && (modes.c_lflag & ECHO))
    write_error("\n");
}

void on_interrupt(int signal_number) {
  const int error_number = errno;
  end_line_of_interrupt(signal_number);
  if (interrupted != 0 && (in_shell == 0 || signal_number != SIGINT))
    end_by_signal(signal_number);
  interrupted = 1;
  errno = error_number;
}

void on_prompt_interrupt(int) {
  const int error_number = errno;
  const std::string *const shown = prompt.load();
  write_error("\n");
  if (shown != nullptr)
    write_error(*shown);
  else if (cancelled != 0)
    write_error("waiting for the switch or for the end of the input (^D); ^\\ ends the shell\n");
  cancelled = shown == nullptr ? 1 : 0;
  errno = error_number;
}

// A leader of a session, as the tool is in rlwrap, was not stopped by ^Z: rlwrap was.
void on_prompt_continue(int) {
  const int error_number = errno;
  const std::string *const shown = prompt.load();
  if (shown != nullptr && getsid(0) != getpid())
    write_error(*shown);
  errno = error_number;
}

void on_resize(int) {
  screen_changed = 1;
}

// Another program may have changed the terminal's modes.
void on_continue(int) {
  const int error_number = errno;
  resume_screen.load()();
  screen_changed = 1;
  errno = error_number;
}

void on_stop(int signal_number) {
  const int error_number = errno;
  leave_screen.load()();
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
  on_continue(SIGCONT);  // an orphaned process group is never stopped, nor continued
  errno = error_number;
}

}  // namespace

SignalHandler::SignalHandler(std::initializer_list<int> signals, void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  install(signals, action);
}

SignalHandler::SignalHandler(std::initializer_list<int> signals,
                             void (*handler)(int, siginfo_t *, void *)) {
  struct sigaction action = {};
  action.sa_sigaction = handler;
  action.sa_flags = SA_SIGINFO;
  install(signals, action);
}

void SignalHandler::install(std::initializer_list<int> signals, struct sigaction action) {
  action.sa_flags |= SA_RESTART;
  sigfillset(&action.sa_mask);
  for (const int signal_number : signals) {
    struct sigaction before = {};
    sigaction(signal_number, nullptr, &before);
    if (before.sa_handler == SIG_IGN)
      continue;
    before_.emplace_back(signal_number, before);
    sigaction(signal_number, &action, nullptr);
  }
}

SignalHandler::~SignalHandler() {
  for (const auto &[signal_number, before] : before_)
    sigaction(signal_number, &before, nullptr);
}

void end_by_signal(int signal_number) {
  leave_screen.load()();
  write_error(*notice.load());
  std::signal(signal_number, SIG_DFL);
  raise(signal_number);
}

void set_exit_notice(const std::string &text) {
  std::string &next = notices[notice == notices.data() ? 1 : 0];
  next = text.empty() ? "" : "mrvctl: " + printable(text) + "\n";
  notice = &next;
}

Interrupt::Interrupt(std::initializer_list<int> signals) : handler_(signals, on_interrupt) {
  interrupted = 0;
}

PromptInterrupt::PromptInterrupt()
    : interrupt_({SIGINT}, on_prompt_interrupt), continue_({SIGCONT}, on_prompt_continue) {
  in_shell = 1;
}

PromptInterrupt::~PromptInterrupt() {
  run_command();
  in_shell = 0;
}

void PromptInterrupt::show_prompt(const std::string &text) {
  prompt = nullptr;
  text_ = text;
  prompt = &text_;
  write_error(text_);
}

void PromptInterrupt::run_command() {
  prompt = nullptr;
  cancelled = 0;
}

void throw_if_cancelled() {
  if (cancelled != 0)
    throw OperationFailed("interrupted");
}

ScreenSignals::ScreenSignals(void (*resume)(), void (*leave)())
    : end_({SIGQUIT, SIGALRM, SIGUSR1, SIGUSR2, SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGXCPU},
           end_by_signal),
      resize_({SIGWINCH}, on_resize),
      stop_({SIGTSTP}, on_stop),
      continue_({SIGCONT}, on_continue) {
  screen_changed = 0;
  resume_screen = resume;
  leave_screen = leave;
}

ScreenSignals::~ScreenSignals() {
  resume_screen = leave_screen = no_screen;
  screen_changed = 0;
}

// Signals are delivered only during the wait, so that none is missed between a look at what they
// set and the wait. Not ppoll: the fortified one of some 32-bit C libraries reads the 64-bit time
// as a 32-bit one, and waits for no fraction of a second.
int wait_readable(int file, double seconds) {
  fd_set awaited;
  FD_ZERO(&awaited);
  if (file >= 0)
    FD_SET(file, &awaited);
  sigset_t all, before;
  sigfillset(&all);
  sigprocmask(SIG_BLOCK, &all, &before);
  int result = -1;
  if (interrupted == 0 && screen_changed == 0) {
    const timespec time = timespec_of(std::max(seconds, 0.0));
    result = pselect(file + 1, &awaited, nullptr, nullptr, &time, &before);
  }
  sigprocmask(SIG_SETMASK, &before, nullptr);
  return result;
}

void interruptible_sleep(double seconds) {
  const double end = monotonic_seconds() + seconds;
  while (interrupted == 0 && monotonic_seconds() < end)
    wait_readable(-1, end - monotonic_seconds());
}

}  // namespace mrvctl
