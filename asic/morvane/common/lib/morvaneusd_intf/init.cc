// Initialisation, the conversions of the ASIC type, and the printed names of the blocks.
#include <cerrno>
#include <cstdlib>

#include "kel_asic_blocks.h"
#include "kel_asic_lib_private.h"
#include "platform/card_config.h"
#include "request_buffer.h"
#include "trace_log.h"

kel_asic_lib_context_t lib_ctx;
unsigned int lib_init_done;

namespace {

constexpr uint32_t first_buffer_size = request_size(2048);

uint32_t card_asic_type(slot_num_t slot) {
  // A failed query does not write the output, so it must not start as a Morvane.
  uint32_t dev_type = CARDCFG_DEV_TYPE_MAX;
  cardcfg_get_real_asic_type(slot, 0, &dev_type);
  return kel_get_asic_type(dev_type);
}

// Fills the rest of slot 0 after the register map has written its part, and allocates the request
// buffer.
syserr_t fill_slot(kel_asic_specific_context_t &slot) {
  slot.asic_type = KEL_ASIC_DRIVER_MORVANE;
  for (const kel_asic_block_t &row : kel_asic_blocks) {
    slot.max_reg[row.block] = row.registers;
    slot.max_inst[row.block] = kel_asic_block_instances(&slot.limits, row.block);
  }
  slot.base_table = kel_asic_get_all_base_table(slot.asic_ver);
  slot.reg_table = kel_asic_get_all_reg_table(slot.asic_ver);

  lib_ctx.buf_size = first_buffer_size;
  lib_ctx.p_params = static_cast<kel_asic_reg_access_params_t *>(std::calloc(1, first_buffer_size));
  if (lib_ctx.p_params == nullptr) {
    const int error = errno;
    KEL_TRACE('l', 0, "LIB: Failed to allocate DHS data buffer: errno = %d (%x)\n", error,
              static_cast<unsigned>(error));
    return KEL_ASIC_SYSERR_NO_BUFFER;
  }
  KEL_TRACE('l', 0, "LIB: DHS data buffer size: %d \n", static_cast<int>(lib_ctx.buf_size));
  return 0;
}

}  // namespace

const char *const kel_asic_blk_names[KEL_ASIC_NUM_BLK] = {
    "SS", "HR", "NR",     "HI",     "NI",   "SI", "HF", "NF", "CI", "BI",
    "CC", "PC", "RSEDMA", "RSPCIE", "MISC", "CH", "MB", "QS", "XL"};

char *kel_get_driver_string(uint32_t asic_type) {
  const char *text = asic_type == KEL_ASIC_DRIVER_MORVANE ? "Morvane" : "BAD ASIC type";
  return const_cast<char *>(text);
}

uint32_t kel_get_asic_type(uint32_t asic_type) {
  return asic_type == CARDCFG_DEV_TYPE_MORVANE ? KEL_ASIC_DRIVER_MORVANE
                                               : uint32_t{CARDCFG_DEV_TYPE_MAX};
}

uint32_t kel_get_cardcfg_asic_type(uint32_t asic_type) {
  return asic_type == KEL_ASIC_DRIVER_MORVANE ? CARDCFG_DEV_TYPE_MORVANE : CARDCFG_DEV_TYPE_MAX;
}

syserr_t lib_mrv_asic_init(slot_num_t slot, uint32_t asic_type, uint32_t context, char *file,
                           int line, const char *func) {
  uint16_t sw_card_id = 0;
  cardcfg_card_get_sw_card_id(slot, &sw_card_id);
  if (lib_init_done != 0) {
    KEL_TRACE('l', 0, "LIB: init already done. asic_typ=%s <%d>\n",
              kel_get_driver_string(asic_type), static_cast<int>(asic_type));
    return 0;
  }

  lib_ctx = {};
  lib_ctx.driver_id = asic_type;
  lib_ctx.debug_enable = static_cast<uint32_t>(kel_check_lib_debug());
  if (trace_enabled() && !trace_open(func))
    return KEL_ASIC_SYSERR_NO_TRACE_LOG;

  kel_asic_specific_context_t &slot0 = lib_ctx.asic_specific[0];
  syserr_t syserr = SYSERR_KEL_ASIC_INVALID_ARG;
  const uint32_t type = card_asic_type(slot);
  const bool is_morvane = type == KEL_ASIC_DRIVER_MORVANE;
  if (is_morvane)
    syserr =
        morvane_lib_init(&slot0.funcs, &slot0.limits, &slot0.asic_ver, context, file, line, func);
  KEL_TRACE('l', 0, "LIB: init %s <%d>: syserr = %d (%x)\n",
            is_morvane ? "morvane" : "BAD ASIC type", static_cast<int>(type),
            static_cast<int>(syserr), syserr);
  if (syserr == 0 && fill_slot(slot0) != 0)
    return KEL_ASIC_SYSERR_NO_BUFFER;
  if (syserr != 0)
    slot0 = {};  // discards the output of a register map that failed

  // Also after a failure: the card will not change, and an empty slot refuses every address.
  lib_init_done = 1;
  return syserr;
}
