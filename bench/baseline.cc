#include "baseline.h"

#include <cstdlib>
#include <cstring>

#include "platform/system_service.h"

namespace {

constexpr uint32_t header_size = sizeof(kel_asic_reg_access_params_t);

// Room for the longest run of the benchmarks.
kel_asic_reg_access_params_t *run_buffer;

void fill(kel_asic_reg_access_params_t *request, kel_asic_access_type_t type, uint32_t addr,
          uint32_t data, uint32_t mask, uint32_t num, uint32_t context, const char *file, int line,
          const char *func) {
  std::memset(request, 0, header_size);
  request->type = type;
  request->addr = addr;
  request->data = data;
  request->mask = mask;
  request->num = num;
  request->info.userdata = context;
  request->info.line = static_cast<uint32_t>(line);
  std::strncpy(request->info.func, func, sizeof request->info.func - 1);
  std::strncpy(request->info.file, file, sizeof request->info.file - 1);
}

int call(uint32_t case_code, void *record, uint32_t length) {
  sys_srvc_case_params_t case_params = {KEL_ASIC_DRIVER_MORVANE, record};
  return sse_call2(case_code, &case_params, length);
}

}  // namespace

bool baseline_init() {
  run_buffer = static_cast<kel_asic_reg_access_params_t *>(std::calloc(1, header_size + 4 * 2048));
  return run_buffer != nullptr;
}

int baseline_access(kel_asic_access_type_t type, uint32_t addr, uint32_t *data, uint32_t mask,
                    uint32_t context, const char *file, int line, const char *func) {
  kel_asic_reg_access_params_t request;
  fill(&request, type, addr, *data, mask, 0, context, file, line, func);
  const int rc =
      call(type == TYPE_READ ? SYSSRV_REG_READ_CASE : SYSSRV_REG_WRITE_CASE, &request, header_size);
  if (rc == 0)
    *data = request.data;
  return rc;
}

template <uint32_t num>
int baseline_run<num>::read(uint32_t addr, uint32_t *words, uint32_t context, const char *file,
                            int line, const char *func) {
  kel_asic_reg_access_params_t *request = run_buffer;
  fill(request, TYPE_READ_DHS, addr, 0, 0xFFFFFFFF, num, context, file, line, func);
  const int rc = call(SYSSRV_REG_READ_CASE, request, header_size + 4 * num);
  if (rc == 0)
    std::memcpy(words, request->pdata, 4 * num);
  return rc;
}

template <uint32_t num>
int baseline_run<num>::write(uint32_t addr, const uint32_t *words, uint32_t context,
                             const char *file, int line, const char *func) {
  kel_asic_reg_access_params_t *request = run_buffer;
  fill(request, TYPE_WRITE_DHS, addr, 0, 0xFFFFFFFF, num, context, file, line, func);
  std::memcpy(request->pdata, words, 4 * num);
  return call(SYSSRV_REG_WRITE_CASE, request, header_size + 4 * num);
}

template struct baseline_run<1>;
template struct baseline_run<16>;
template struct baseline_run<256>;
template struct baseline_run<2048>;

int baseline_stats(uint8_t module, uint8_t asic, cardcfg_port_type_t port_type, uint8_t port,
                   kel_asic_qos_stats_t *stats, uint32_t opts) {
  kel_asic_qos_stats_params_t request;
  std::memset(&request, 0, sizeof request);
  request.module = module;
  request.asic = asic;
  request.port_type = port_type;
  request.port = port;
  request.opts = opts;
  const int rc = call(SYSSRV_MEM_READ_CASE, &request, sizeof request);
  if (rc == 0 && stats != nullptr)
    std::memcpy(stats, &request.stats, sizeof *stats);
  return rc;
}
