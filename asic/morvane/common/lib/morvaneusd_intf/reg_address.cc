#include "reg_address.h"

#include "trace_log.h"

void trace_invalid_vreg(const symbolic_address &address) {
  KEL_TRACE('l', address.asic, "Invalid vreg: block %s reg %d (%x)\n",
            kel_asic_blk_names[address.block], static_cast<int>(address.vreg), address.vreg);
}
