#include "fault_rules.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <random>

#include "kel_asic_record_kinds.h"

namespace {

constexpr uint32_t kMaxDelay = 3600U * 1000 * 1000;  // microseconds
constexpr uint32_t kMaxInstances = 64;
constexpr uint32_t kAllConditions = 2 * VP_IF_SELF - 1;
constexpr int kMaxErrno = 4095;
constexpr uint32_t kWholeRegister = 0xFFFFFFFF;

template <std::size_t kSize>
bool ends(const char (&text)[kSize]) {
  return std::memchr(text, '\0', kSize) != nullptr;
}

bool is_valid(const vp_fault &fault) {
  return fault.action <= VP_FAULT_NUM &&
         (fault.action != VP_FAULT_ERRNO || (fault.value > 0 && fault.value <= kMaxErrno)) &&
         fault.min_delay_us <= fault.max_delay_us && fault.max_delay_us <= kMaxDelay &&
         fault.conditions <= kAllConditions && fault.every > 0 &&
         fault.instances <= kMaxInstances && ends(fault.operation) && ends(fault.program) &&
         ends(fault.caller);
}

bool is_used_up(const vp_fault &fault) {
  return fault.times != 0 && fault.hits >= fault.times;
}

// One register, command or port that a call is about.
struct Target {
  int32_t module;
  uint32_t asic;  // or the port word of a command
  uint32_t address;
  uint32_t words;
  bool is_command;
};

bool has_address(const vp_fault &fault, const Target &target) {
  if (target.module != fault.module || target.asic != fault.asic)
    return false;
  const uint64_t end = uint64_t{target.address} + 4 * uint64_t{target.words};
  for (uint32_t i = 0; i < fault.instances; ++i) {
    const uint32_t begin = fault.address + i * fault.stride;
    if (target.address < uint64_t{begin} + fault.size && begin < end)
      return true;
  }
  return false;
}

bool has_port(const vp_fault &fault, const Target &target) {
  return target.is_command && target.module == fault.module &&
         target.asic == (fault.asic << 16 | fault.port_type << 8 | fault.port);
}

// Whether the conditions on a register and a port hold for the same access of a call.
bool has_place(const vp_fault &fault, const Target &target) {
  return ((fault.conditions & VP_IF_REGISTER) == 0 || has_address(fault, target)) &&
         ((fault.conditions & VP_IF_PORT) == 0 || has_port(fault, target));
}

bool has_place(const vp_fault &fault, const ServiceCall &call) {
  if ((fault.conditions & (VP_IF_REGISTER | VP_IF_PORT)) == 0)
    return true;
  switch (kel_asic_record_kind(call.case_code, call.length)) {
    case KEL_ASIC_RECORD_REGISTER: {
      const auto &request = *static_cast<const kel_asic_reg_access_params_t *>(call.record);
      const bool is_run = request.type == TYPE_READ_DHS || request.type == TYPE_WRITE_DHS;
      return has_place(
          fault, Target{request.module, request.asic, request.addr, is_run ? request.num : 1,
                        request.type == TYPE_WRITE && kel_asic_is_command(request.addr) != 0});
    }
    case KEL_ASIC_RECORD_TRANSACTION: {
      const auto &transaction = *static_cast<const kel_asic_xn_t *>(call.record);
      return std::any_of(
          transaction.xn, transaction.xn + transaction.num, [&](const kel_asic_xn_entry_t &write) {
            return has_place(
                fault, Target{write.module, static_cast<uint32_t>(write.asic_map), write.reg, 1,
                              write.mask == kWholeRegister && kel_asic_is_command(write.reg) != 0});
          });
    }
    case KEL_ASIC_RECORD_QOS: {
      const auto &request = *static_cast<const kel_asic_qos_stats_params_t *>(call.record);
      return (fault.conditions & VP_IF_REGISTER) == 0 && request.module == fault.module &&
             request.asic == fault.asic &&
             (request.type == QOS_STATS_CLEAR_ALL ||
              (request.port_type == fault.port_type && request.port == fault.port));
    }
    default:
      return false;
  }
}

bool is_write(const char *operation) {
  return std::strncmp(operation, "read", 4) != 0 && std::strcmp(operation, "qos-get") != 0;
}

bool has_operation(const vp_fault &fault, const ServiceCall &call) {
  const char *const operation = kel_asic_operation(call.case_code, call.record, call.length);
  return ((fault.conditions & VP_IF_OPERATION) == 0 ||
          std::strcmp(operation, fault.operation) == 0) &&
         ((fault.conditions & VP_IF_WRITE) == 0 || is_write(operation));
}

template <std::size_t kSize>
bool contains(const char (&field)[kSize], const char *text) {
  return memmem(field, kSize, text, std::strlen(text)) != nullptr;
}

bool has_caller(const vp_fault &fault, const ServiceCall &call) {
  if (kel_asic_record_kind(call.case_code, call.length) != KEL_ASIC_RECORD_REGISTER)
    return false;
  const auto &info = static_cast<const kel_asic_reg_access_params_t *>(call.record)->info;
  return contains(info.file, fault.caller) || contains(info.func, fault.caller);
}

bool is_made_by(const vp_fault &fault, const CallingClient &client, uint64_t owner) {
  return ((fault.conditions & VP_IF_PROCESS) == 0 || client.process == fault.process) &&
         ((fault.conditions & VP_IF_PROGRAM) == 0 ||
          std::strcmp(client.program, fault.program) == 0) &&
         ((fault.conditions & VP_IF_SELF) == 0 || client.serial == owner);
}

// A record that is not well-formed matches only rules that do not look into it.
bool matches(const vp_fault &fault, const ServiceCall &call) {
  constexpr uint32_t kInRecord =
      VP_IF_REGISTER | VP_IF_PORT | VP_IF_OPERATION | VP_IF_WRITE | VP_IF_CALLER;
  if ((fault.conditions & kInRecord) == 0)
    return true;
  return call.record != nullptr &&
         kel_asic_record_error(call.case_code, call.record, call.length) == 0 &&
         has_operation(fault, call) && has_place(fault, call) &&
         ((fault.conditions & VP_IF_CALLER) == 0 || has_caller(fault, call));
}

// Counts a call that matches; whether the rule hits it.
bool takes(vp_fault &fault) {
  const uint64_t match = fault.matches++;
  if (match < fault.skip || (match - fault.skip) % fault.every != 0)
    return false;
  ++fault.hits;
  return true;
}

uint32_t delay(const vp_fault &fault) {
  std::minstd_rand random(fault.seed + static_cast<uint32_t>(fault.hits));
  random.discard(1);
  const uint32_t span = fault.max_delay_us - fault.min_delay_us;
  return fault.min_delay_us +
         static_cast<uint32_t>(uint64_t{random()} * span / std::minstd_rand::max());
}

}  // namespace

