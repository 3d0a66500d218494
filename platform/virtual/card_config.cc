// The card-configuration service of the virtual switch: the same card in every slot, with one ASIC.
#include "platform/card_config.h"

#include <cerrno>

#include "own_switch.h"
#include "virtual_platform.h"

namespace {

// 0 or an errno.
int find_card(remote::Card &card) {
  return request_control(remote::kCard, nullptr, 0, &card, sizeof card);
}

}  // namespace

int cardcfg_get_real_asic_type(uint32_t /*slot*/, uint32_t asic_index, uint32_t *dev_type) {
  remote::Card card = {};
  if (asic_index != 0 || dev_type == nullptr || find_card(card) != 0)
    return -1;
  *dev_type = card.device_type;
  return 0;
}

int cardcfg_card_get_sw_card_id(uint32_t /*slot*/, uint16_t *sw_card_id) {
  remote::Card card = {};
  if (sw_card_id == nullptr || find_card(card) != 0)
    return -1;
  *sw_card_id = static_cast<uint16_t>(card.sw_card_id);
  return 0;
}

int vp_set_card(uint32_t device_type, uint16_t sw_card_id) {
  return send_control(remote::kSetCard, remote::Card{device_type, sw_card_id});
}

uint16_t vp_sw_card_id(void) {
  remote::Card card = {};
  const int error = find_card(card);
  if (error != 0)
    errno = error;
  return static_cast<uint16_t>(card.sw_card_id);
}
