// Reads the statistics of ports.
#include "commands/port_readings.h"

#include <algorithm>
#include <cerrno>

#include "text/errors.h"
#include "text/times.h"

namespace mrvctl {
namespace {

bool is_service_errno(syserr_t result, int error_number) {
  return result == (KEL_ASIC_SYSERR_SERVICE | static_cast<syserr_t>(error_number));
}

// A service may also take a port of a type that it does not know for a bad argument.
bool end_of_ports(syserr_t result) {
  return no_such_port(result) || is_service_errno(result, EINVAL);
}

class PortReader {
 public:
  PortReader(Session &session, uint32_t opts) : session_(session), opts_(opts) {}

  std::vector<PortReading> take() { return std::move(readings_); }

  // All ports of a type that the ASIC has; false if it has none.
  bool read_type(uint32_t type) {
    if (has(type))
      return true;
    const std::optional<uint32_t> limit = max_ports(session_.map().limits(), type);
    for (uint32_t port = 0; port < limit.value_or(kPortNumbers); ++port) {
      const PortReading reading = read({type, port});
      if (!limit && end_of_ports(reading.result))
        break;
      if (!no_such_port(reading.result))
        readings_.push_back(reading);
      if (!limit && reading.result != 0)
        break;
    }
    return has(type);
  }

  void read_named(const Port &port) {
    const bool known =
        std::any_of(readings_.begin(), readings_.end(),
                    [&](const PortReading &reading) { return reading.port == port; });
    if (!known)
      readings_.push_back(read(port));
  }

 private:
  bool has(uint32_t type) const {
    return std::any_of(readings_.begin(), readings_.end(),
                       [type](const PortReading &reading) { return reading.port.type == type; });
  }

  // A service that fails at once is not asked for every port, with a time-out each.
  PortReading read(const Port &port) {
    const PortReading reading = read_port(session_, port, opts_);
    answered_ = answered_ || reading.result == 0 || no_such_port(reading.result);
    if (!answered_)
      session_.check_result(reading.result, port_text(port));
    return reading;
  }

  Session &session_;
  uint32_t opts_;
  bool answered_ = false;
  std::vector<PortReading> readings_;
};

}  // namespace

PortReading read_port(Session &session, const Port &port, uint32_t opts) {
  std::error_code ec;
  const morvane::qos_stats stats = morvane::get_qos_stats(session.port(port), ec, opts);
  return {port, result_of(ec), stats.record(), monotonic_seconds()};
}

bool no_such_port(syserr_t result) {
  return is_service_errno(result, ENXIO) || is_service_errno(result, ENODEV);
}

std::vector<PortReading> read_ports(Session &session, const std::vector<PortChoice> &choices,
                                    uint32_t opts) {
  PortReader reader(session, opts);
  if (choices.empty()) {
    for (const cardcfg_port_type_t type : {CARDCFG_PORT_TYPE_HIF, CARDCFG_PORT_TYPE_NIF,
                                           CARDCFG_PORT_TYPE_BIF, CARDCFG_PORT_TYPE_CIF})
      reader.read_type(type);
    return reader.take();
  }
  for (const PortChoice &choice : choices) {
    if (!choice.number && !reader.read_type(choice.type))
      throw OperationFailed("no " + port_type_text(choice.type) + " ports");
  }
  for (const PortChoice &choice : choices) {
    if (choice.number)
      reader.read_named({choice.type, *choice.number});
  }
  return reader.take();
}

}  // namespace mrvctl
