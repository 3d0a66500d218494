// Turns bytes into recordings and reads them to their end: any bytes give a clear error or fewer
// calls. An input is taken for a whole file, or for the notes of one, whose header, marks and
// places are then made right, so that what stands in the notes is read at all. After each call it
// checks what a caller relies on: the sizes of both records.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "input_bytes.h"
#include "kel_asic_lib_common.h"
#include "reader.h"

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

// Notes of the input's lengths and contents, end to end from a position of its choice.
Bytes file_of_notes(const uint8_t *data, std::size_t size) {
  constexpr std::size_t ring = MREC_RING_MIN;
  Bytes file(MREC_HEADER_SIZE + ring);
  mrec_header_t header = {};
  const std::size_t begun = std::min(size, sizeof header.begun);
  std::memcpy(&header.begun, data, begun);
  header.begun.request_size %= 12000;
  std::memcpy(header.magic, MREC_MAGIC, sizeof header.magic);
  header.version = MREC_VERSION;
  header.header_size = MREC_HEADER_SIZE;
  header.ring_size = ring;
  header.tail = size > 0 ? data[0] * std::size_t{1024} : 0;
  header.head = header.tail;
  while (size > 3) {
    const std::size_t place = header.head % ring;
    const std::size_t wanted = sizeof(mrec_note_t) * (1 + data[0] + data[1] * std::size_t{4});
    const std::size_t length = std::min(wanted, ring - place);
    const mrec_note_t note = {MREC_NOTE_MARK ^ static_cast<uint32_t>(header.head),
                              static_cast<uint32_t>(length), data[2] % 4U, 0};
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

void read_all(const std::string &path) {
  try {
    recording::Reader reader(path);
    recording::Call call;
    std::size_t calls = 0;
    for (int look = 0; look < 2; ++look) {
      while (reader.next(&call)) {
        check(call);
        require(++calls <= MREC_RING_MAX / sizeof(mrec_call_t));
      }
      reader.refresh();
    }
    if (reader.under_way(&call))
      check(call);
  } catch (const recording::Unreadable &error) {
    require(std::string(error.what()).rfind(path, 0) == 0);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
  static const int file = memfd_create("recording", 0);
  const bool notes = size > 0 && data[0] != MREC_MAGIC[0];
  const Bytes bytes = notes ? file_of_notes(data + 1, size - 1) : Bytes(data, data + size);
  require(ftruncate(file, 0) == 0);
  require(pwrite(file, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
  read_all("/proc/self/fd/" + std::to_string(file));
  return 0;
}
