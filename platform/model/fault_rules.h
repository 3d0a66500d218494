// The faults of a switch: rules that make service calls fail, wait, or answer wrongly.
// virtual_platform.h documents what a rule says.
#ifndef FAULT_RULES_H
#define FAULT_RULES_H

#include <cstdint>
#include <vector>

#include "virtual_platform.h"

// The process that makes a call.
struct CallingClient {
  uint64_t serial;  // another one for each client of the switch
  int32_t process;
  const char *program;
};

// A call that reaches the switch. The record has length bytes, or is null.
struct ServiceCall {
  uint32_t case_code;
  uint32_t driver_id;
  void *record;
  uint32_t length;
};

class FaultRules {
 public:
  // What happens to a call.
  struct Hit {
    vp_fault_action action = VP_FAULT_NONE;
    int32_t value = 0;
    uint32_t delay_us = 0;
  };

  std::size_t count() const { return rules_.size(); }
  std::vector<vp_fault> list() const;

  // 0, or the errno of the refusal.
  int add(vp_fault fault, uint64_t client);
  int remove(uint32_t number);

  // The hit of the first rule that matches the call and is not used up.
  Hit hit(const ServiceCall &call, const CallingClient &client);

 private:
  struct Rule {
    vp_fault fault;
    uint64_t client;  // that added it
  };
  std::vector<Rule> rules_;
  uint32_t last_number_ = 0;
};

#endif
