// The card-configuration service of the virtual switch: the same card in every slot, with one ASIC.
#include "platform/card_config.h"

#include "virtual_asic.h"
#include "virtual_platform.h"

namespace {

struct Card {
  uint32_t device_type = CARDCFG_DEV_TYPE_MORVANE;
  uint16_t sw_card_id = virtual_asic::kPlainCard;
};

Card card;

}  // namespace

int cardcfg_get_real_asic_type(uint32_t /*slot*/, uint32_t asic_index, uint32_t *dev_type) {
  if (asic_index != 0 || dev_type == nullptr)
    return -1;
  *dev_type = card.device_type;
  return 0;
}

int cardcfg_card_get_sw_card_id(uint32_t /*slot*/, uint16_t *sw_card_id) {
  if (sw_card_id == nullptr)
    return -1;
  *sw_card_id = card.sw_card_id;
  return 0;
}

void vp_set_card(uint32_t device_type, uint16_t sw_card_id) {
  card = {device_type, sw_card_id};
}

uint16_t vp_sw_card_id(void) {
  return card.sw_card_id;
}
