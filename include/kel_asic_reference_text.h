/**
 * @file
 * Registers and ports as they are printed, "HI.2:HI_DHS_LVIF" and "hif:3", and the reason why the
 * library refuses one:
 *
 *     char name[64], why[64];
 *     kel_asic_register_text(name, sizeof name, KEL_ASIC_BLK_HI, 40, HI_DHS_LVIF_OFFSET);
 *     kel_asic_refusal_text(why, sizeof why, 0, 0, KEL_ASIC_BLK_HI, 40, HI_DHS_LVIF_OFFSET);
 *     fprintf(stderr, "%s: %s\n", name, why);  // HI.40:HI_DHS_LVIF: block HI has instances 0 to 31
 *
 * All functions are inline. They make no service call, need no initialisation of the library and do
 * not change an open transaction. Any text fits in 64 bytes; a shorter buffer truncates it.
 */
#ifndef KEL_ASIC_REFERENCE_TEXT_H
#define KEL_ASIC_REFERENCE_TEXT_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "kel_asic_blocks.h"
#include "kel_asic_dhs_tables.h"
#include "kel_asic_intf.h"
#include "kel_asic_register_names.h"
#include "platform/card_config.h"
#include "platform/register_map.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Returns the name of a register.
 *
 * @param block block of the register, any value
 * @param vreg  number of the register within its block, any value
 *
 * @return its enumerator without _OFFSET, valid for the life of the process; null if the register
 *         has no name
 */
static inline const char *kel_asic_register_name(kel_asic_blk_t block, kel_asic_reg_t vreg) {
  const size_t names = sizeof kel_asic_register_names / sizeof kel_asic_register_names[0];
  for (size_t i = 0; i < names; ++i) {
    if (kel_asic_register_names[i].block == block && kel_asic_register_names[i].vreg == vreg)
      return kel_asic_register_names[i].name;
  }
  return NULL;
}

/**
 * Returns the name of a command address.
 *
 * @param address any address
 *
 * @return its constant (KEL_ASIC_CMD_...), valid for the life of the process; null if the address
 *         is not a command
 */
static inline const char *kel_asic_command_name(uint32_t address) {
  const size_t names = sizeof kel_asic_command_names / sizeof kel_asic_command_names[0];
  for (size_t i = 0; i < names; ++i) {
    if (kel_asic_command_names[i].address == address)
      return kel_asic_command_names[i].name;
  }
  return NULL;
}

/**
 * Prints a register: "HI.2:HI_DHS_LVIF", or "HI.2:40" if it has no name.
 *
 * @param text     receives the text
 * @param size     size of text in bytes, at least 1
 * @param block    block of the register; for a value that is not a block its number is printed
 * @param instance instance of the block, any value
 * @param vreg     number of the register within its block, any value
 *
 * @return text
 */
static inline const char *kel_asic_register_text(char *text, size_t size, kel_asic_blk_t block,
                                                 uint32_t instance, kel_asic_reg_t vreg) {
  char number[16];
  const char *name = kel_asic_register_name(block, vreg);
  snprintf(number, sizeof number, "%u", (unsigned)vreg);
  if (name == NULL)
    name = number;
  if ((uint32_t)block < KEL_ASIC_NUM_BLK)
    snprintf(text, size, "%s.%u:%s", kel_asic_blk_names[block], (unsigned)instance, name);
  else
    snprintf(text, size, "%u.%u:%s", (unsigned)block, (unsigned)instance, name);
  return text;
}

/**
 * Prints an address: the name of a command, or "0x10204b00".
 *
 * @param text    receives the text
 * @param size    size of text in bytes, at least 1
 * @param address any address
 *
 * @return text
 */
static inline const char *kel_asic_address_text(char *text, size_t size, uint32_t address) {
  const char *command = kel_asic_command_name(address);
  if (command != NULL)
    snprintf(text, size, "%s", command);
  else
    snprintf(text, size, "0x%08x", (unsigned)address);
  return text;
}

/**
 * Returns the name of a port type.
 *
 * @param type port type, any value
 *
 * @return "hif", "nif", "bif" or "cif", valid for the life of the process; null for any other type
 */
static inline const char *kel_asic_port_type_name(uint32_t type) {
  static const char *const names[CARDCFG_PORT_TYPE_MAX] = {"cif", "bif", "nif", "hif"};
  return type < CARDCFG_PORT_TYPE_MAX ? names[type] : NULL;
}

