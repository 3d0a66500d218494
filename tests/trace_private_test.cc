// The length of a trace line and its end, in the function that all sites use.
#include <gtest/gtest.h>

#include "fake_platform.h"
#include "trace_log.h"

TEST(TraceLine, ends_with_one_newline_and_fits_its_buffer) {
  initialise_with_trace();
  char line[trace_line_size];
  constexpr std::size_t prefix = 40, longest = 190;  // but for the newline
  for (const char *end : {"", "\n"}) {
    for (std::size_t length : {0U, 1U, 148U, 149U, 150U, 151U, 152U, 400U, 3U}) {
      const std::size_t before = log_text().size();
      const std::string message(length, 'm');
      trace_write(line, 'l', 0, "%s%s", message.c_str(), end);
      EXPECT_EQ(log_text().substr(before + prefix), message.substr(0, longest - prefix) + "\n");
    }
  }
  const std::size_t before = log_text().size();
  trace_write(line, 'l', 0x80000000, "%s", std::string(300, 'm').c_str());
  EXPECT_EQ(log_text().substr(before + 27),
            "|l|  -2147483648 |   : " + std::string(140, 'm') + "\n");
}
