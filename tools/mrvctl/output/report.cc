// What the tool prints.
#include "output/report.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {
namespace {

std::string object_line(const Json &object) {
  return object.dump() + "\n";
}

}  // namespace

void Report::take_standard_output() {
  const int results = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
  out_ = results < 0 ? nullptr : fdopen(results, "w");
  if (out_ == nullptr || dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
    throw OperationFailed(std::string("no standard output: ") + std::strerror(errno));
}

void Report::return_standard_output() {
  std::fflush(stdout);
  if (dup2(fileno(out_), STDOUT_FILENO) < 0)
    throw OperationFailed(std::string("no standard output: ") + std::strerror(errno));
}

bool Report::on_terminal() const {
  return isatty(fileno(out_)) != 0;
}

bool Report::colours() const {
  const char *const no_colour = std::getenv("NO_COLOR");
  const char *const terminal = std::getenv("TERM");
  const bool wanted = no_colour == nullptr || no_colour[0] == '\0';
  return on_terminal() && wanted && (terminal == nullptr || std::strcmp(terminal, "dumb") != 0);
}

void Report::print(const std::string &text) {
  if (std::fputs(text.c_str(), out_) < 0 || std::fflush(out_) != 0)
    failed_ = true;
}

void Report::result(const Json &object, const std::string &text) {
  std::fflush(stdout);  // what the library has printed stands before the result
  if (json_ && held_)
    return;
  print(json_ ? object_line(object) : text);
}

void Report::failure(const Place &place, const std::string &command_line, const Json &command,
                     const Json &error) {
  std::fflush(stdout);
  if (json_)
    return print(failure_json(place, command, error));
  const std::string position =
      place.line > 0 ? place.file + ":" + std::to_string(place.line) + ": " : "";
  std::fprintf(stderr, "%s%s: %s\n", position.c_str(), command_line.c_str(),
               error.text_at("text").c_str());
}

bool Report::close() {
  if (std::fclose(out_) != 0)
    failed_ = true;
  return !failed_;
}

Json error_json(std::optional<syserr_t> code, const std::string &name, const std::string &text) {
  return {{"code", code ? Json(*code) : Json()}, {"name", name}, {"text", text}};
}

std::string failure_json(const Place &place, const Json &command, const Json &error) {
  const bool in_script = place.line > 0;
  return object_line({{"command", command},
                      {"file", in_script ? Json(place.file) : Json()},
                      {"line", in_script ? Json(place.line) : Json()},
                      {"error", error}});
}

Json register_json(const char *command, const Register &reg) {
  const char *name = register_name(reg.block, reg.vreg);
  return {{"command", command},
          {"block", kel_asic_blk_names[reg.block]},
          {"instance", reg.instance},
          {"register", name == nullptr ? Json() : Json(name)},
          {"vreg", reg.vreg}};
}

}  // namespace mrvctl
