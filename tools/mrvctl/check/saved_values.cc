// What checks have found, and how it is put back.
#include "check/saved_values.h"

#include <sys/mman.h>

#include <cerrno>
#include <cstring>

#include "check/isolation.h"
#include "check/requests.h"
#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {

SavedValues::SavedValues() {
  void *memory =
      mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED)
    throw OperationFailed(std::string("no shared memory: ") + std::strerror(errno));
  shared_ = static_cast<Shared *>(memory);
}

SavedValues::~SavedValues() {
  munmap(shared_, sizeof(Shared));
}

void SavedValues::keep(const kel_asic_xn_entry_t &write) {
  if (shared_->count == kMaxWrites)
    throw OperationFailed(format("more than %u values to put back", kMaxWrites));
  shared_->writes[shared_->count] = write;
  ++shared_->count;  // once it stands there whole
}

void SavedValues::restore() {
  while (shared_->count > 0) {
    const kel_asic_xn_entry_t &write = shared_->writes[shared_->count - 1];
    Request request(TYPE_WRITE, write);
    request.expect_success(
        format("the write that puts 0x%x back at 0x%08x", write.data, write.reg));
    --shared_->count;
  }
}

std::string SavedValues::text() const {
  std::string text;
  for (uint32_t i = 0; i < shared_->count; ++i)
    text += format("%s0x%08x <- 0x%x", i == 0 ? "" : ", ", shared_->writes[i].reg,
                   shared_->writes[i].data);
  return text;
}

}  // namespace mrvctl
