// The driver service of the virtual Morvane.
#include "driver_service.h"

#include <algorithm>
#include <cerrno>
#include <new>

#include "kel_asic_record_kinds.h"
#include "register_layout.h"

namespace {

constexpr uint32_t kFirstCommand = KEL_ASIC_CMD_CLEAR_DROP_COUNTERS;
constexpr uint32_t kWholeRegister = 0xFFFFFFFF;

// The port word, which a command has instead of the ASIC number.
struct PortWord {
  explicit PortWord(int32_t asic_map)
      : asic(static_cast<uint32_t>(asic_map) >> 16),
        port_type(static_cast<cardcfg_port_type_t>(static_cast<uint32_t>(asic_map) >> 8 & 0xFF)),
        low(static_cast<uint8_t>(asic_map & 0xFF)) {}

  uint32_t asic;
  cardcfg_port_type_t port_type;
  uint8_t low;  // port number, or class map
};

enum class Target { kRegister, kAsic, kPort };

// A command takes no mask: under one, its address is that of a register that does not exist.
Target target_of(const kel_asic_xn_entry_t &write) {
  if (write.reg < kFirstCommand || write.mask != kWholeRegister)
    return Target::kRegister;
  switch (write.reg) {
    case KEL_ASIC_CMD_NODROP_CLASS_MAP:
    case KEL_ASIC_CMD_CLEAR_DROP_COUNTERS:
      return Target::kAsic;
    case KEL_ASIC_CMD_LINK_PAUSE_ENABLE:
    case KEL_ASIC_CMD_LINK_PAUSE_DISABLE:
    case KEL_ASIC_CMD_SFP_VALIDATION_FAILED:
      return Target::kPort;
    default:
      return Target::kRegister;
  }
}

// The flow control of a port is a setting: a clear of the statistics keeps it.
void clear_stats(kel_asic_qos_stats_t &stats) {
  const port_flow_ctrl_t flow_ctrl = stats.pause.flow_ctrl;
  stats = {};
  stats.pause.flow_ctrl = flow_ctrl;
}

}  // namespace

kel_asic_qos_stats_t *VirtualAsic::find_port(cardcfg_port_type_t port_type, uint32_t port) {
  if (port >= virtual_asic::port_count(port_type))
    return nullptr;
  return &ports[port_type == CARDCFG_PORT_TYPE_HIF ? port : virtual_asic::kHostPorts + port];
}

int DriverService::handle(uint32_t case_code, uint32_t driver_id, void *record, uint32_t length) {
  try {
    return dispatch(case_code, driver_id, record, length);
  } catch (const std::bad_alloc &) {
    return ENOMEM;
  }
}

int DriverService::dispatch(uint32_t case_code, uint32_t driver_id, void *record, uint32_t length) {
  if (driver_id != KEL_ASIC_DRIVER_MORVANE)
    return ENODEV;
  if (const int error = kel_asic_record_error(case_code, record, length))
    return error;
  switch (kel_asic_record_kind(case_code, length)) {
    case KEL_ASIC_RECORD_REGISTER:
      return case_code == SYSSRV_REG_READ_CASE
                 ? read_registers(*static_cast<kel_asic_reg_access_params_t *>(record))
                 : write_registers(*static_cast<kel_asic_reg_access_params_t *>(record));
    case KEL_ASIC_RECORD_TIMER:
      return configure_sp_timer(*static_cast<kel_asic_reg_access_params_t *>(record));
    case KEL_ASIC_RECORD_TRANSACTION:
      return write_transaction(*static_cast<kel_asic_xn_t *>(record));
    default:
      return qos_stats(*static_cast<kel_asic_qos_stats_params_t *>(record));
  }
}

int DriverService::read_registers(kel_asic_reg_access_params_t &request) {
  if (request.type == TYPE_READ_DHS)
    return read_block(request);
  if (const int refusal = check_words(request, 1))
    return refusal;
  request.data =
      find_asic(static_cast<uint32_t>(request.module), request.asic)->words.read(request.addr);
  return 0;
}

