// The card-configuration service of the virtual switch: the same card in every slot, with one ASIC.
#include "platform/card_config.h"

#include <cerrno>

#include "own_switch.h"
#include "virtual_platform.h"
#include "wire/switch_client.h"

namespace {

// 0 or an errno.
int find_card(remote::Card &card) {
  if (remote::is_remote())
    return remote::control_request(remote::kCard, nullptr, 0, &card, sizeof card);
  card = {own_switch().device_type, own_switch().sw_card_id};
  return 0;
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
  if (remote::is_remote()) {
    const remote::Card card = {device_type, sw_card_id};
    return remote::control_request(remote::kSetCard, &card, sizeof card, nullptr, 0);
  }
  own_switch().device_type = device_type;
  own_switch().sw_card_id = sw_card_id;
  return 0;
}

uint16_t vp_sw_card_id(void) {
  remote::Card card = {};
  const int error = find_card(card);
  if (error != 0)
    errno = error;
  return static_cast<uint16_t>(card.sw_card_id);
}
