/**
 * @file
 * The card-configuration service: what the library asks of the platform about the cards of the
 * switch, and the types of their ports.
 */
#ifndef PLATFORM_CARD_CONFIG_H
#define PLATFORM_CARD_CONFIG_H

#include <stdint.h>

#include "fixed_enum.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Slot number of a card. */
typedef uint8_t slot_num_t;

/** Module number, 0 to 3. */
typedef uint8_t cardcfg_module_id_t;

/** Number of an ASIC on its module. */
typedef uint8_t cardcfg_dev_id_t;

/** Number of a port within its port type. */
typedef uint8_t cardcfg_port_id_t;

/** Port types. */
typedef enum cardcfg_port_type_t KEL_ENUM32 {
  CARDCFG_PORT_TYPE_CIF = 0,
  CARDCFG_PORT_TYPE_BIF = 1,
  CARDCFG_PORT_TYPE_NIF = 2, /**< network interface */
  CARDCFG_PORT_TYPE_HIF = 3, /**< host interface */
  CARDCFG_PORT_TYPE_MAX = 4
} cardcfg_port_type_t;

/** Device types of the ASICs that a card can carry. */
typedef enum cardcfg_dev_type_t KEL_ENUM32 {
  CARDCFG_DEV_TYPE_MORVANE = 7,
  CARDCFG_DEV_TYPE_MAX = 10 /**< number of device types; the "bad" answer of a conversion */
} cardcfg_dev_type_t;

/**
 * Returns the device type of the ASIC on a card.
 *
 * The library ignores the result. A failed query must not write the output.
 *
 * @param slot       slot of the card
 * @param asic_index index of the ASIC on the card; the library passes 0
 * @param dev_type   receives the device type (::cardcfg_dev_type_t)
 * @return 0 on success, anything else on failure
 */
int cardcfg_get_real_asic_type(uint32_t slot, uint32_t asic_index, uint32_t *dev_type);

/**
 * Returns the software identifier of a card.
 *
 * The library ignores the result. A failed query must not write the output.
 *
 * @param slot       slot of the card
 * @param sw_card_id receives the identifier
 * @return 0 on success, anything else on failure
 */
int cardcfg_card_get_sw_card_id(uint32_t slot, uint16_t *sw_card_id);

#ifdef __cplusplus
}
#endif

#endif
