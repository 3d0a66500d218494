#include "steady_traffic.h"

#include <algorithm>
#include <cerrno>

namespace {

constexpr uint64_t kSecond = 1000000000;  // ns
constexpr uint64_t kMaxRate = 1000000000;

// Frames that have arrived so many nanoseconds after the beginning.
uint64_t frames_after(uint64_t rate, uint64_t passed) {
  return passed / kSecond * rate + passed % kSecond * rate / kSecond;
}

bool is_same_port(const PortPlace &one, const PortPlace &other) {
  return one.module == other.module && one.asic == other.asic && one.port_type == other.port_type &&
         one.port == other.port;
}

}  // namespace

int SteadyTraffic::add(const PortPlace &place, const vp_traffic &rate, uint64_t now,
                       DriverService &driver) {
  if (const int refusal = driver.check_traffic(place, rate))
    return refusal;
  if (rate.frames > kMaxRate)
    return EINVAL;
  settle(now, driver);
  const auto same = std::find_if(flows_.begin(), flows_.end(), [&](const Flow &flow) {
    return is_same_port(flow.place, place) && flow.rate.direction == rate.direction &&
           flow.rate.traffic_class == rate.traffic_class;
  });
  const Flow flow = {place, rate, now, 0};
  if (same != flows_.end())
    *same = flow;
  else if (flows_.size() == VP_FLOWS_MAX)
    return ENOSPC;
  else
    flows_.push_back(flow);
  return 0;
}

int SteadyTraffic::stop(const PortPlace &place, uint64_t now, DriverService &driver) {
  const bool all = place.port_type == CARDCFG_PORT_TYPE_MAX;
  if (!driver.has_port(place) && !(all && driver.find_asic(place.module, place.asic) != nullptr))
    return ENXIO;
  settle(now, driver);
  const auto kept = std::remove_if(flows_.begin(), flows_.end(), [&](const Flow &flow) {
    return all ? flow.place.module == place.module && flow.place.asic == place.asic
               : is_same_port(flow.place, place);
  });
  flows_.erase(kept, flows_.end());
  return 0;
}

void SteadyTraffic::settle(uint64_t now, DriverService &driver) {
  for (Flow &flow : flows_) {
    const uint64_t before = flow.passed;
    flow.passed = now - flow.begin;
    const auto risen = [&](uint64_t rate) {
      return frames_after(rate, flow.passed) - frames_after(rate, before);
    };
    const vp_traffic traffic = {flow.rate.direction, flow.rate.traffic_class,
                                risen(flow.rate.frames), risen(flow.rate.excess)};
    const uint64_t pauses = flow.rate.excess == 0 ? 0 : flow.passed / kSecond - before / kSecond;
    driver.count_traffic(flow.place, traffic, pauses);
  }
}
