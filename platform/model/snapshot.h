// The state of a switch as a text: lines of mrvctl, which a person can read and compare, and which
// restore the state.
//
//     switch card 1
//     module 0
//     switch set hif:3 wr_rcvd_cnt[1] 960
//     write HI.2:41 0x00000005
//     dhs-write HI.2:HI_DHS_LVIF[5] 0x00001234
#ifndef SNAPSHOT_H
#define SNAPSHOT_H

#include <string>
#include <string_view>

#include "driver_service.h"
#include "wire/messages.h"

namespace virtual_asic {

// Has a line for each word, field and setting that an empty switch does not have. Equal states give
// equal texts. Throws std::bad_alloc.
std::string write_snapshot(DriverService &driver, const remote::Card &card);

// Applies a snapshot to an empty switch. Returns 0, or the number of the first line that is not one
// of a snapshot: then the switch has a part of the state. Throws std::bad_alloc.
uint32_t read_snapshot(std::string_view text, DriverService &driver, remote::Card &card);

// Sets a field of a port, or of the ASIC if the port type is CARDCFG_PORT_TYPE_MAX, by its name in
// the records: "flow_ctrl", "n2h_drops[0][3]". 0 or the errno of the refusal.
int set_field(DriverService &driver, const PortPlace &place, std::string_view name, uint64_t value);

}  // namespace virtual_asic

#endif