std::vector<vp_fault> FaultRules::list() const {
  std::vector<vp_fault> faults;
  for (const Rule &rule : rules_)
    faults.push_back(rule.fault);
  return faults;
}

int FaultRules::add(vp_fault fault, uint64_t client) {
  if (!is_valid(fault))
    return EINVAL;
  if (rules_.size() == VP_FAULTS_MAX) {
    const auto old = std::find_if(rules_.begin(), rules_.end(),
                                  [](const Rule &rule) { return is_used_up(rule.fault); });
    if (old == rules_.end())
      return ENOSPC;
    rules_.erase(old);
  }
  fault.matches = fault.hits = 0;
  fault.number = last_number_ + 1;
  rules_.push_back({fault, client});
  ++last_number_;
  return 0;
}

int FaultRules::remove(uint32_t number) {
  const auto kept = std::remove_if(rules_.begin(), rules_.end(), [number](const Rule &rule) {
    return number == 0 || rule.fault.number == number;
  });
  const bool found = number == 0 || kept != rules_.end();
  rules_.erase(kept, rules_.end());
  return found ? 0 : ENOENT;
}

FaultRules::Hit FaultRules::hit(const ServiceCall &call, const CallingClient &client) {
  for (Rule &rule : rules_) {
    vp_fault &fault = rule.fault;
    if (!is_used_up(fault) && is_made_by(fault, client, rule.client) && matches(fault, call) &&
        takes(fault))
      return {fault.action, fault.value, delay(fault)};
  }
  return {};
}
