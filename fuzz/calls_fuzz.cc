// Fuzzes what mrvctl shows of recordings, from their bytes to lines and objects.
#include <sys/mman.h>
#include <unistd.h>

#include "commands/recorded_calls.h"
#include "host/platform_library.h"
#include "input_bytes.h"
#include "output/call_json.h"
#include "output/call_summary.h"

using namespace mrvctl;

namespace {

const AddressIndex &address_index() {
  static const AddressIndex index = [] {
    open_platform("");
    return AddressIndex(RegisterMap(morvane::caller::here()));
  }();
  return index;
}

// All that the tool says of a call; a line is one line.
void show(const DecodedCall &call, CallSummary &summary) {
  const AddressIndex &index = address_index();
  const std::string line = call_line(call, index, 7, std::nullopt);
  require(line.find('\n') == line.size() - 1 && line.find('\033') == std::string::npos);
  call_json(call, index).dump();
  summary.add(call, index);
}

void read_recording(const std::string &bytes) {
  static const int file = memfd_create("recording", MFD_CLOEXEC);
  require(ftruncate(file, 0) == 0);
  require(pwrite(file, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
  CallSummary summary;
  try {
    RecordedCalls calls({"/proc/self/fd/" + std::to_string(file)},
                        RecordedCalls::UnderWay::kIncluded, {});
    while (const auto call = calls.next())
      show(*call, summary);
    calls.gaps();
  } catch (const OperationFailed &) {
    return;
  }
  summary.listing().text();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  read_recording(std::string(reinterpret_cast<const char *>(data), size));
  return 0;
}
