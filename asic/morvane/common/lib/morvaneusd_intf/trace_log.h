// The trace: one line for each step of an operation, to standard output and to a log file.
#ifndef TRACE_LOG_H
#define TRACE_LOG_H

#include <cstddef>

#include "kel_asic_lib_private.h"

#pragma GCC visibility push(hidden)

constexpr std::size_t trace_line_size = 192;

// Opens the log file of this process, if it is not open yet, and writes its first line. False if
// that fails.
bool trace_open(const char *caller);

// Formats one line in the buffer of its site and writes it to standard output and to the log.
__attribute__((cold, noinline, format(printf, 4, 5))) void trace_write(
    char (&line)[trace_line_size], char level, uint32_t number, const char *format, ...);

// A text of the caller, for the trace.
inline const char *trace_text(const char *text) {
  return text != nullptr ? text : "(null)";
}

inline bool trace_enabled() {
  return __builtin_expect(lib_ctx.debug_enable != 0, 0) != 0;
}

// A trace site. A macro, because each site has its own line buffer, and because a site may cost
// only the test of a flag while the trace is off.
#define KEL_TRACE(level, number, ...)                              \
  do {                                                             \
    if (trace_enabled()) {                                         \
      static char kel_trace_line[trace_line_size];                 \
      trace_write(kel_trace_line, (level), (number), __VA_ARGS__); \
    }                                                              \
  } while (false)

#define KEL_TRACE_ENTER(operation) KEL_TRACE('t', 0, "%s: %s", (operation), "Enter")
#define KEL_TRACE_EXIT(operation) KEL_TRACE('t', 0, "%s: %s", (operation), "Exit")

#pragma GCC visibility pop

#endif
