// What the tool still says where a signal ends it.
#include "output/last_words.h"

#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>

namespace mrvctl {
namespace {

// Two texts by turns, so that a signal finds a whole one at any moment.
std::array<std::string, 2> texts;
std::atomic<const std::string *> current = texts.data();

void end_by_signal(int signal) {
  print_exit_notice();
  raise(signal);  // ends the tool once the handler returns: it was reset to the default
}

}  // namespace

void watch_signals() {
  struct sigaction action = {};
  action.sa_handler = end_by_signal;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
    struct sigaction before = {};
    sigaction(signal, nullptr, &before);
    if (before.sa_handler != SIG_IGN)
      sigaction(signal, &action, nullptr);
  }
}

void set_exit_notice(const std::string &text) {
  std::string &next = texts[current == texts.data() ? 1 : 0];
  next = text.empty() ? "" : "mrvctl: " + text + "\n";
  current = &next;
}

void print_exit_notice() {
  const std::string &text = *current.load();
  // A handler that cannot write has nobody to tell.
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace mrvctl
