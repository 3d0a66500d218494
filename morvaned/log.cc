#include "log.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <condition_variable>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <thread>
#include <utility>

namespace morvaned {
namespace {

constexpr std::size_t kMaxQueue = 100;  // lines
constexpr int kMaxClientLines = 10;     // per second
constexpr auto kLastWait = std::chrono::seconds(1);

struct Line {
  std::array<char, 256> text;
  std::size_t length;
};

[[gnu::format(printf, 2, 0)]] void format_line(Line &line, const char *format, va_list arguments) {
  const std::time_t now = std::time(nullptr);
  std::tm local = {};
  localtime_r(&now, &local);
  std::size_t length = std::strftime(line.text.data(), line.text.size(), "%H:%M:%S ", &local);
  const std::size_t room = line.text.size() - length;  // the newline takes the place of the NUL
  const int count = std::vsnprintf(line.text.data() + length, room, format, arguments);
  length += std::min(static_cast<std::size_t>(std::max(count, 0)), room - 1);
  line.text.at(length) = '\n';
  line.length = length + 1;
}

[[gnu::format(printf, 2, 3)]] void format_line(Line &line, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  format_line(line, format, arguments);
  va_end(arguments);
}

// Another process may have made standard error non-blocking. If the reader is gone, so is the line.
void write_completely(const Line &line) {
  for (std::size_t done = 0; done < line.length;) {
    const ssize_t count = write(STDERR_FILENO, line.text.data() + done, line.length - done);
    pollfd polled = {STDERR_FILENO, POLLOUT, 0};
    if (count > 0)
      done += static_cast<std::size_t>(count);
    else if (errno == EAGAIN)
      poll(&polled, 1, -1);
    else if (errno != EINTR)
      return;
  }
}

}  // namespace

struct Log::Queue {
  std::mutex mutex;
  std::condition_variable changed;
  std::array<Line, kMaxQueue> lines;  // a ring
  std::size_t first = 0, count = 0;
  unsigned long lost = 0;
  bool writing = false;
  bool closing = false;

  bool is_empty() const { return count == 0 && lost == 0; }

  // The lost lines came after all that the queue holds.
  Line take_next() {
    Line next;
    if (count == 0) {
      format_line(next, "%lu lines lost", std::exchange(lost, 0));
      return next;
    }
    next = lines.at(first);
    first = (first + 1) % kMaxQueue;
    --count;
    return next;
  }
};

Log::Log() : queue_(std::make_shared<Queue>()) {
  std::thread(write_lines, queue_).detach();
}

Log::~Log() {
  second_ = {};
  report_suppressed();
  std::unique_lock lock(queue_->mutex);
  queue_->closing = true;
  queue_->changed.notify_all();
  queue_->changed.wait_for(lock, kLastWait,
                           [this] { return queue_->is_empty() && !queue_->writing; });
}

void Log::write_lines(const std::shared_ptr<Queue> &queue) {
  std::unique_lock lock(queue->mutex);
  for (;;) {
    queue->changed.wait(lock, [&] { return !queue->is_empty() || queue->closing; });
    if (queue->is_empty())
      return;
    const Line next = queue->take_next();
    queue->writing = true;
    lock.unlock();
    write_completely(next);
    lock.lock();
    queue->writing = false;
    queue->changed.notify_all();
  }
}

void Log::add(const char *format, va_list arguments) {
  const std::scoped_lock lock(queue_->mutex);
  Queue &queue = *queue_;
  if (queue.count == kMaxQueue)
    ++queue.lost;
  else
    format_line(queue.lines.at((queue.first + queue.count++) % kMaxQueue), format, arguments);
  queue.changed.notify_all();
}

void Log::line(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  add(format, arguments);
  va_end(arguments);
}

void Log::client_line(const char *format, ...) {
  report_suppressed();
  if (client_lines_ == kMaxClientLines) {
    ++suppressed_;
    return;
  }
  ++client_lines_;
  va_list arguments;
  va_start(arguments, format);
  add(format, arguments);
  va_end(arguments);
}

void Log::report_suppressed() {
  const auto now = std::chrono::steady_clock::now();
  if (now - second_ < std::chrono::seconds(1))
    return;
  if (has_suppressed())
    line("%lu more lines about clients suppressed", suppressed_);
  second_ = now;
  client_lines_ = 0;
  suppressed_ = 0;
}

}  // namespace morvaned
