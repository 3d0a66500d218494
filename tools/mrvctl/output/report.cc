// What the tool prints.
#include "output/report.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "output/signals.h"
#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr char kClearScreen[] = "\033[H\033[J";
constexpr char kRed[] = "\033[31m";
constexpr char kNoColour[] = "\033[0m";

std::string printable_lines(const std::string &text) {
  return printable(text, "\n\t");
}

// What the library printed before this still goes to its old destination.
void send_standard_output_to(int file) {
  std::fflush(stdout);
  if (dup2(file, STDOUT_FILENO) < 0)
    throw OperationFailed(std::string("no standard output: ") + std::strerror(errno));
}

}  // namespace

Colour parse_colour(const std::string &text) {
  for (const auto &[name, colour] :
       {std::pair("auto", Colour::kAuto), {"always", Colour::kAlways}, {"never", Colour::kNever}}) {
    if (text == name)
      return colour;
  }
  throw UsageError("'" + text + "' is not auto, always or never");
}

void Report::take_standard_output() {
  out_ = output_copy();
  send_standard_output_to(STDERR_FILENO);
}

void Report::return_standard_output() const {
  send_standard_output_to(fileno(out_));
}

void Report::discard_library_output(bool discard) {
  const int null = discard ? open("/dev/null", O_WRONLY | O_CLOEXEC) : -1;
  send_standard_output_to(null < 0 ? STDERR_FILENO : null);
  ::close(null);
}

std::FILE *Report::output_copy() const {
  const int copy = fcntl(fileno(out_), F_DUPFD_CLOEXEC, 0);
  std::FILE *const file = copy < 0 ? nullptr : fdopen(copy, "wb");
  if (file == nullptr)
    throw OperationFailed(std::string("no standard output: ") + std::strerror(errno));
  return file;
}

bool Report::on_terminal() const {
  return isatty(fileno(out_)) != 0;
}

size_t Report::terminal_width() const {
  winsize size = {};
  if (!on_terminal())
    return 0;
  return ioctl(fileno(out_), TIOCGWINSZ, &size) == 0 && size.ws_col != 0 ? size.ws_col : 80;
}

bool Report::has_colours(int file) const {
  if (colour != Colour::kAuto)
    return colour == Colour::kAlways;
  const char *const no_colour = std::getenv("NO_COLOR");
  const char *const terminal = std::getenv("TERM");
  const bool wanted = no_colour == nullptr || no_colour[0] == '\0';
  return isatty(file) != 0 && wanted && (terminal == nullptr || std::strcmp(terminal, "dumb") != 0);
}

void Report::print(const std::string &text) {
  if (std::fputs(text.c_str(), out_) < 0 || std::fflush(out_) != 0)
    failed_ = true;
}

void Report::print_object(const Json &members) {
  Json object = {{"command", command_.empty() ? Json() : Json(command_)}};
  if (!members.is_null())
    object.update(members);
  print(json_text(object) + "\n");
}

void Report::result(const Json &object, const std::string &text) {
  result(object, StyledText{json ? "" : printable_lines(text)});
}

void Report::result(const Json &object, const StyledText &text) {
  std::fflush(stdout);  // what the library has printed comes before the result
  if (!json)
    print((std::exchange(clear_screen_, false) ? kClearScreen : "") + text.text);
  else if (!json_suppressed_)
    print_object(object);
  throw_if_cancelled();
}

void Report::failure(const Place &place, const std::string &command_line,
                     const std::exception &error) {
  const bool in_script = place.line > 0;
  if (json)
    return print_object({{"file", in_script ? Json(place.file) : Json()},
                         {"line", in_script ? Json(place.line) : Json()},
                         {"error", error_json(error)}});
  const std::string position =
      in_script ? place.file + ":" + std::to_string(place.line) + ": " : "";
  const bool red = has_colours(STDERR_FILENO);
  const std::string text = printable_lines(position + command_line + ": " + error.what());
  std::fflush(stdout);
  std::fprintf(stderr, "%s%s%s\n", red ? kRed : "", text.c_str(), red ? kNoColour : "");
}

bool Report::close() {
  if (std::fclose(out_) != 0)
    failed_ = true;
  return !failed_;
}

void print_error(const std::string &text) {
  std::fflush(stdout);
  std::fputs(printable_lines(text).c_str(), stderr);
}

Json error_json(const std::exception &error) {
  const auto *const failure = dynamic_cast<const OperationFailed *>(&error);
  if (failure != nullptr && failure->code())
    return {{"code", *failure->code()},
            {"name", result_name(*failure->code())},
            {"text", error.what()}};
  const bool usage = dynamic_cast<const UsageError *>(&error) != nullptr;
  return {{"code", Json()}, {"name", usage ? "USAGE" : "FAILED"}, {"text", error.what()}};
}

}  // namespace mrvctl
