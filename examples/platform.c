/* A platform: the six functions that the library needs, and a transport to the service of
   service.c. Copy both to start a port. Replace example_asic.h by the description of your ASIC, and
   the transport by yours.

   The environment variable EXAMPLE_SERVICE names the socket of the service. */
#define _POSIX_C_SOURCE 200809L
#include <platform/card_config.h>
#include <platform/register_map.h>
#include <platform/system_service.h>
#include <stdlib.h>
#include <string.h>

#include "example_asic.h"
#include "example_message.h"

static int connection = -1;
static pid_t connected_process;

static void disconnect(void) {
  const int error = errno;
  if (connection >= 0)
    close(connection);
  connection = -1;
  errno = error;
}

/* Connects if there is no connection. A child of fork() gets its own: the replies on the connection
   of its parent are not for the child. */
static bool connect_to_service(void) {
  const char *const path = getenv("EXAMPLE_SERVICE");
  struct sockaddr_un address;
  if (connection >= 0 && connected_process == getpid())
    return true;
  disconnect();
  if (path == NULL) {
    errno = ENOENT;
    return false;
  }
  if (!set_address(&address, path))
    return false;
  connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  connected_process = getpid();
  return connection >= 0 &&
         connect(connection, (const struct sockaddr *)&address, sizeof address) == 0;
}

/* One request and its reply. The record changes only when the reply is complete. */
static bool exchange(const struct request *request, void *record, struct reply *reply) {
  void *const answer = malloc(request->length);
  const bool complete = answer != NULL && send_all(connection, request, sizeof *request) &&
                        send_all(connection, record, request->length) &&
                        receive_all(connection, reply, sizeof *reply) &&
                        receive_all(connection, answer, request->length);
  if (complete && reply->error == 0)
    memcpy(record, answer, request->length);
  free(answer);
  return complete;
}

int sse_call2(uint32_t case_code, sys_srvc_case_params_t *case_params, uint32_t length) {
  const struct request request = {case_code, case_params->caseId, length};
  struct reply reply = {0, 0};
  if (case_params->params == NULL) {
    errno = EFAULT;
    return -1;
  }
  /* After a failure the connection is closed: a late reply must never answer the next call. Nothing
     is sent twice, because the service may have carried out a request whose reply was lost. */
  if (!connect_to_service() || !exchange(&request, case_params->params, &reply)) {
    disconnect();
    return -1;
  }
  if (reply.error == 0)
    return 0;
  errno = reply.error;
  return -1;
}

int cardcfg_get_real_asic_type(uint32_t slot, uint32_t asic_index, uint32_t *dev_type) {
  (void)slot, (void)asic_index;
  *dev_type = CARDCFG_DEV_TYPE_MORVANE;
  return 0;
}

int cardcfg_card_get_sw_card_id(uint32_t slot, uint16_t *sw_card_id) {
  (void)slot;
  *sw_card_id = 1;
  return 0;
}

static int dhs_entry_size(kel_asic_blk_t block, kel_asic_reg_t vreg, uint32_t index) {
  const kel_asic_dhs_row_t *row;
  if (table_position(block, vreg, &row) < 0 || row->words != KEL_ASIC_DHS_BY_HOOK)
    return -1;
  return index < hook_entries ? hook_words : -1;
}

syserr_t morvane_lib_init(KEL_ASIC_fn *funcs, kel_asic_limits_t *limits, kel_asic_ver_t *asic_ver,
                          uint32_t context, char *file, int line, const char *func) {
  const uint32_t number = instances;
  (void)context, (void)file, (void)line, (void)func;
  funcs->reg_dhs_entry_size = dhs_entry_size;
  limits->max_modules = modules;
  limits->max_asic = 0;
  for (uint32_t block = 0; block < KEL_ASIC_NUM_BLK; ++block)
    memcpy((char *)limits + kel_asic_blocks[block].limit, &number, sizeof number);
  *asic_ver = KEL_ASIC_VER_A0;
  return 0;
}

const kel_asic_reg_t **kel_asic_get_all_base_table(kel_asic_ver_t asic_ver) {
  static kel_asic_reg_t bases[KEL_ASIC_NUM_BLK][instances];
  static const kel_asic_reg_t *table[KEL_ASIC_NUM_BLK];
  (void)asic_ver;
  for (uint32_t block = 0; block < KEL_ASIC_NUM_BLK; ++block) {
    for (uint32_t instance = 0; instance < instances; ++instance)
      bases[block][instance] = instance_base(block, instance);
    table[block] = bases[block];
  }
  return table;
}

const kel_asic_reg_t **kel_asic_get_all_reg_table(kel_asic_ver_t asic_ver) {
  /* SS has the most registers. */
  static kel_asic_reg_t offsets[KEL_ASIC_NUM_BLK][KEL_ASIC_SS_NUM_ENUM];
  static const kel_asic_reg_t *table[KEL_ASIC_NUM_BLK];
  (void)asic_ver;
  for (uint32_t block = 0; block < KEL_ASIC_NUM_BLK; ++block) {
    for (uint32_t vreg = 0; vreg < kel_asic_blocks[block].registers; ++vreg)
      offsets[block][vreg] = register_offset(block, vreg);
    table[block] = offsets[block];
  }
  return table;
}
