// The pending transaction as no caller sees it.
#include <gtest/gtest.h>

#include "fake_platform.h"
#include "transaction.h"

TEST(PendingTransaction, is_opened_by_an_entry_that_finds_none) {
  initialise_with_trace();
  kel_asic_transaction_add(1, 0x80000002, 3, 4, 5);
  EXPECT_STREQ(pending_xn.name, "Collision Xn");
  EXPECT_EQ(pending_xn.reorder_allowed, 0);
  EXPECT_EQ(pending_xn.num, 1);
  const kel_asic_xn_entry_t entry = {1, INT32_MIN + 2, 3, 4, 5};
  EXPECT_EQ(std::memcmp(pending_xn.xn, &entry, sizeof entry), 0);
  EXPECT_EQ(trace_lines(),
            (std::vector<std::string>{"|t|  0 |   : kel_asic_transaction_add: Enter",
                                      "|t|  0 |   : mrv_asic_transaction_start: Enter",
                                      "|t|  0 |   : mrv_asic_transaction_start: Exit",
                                      "|t|  0 |   : kel_asic_transaction_add: Exit"}));
}

TEST(PendingTransaction, is_closed_in_three_fields_alone) {
  mrv_asic_transaction_start(const_cast<char *>("batch"), 7);
  kel_asic_transaction_add(1, 2, 3, 4, 5);
  kel_asic_xn_t expected = pending_xn;
  expected.name[0] = '\0';
  expected.reorder_allowed = expected.num = 0;
  mrv_asic_transaction_commit();
  EXPECT_EQ(std::memcmp(&pending_xn, &expected, sizeof expected), 0);
}

TEST(PendingTransaction, keeps_the_flag_of_a_start_without_a_name) {
  mrv_asic_transaction_start(const_cast<char *>(""), 7);
  EXPECT_FALSE(kel_asic_transaction_pending());
  EXPECT_EQ(pending_xn.reorder_allowed, 7);
}
