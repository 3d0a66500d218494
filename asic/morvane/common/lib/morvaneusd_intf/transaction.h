// The pending write transaction: while it is open, written words wait in it for the commit.
#ifndef TRANSACTION_H
#define TRANSACTION_H

#include "kel_asic_lib_private.h"

#pragma GCC visibility push(hidden)

extern kel_asic_xn_t pending_xn;

inline bool kel_asic_transaction_pending() {
  return pending_xn.name[0] != '\0';
}

// Appends one entry; sends a full transaction first and continues in a new one.
void kel_asic_transaction_add(int module, uint32_t asic_map, uint32_t reg, uint32_t data,
                              uint32_t mask);

// Sends and reopens the transaction.
__attribute__((cold, noinline)) void reopen_interrupted_transaction();

// What every read does before its request: earlier writes go first, later ones stay batched.
inline void interrupt_transaction() {
  if (kel_asic_transaction_pending())
    reopen_interrupted_transaction();
}

#pragma GCC visibility pop

#endif
