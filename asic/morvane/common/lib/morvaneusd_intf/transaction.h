// The write transaction: while it is open, written words are queued until the commit.
#ifndef TRANSACTION_H
#define TRANSACTION_H

#include "kel_asic_lib_private.h"
#include "trace_log.h"

#pragma GCC visibility push(hidden)

extern kel_asic_xn_t pending_xn;

inline bool kel_asic_transaction_pending() {
  return pending_xn.name[0] != '\0';
}

// Opens a transaction if none is open. Sends a full one and continues in a new one.
__attribute__((cold, noinline)) void make_transaction_room();

// Appends one entry. Every caller has checked that a transaction is open; only a commit since then
// can have closed it.
inline void kel_asic_transaction_add(int module, uint32_t asic_map, uint32_t reg, uint32_t data,
                                     uint32_t mask) {
  KEL_TRACE_ENTER("kel_asic_transaction_add");
  if (!kel_asic_transaction_pending() || pending_xn.num >= KEL_ASIC_XN_ENTRIES)
    make_transaction_room();
  pending_xn.xn[pending_xn.num] = {module, static_cast<int32_t>(asic_map), reg, data, mask};
  ++pending_xn.num;
  KEL_TRACE_EXIT("kel_asic_transaction_add");
}

// Sends and reopens the transaction.
__attribute__((cold, noinline)) void reopen_interrupted_transaction();

// The first step of every read: earlier writes are sent first, later ones are queued again.
inline void interrupt_transaction() {
  if (kel_asic_transaction_pending())
    reopen_interrupted_transaction();
}

#pragma GCC visibility pop

#endif