int DriverService::write_registers(const kel_asic_reg_access_params_t &request) {
  if (request.type == TYPE_WRITE_DHS)
    return write_block(request);
  const kel_asic_xn_entry_t write = {request.module, static_cast<int32_t>(request.asic),
                                     request.addr, request.data,
                                     request.type == TYPE_WRITE ? kWholeRegister : request.mask};
  if (const int refusal = prepare_write(write))
    return refusal;
  apply_write(write);
  return 0;
}

int DriverService::read_block(kel_asic_reg_access_params_t &request) {
  if (const int refusal = check_words(request, request.num))
    return refusal;
  const VirtualAsic &asic = *find_asic(static_cast<uint32_t>(request.module), request.asic);
  for (uint32_t i = 0; i < request.num; ++i)
    request.pdata[i] = asic.words.read(request.addr + 4 * i);
  return 0;
}

int DriverService::write_block(const kel_asic_reg_access_params_t &request) {
  if (const int refusal = check_words(request, request.num))
    return refusal;
  WordStore &words = find_asic(static_cast<uint32_t>(request.module), request.asic)->words;
  for (uint32_t i = 0; i < request.num; ++i)
    words.reserve(request.addr + 4 * i);
  for (uint32_t i = 0; i < request.num; ++i)
    words.at(request.addr + 4 * i) = request.pdata[i];
  return 0;
}

int DriverService::check_words(const kel_asic_reg_access_params_t &request, uint32_t count) {
  if (find_asic(static_cast<uint32_t>(request.module), request.asic) == nullptr)
    return ENXIO;
  for (uint32_t i = 0; i < count; ++i) {
    if (!virtual_asic::has_word(request.addr + 4 * i))
      return EFAULT;
  }
  return 0;
}

// Applies all entries, in their order also where reordering is allowed, or none.
int DriverService::write_transaction(const kel_asic_xn_t &transaction) {
  const kel_asic_xn_entry_t *const end = transaction.xn + transaction.num;
  for (const kel_asic_xn_entry_t *write = transaction.xn; write != end; ++write) {
    if (const int refusal = prepare_write(*write))
      return refusal;
  }
  std::for_each(transaction.xn, end,
                [this](const kel_asic_xn_entry_t &write) { apply_write(write); });
  return 0;
}

// Checks a write and allocates what it needs, so that apply_write() cannot fail.
int DriverService::prepare_write(const kel_asic_xn_entry_t &write) {
  if (target_of(write) != Target::kRegister)
    return check_command(write);
  VirtualAsic *const asic =
      find_asic(static_cast<uint32_t>(write.module), static_cast<uint32_t>(write.asic_map));
  if (asic == nullptr)
    return ENXIO;
  if (!virtual_asic::has_word(write.reg))
    return EFAULT;
  asic->words.reserve(write.reg);
  return 0;
}

int DriverService::check_command(const kel_asic_xn_entry_t &command) {
  const PortWord word(command.asic_map);
  VirtualAsic *const asic = find_asic(static_cast<uint32_t>(command.module), word.asic);
  if (asic == nullptr || (target_of(command) == Target::kPort &&
                          asic->find_port(word.port_type, word.low) == nullptr)) {
    return ENXIO;
  }
  return 0;
}

// The write has passed prepare_write.
void DriverService::apply_write(const kel_asic_xn_entry_t &write) {
  if (target_of(write) != Target::kRegister) {
    apply_command(write);
    return;
  }
  VirtualAsic &asic =
      *find_asic(static_cast<uint32_t>(write.module), static_cast<uint32_t>(write.asic_map));
  uint32_t &stored = asic.words.at(write.reg);
  stored = (stored & ~write.mask) | (write.data & write.mask);
}

