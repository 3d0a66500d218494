// Initialisation: what it asks of the platform, what it answers, and what state it leaves.
#include <gtest/gtest.h>

#include "fake_platform.h"

TEST(Init, asks_the_platform_in_order) {
  EXPECT_EQ(initialise(), 0u);
  EXPECT_EQ(fake().platform_calls,
            (std::vector<std::string>{
                "cardcfg_card_get_sw_card_id(3)", "cardcfg_get_real_asic_type(3, 0)",
                "morvane_lib_init(0x51, client.c, 42, client)", "kel_asic_get_all_base_table(1)",
                "kel_asic_get_all_reg_table(1)"}));
}
