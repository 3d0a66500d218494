#include "transaction.h"

#include "service_call.h"
#include "trace_log.h"

kel_asic_xn_t pending_xn;

namespace {

void start_transaction(const char *xn_name, int reorder) {
  KEL_TRACE_ENTER("mrv_asic_transaction_start");
  if (kel_asic_transaction_pending())
    return;
  copy_text(pending_xn.name, xn_name);
  pending_xn.reorder_allowed = reorder;
  KEL_TRACE_EXIT("mrv_asic_transaction_start");
}

// The old entries and the rest of the name stay: the service uses only the first num entries.
void close_transaction() {
  pending_xn.name[0] = '\0';
  pending_xn.reorder_allowed = 0;
  pending_xn.num = 0;
}

}  // namespace

int mrv_asic_transaction_start(char *xn_name, int reorder) {
  start_transaction(xn_name, reorder);
  return 0;
}

int mrv_asic_transaction_commit(void) {
  KEL_TRACE_ENTER("mrv_asic_transaction_commit");
  if (!kel_asic_transaction_pending())
    return 0;
  const int rc = send_record(SYSSRV_MEM_WRITE_CASE, &pending_xn, sizeof pending_xn);
  // The service may have written into the record, including the end of the name.
  pending_xn.name[sizeof pending_xn.name - 1] = '\0';
  if (rc != 0)
    KEL_TRACE('l', 0, "LIB: XN <%s/%d> commit failure <rc=%x>. asic_typ=%s <%d>\n", pending_xn.name,
              pending_xn.num, static_cast<unsigned>(rc), kel_get_driver_string(lib_ctx.driver_id),
              static_cast<int>(lib_ctx.driver_id));
  close_transaction();
  KEL_TRACE_EXIT("mrv_asic_transaction_commit");
  return 0;
}

void make_transaction_room() {
  if (!kel_asic_transaction_pending())
    start_transaction("Collision Xn", 0);
  if (pending_xn.num >= KEL_ASIC_XN_ENTRIES) {
    mrv_asic_transaction_commit();
    start_transaction("Contd XN..", 0);
  }
}

void reopen_interrupted_transaction() {
  mrv_asic_transaction_commit();
  start_transaction("<Interrupted>", 0);
}
