#include "virtual_switch.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

#include "platform/system_service.h"
#include "snapshot.h"

namespace {

constexpr uint64_t kMillisecond = 1000000;                      // ns
constexpr uint64_t kMaxAdvance = uint64_t{366} * 86400 * 1000;  // ms
constexpr uint64_t kMaxTime = UINT64_MAX / 2;  // ns: steady traffic never counts backwards

// A body may be unaligned.
template <typename Body>
Body copy_of(const uint8_t *bytes) {
  Body body;
  std::memcpy(&body, bytes, sizeof body);
  return body;
}

template <typename Body>
void append(std::vector<uint8_t> &answer, const Body &body) {
  const auto *const bytes = reinterpret_cast<const uint8_t *>(&body);
  answer.insert(answer.end(), bytes, bytes + sizeof body);
}

PortPlace place_of(const remote::Port &port) {
  return {port.asic.module, port.asic.asic, static_cast<cardcfg_port_type_t>(port.port_type),
          port.port};
}

int errno_of(int result) {
  return result < 0 ? EIO : 0;
}

}  // namespace

uint64_t VirtualSwitch::generation_after(uint64_t earlier) {
  const auto since_1970 = std::chrono::system_clock::now().time_since_epoch();
  return std::max(static_cast<uint64_t>(since_1970 / std::chrono::nanoseconds(1)), earlier + 1);
}

VirtualSwitch::Outcome VirtualSwitch::call(const ServiceCall &call, const CallingClient &client) {
  const FaultRules::Hit hit = has_faults() ? faults_.hit(call, client) : FaultRules::Hit();
  if (hit.action == VP_FAULT_ERRNO)
    return {-1, hit.value, hit.delay_us};
  if (hit.action == VP_FAULT_ANSWER)
    return {hit.value, errno_of(hit.value), hit.delay_us};
  if (call.record == nullptr)
    return {-1, EFAULT, hit.delay_us};
  if (traffic_.count() != 0)
    traffic_.settle(clock_.now(), driver_);
  const int refusal = driver_.handle(call.case_code, call.driver_id, call.record, call.length);
  if (refusal != 0)
    return {-1, refusal, hit.delay_us};
  auto &answer = *static_cast<kel_asic_reg_access_params_t *>(call.record);
  if (hit.action == VP_FAULT_NUM && call.case_code == SYSSRV_REG_READ_CASE &&
      answer.type == TYPE_READ_DHS)
    answer.num = static_cast<uint32_t>(hit.value);
  return {0, 0, hit.delay_us};
}

int VirtualSwitch::control(uint32_t kind, const uint8_t *body, uint32_t length,
                           const CallingClient &client, std::vector<uint8_t> &answer) {
  switch (kind) {
    case remote::kCard:
      append(answer, card_);
      return 0;
    case remote::kSetCard:
      return set_card(copy_of<remote::Card>(body));
    case remote::kAddTraffic:
      return add_traffic(copy_of<remote::Traffic>(body));
    case remote::kReset:
      reset();
      return 0;
    case remote::kShowAsic:
      return show_asic(copy_of<remote::AsicNumber>(body), answer);
    case remote::kShowSwitch:
      append(answer, info());
      return 0;
    case remote::kAddFault:
      return faults_.add(copy_of<vp_fault>(body), client.serial);
    case remote::kListFaults:
      for (const vp_fault &fault : faults_.list())
        append(answer, fault);
      return 0;
    case remote::kRemoveFault:
      return faults_.remove(copy_of<remote::FaultNumber>(body).number);
    case remote::kAddFlow: {
      const auto added = copy_of<remote::Traffic>(body);
      return traffic_.add(place_of(added.port), added.traffic, clock_.now(), driver_);
    }
    case remote::kStopFlows:
      return traffic_.stop(place_of(copy_of<remote::Port>(body)), clock_.now(), driver_);
    case remote::kSetTime:
      return set_time(copy_of<remote::Time>(body));
    case remote::kSave: {
      const std::string text = save();
      answer.insert(answer.end(), text.begin(), text.end());
      return 0;
    }
    case remote::kRestore:
      append(answer, remote::Restored{restore({reinterpret_cast<const char *>(body), length})});
      return 0;
    case remote::kSetField:
      return set_field(copy_of<remote::FieldValue>(body));
    default:
      return ENOSYS;
  }
}

std::string VirtualSwitch::save() {
  traffic_.settle(clock_.now(), driver_);
  return virtual_asic::write_snapshot(driver_, card_);
}

uint32_t VirtualSwitch::restore(std::string_view text) {
  VirtualSwitch restored;
  if (const uint32_t line = virtual_asic::read_snapshot(text, restored.driver_, restored.card_))
    return line;
  restored.generation_ = generation_after(generation_);
  *this = std::move(restored);
  return 0;
}

int VirtualSwitch::set_field(const remote::FieldValue &given) {
  if (memchr(given.name, '\0', sizeof given.name) == nullptr)
    return EINVAL;
  return virtual_asic::set_field(driver_, place_of(given.port), given.name, given.value);
}

int VirtualSwitch::add_traffic(const remote::Traffic &added) {
  const PortPlace place = place_of(added.port);
  if (const int refusal = driver_.check_traffic(place, added.traffic))
    return refusal;
  driver_.count_traffic(place, added.traffic, added.traffic.excess == 0 ? 0 : 1);
  return 0;
}

int VirtualSwitch::set_time(const remote::Time &time) {
  if (time.run > 1 || time.reserved != 0 || time.advance_ms > kMaxAdvance ||
      clock_.now() + time.advance_ms * kMillisecond > kMaxTime)
    return EINVAL;
  clock_.set(time.run == 1, time.advance_ms * kMillisecond);
  return 0;
}

int VirtualSwitch::set_card(const remote::Card &card) {
  if (card.sw_card_id > UINT16_MAX)
    return EINVAL;
  card_ = card;
  return 0;
}

int VirtualSwitch::show_asic(const remote::AsicNumber &number, std::vector<uint8_t> &answer) {
  const VirtualAsic *const asic = driver_.find_asic(number.module, number.asic);
  if (asic == nullptr)
    return ENXIO;
  append(answer, asic->commands);
  return 0;
}

vp_switch VirtualSwitch::info() const {
  vp_switch shown = {};
  shown.generation = generation_;
  shown.age_ms = (SwitchClock::real() - started_) / kMillisecond;
  shown.time_ms = clock_.now() / kMillisecond;
  shown.stopped = clock_.stopped() ? 1 : 0;
  shown.process = getpid();
  shown.modules = virtual_asic::kModules;
  shown.card = card_.sw_card_id;
  shown.faults = static_cast<uint32_t>(faults_.count());
  shown.flows = static_cast<uint32_t>(traffic_.count());
  shown.clients = 1;
  return shown;
}

void VirtualSwitch::reset() {
  const uint64_t generation = generation_after(generation_);
  *this = VirtualSwitch();
  generation_ = generation;
}
