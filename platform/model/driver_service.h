// The driver service of the virtual Morvane: it owns the ASICs and answers the records that reach
// it, from the transport of its process or through morvaned. It does not know the caller.
// virtual_platform.h documents the refusals and the counters.
#ifndef DRIVER_SERVICE_H
#define DRIVER_SERVICE_H

#include <array>
#include <cstdint>

#include "kel_asic_lib_common.h"
#include "virtual_asic.h"
#include "virtual_platform.h"
#include "word_store.h"

struct PortPlace {
  uint32_t module;
  uint32_t asic;
  cardcfg_port_type_t port_type;
  uint32_t port;
};

// The state of one ASIC.
struct VirtualAsic {
  WordStore words;
  vp_asic_state commands{};
  std::array<kel_asic_qos_stats_t, virtual_asic::kHostPorts + virtual_asic::kNetworkPorts> ports{};

  // The statistics of a port, or null if the ASIC does not have the port.
  kel_asic_qos_stats_t *find_port(cardcfg_port_type_t port_type, uint32_t port);
};

// The service. Every function that returns an int returns 0 or the errno of its refusal, and
// a refusal changes nothing. Memory for the words is allocated before the first one is written: if
// that fails, handle() returns ENOMEM.
class DriverService {
 public:
  // Handles a record, which is not null and has length bytes, and writes the answer into it.
  int handle(uint32_t case_code, uint32_t driver_id, void *record, uint32_t length);

  // 0 if the port exists and can have such traffic, else an errno.
  int check_traffic(const PortPlace &place, const vp_traffic &traffic);

  // Counts traffic that has passed the check. Excess frames that are held back, are so in this
  // number of pauses.
  void count_traffic(const PortPlace &place, const vp_traffic &traffic, uint64_t pauses);

  bool has_port(const PortPlace &place);

  // The ASIC, or null if the switch does not have it.
  VirtualAsic *find_asic(uint32_t module, uint32_t asic) {
    return module < virtual_asic::kModules && asic <= virtual_asic::kHighestAsic
               ? &asics_[module][asic]
               : nullptr;
  }

 private:
  int dispatch(uint32_t case_code, uint32_t driver_id, void *record, uint32_t length);
  int read_registers(kel_asic_reg_access_params_t &request);
  int write_registers(const kel_asic_reg_access_params_t &request);
  int read_block(kel_asic_reg_access_params_t &request);
  int write_block(const kel_asic_reg_access_params_t &request);
  int check_words(const kel_asic_reg_access_params_t &request, uint32_t count);
  int write_transaction(const kel_asic_xn_t &transaction);
  // Inline, because a transaction calls them for each of its entries.
  inline int prepare_write(const kel_asic_xn_entry_t &write);
  inline void apply_write(const kel_asic_xn_entry_t &write);
  int check_command(const kel_asic_xn_entry_t &command);
  void apply_command(const kel_asic_xn_entry_t &command);
  int configure_sp_timer(const kel_asic_reg_access_params_t &request);
  int qos_stats(kel_asic_qos_stats_params_t &request);

  std::array<std::array<VirtualAsic, virtual_asic::kHighestAsic + 1>, virtual_asic::kModules>
      asics_;
};

#endif
