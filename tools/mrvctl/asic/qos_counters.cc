// The counters of the QoS record of a port.
#include "asic/qos_counters.h"

namespace mrvctl {

uint64_t counter_sum(const kel_asic_counter_t *counters, size_t count) {
  uint64_t sum = 0;
  for (size_t i = 0; i < count; ++i)
    sum += counters[i];
  return sum;
}

std::vector<Counters> qos_counters(const kel_asic_qos_stats_t &stats) {
  const auto &[pause, ss_dhs, oq, drops] = stats;
  return {
      {"pause", "rx_xoff_cnt", "morvane_port_pause_xoff_received_total", "pause XOFF received",
       &pause.rx_xoff_cnt},
      {"pause", "rx_xon_cnt", "morvane_port_pause_xon_received_total", "pause XON received",
       &pause.rx_xon_cnt},
      {"pause", "tx_xoff_cnt", "morvane_port_pause_xoff_sent_total", "pause XOFF sent",
       &pause.tx_xoff_cnt},
      {"pause", "tx_xon_cnt", "morvane_port_pause_xon_sent_total", "pause XON sent",
       &pause.tx_xon_cnt},
      {"pause", "tx_pfc_xoff_cnt", "morvane_port_pfc_xoff_sent_total", "PFC XOFF sent",
       pause.tx_pfc_xoff_cnt, 8, "priority"},
      {"pause", "rx_pfc_xoff_cnt", "morvane_port_pfc_xoff_received_total", "PFC XOFF received",
       pause.rx_pfc_xoff_cnt, 8, "priority"},
      {"pause", "tx_pfc_cnt", "morvane_port_pfc_sent_total", "PFC sent", &pause.tx_pfc_cnt},
      {"pause", "rx_pfc_cnt", "morvane_port_pfc_received_total", "PFC received", &pause.rx_pfc_cnt},
      {"ss_dhs", "wr_rcvd_cnt", "morvane_port_writes_received_total", "writes received",
       ss_dhs.wr_rcvd_cnt, 8, "class"},
      {"ss_dhs", "wr_discard_cnt", "morvane_port_writes_discarded_total", "writes discarded",
       &ss_dhs.wr_discard_cnt},
      {"ss_dhs", "wr_discard_mcast_cnt", "morvane_port_multicast_writes_discarded_total",
       "multicast discarded", &ss_dhs.wr_discard_mcast_cnt},
      {"ss_dhs", "wr_rcvd_err_cnt", "morvane_port_writes_received_with_error_total",
       "received with an error", &ss_dhs.wr_rcvd_err_cnt},
      {"ss_dhs", "rd_sent_cnt", "morvane_port_reads_sent_total", "reads sent", ss_dhs.rd_sent_cnt,
       8, "class"},
      {"oq", "flush_cnt", "morvane_port_queue_flushes_total", "queue flushes", &oq.flush_cnt},
      {"oq", "tout_cnt", "morvane_port_queue_timeouts_total", "queue timeouts", &oq.tout_cnt},
      {"drops", "n2h_drops", "morvane_port_drops_n2h_total", "drops n2h", drops.n2h_drops[0],
       kGridCells},
      {"drops", "h2n_drops", "morvane_port_drops_h2n_total", "drops h2n", drops.h2n_drops[0],
       kGridCells},
  };
}

}  // namespace mrvctl