// The command has passed check_command.
void DriverService::apply_command(const kel_asic_xn_entry_t &command) {
  const PortWord word(command.asic_map);
  VirtualAsic &asic = *find_asic(static_cast<uint32_t>(command.module), word.asic);
  switch (command.reg) {
    case KEL_ASIC_CMD_NODROP_CLASS_MAP:
      asic.commands.nodrop_class_map = word.low;
      break;
    case KEL_ASIC_CMD_LINK_PAUSE_ENABLE:
    case KEL_ASIC_CMD_LINK_PAUSE_DISABLE:
      asic.find_port(word.port_type, word.low)->pause.flow_ctrl =
          command.reg == KEL_ASIC_CMD_LINK_PAUSE_ENABLE;
      break;
    case KEL_ASIC_CMD_SFP_VALIDATION_FAILED:
      ++asic.commands.sfp_failures;
      asic.commands.last_sfp_port_type = word.port_type;
      asic.commands.last_sfp_port = word.low;
      break;
    case KEL_ASIC_CMD_CLEAR_DROP_COUNTERS:
      ++asic.commands.drop_clears;
      for (kel_asic_qos_stats_t &port : asic.ports) {
        port.drops = {};
      }
      break;
    default:
      break;
  }
}

int DriverService::configure_sp_timer(const kel_asic_reg_access_params_t &request) {
  VirtualAsic *const asic = find_asic(static_cast<uint32_t>(request.module), request.asic);
  if (asic == nullptr)
    return ENXIO;
  if (request.data > UINT16_MAX)
    return EINVAL;
  asic->commands.sp_timer = static_cast<uint16_t>(request.data);
  return 0;
}

int DriverService::qos_stats(kel_asic_qos_stats_params_t &request) {
  VirtualAsic *const asic = find_asic(request.module, request.asic);
  if (asic == nullptr)
    return ENXIO;
  if (request.type == QOS_STATS_CLEAR_ALL) {
    std::for_each(asic->ports.begin(), asic->ports.end(), clear_stats);
    return 0;
  }
  kel_asic_qos_stats_t *const port = asic->find_port(request.port_type, request.port);
  if (port == nullptr)
    return ENXIO;
  if (request.type == QOS_STATS_GET) {
    request.stats = *port;
  } else {
    clear_stats(*port);
  }
  return 0;
}

bool DriverService::has_port(const PortPlace &place) {
  VirtualAsic *const asic = find_asic(place.module, place.asic);
  return asic != nullptr && asic->find_port(place.port_type, place.port) != nullptr;
}

int DriverService::check_traffic(const PortPlace &place, const vp_traffic &traffic) {
  if (!has_port(place))
    return ENXIO;
  const bool is_valid = (traffic.direction == VP_N2H || traffic.direction == VP_H2N) &&
                        traffic.traffic_class <= 7 && traffic.excess <= traffic.frames;
  return is_valid ? 0 : EINVAL;
}

void DriverService::count_traffic(const PortPlace &place, const vp_traffic &traffic,
                                  uint64_t pauses) {
  VirtualAsic &asic = *find_asic(place.module, place.asic);
  kel_asic_qos_stats_t &stats = *asic.find_port(place.port_type, place.port);
  const uint32_t traffic_class = traffic.traffic_class;
  stats.ss_dhs.wr_rcvd_cnt[traffic_class] += traffic.frames;
  stats.ss_dhs.rd_sent_cnt[traffic_class] += traffic.frames;
  if ((asic.commands.nodrop_class_map >> traffic_class & 1) != 0) {
    stats.pause.tx_pfc_xoff_cnt[traffic_class] += pauses;
    stats.pause.tx_pfc_cnt += 2 * pauses;
  } else if (stats.pause.flow_ctrl != 0) {
    stats.pause.tx_xoff_cnt += pauses;
    stats.pause.tx_xon_cnt += pauses;
  } else {
    stats.ss_dhs.rd_sent_cnt[traffic_class] -= traffic.excess;
    stats.ss_dhs.wr_discard_cnt += traffic.excess;
    (traffic.direction == VP_N2H ? stats.drops.n2h_drops
                                 : stats.drops.h2n_drops)[0][traffic_class] += traffic.excess;
  }
}
