// The driver service of the virtual Morvane: it owns the ASICs and answers the records that the
// transport delivers. The refusals and the counting are told in virtual_platform.h.
#ifndef DRIVER_SERVICE_H
#define DRIVER_SERVICE_H

#include <array>
#include <cstdint>
#include <optional>
#include <unordered_map>

#include "kel_asic_lib_common.h"
#include "virtual_asic.h"
#include "virtual_platform.h"

// The state of one ASIC.
struct VirtualAsic {
  std::unordered_map<uint32_t, uint32_t> words;  // by address; a word that is absent is 0
  vp_asic_state commands{};
  std::array<kel_asic_qos_stats_t, virtual_asic::kHostPorts + virtual_asic::kNetworkPorts> ports{};

  // The statistics of a port, or null where the ASIC lacks the port.
  kel_asic_qos_stats_t *find_port(cardcfg_port_type_t port_type, uint32_t port);

  uint32_t word(uint32_t address) const;
};

// The service. Every function that returns an int gives 0 or the errno of its refusal, and a
// refusal changes nothing.
class DriverService {
 public:
  // Handles a record, which is not null and has length bytes, and leaves the answer in it.
  int handle(uint32_t case_code, void *record, uint32_t length);

  int add_traffic(uint32_t module, uint32_t asic, cardcfg_port_type_t port_type, uint32_t port,
                  const vp_traffic &traffic);

  void answer_next_num(uint32_t num) { next_num_ = num; }

  // The ASIC, or null where the switch lacks it.
  VirtualAsic *find_asic(uint32_t module, uint32_t asic);

 private:
  int read_registers(kel_asic_reg_access_params_t &request, uint32_t length);
  int write_registers(const kel_asic_reg_access_params_t &request, uint32_t length);
  int read_run(kel_asic_reg_access_params_t &request, uint32_t length);
  int write_run(const kel_asic_reg_access_params_t &request, uint32_t length);
  int check_words(const kel_asic_reg_access_params_t &request, uint32_t count);
  int check_run(const kel_asic_reg_access_params_t &request, uint32_t length);
  int write_transaction(const kel_asic_xn_t &transaction);
  int check_write(const kel_asic_xn_entry_t &write);
  void apply_write(const kel_asic_xn_entry_t &write);
  int configure_sp_timer(const kel_asic_reg_access_params_t &request);
  int qos_stats(kel_asic_qos_stats_params_t &request);

  std::array<std::array<VirtualAsic, virtual_asic::kHighestAsic + 1>, virtual_asic::kModules>
      asics_;
  std::optional<uint32_t> next_num_;
};

// The one service of the process.
DriverService &driver_service();

#endif
