// The terminal of a full-screen view.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "output/signals.h"

namespace mrvctl {

// What a view waits for: a character, or one of these.
enum Key : int {
  kNoKey = -1,    // the time has passed
  kRepaint = -2,  // the terminal has another size, or shows something else
  kEnd = -3,      // ^C, or the terminal is gone
  kUp = 256,
  kDown,
  kPageUp,
  kPageDown,
  kFirst,
  kLast
};

// The terminal while a view has it: another screen, no cursor, keys as they are pressed, and
// nothing else printed on it. ^C is noted (output/signals.h), a second one ends the process. The
// terminal is restored by the destructor, and before a signal ends or stops the process; a process
// that continues enters it again. Only one object may exist at a time.
class Terminal {
 public:
  struct Size {
    size_t width;
    size_t height;
  };

  // Whether the process has a terminal that can show a view.
  static bool available();

  // Throws OperationFailed if there is none.
  Terminal();
  ~Terminal();

  Size size() const;

  // Shows the lines from the top on, in place of all that was there.
  void paint(const std::vector<std::string> &lines) const;

  // Waits for a key, at most for this time.
  int wait_key(double seconds);

 private:
  int next_key();

  int tty_;
  std::optional<ScreenSignals> signals_;
  std::string typed_;  // keys that were pressed and not asked for
};

}  // namespace mrvctl