/**
 * Prints a port: "hif:3"; the number of a port type that has no name.
 *
 * @param text   receives the text
 * @param size   size of text in bytes, at least 1
 * @param type   port type, any value
 * @param number port number within its type, any value
 *
 * @return text
 */
static inline const char *kel_asic_port_text(char *text, size_t size, uint32_t type,
                                             uint32_t number) {
  const char *name = kel_asic_port_type_name(type);
  if (name != NULL)
    snprintf(text, size, "%s:%u", name, (unsigned)number);
  else
    snprintf(text, size, "%u:%u", (unsigned)type, (unsigned)number);
  return text;
}

/**
 * Prints why a register map does not have a register.
 *
 * @param text     receives the reason; an empty text if the map has the register
 * @param size     size of text in bytes, at least 1
 * @param limits   the limits of the map
 * @param offsets  the register tables of the map, of kel_asic_get_all_reg_table
 * @param block    block of the register, KEL_ASIC_BLK_SS to KEL_ASIC_BLK_XL
 * @param instance instance of the block, any value
 * @param vreg     number of the register within its block, any value
 *
 * @return text
 */
static inline const char *kel_asic_missing_text(char *text, size_t size,
                                                const kel_asic_limits_t *limits,
                                                const kel_asic_reg_t **offsets,
                                                kel_asic_blk_t block, uint32_t instance,
                                                kel_asic_reg_t vreg) {
  const char *name = kel_asic_blk_names[block];
  const unsigned instances = kel_asic_block_instances(limits, block);
  const unsigned registers = kel_asic_blocks[block].registers;
  if (instances == 0)
    snprintf(text, size, "this ASIC has no block %s", name);
  else if (instance >= instances)
    snprintf(text, size, "block %s has instances 0 to %u", name, instances - 1);
  else if (vreg >= registers)
    snprintf(text, size, "block %s has registers 0 to %u", name, registers - 1);
  else if (offsets[block][vreg] == KEL_ASIC_NO_REGISTER)
    snprintf(text, size, "block %s has no register %u", name, (unsigned)vreg);
  else
    text[0] = '\0';
  return text;
}

/**
 * Gets the limits of the register map, and prints which of two numbers they exclude.
 *
 * @param text    receives the reason; an empty text if there is none, or if the register map fails
 * @param size    size of text in bytes, at least 1
 * @param limits  receives the limits
 * @param version receives the revision, for the tables of the map
 * @param module  module number, any value
 * @param asic    ASIC number, any value
 *
 * @return 1 if the limits are valid and include both numbers, 0 otherwise
 */
static inline int kel_asic_has_place(char *text, size_t size, kel_asic_limits_t *limits,
                                     kel_asic_ver_t *version, int module, kel_asic_num_t asic) {
  KEL_ASIC_fn hooks;
  text[0] = '\0';
  memset(limits, 0, sizeof *limits);
  if (morvane_lib_init(&hooks, limits, version, KEL_ASIC_HERE) != 0)
    return 0;
  if ((uint32_t)module > 3)
    snprintf(text, size, "modules are 0 to 3");
  else if (asic > limits->max_asic)
    snprintf(text, size, "ASIC numbers are 0 to %u", (unsigned)limits->max_asic);
  return text[0] == '\0';
}

/**
 * Prints why the library refuses a module or an ASIC.
 *
 * @param text   receives the reason; an empty text if both exist, or if the register map fails
 * @param size   size of text in bytes, at least 1
 * @param module module number, any value
 * @param asic   ASIC number, any value
 *
 * @return text
 */
static inline const char *kel_asic_place_refusal_text(char *text, size_t size, int module,
                                                      kel_asic_num_t asic) {
  kel_asic_limits_t limits;
  kel_asic_ver_t version = KEL_ASIC_VER_A0;
  kel_asic_has_place(text, size, &limits, &version, module, asic);
  return text;
}

/**
 * Prints why the library refuses a register: which part of its address is out of range, and the
 * range. Gets the limits from the register map, as lib_mrv_asic_init does.
 *
 * @param text     receives the reason; an empty text if the address is correct, or if the register
 *                 map fails
 * @param size     size of text in bytes, at least 1
 * @param module   module number, any value
 * @param asic     ASIC number, any value
 * @param block    block of the register, any value
 * @param instance instance of the block, any value
 * @param vreg     number of the register within its block, any value
 *
 * @return text
 */
