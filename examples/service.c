/* A driver service for the platform of platform.c: it keeps the registers of a switch in memory and
   serves any number of processes over a Unix socket.

       gcc -m32 -pthread examples/service.c $(pkg-config --cflags morvaneusd) -o service
       ./service /run/user/1000/example &

   Each connection has a thread; one lock makes each request, and so each transaction, atomic. A
   request is checked completely before it changes anything. */
#define _POSIX_C_SOURCE 200809L
#include <kel_asic_record_kinds.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "example_asic.h"
#include "example_message.h"

enum { page_words = 1024, max_record = 16 * 1024 * 1024, first_command = -28 };

/* The state of one module. Pages of registers exist once they are written. */
struct module_state {
  uint32_t *pages[(KEL_ASIC_NUM_BLK * instances + 1) * (instance_span / 4 / page_words)];
  kel_asic_qos_stats_t ports[2 * ports_per_type]; /* hif, then nif */
  uint32_t nodrop_class_map;
  uint16_t sp_timer;
};

static struct module_state switch_modules[modules];
static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;

static struct module_state *find_module(uint32_t module, uint32_t asic) {
  return module < modules && asic == 0 ? &switch_modules[module] : NULL;
}

static kel_asic_qos_stats_t *find_port(struct module_state *module, uint32_t type, uint32_t port) {
  if (port >= ports_per_type || (type != CARDCFG_PORT_TYPE_HIF && type != CARDCFG_PORT_TYPE_NIF))
    return NULL;
  return &module->ports[type == CARDCFG_PORT_TYPE_HIF ? port : ports_per_type + port];
}

static uint32_t read_word(const struct module_state *module, uint32_t address) {
  const uint32_t *const page = module->pages[address / 4 / page_words];
  return page == NULL ? 0 : page[address / 4 % page_words];
}

/* Makes the page of an address: writes after it cannot run out of memory. */
static bool make_page(struct module_state *module, uint32_t address) {
  uint32_t **const page = &module->pages[address / 4 / page_words];
  if (*page == NULL)
    *page = calloc(page_words, sizeof **page);
  return *page != NULL;
}

static void write_word(struct module_state *module, uint32_t address, uint32_t data,
                       uint32_t mask) {
  uint32_t *const word = &module->pages[address / 4 / page_words][address / 4 % page_words];
  *word = (*word & ~mask) | (data & mask);
}

/* A write of all bits to a command address. Under another mask such an address has no register. */
static bool is_command(const kel_asic_xn_entry_t *write) {
  return write->reg >= (uint32_t)first_command && write->mask == UINT32_MAX;
}

/* The port word of a command: ASIC number, port type, port number or class map. */
static int command(const kel_asic_xn_entry_t *write, bool apply) {
  const uint32_t word = (uint32_t)write->asic_map;
  struct module_state *const module = find_module((uint32_t)write->module, word >> 16);
  kel_asic_qos_stats_t *const port =
      module == NULL ? NULL : find_port(module, word >> 8 & 0xFF, word & 0xFF);
  if (module == NULL)
    return ENXIO;
  switch (write->reg) {
    case KEL_ASIC_CMD_NODROP_CLASS_MAP:
      if (apply)
        module->nodrop_class_map = word & 0xFF;
      return 0;
    case KEL_ASIC_CMD_CLEAR_DROP_COUNTERS:
      for (uint32_t i = 0; apply && i < 2 * ports_per_type; ++i)
        memset(&module->ports[i].drops, 0, sizeof module->ports[i].drops);
      return 0;
    case KEL_ASIC_CMD_LINK_PAUSE_ENABLE:
    case KEL_ASIC_CMD_LINK_PAUSE_DISABLE:
      if (port != NULL && apply)
        port->pause.flow_ctrl = write->reg == KEL_ASIC_CMD_LINK_PAUSE_ENABLE;
      return port == NULL ? ENXIO : 0;
    case KEL_ASIC_CMD_SFP_VALIDATION_FAILED:
      return port == NULL ? ENXIO : 0;
    default:
      return EFAULT;
  }
}

static int check_write(const kel_asic_xn_entry_t *write) {
  struct module_state *module;
  if (is_command(write))
    return command(write, false);
  module = find_module((uint32_t)write->module, (uint32_t)write->asic_map);
  if (module == NULL)
    return ENXIO;
  if (!has_word(write->reg))
    return EFAULT;
  return make_page(module, write->reg) ? 0 : ENOMEM;
}

static void apply_write(const kel_asic_xn_entry_t *write) {
  if (is_command(write))
    command(write, true);
  else
    write_word(find_module((uint32_t)write->module, 0), write->reg, write->data, write->mask);
}

/* Applies all writes, or none. The order is kept also if reordering is allowed. */
static int write_all(const kel_asic_xn_entry_t *writes, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) {
    const int error = check_write(&writes[i]);
    if (error != 0)
      return error;
  }
  for (uint32_t i = 0; i < count; ++i)
    apply_write(&writes[i]);
  return 0;
}

static bool is_block_access(const kel_asic_reg_access_params_t *request) {
  return request->type == TYPE_READ_DHS || request->type == TYPE_WRITE_DHS;
}

