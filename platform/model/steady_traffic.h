// Steady traffic: so many frames per second on a port. It is counted when it is read, from the
// time that has passed, so that it needs no timer and looking more often changes nothing.
#ifndef STEADY_TRAFFIC_H
#define STEADY_TRAFFIC_H

#include <cstdint>
#include <vector>

#include "driver_service.h"

class SteadyTraffic {
 public:
  std::size_t count() const { return flows_.size(); }

  // 0, or the errno of the refusal. Now is the time of the switch in nanoseconds.
  int add(const PortPlace &place, const vp_traffic &rate, uint64_t now, DriverService &driver);

  // The port CARDCFG_PORT_TYPE_MAX is all ports of the ASIC.
  int stop(const PortPlace &place, uint64_t now, DriverService &driver);

  // Counts the frames up to now.
  void settle(uint64_t now, DriverService &driver);

 private:
  struct Flow {
    PortPlace place;
    vp_traffic rate;
    uint64_t begin;   // ns
    uint64_t passed;  // ns after the beginning that are counted
  };

  std::vector<Flow> flows_;
};

#endif
