#include "request_buffer.h"

#include <cerrno>
#include <cstdlib>

#include "trace_log.h"

bool grow_request_buffer(const char *operation, uint32_t words) {
  const uint32_t size = request_size(words);
  KEL_TRACE('l', 0, "%s: Re-allocate DHS data buffer: cur_size %d new_size %d\n", operation,
            static_cast<int>(lib_ctx.buf_size), static_cast<int>(size));
  void *grown = std::realloc(lib_ctx.p_params, size);
  if (grown == nullptr) {
    const int error = errno;
    KEL_TRACE('l', 0, "%s: Failed to re-allocate DHS data buffer: errno = %d (%x)\n", operation,
              error, static_cast<unsigned>(error));
    return false;
  }
  lib_ctx.p_params = static_cast<kel_asic_reg_access_params_t *>(grown);
  lib_ctx.buf_size = size;
  return true;
}
