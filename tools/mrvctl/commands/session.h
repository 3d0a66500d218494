// One run of the tool: the library it initialised, the ASIC it speaks to, the transaction it
// opened.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "asic/asic_map.h"
#include "asic/port_reference.h"
#include "morvaneusd.hpp"
#include "output/report.h"

namespace mrvctl {

// The write transaction as the tool's own commands have changed it: the library has no operation
// that shows it.
class Transaction {
 public:
  bool open() const { return open_; }
  const std::string &name() const { return name_; }
  uint64_t pending() const { return pending_; }
  // Whether a read has sent the writes before it.
  bool interrupted() const;
  // "3 writes", of those that wait for the commit.
  std::string pending_text() const;
  // What is lost if the open transaction is never committed.
  std::string loss_text() const;

  void start(const std::string &name);
  void close();
  // Adds writes if it is open; a full transaction was sent and continued.
  void add(uint64_t writes);
  // Adds an unknown number of writes.
  void add_some();
  // A read, refused by the library or not: one that was not refused sent the transaction first.
  void after_read(syserr_t result);

 private:
  void note_loss() const;

  bool open_ = false;
  bool exact_ = true;
  uint64_t pending_ = 0;
  std::string name_;
};

// A process whose initialisation finds this file has the library's trace on.
constexpr char kTraceMarker[] = "/bootflash/kel_lib_debug";
bool trace_enabled();

class Session {
 public:
  // Opens the platform and connects to the switch. Throws OperationFailed.
  void open_platform() const;

  // Sets up the library for the slot. Throws OperationFailed.
  void initialise() const;

  bool in_script() const { return place.line != 0; }
  morvane::caller caller() const;

  // The ASIC that commands speak to, and what is on it, for one call. Throws OperationFailed if ^C
  // has ended the command.
  morvane::asic on() const;
  morvane::asic_reg at(const Register &reg) const;
  morvane::port port(const Port &port) const;

  // Path of a file that a command names, relative to the script's directory; "-" stays.
  std::string resolve(const std::string &path) const;

  const RegisterMap &map();

  // Throws OperationFailed for any result but 0; an ASIC that does not exist is named before the
  // hint.
  void check_result(syserr_t result, const std::string &hint = "") const;

  // Why the library may have refused a register.
  std::string refusal_hint(const Register &reg) const;

  std::string platform;  // library, and address of morvaned, that the command line names
  std::string service;
  uint32_t slot = 0;
  uint32_t module = 0;
  uint32_t asic = 0;
  Place place = {"mrvctl", 0};  // of the command
  std::string folder;           // the script's, with a slash at its end; empty outside a script
  Report report;
  Transaction transaction;

 private:
  std::optional<RegisterMap> map_;
};

}  // namespace mrvctl
