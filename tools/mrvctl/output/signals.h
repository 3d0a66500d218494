// What signals do to the tool: end it, interrupt a command, or stop a view that has the terminal.
#pragma once

#include <csignal>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace mrvctl {

// Not 0 once a signal has come to the last Interrupt.
extern volatile std::sig_atomic_t interrupted;

// Not 0 once the terminal of a view has another size, or shows something else.
extern volatile std::sig_atomic_t screen_changed;

// Handles some signals while it lives. A signal that the tool was started to ignore (nohup, or a
// shell's &) stays ignored. An interrupted service call continues after the handler.
class SignalHandler {
 public:
  SignalHandler(std::initializer_list<int> signals, void (*handler)(int));
  SignalHandler(std::initializer_list<int> signals, void (*handler)(int, siginfo_t *, void *));
  ~SignalHandler();
  SignalHandler(const SignalHandler &) = delete;
  SignalHandler &operator=(const SignalHandler &) = delete;

 private:
  void install(std::initializer_list<int> signals, struct sigaction action);

  std::vector<std::pair<int, struct sigaction>> before_;
};

// A handler for signals that end the tool: leaves the terminal, then prints the exit notice.
void end_by_signal(int signal_number);

// Sets the exit notice; an empty text for none.
void set_exit_notice(const std::string &text);

// Notes the first of these signals, which ends nothing, not even a service call. A second one ends
// the tool, in case the command does not come to its end.
class Interrupt {
 public:
  explicit Interrupt(std::initializer_list<int> signals = {SIGINT, SIGTERM, SIGHUP});

 private:
  SignalHandler handler_;
};

// ^C in a shell while it lives: shows the prompt again on a new line, or ends the command that runs
// and not the tool. The prompt is shown again too if the shell was stopped.
class PromptInterrupt {
 public:
  PromptInterrupt();
  ~PromptInterrupt();

  // Shows a prompt on standard error, until a command runs.
  void show_prompt(const std::string &text);
  static void run_command();

 private:
  std::string text_;
  SignalHandler interrupt_, continue_;
};

// Throws OperationFailed if ^C has ended the command of a shell.
void throw_if_cancelled();

// The signals of a view that has the terminal. `leave` runs before any signal ends or stops the
// tool, and `resume` once it continues, both in a handler.
class ScreenSignals {
 public:
  ScreenSignals(void (*resume)(), void (*leave)());
  ~ScreenSignals();

 private:
  SignalHandler end_, resize_, stop_, continue_;
};

// Waits until the file can be read (above 0), a signal was handled (below 0), or the time has
// passed (0). File -1 is none.
int wait_readable(int file, double seconds);

// Waits for the time, or until the last Interrupt has a signal.
void interruptible_sleep(double seconds);

}  // namespace mrvctl