static inline const char *kel_asic_refusal_text(char *text, size_t size, int module,
                                                kel_asic_num_t asic, kel_asic_blk_t block,
                                                uint32_t instance, kel_asic_reg_t vreg) {
  kel_asic_limits_t limits;
  kel_asic_ver_t version = KEL_ASIC_VER_A0;
  if (!kel_asic_has_place(text, size, &limits, &version, module, asic))
    return text;
  if ((uint32_t)block < KEL_ASIC_NUM_BLK)
    return kel_asic_missing_text(text, size, &limits, kel_asic_get_all_reg_table(version), block,
                                 instance, vreg);
  snprintf(text, size, "blocks are 0 to %u", KEL_ASIC_NUM_BLK - 1U);
  return text;
}

/**
 * Prints why the library refuses an entry of a table, as kel_asic_refusal_text does for a register.
 *
 * @param text     receives the reason; an empty text if the address is correct, or if the register
 *                 map fails
 * @param size     size of text in bytes, at least 1
 * @param module   module number, any value
 * @param asic     ASIC number, any value
 * @param block    block of the register, any value
 * @param instance instance of the block, any value
 * @param vreg     number of the register within its block, any value
 * @param index    number of the entry, any value
 *
 * @return text
 */
static inline const char *kel_asic_entry_refusal_text(char *text, size_t size, int module,
                                                      kel_asic_num_t asic, kel_asic_blk_t block,
                                                      uint32_t instance, kel_asic_reg_t vreg,
                                                      uint32_t index) {
  const uint32_t row = kel_asic_dhs_row(block, vreg);
  kel_asic_refusal_text(text, size, module, asic, block, instance, vreg);
  if (text[0] != '\0')
    return text;
  if (row == KEL_ASIC_DHS_ROWS)
    snprintf(text, size, "the register is not a table");
  else if (kel_asic_dhs_rows[row].words == KEL_ASIC_DHS_BY_HOOK)
    snprintf(text, size, "the register map decides its entry size and indices");
  else if (index > kel_asic_dhs_rows[row].highest_index)
    snprintf(text, size, "indices are 0 to %u", (unsigned)kel_asic_dhs_rows[row].highest_index);
  return text;
}

/**
 * Prints why the library refuses a step of a register program, as kel_asic_refusal_text does for a
 * register.
 *
 * @param text   receives the reason; an empty text if the step is correct, or if the register map
 *               fails
 * @param size   size of text in bytes, at least 1
 * @param module module number, any value
 * @param step   the step
 *
 * @return text
 */
static inline const char *kel_asic_step_refusal_text(char *text, size_t size, int module,
                                                     const kel_asic_pgm_t *step) {
  if (step->magic != KEL_ASIC_PGM_MAGIC)
    snprintf(text, size, "the magic is not KEL_ASIC_PGM_MAGIC");
  else
    kel_asic_refusal_text(text, size, module, 0, step->block, step->instance, step->vreg);
  if (text[0] == '\0' && step->mask == 0)
    snprintf(text, size, "a mask of 0 selects no bit");
  return text;
}

/**
 * Prints why the library refuses a port: the ranges of modules, ASICs, or ports with link pause.
 * Gets the limits from the register map, as lib_mrv_asic_init does.
 *
 * @param text   receives the reason; an empty text if the port exists, or if the register map fails
 * @param size   size of text in bytes, at least 1
 * @param module module number, any value
 * @param asic   ASIC number, any value
 * @param type   port type, any value
 * @param number port number within its type, any value
 *
 * @return text
 */
static inline const char *kel_asic_port_refusal_text(char *text, size_t size, int module,
                                                     kel_asic_num_t asic, uint32_t type,
                                                     uint32_t number) {
  kel_asic_limits_t limits;
  kel_asic_ver_t version = KEL_ASIC_VER_A0;
  if (!kel_asic_has_place(text, size, &limits, &version, module, asic) ||
      (type == CARDCFG_PORT_TYPE_HIF && number < limits.max_hi) ||
      (type == CARDCFG_PORT_TYPE_NIF && number < limits.max_ni))
    return text;
  if (type != CARDCFG_PORT_TYPE_HIF && type != CARDCFG_PORT_TYPE_NIF &&
      (type > UINT8_MAX || number > UINT8_MAX))
    snprintf(text, size, "port types and numbers are 0 to 255");
  else
    snprintf(text, size, "ports are hif:0 to hif:%u and nif:0 to nif:%u",
             (unsigned)limits.max_hi - 1, (unsigned)limits.max_ni - 1);
  return text;
}

#ifdef __cplusplus
}
#endif

#endif
