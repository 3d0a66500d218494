// Multi-word access: consecutive registers, and consecutive table (DHS) entries.
#include <cstring>

#include "dhs_entry_size.h"
#include "kel_asic_lib_private.h"
#include "platform/card_config.h"
#include "reg_address.h"
#include "request_buffer.h"
#include "service_call.h"
#include "trace_log.h"
#include "transaction.h"

namespace {

// Moves data words between the caller's array and the request: as a block, or word by word if
// the trace is on, which has a line for each. The lines count from 1.
template <typename TraceWord>
void copy_words(uint32_t *to, const uint32_t *from, uint32_t words, TraceWord trace_word) {
  if (!trace_enabled()) {
    std::memcpy(to, from, words * sizeof *to);
    return;
  }
  for (uint32_t i = 0; i < words; ++i) {
    trace_word(static_cast<int>(i + 1), from[i]);
    to[i] = from[i];
  }
}

// Sends the read request in the buffer, which is long enough for that many words, and copies the
// words of the answer. The service may report more words than the caller's array holds.
template <typename TraceWord>
syserr_t read_words(uint32_t *p_data, uint32_t words, TraceWord trace_word) {
  const syserr_t result = call_service(SYSSRV_REG_READ_CASE, lib_ctx.p_params, request_size(words));
  if (result != 0)
    return result;
  const uint32_t answered = lib_ctx.p_params->num;
  copy_words(p_data, lib_ctx.p_params->pdata, answered < words ? answered : words, trace_word);
  return 0;
}

// The entries of a DHS operation.
struct dhs_run {
  real_address real;       // of the register
  int entry_size;          // words in one entry
  uint32_t entry_address;  // of the first entry
};

// The first part of both DHS operations. Any result except 0 refuses the call.
KEL_INLINE syserr_t find_entries(int module, const symbolic_address &address, uint32_t dhs_index,
                                 const uint32_t *p_data, dhs_run *run) {
  const syserr_t refusal = check_access(module, address, p_data);
  if (refusal != 0)
    return refusal;
  run->entry_size =
      kel_asic_reg_dhs_entry_size(address.asic, address.block, address.vreg, dhs_index);
  if (run->entry_size < 1 || !translate_address(address, &run->real))
    return SYSERR_KEL_ASIC_INVALID_ARG;
  run->entry_address = run->real.rreg + 4 * static_cast<uint32_t>(run->entry_size) * dhs_index;
  return 0;
}

// Words in consecutive entries. False if the size of the request does not fit into 32 bits.
bool count_words(int entry_size, uint32_t num_entries, uint32_t *words) {
  const uint64_t count = static_cast<uint64_t>(entry_size) * num_entries;
  *words = static_cast<uint32_t>(count);
  return count <= max_request_words;
}

// The cards on which the entries of two tables are short.
bool is_short_entry_card(uint16_t sw_card_id) {
  return sw_card_id == 265 || sw_card_id == 266 || sw_card_id == 345 || sw_card_id == 373;
}

// On some cards the entries of two tables have fewer words than their size; a read must not request
// more.
uint32_t words_to_read(kel_asic_reg_t vreg, int entry_size, uint32_t num_entries) {
  // A failed query does not write the output, so it must not start as one of those cards.
  uint16_t sw_card_id = 0;
  cardcfg_card_get_sw_card_id(0, &sw_card_id);
  uint32_t words = static_cast<uint32_t>(entry_size);
  if (vreg == HF_DHS_RESULT_00_OFFSET && is_short_entry_card(sw_card_id))
    words -= 1;
  if (vreg == HF_DHS_POL_OFFSET && is_short_entry_card(sw_card_id))
    words -= 3;
  return words * num_entries;
}

}  // namespace

syserr_t lib_mrv_asic_n_read(int module, kel_asic_num_t asic, kel_asic_blk_t block,
                             uint32_t instance, kel_asic_reg_t vreg, uint32_t *p_data,
                             uint32_t num_entries, uint32_t context, char *file, int line,
                             const char *func) {
  constexpr const char *operation = "lib_mrv_asic_n_read";
  KEL_TRACE_ENTER(operation);
  real_address real;
  const syserr_t refusal = find_register(module, {asic, block, instance, vreg}, p_data, &real);
  if (refusal != 0)
    return refusal;
  KEL_TRACE('l', asic, "%s: block %s vreg 0x%x base address 0x%x rreg 0x%x\n", operation,
            kel_asic_blk_names[block], vreg, real.base, real.rreg);
  if (num_entries > max_request_words)
    return SYSERR_KEL_ASIC_INVALID_ARG;
  interrupt_transaction();
  if (!reserve_request(operation, num_entries))
    return KEL_ASIC_SYSERR_NO_BUFFER;
  fill_request(lib_ctx.p_params,
               {TYPE_READ_DHS, module, asic, real.rreg, 0, whole_register, num_entries},
               {context, file, line, func});
  const syserr_t result = read_words(p_data, num_entries, [&](int index, uint32_t word) {
    KEL_TRACE('l', asic, "%s: index %d, read_data 0x%x\n", operation, index, word);
  });
  KEL_TRACE_EXIT(operation);
  return result;
}

