// Fuzzes recordings, from their bytes to the lines and objects of mrvctl: any bytes give a clear
// error or fewer calls. An input is a complete file, or the notes of one, whose header, marks and
// places are then valid, so that the notes are read at all.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "calls/call_text.h"
#include "commands/recorded_calls.h"
#include "host/platform_library.h"
#include "input_bytes.h"
#include "kel_asic_lib_common.h"
#include "output/call_json.h"
#include "output/call_summary.h"
#include "output/call_table.h"
#include "reader.h"

using namespace mrvctl;

namespace {

using Bytes = std::vector<uint8_t>;

uint32_t word(const Bytes &record, std::size_t offset) {
  uint32_t value = 0;
  std::memcpy(&value, &record[offset], sizeof value);
  return value;
}

void check_register(const Bytes &record) {
  constexpr std::size_t header = sizeof(kel_asic_reg_access_params_t);
  require(record.size() >= header && (record.size() - header) % 4 == 0);
  require((record.size() - header) / 4 <= word(record, 24));
}

// The sizes of both records, on which callers of the reader rely.
void check(const recording::Call &call) {
  switch (call.shape) {
    case MREC_SHAPE_REGISTER:
      check_register(call.request);
      if (!call.answer.empty())
        check_register(call.answer);
      break;
    case MREC_SHAPE_TRANSACTION:
      require(call.request.size() >= 40 && word(call.request, 36) <= KEL_ASIC_XN_ENTRIES);
      require(call.request.size() == 40 + 20 * word(call.request, 36) && call.answer.empty());
      break;
    case MREC_SHAPE_QOS:
      require(call.request.size() == 1140 && (call.answer.empty() || call.answer.size() == 1140));
      break;
    default:
      require(call.shape == MREC_SHAPE_OTHER);
      require(std::max(call.request.size(), call.answer.size()) <= MREC_OTHER_MAX);
  }
}

void check_all(const std::string &path) {
  try {
    recording::Reader reader(path);
    recording::Call call;
    std::size_t calls = 0;
    for (; reader.next(&call); check(call))
      require(++calls <= MREC_RING_MAX / sizeof(mrec_call_t));
    reader.refresh();
    if (reader.under_way(&call))
      check(call);
  } catch (const recording::Unreadable &error) {
    require(std::string(error.what()).rfind(path, 0) == 0);
  }
}

const AddressIndex &address_index() {
  static const AddressIndex index = [] {
    open_platform("");
    return AddressIndex(RegisterMap(morvane::caller::here()));
  }();
  return index;
}

// All that the tool prints of a call; a line is one line.
void show(const DecodedCall &call, CallTable &table, CallSummary &summary) {
  const AddressIndex &index = address_index();
  for (const bool brief : {false, true}) {
    for (const std::string &cell : call_cells(call, index, std::nullopt, brief))
      require(cell.find_first_of("\n\033") == std::string::npos);
  }
  table.show(call);
  json_text(call_json(call, index));
  summary.add(call, index);
}

void show_all(const std::string &path) {
  static const bool discarded = std::freopen("/dev/null", "w", stdout) != nullptr;
  require(discarded);
  Session session;
  CallSummary summary;
  CallTable table(session.report, address_index(), {}, 7, std::nullopt);
  try {
    RecordedCalls calls(session, {path}, RecordedCalls::Purpose::kShow, address_index());
    while (const auto call = calls.next())
      show(*call, table, summary);
  } catch (const OperationFailed &) {
    return;
  }
  summary.listing().text();
}

// Notes with the lengths and contents of the input, end to end from any position.
Bytes file_of_notes(const uint8_t *data, std::size_t size) {
  constexpr std::size_t ring = MREC_RING_MIN;
  Bytes file(MREC_HEADER_SIZE + ring);
  mrec_header_t header = {};
  std::memcpy(&header.begun, data, std::min(size, sizeof header.begun));
  header.begun.request_size %= 12000;
  std::memcpy(header.magic, MREC_MAGIC, sizeof header.magic);
  header.version = MREC_VERSION;
  header.header_size = MREC_HEADER_SIZE;
  header.ring_size = ring;
  header.tail = header.head = size > 0 ? data[0] * std::size_t{1024} : 0;
  while (size > 3) {
    const std::size_t place = header.head % ring;
    const std::size_t wanted = sizeof(mrec_note_t) * (1 + data[0] + data[1] * std::size_t{4});
    const std::size_t length = std::min(wanted, ring - place);
    const mrec_note_t note = {MREC_NOTE_MARK ^ static_cast<uint32_t>(header.head),
                              static_cast<uint32_t>(length), data[2] % 7U, 0};
    data += 3;
    size -= 3;
    if (header.head + length - header.tail > ring)
      break;
    uint8_t *const to = &file[MREC_HEADER_SIZE + place];
    const std::size_t body = std::min(size, length - sizeof note);
    std::memcpy(to, &note, sizeof note);
    std::memcpy(to + sizeof note, data, body);
    header.head += length;
    data += body;
    size -= body;
  }
  std::memcpy(file.data(), &header, sizeof header);
  return file;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
  static const int file = memfd_create("recording", MFD_CLOEXEC);
  const bool notes = size > 0 && data[0] != MREC_MAGIC[0];
  const Bytes bytes = notes ? file_of_notes(data + 1, size - 1) : Bytes(data, data + size);
  require(ftruncate(file, 0) == 0);
  require(pwrite(file, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
  const std::string path = "/proc/self/fd/" + std::to_string(file);
  check_all(path);
  show_all(path);
  return 0;
}
