// One virtual switch: the ASICs with their driver service, the card, and what the controls have
// asked for. There is one in each process, or one in morvaned for all its clients.
#ifndef VIRTUAL_SWITCH_H
#define VIRTUAL_SWITCH_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "driver_service.h"
#include "fault_rules.h"
#include "steady_traffic.h"
#include "switch_clock.h"
#include "wire/messages.h"

class VirtualSwitch {
 public:
  // How a call ends, and how long its client waits for that.
  struct Outcome {
    int result = 0;
    int error_number = 0;  // if the result is negative
    uint32_t delay_us = 0;
  };

  // Whether call() looks at its client.
  bool has_faults() const { return faults_.count() != 0; }

  // Handles a service call as the faults permit, and writes the answer into the record.
  Outcome call(const ServiceCall &call, const CallingClient &client);

  // Handles a control, whose body has the length that its kind requires, and appends the answer.
  // Returns 0 or the errno of a refusal, which changes nothing. Throws std::bad_alloc, and then
  // changes nothing. virtual_platform.h documents the controls.
  int control(uint32_t kind, const uint8_t *body, uint32_t length, const CallingClient &client,
              std::vector<uint8_t> &answer);

  // The state as snapshot.h describes it, without faults and steady traffic.
  std::string save();
  // Replaces the state, as a reset does, by that of a snapshot. Returns 0, or the number of a wrong
  // line; then nothing changes.
  uint32_t restore(std::string_view text);

 private:
  int add_traffic(const remote::Traffic &added);
  int set_time(const remote::Time &time);
  int set_field(const remote::FieldValue &given);
  int set_card(const remote::Card &card);
  int show_asic(const remote::AsicNumber &number, std::vector<uint8_t> &answer);
  vp_switch info() const;
  void reset();
  // Every generation of every switch on a machine differs.
  static uint64_t generation_after(uint64_t earlier);

  DriverService driver_;
  FaultRules faults_;
  SteadyTraffic traffic_;
  SwitchClock clock_;
  uint64_t generation_ = generation_after(0);
  uint64_t started_ = SwitchClock::real();
  remote::Card card_ = {CARDCFG_DEV_TYPE_MORVANE, virtual_asic::kPlainCard};
};

#endif
