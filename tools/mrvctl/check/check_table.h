// Whether a platform is right: each check is a row of a table and holds the platform to one clause
// of docs/porting.md.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "asic/port_reference.h"
#include "asic/register_names.h"
#include "check/requests.h"
#include "morvaneusd.hpp"

namespace mrvctl {

// The version of the clauses in docs/porting.md.
constexpr int kClauseVersion = 2;

// What the checks may look at and write to.
struct CheckTarget {
  uint32_t slot;
  morvane::asic asic;
  std::optional<Register> read;
  std::vector<Register> scratch;
  std::optional<Register> scratch_table;
  std::vector<Port> ports;
  std::optional<Port> port;  // the one of them that a check is about
  bool read_all = false;
  bool all_ports = false;
  std::optional<uint16_t> sp_timer;
  bool faults = false;
  SavedValues *found = nullptr;  // what to put back

  morvane::asic_reg at(const Register &reg) const {
    return morvane::at(reg.block, reg.instance, reg.vreg).on(asic);
  }
};

// What of a subject a check cannot do without, bit by bit.
enum Needs : uint32_t {
  kNothing = 0,
  kRead = 1,
  kScratch = 2,
  kScratchTable = 4,
  kPort = 8,
  kAllPorts = 16,
  kSpTimer = 32,
  kFaults = 64,
  kReadAll = 128
};

struct Check {
  const char *name;    // what is so on a right platform
  const char *clause;  // of docs/porting.md
  uint32_t needs;
  void (*run)(const CheckTarget &);  // throws an Outcome
};

// All checks, in their order: those that only look come first.
std::vector<Check> all_checks();

// The options that a check needs and a subject lacks, "--scratch, --port"; empty where it has all.
std::string missing_options(const Check &check, const CheckTarget &subject);

// Runs a check that needs a port for each port in turn. What a check found is put back after
// success, and for the caller to put back after an exception.
void run_check_of(const Check &check, const CheckTarget &subject);

// The parts of the table, by what they are about.
std::vector<Check> description_checks();
std::vector<Check> call_checks();
std::vector<Check> write_checks();
std::vector<Check> port_checks();
std::vector<Check> fault_checks();

}  // namespace mrvctl