/* Reads, and block writes. The words are checked before the first one changes. */
static int access_words(kel_asic_reg_access_params_t *request) {
  struct module_state *const module = find_module((uint32_t)request->module, request->asic);
  uint32_t *const words = is_block_access(request) ? request->pdata : &request->data;
  const uint32_t count = is_block_access(request) ? request->num : 1;
  if (module == NULL)
    return ENXIO;
  for (uint32_t i = 0; i < count; ++i) {
    if (!has_word(request->addr + 4 * i))
      return EFAULT;
    if (request->type == TYPE_WRITE_DHS && !make_page(module, request->addr + 4 * i))
      return ENOMEM;
  }
  for (uint32_t i = 0; i < count; ++i) {
    if (request->type == TYPE_WRITE_DHS)
      write_word(module, request->addr + 4 * i, words[i], UINT32_MAX);
    else
      words[i] = read_word(module, request->addr + 4 * i);
  }
  return 0;
}

static int register_request(kel_asic_reg_access_params_t *request) {
  const kel_asic_xn_entry_t write = {
      request->module, (int32_t)request->asic, request->addr, request->data,
      request->type == TYPE_WRITE_FIELD ? request->mask : UINT32_MAX};
  const bool single_write = request->type == TYPE_WRITE || request->type == TYPE_WRITE_FIELD;
  return single_write ? write_all(&write, 1) : access_words(request);
}

/* Clears the counters of a port. The flow control is a setting, not a counter. */
static void clear_port(kel_asic_qos_stats_t *port) {
  const port_flow_ctrl_t flow_ctrl = port->pause.flow_ctrl;
  memset(port, 0, sizeof *port);
  port->pause.flow_ctrl = flow_ctrl;
}

/* This switch has no traffic. So that its counters rise, each request for statistics counts, on
   every port, as a frame that arrives and one that is dropped. */
static void count_frames(struct module_state *module) {
  for (uint32_t i = 0; i < 2 * ports_per_type; ++i) {
    ++module->ports[i].ss_dhs.wr_rcvd_cnt[0];
    ++module->ports[i].drops.n2h_drops[0][0];
  }
}

static int statistics(kel_asic_qos_stats_params_t *request) {
  struct module_state *const module = find_module(request->module, request->asic);
  kel_asic_qos_stats_t *const port =
      module == NULL ? NULL : find_port(module, (uint32_t)request->port_type, request->port);
  if (module == NULL || (port == NULL && request->type != QOS_STATS_CLEAR_ALL))
    return ENXIO;
  switch (request->type) {
    case QOS_STATS_GET:
      count_frames(module);
      request->stats = *port;
      break;
    case QOS_STATS_CLEAR:
      clear_port(port);
      break;
    default:
      for (uint32_t i = 0; i < 2 * ports_per_type; ++i)
        clear_port(&module->ports[i]);
  }
  return 0;
}

static int sp_timer(const kel_asic_reg_access_params_t *request) {
  struct module_state *const module = find_module((uint32_t)request->module, request->asic);
  if (module == NULL)
    return ENXIO;
  if (request->data > UINT16_MAX)
    return EINVAL;
  module->sp_timer = (uint16_t)request->data;
  return 0;
}

/* Serves one request. The answer is left in the record. 0, or the errno of the refusal. */
static int serve(const struct request *request, void *record) {
  const kel_asic_xn_t *const transaction = record;
  const int error = kel_asic_record_error(request->case_code, record, request->length);
  if (request->driver_id != KEL_ASIC_DRIVER_MORVANE)
    return ENODEV;
  if (error != 0)
    return error;
  switch (kel_asic_record_kind(request->case_code, request->length)) {
    case KEL_ASIC_RECORD_REGISTER:
      return register_request(record);
    case KEL_ASIC_RECORD_QOS:
      return statistics(record);
    case KEL_ASIC_RECORD_TRANSACTION:
      return write_all(transaction->xn, (uint32_t)transaction->num);
    case KEL_ASIC_RECORD_TIMER:
      return sp_timer(record);
    default:
      return ENOSYS;
  }
}

/* One request and its reply. False when the client is gone or sends too much. */
static bool serve_next(int client) {
  struct request request;
  struct reply reply;
  void *record;
  bool served = false;
  if (!receive_all(client, &request, sizeof request) || request.length > max_record)
    return false;
  record = calloc(
      1, request.length + sizeof(kel_asic_xn_t)); /* a short record is refused, not overrun */
  if (record != NULL && receive_all(client, record, request.length)) {
    pthread_mutex_lock(&lock);
    reply.error = serve(&request, record);
    pthread_mutex_unlock(&lock);
    reply.length = request.length;
    served = send_all(client, &reply, sizeof reply) && send_all(client, record, request.length);
  }
  free(record);
  return served;
}

static void *serve_client(void *argument) {
  const int client = (int)(intptr_t)argument;
  while (serve_next(client)) {
  }
  close(client);
  return NULL;
}

int main(int argc, char **argv) {
  struct sockaddr_un address;
  int listener;
  if (argc != 2 || !set_address(&address, argv[1])) {
    fprintf(stderr, "usage: service SOCKET\n");
    return 2;
  }
  listener = socket(AF_UNIX, SOCK_STREAM, 0);
  unlink(argv[1]);
  if (bind(listener, (const struct sockaddr *)&address, sizeof address) != 0 ||
      listen(listener, SOMAXCONN) != 0) {
    perror(argv[1]);
    return 1;
  }
  printf("listening on %s\n", argv[1]);
  fflush(stdout);
  for (;;) {
    const int client = accept(listener, NULL, NULL);
    pthread_t thread;
    if (client >= 0 && pthread_create(&thread, NULL, serve_client, (void *)(intptr_t)client) == 0)
      pthread_detach(thread);
    else if (client >= 0)
      close(client);
  }
}
