// The log of morvaned, on standard error. A thread writes it, so that a reader which stalls (a full
// pipe, a stopped terminal) never stops the service; standard error keeps its mode, which it shares
// with other processes.
#ifndef MORVANED_LOG_H
#define MORVANED_LOG_H

#include <chrono>
#include <cstdarg>
#include <memory>

namespace morvaned {

class Log {
 public:
  Log();
  // Waits for the last lines, but not for a reader that stalls.
  ~Log();
  Log(const Log &) = delete;
  Log &operator=(const Log &) = delete;

  // Writes a line with the time, truncated if it is too long. While too many lines wait, it is
  // counted as lost instead. Allocates nothing, so that it works when memory has run out.
  [[gnu::format(printf, 2, 3)]] void line(const char *format, ...);

  // A line about a client that is rejected or misbehaves. Such clients may be many: after some
  // lines in one second the others are only counted.
  [[gnu::format(printf, 2, 3)]] void client_line(const char *format, ...);
  // Writes the count after that second.
  void report_suppressed();
  bool has_suppressed() const { return suppressed_ != 0; }

 private:
  struct Queue;
  static void write_lines(const std::shared_ptr<Queue> &queue);
  [[gnu::format(printf, 2, 0)]] void add(const char *format, va_list arguments);

  std::shared_ptr<Queue> queue_;
  std::chrono::steady_clock::time_point second_{};
  int client_lines_ = 0;  // in that second
  unsigned long suppressed_ = 0;
};

}  // namespace morvaned

#endif