syserr_t lib_mrv_asic_read_dhs(int module, kel_asic_num_t asic, kel_asic_blk_t block,
                               uint32_t instance, kel_asic_reg_t vreg, uint32_t dhs_index,
                               uint32_t *p_data, uint32_t num_entries, uint32_t context, char *file,
                               int line, const char *func) {
  constexpr const char *operation = "lib_mrv_asic_read_dhs";
  KEL_TRACE_ENTER(operation);
  dhs_run run;
  const syserr_t refusal =
      find_entries(module, {asic, block, instance, vreg}, dhs_index, p_data, &run);
  if (refusal != 0)
    return refusal;
  KEL_TRACE('l', asic,
            "%s: block %s vreg 0x%x base address 0x%x rreg 0x%x: mod=%d asic=%d blk=%d inst=%d "
            "n_ent=%d\n",
            operation, kel_asic_blk_names[block], vreg, run.real.base, run.real.rreg, module,
            static_cast<int>(asic), static_cast<int>(block), static_cast<int>(instance),
            static_cast<int>(num_entries));
  KEL_TRACE('l', asic, "%s: vreg 0x%x base address 0x%x dhs_index %d entry_size %d rreg 0x%x\n",
            operation, vreg, run.real.base, static_cast<int>(dhs_index), run.entry_size,
            run.entry_address);
  uint32_t words;
  if (!count_words(run.entry_size, num_entries, &words))
    return SYSERR_KEL_ASIC_INVALID_ARG;
  interrupt_transaction();
  if (!reserve_request(operation, words))
    return KEL_ASIC_SYSERR_NO_BUFFER;
  fill_request(lib_ctx.p_params,
               {TYPE_READ_DHS, module, asic, run.entry_address, 0, whole_register,
                words_to_read(vreg, run.entry_size, num_entries)},
               {context, file, line, func});
  const syserr_t result = read_words(p_data, words, [&](int index, uint32_t word) {
    KEL_TRACE('l', asic, "%s: index %d, addr=0x%x read_data 0x%x\n", operation, index,
              run.entry_address, word);
  });
  KEL_TRACE_EXIT(operation);
  return result;
}

syserr_t lib_mrv_asic_write_dhs(int module, kel_asic_num_t asic, kel_asic_blk_t block,
                                uint32_t instance, kel_asic_reg_t vreg, uint32_t dhs_index,
                                uint32_t *p_data, uint32_t num_entries, uint32_t context,
                                char *file, int line, const char *func) {
  constexpr const char *operation = "lib_mrv_asic_write_dhs";
  KEL_TRACE_ENTER(operation);
  dhs_run run;
  const syserr_t refusal =
      find_entries(module, {asic, block, instance, vreg}, dhs_index, p_data, &run);
  if (refusal != 0)
    return refusal;
  KEL_TRACE('l', asic, "%s: block %s vreg 0x%x base address 0x%x rreg 0x%x\n", operation,
            kel_asic_blk_names[block], vreg, run.real.base, run.real.rreg);
  KEL_TRACE('l', asic,
            "%s: vreg 0x%x base address 0x%x dhs_index %d num_entries %d entry_size %d rreg "
            "0x%x\n",
            operation, vreg, run.real.base, static_cast<int>(dhs_index),
            static_cast<int>(num_entries), run.entry_size, run.entry_address);
  uint32_t words;
  if (!count_words(run.entry_size, num_entries, &words))
    return SYSERR_KEL_ASIC_INVALID_ARG;
  const auto trace_word = [&](int index, uint32_t word) {
    KEL_TRACE('l', asic, "%s: index %d, data to write 0x%x\n", operation, index, word);
  };
  syserr_t result = 0;
  if (kel_asic_transaction_pending()) {
    for (uint32_t i = 0; i < words; ++i) {
      trace_word(static_cast<int>(i + 1), p_data[i]);
      kel_asic_transaction_add(module, asic, run.entry_address + 4 * i, p_data[i], whole_register);
    }
  } else {
    if (!reserve_request(operation, words))
      return KEL_ASIC_SYSERR_NO_BUFFER;
    copy_words(lib_ctx.p_params->pdata, p_data, words, trace_word);
    fill_request(lib_ctx.p_params,
                 {TYPE_WRITE_DHS, module, asic, run.entry_address, 0, whole_register, words},
                 {context, file, line, func});
    result = call_service(SYSSRV_REG_WRITE_CASE, lib_ctx.p_params, request_size(words));
  }
  KEL_TRACE_EXIT(operation);
  return result;
}
