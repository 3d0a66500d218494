#include "trace_log.h"

#include <sys/time.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace {

constexpr const char *marker_file = "/bootflash/kel_lib_debug";
constexpr std::size_t date_length = 19;

FILE *kel_asic_log_fp;
pid_t kel_asic_log_pid;

// "%m/%d/%Y %H:%M:%S" of a moment. The text of the last second is kept: most lines of a busy trace
// share it, and local time is the most expensive part of a line.
const char *date_text(time_t seconds) {
  static char text[32];
  static time_t text_seconds;
  if (text[0] != '\0' && text_seconds == seconds)
    return text;
  const struct tm *local = std::localtime(&seconds);
  std::size_t length = 0;
  if (local != nullptr)
    length = std::strftime(text, sizeof text, "%m/%d/%Y %H:%M:%S", local);
  // The rest of the line is at fixed columns, even without a date.
  if (length < date_length)
    std::memset(text + length, ' ', date_length - length);
  text_seconds = seconds;
  return text;
}

// Writes the part before the message and returns its length.
std::size_t compose_prefix(char (&line)[trace_line_size], char level, uint32_t number) {
  struct timeval now;
  gettimeofday(&now, nullptr);
  std::memcpy(line, date_text(now.tv_sec), date_length);
  const int length =
      std::snprintf(line + date_length, sizeof line - date_length,
                    ".%06lu |%c|  %d |   : ", static_cast<unsigned long>(now.tv_usec), level,
                    static_cast<int>(number));
  return date_length + static_cast<std::size_t>(length);
}

// Ends the line with one newline. A line that fills its buffer is truncated.
void end_line(char (&line)[trace_line_size], std::size_t length) {
  constexpr std::size_t longest = trace_line_size - 1;
  const bool cut = length > longest;
  if (!cut && line[length - 1] == '\n')
    return;
  const std::size_t end = length < longest ? length : longest - 1;
  line[end] = '\n';
  line[end + 1] = '\0';
}

}  // namespace

void trace_write(char (&line)[trace_line_size], char level, uint32_t number, const char *format,
                 ...) {
  const std::size_t prefix = compose_prefix(line, level, number);
  va_list arguments;
  va_start(arguments, format);
  const int message = std::vsnprintf(line + prefix, sizeof line - prefix, format, arguments);
  va_end(arguments);
  end_line(line, prefix + (message > 0 ? static_cast<std::size_t>(message) : 0));
  std::puts(line);
  if (kel_asic_log_fp != nullptr)
    std::fputs(line, kel_asic_log_fp);
}

bool trace_open(const char *caller) {
  if (kel_asic_log_pid == 0)
    kel_asic_log_pid = getpid();
  if (kel_asic_log_fp == nullptr) {
    char name[100];
    std::snprintf(name, sizeof name - 1, "/tmp/kel_asic_log_%d",
                  static_cast<int>(kel_asic_log_pid));
    kel_asic_log_fp = std::fopen(name, "a");
    if (kel_asic_log_fp == nullptr)
      return false;
  }
  if (std::fseek(kel_asic_log_fp, 0, SEEK_END) != 0) {
    KEL_TRACE('l', 0, "SEEK_END failed\n");
    return false;
  }
  KEL_TRACE('l', 0, "BEGIN LOG :  PID %d : Caller %s\n", static_cast<int>(kel_asic_log_pid),
            trace_text(caller));
  return true;
}

int kel_check_lib_debug(void) {
  FILE *marker = std::fopen(marker_file, "r");
  if (marker == nullptr) {
    std::printf("LIB debug disabled:");
    return 0;
  }
  std::printf("LIB debug enabled:");
  std::fclose(marker);
  return 1;
}
