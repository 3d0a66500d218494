// One run of the tool.
#include "commands/session.h"

#include <unistd.h>

#include "host/platform_library.h"
#include "output/signals.h"
#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr char kInterrupted[] = "<Interrupted>";  // as the library names it
constexpr size_t kMaxTransactionName = 31;

}  // namespace

bool Transaction::interrupted() const {
  return name_ == kInterrupted;
}

std::string Transaction::pending_text() const {
  return (exact_ ? "" : "at least ") + count_text(pending_, "write", "writes");
}

std::string Transaction::loss_text() const {
  return "transaction \"" + name_ + "\" was never committed: " + pending_text() + " lost";
}

void Transaction::note_loss() const {
  set_exit_notice(exact_ && pending_ == 0 ? "" : loss_text());
}

void Transaction::start(const std::string &name) {
  *this = Transaction();
  open_ = true;
  name_ = name.substr(0, kMaxTransactionName);
  note_loss();
}

void Transaction::close() {
  *this = Transaction();
  set_exit_notice("");
}

void Transaction::add(uint64_t writes) {
  if (!open_)
    return;
  pending_ += writes;
  if (pending_ > KEL_ASIC_XN_ENTRIES) {
    pending_ = (pending_ - 1) % KEL_ASIC_XN_ENTRIES + 1;
    name_ = "Contd XN..";
  }
  note_loss();
}

void Transaction::add_some() {
  if (!open_)
    return;
  exact_ = false;
  note_loss();
}

void Transaction::after_read(syserr_t result) {
  const bool refused = result == SYSERR_KEL_ASIC_INVALID_ARG || result == SYSERR_KEL_ASIC_UNINIT;
  if (open_ && !refused)
    start(kInterrupted);
}

bool trace_enabled() {
  return access(kTraceMarker, R_OK) == 0;
}

void Session::open_platform() const {
  mrvctl::open_platform(platform);
  connect_to_switch(service);
}

void Session::initialise() const {
  std::error_code code;
  // Without the trace the library prints only "LIB debug disabled:", which no newline ends.
  Report::discard_library_output(!trace_enabled());
  morvane::init(static_cast<uint8_t>(slot), code, caller());
  Report::discard_library_output(false);
  if (code == SYSERR_KEL_ASIC_INVALID_ARG)
    throw OperationFailed(SYSERR_KEL_ASIC_INVALID_ARG,
                          format("the card in slot %u carries no Morvane", slot), Status::kFailed);
  check(result_of(code));
}

morvane::caller Session::caller() const {
  return {place.file.c_str(), place.line, report.command().c_str(),
          static_cast<uint32_t>(place.line)};
}

morvane::asic Session::on() const {
  throw_if_cancelled();
  return {static_cast<int>(module), asic};
}

morvane::asic_reg Session::at(const Register &reg) const {
  return morvane::at(reg.block, reg.instance, reg.vreg).on(on());
}

morvane::port Session::port(const Port &port) const {
  return {static_cast<cardcfg_port_type_t>(port.type), port.number, on()};
}

std::string Session::resolve(const std::string &path) const {
  const bool stays = folder.empty() || path.empty() || path[0] == '/' || path == "-";
  return stays ? path : folder + path;
}

const RegisterMap &Session::map() {
  if (!map_)
    map_.emplace(caller());
  return *map_;
}

void Session::check_result(syserr_t result, const std::string &hint) const {
  if (result == 0)
    return;
  char wrong[64];
  kel_asic_place_refusal_text(wrong, sizeof wrong, static_cast<int>(module), asic);
  throw OperationFailed(result, wrong[0] == '\0' ? hint : wrong);
}

std::string Session::refusal_hint(const Register &reg) const {
  char text[64];
  return kel_asic_refusal_text(text, sizeof text, static_cast<int>(module), asic, reg.block,
                               reg.instance, reg.vreg);
}

}  // namespace mrvctl
