#include "reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "kel_asic_lib_common.h"
#include "note_values.h"

namespace recording {
namespace {

constexpr std::size_t kStep = sizeof(mrec_note_t);  // notes begin at its multiples
constexpr uint64_t kRingStep = 4096;
constexpr std::size_t kChunk = 65536;
constexpr std::size_t kRegisterHeader = sizeof(kel_asic_reg_access_params_t);
constexpr std::size_t kRegisterAnswer = 8;  // data and num
constexpr std::size_t kTransactionHeader = offsetof(kel_asic_xn_t, xn);
constexpr std::size_t kQosRequest = 20;  // up to the statistics, and the options after them
constexpr std::size_t kQosStats = sizeof(kel_asic_qos_stats_t);

using Bytes = std::vector<uint8_t>;

// A recording that is open for reading.
class File {
 public:
  explicit File(const std::string &path)
      : path_(path), fd_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {
    if (fd_ < 0)
      throw Unreadable("cannot open " + path + ": " + std::strerror(errno));
    if (fstat(fd_, &status_) != 0 || !S_ISREG(status_.st_mode)) {
      close(fd_);
      throw Unreadable(path + " is not a recording: it is not a regular file");
    }
  }
  ~File() { close(fd_); }
  File(const File &) = delete;
  File &operator=(const File &) = delete;

  uint64_t device() const { return status_.st_dev; }
  uint64_t inode() const { return status_.st_ino; }

  // Returns the number of bytes read: fewer at the end of the file.
  std::size_t read(uint64_t offset, void *to, std::size_t size) const {
    std::size_t done = 0;
    while (done < size) {
      const ssize_t got = pread(fd_, static_cast<char *>(to) + done, size - done,
                                static_cast<off_t>(offset + done));
      if (got < 0 && errno == EINTR)
        continue;
      if (got < 0)
        throw Unreadable("cannot read " + path_ + ": " + std::strerror(errno));
      if (got == 0)
        break;
      done += static_cast<std::size_t>(got);
    }
    return done;
  }

 private:
  const std::string &path_;
  int fd_;
  struct stat status_ {};
};

Process process_of(const mrec_header_t &header) {
  Process process;
  process.program = text_of(header.program);
  process.pid = header.pid;
  process.parent_pid = header.parent_pid;
  process.word_size = header.word_size;
  process.wall_ns = header.wall_ns;
  process.monotonic_ns = header.monotonic_ns;
  process.boot_id = text_of(header.boot_id);
  process.ring_size = header.ring_size;
  return process;
}

// Returns the fault of a header, or null.
const char *validate(const mrec_header_t &header) {
  if (std::memcmp(header.magic, MREC_MAGIC, sizeof header.magic) != 0)
    return "is not a recording";
  if (header.version != MREC_VERSION || header.header_size != MREC_HEADER_SIZE)
    return "is a recording of another version";
  if (header.ring_size < MREC_RING_MIN || header.ring_size > MREC_RING_MAX ||
      header.ring_size % kRingStep != 0) {
    return "is a damaged recording: the size of its ring is impossible";
  }
  if (header.tail % kStep != 0 || header.head % kStep != 0 || header.tail > header.head ||
      header.head - header.tail > header.ring_size) {
    return "is a damaged recording: its ring begins or ends at an impossible place";
  }
  return nullptr;
}

// The current header, all 0 if the process had not begun to record. It is read again if its two
// positions move between two reads.
mrec_header_t load_header(const File &file, const std::string &path) {
  constexpr int kLooks = 8;
  const char *fault = nullptr;
  for (int look = 0; look < kLooks; ++look) {
    mrec_header_t header = {};
    const std::size_t size = file.read(0, &header, sizeof header);
    const mrec_header_t nothing = {};
    if (std::memcmp(header.magic, nothing.magic, sizeof header.magic) == 0)
      return nothing;
    fault = size < sizeof header ? "is not a recording" : validate(header);
    if (fault == nullptr)
      return header;
  }
  throw Unreadable(path + ' ' + fault);
}

// The process may write the call in flight while this reads it. It is complete if its number stays.
void load_call_under_way(const File &file, mrec_header_t *header) {
  mrec_u64_t number = 0;
  file.read(offsetof(mrec_header_t, begun.number), &number, sizeof number);
  if (number != header->begun.number)
    header->begun.number = 0;
}

// Restores the records from the kept parts of a request and its answer. False if the sizes do not
// fit the shape.
bool register_records(const Bytes &request, const Bytes &answer, Call *call) {
  if (request.size() < kRegisterHeader || request.size() % 4 != 0)
    return false;
  const auto num = value_at<uint32_t>(&request[offsetof(kel_asic_reg_access_params_t, num)]);
  const std::size_t words = (request.size() - kRegisterHeader) / 4;
  if (words > MREC_WORDS_MAX || words > num)
    return false;
  call->request = request;
  if (answer.empty())
    return true;
  if (answer.size() < kRegisterAnswer || answer.size() % 4 != 0)
    return false;
  const std::size_t answered = (answer.size() - kRegisterAnswer) / 4;
  if (answered > MREC_WORDS_MAX || answered > value_at<uint32_t>(&answer[4]))
    return false;
  call->answer.assign(request.begin(), request.begin() + kRegisterHeader);
  std::memcpy(&call->answer[offsetof(kel_asic_reg_access_params_t, data)], answer.data(), 4);
  std::memcpy(&call->answer[offsetof(kel_asic_reg_access_params_t, num)], &answer[4], 4);
  call->answer.insert(call->answer.end(), answer.begin() + kRegisterAnswer, answer.end());
  return true;
}

bool transaction_records(const Bytes &request, const Bytes &answer, Call *call) {
  if (request.size() < kTransactionHeader || !answer.empty())
    return false;
  const auto num = value_at<int32_t>(&request[offsetof(kel_asic_xn_t, num)]);
  if (num < 0 || num > KEL_ASIC_XN_ENTRIES)
    return false;
  const std::size_t entries = static_cast<std::size_t>(num) * sizeof(kel_asic_xn_entry_t);
  if (request.size() != kTransactionHeader + entries)
    return false;
  call->request = request;
  return true;
}

bool qos_records(const Bytes &request, const Bytes &answer, Call *call) {
  if (request.size() != kQosRequest || (!answer.empty() && answer.size() != kQosStats))
    return false;
  constexpr std::size_t stats = offsetof(kel_asic_qos_stats_params_t, stats);
  call->request.assign(sizeof(kel_asic_qos_stats_params_t), 0);
  std::copy_n(request.begin(), stats, call->request.begin());
  std::copy_n(request.begin() + stats, 4,
              call->request.begin() + offsetof(kel_asic_qos_stats_params_t, opts));
  if (answer.empty())
    return true;
  call->answer = call->request;
  std::copy(answer.begin(), answer.end(), call->answer.begin() + stats);
  return true;
}

bool other_records(const Bytes &request, const Bytes &answer, Call *call) {
  if (request.size() > MREC_OTHER_MAX || answer.size() > MREC_OTHER_MAX)
    return false;
  call->request = request;
  call->answer = answer;
  return true;
}

bool make_records(const Bytes &request, const Bytes &answer, Call *call) {
  if (request.size() > call->length || answer.size() > call->length)
    return false;
  switch (call->shape) {
    case MREC_SHAPE_OTHER:
      return other_records(request, answer, call);
    case MREC_SHAPE_REGISTER:
      return register_records(request, answer, call);
    case MREC_SHAPE_TRANSACTION:
      return transaction_records(request, answer, call);
    case MREC_SHAPE_QOS:
      return qos_records(request, answer, call);
    default:
      return false;
  }
}

// The fields that a note and a call in flight have in common.
template <typename Noted>
Call call_of(const Noted &noted) {
  Call call;
  call.number = noted.number;
  call.wall_ns = noted.wall_ns;
  call.monotonic_ns = noted.monotonic_ns;
  call.case_code = noted.case_code;
  call.driver = noted.driver;
  call.length = noted.length;
  call.shape = noted.shape;
  call.request_cut = (noted.flags & MREC_REQUEST_CUT) != 0;
  return call;
}

// The entries of a transaction.
std::vector<kel_asic_xn_entry_t> entries_of(const Call &call) {
  std::vector<kel_asic_xn_entry_t> entries((call.request.size() - kTransactionHeader) /
                                           sizeof(kel_asic_xn_entry_t));
  if (!entries.empty())
    std::memcpy(entries.data(), &call.request[kTransactionHeader],
                entries.size() * sizeof entries[0]);
  return entries;
}

void add_callers(OpenTransaction *transaction, Call *call) {
  const uint64_t wall_ns = call->wall_ns + call->duration_ns;
  const uint64_t monotonic_ns = call->monotonic_ns + call->duration_ns;
  if (call->shape == MREC_SHAPE_TRANSACTION)
    call->callers = transaction->send(entries_of(*call), wall_ns, monotonic_ns);
  else
    transaction->seen(wall_ns, monotonic_ns);
}

}  // namespace

bool make_call(const uint8_t *bytes, std::size_t size, Call *call) {
  if (size < sizeof(mrec_call_t))
    return false;
  const auto note = value_at<mrec_call_t>(bytes);
  const std::size_t room = size - sizeof note;
  if (note.request_size > room || note.answer_size > room - note.request_size)
    return false;
  *call = call_of(note);
  call->duration_ns = note.duration_ns;
  call->returned = true;
  call->answer_cut = (note.flags & MREC_ANSWER_CUT) != 0;
  call->result = note.result;
  call->error_number = note.error_number;
  const uint8_t *const request = bytes + sizeof note;
  const uint8_t *const answer = request + note.request_size;
  return make_records(Bytes(request, answer), Bytes(answer, answer + note.answer_size), call);
}

Reader::Reader(std::string path, FindTarget find_target)
    : path_(std::move(path)), transaction_(std::move(find_target)) {
  refresh();
}

void Reader::check_same(uint64_t device, uint64_t inode) const {
  if (device != device_ || inode != inode_)
    throw Unreadable(path_ + " has been replaced by another file");
}

void Reader::refresh() {
  const File file(path_);
  if (inode_ == 0) {
    device_ = file.device();
    inode_ = file.inode();
  }
  check_same(file.device(), file.inode());
  mrec_header_t header = load_header(file, path_);
  if (header_.ring_size != 0 && header.ring_size != header_.ring_size)
    throw Unreadable(path_ + " has been replaced by another recording");
  load_call_under_way(file, &header);
  if (header_.ring_size == 0) {
    position_ = header.tail;
    buffer_position_ = position_;
    transaction_.seen(header.wall_ns, header.monotonic_ns);
  }
  header_ = header;
  process_ = process_of(header);
}

// Takes over the note at next_bytes(). False if the note contradicts itself.
bool Reader::take(const mrec_note_t &note, Call *call) {
  switch (note.kind) {
    case MREC_NOTE_CALL:
      return make_call(next_bytes(), note.size, call);
    case MREC_NOTE_START:
      return transaction_.start(next_bytes(), note.size);
    case MREC_NOTE_SITE:
      return transaction_.site(next_bytes(), note.size);
    case MREC_NOTE_JOIN:
      return transaction_.join(next_bytes(), note.size);
    case MREC_NOTE_REFUSAL:
      return transaction_.refusal(next_bytes(), note.size);
    default:
      unknown_ += note.kind == MREC_NOTE_FILLER ? 0 : 1;
      return true;
  }
}

bool Reader::next(Call *call) {
  while (position_ < header_.head) {
    if (!fill(kStep))
      continue;
    const auto note = value_at<mrec_note_t>(next_bytes());
    if (!is_note(note)) {
      skip(kStep, &damaged_);
      continue;
    }
    const bool is_read = note.kind >= MREC_NOTE_CALL && note.kind <= MREC_NOTE_REFUSAL;
    if (is_read && note.size <= MREC_CALL_MAX && !fill(note.size))
      continue;
    if ((is_read && note.size > MREC_CALL_MAX) || !take(note, call)) {
      skip(kStep, &damaged_);
      continue;
    }
    position_ += note.size;
    if (note.kind != MREC_NOTE_CALL)
      continue;
    last_number_ = call->number;
    add_callers(&transaction_, call);
    return true;
  }
  return false;
}

bool Reader::in_flight(Call *call, OpenTransaction *transaction) const {
  const mrec_begun_t &begun = header_.begun;
  // A process may end after it wrote the note and before the call stopped being in flight.
  if (begun.number == 0 || begun.number == last_number_ ||
      begun.request_size > sizeof begun.request) {
    return false;
  }
  *call = call_of(begun);
  if (!make_records(Bytes(begun.request, begun.request + begun.request_size), Bytes(), call))
    return false;
  add_callers(transaction, call);
  return true;
}

bool Reader::under_way(Call *call) const {
  OpenTransaction transaction = transaction_;
  return in_flight(call, &transaction);
}

OpenTransaction Reader::uncommitted() const {
  OpenTransaction transaction = transaction_;
  Call call;
  in_flight(&call, &transaction);
  return transaction;
}

const uint8_t *Reader::next_bytes() const {
  return buffer_.data() + static_cast<std::size_t>(position_ - buffer_position_);
}

// The number of bytes from here to the end of the ring or of the notes.
uint64_t Reader::contiguous() const {
  return std::min(header_.ring_size - position_ % header_.ring_size, header_.head - position_);
}

bool Reader::is_note(const mrec_note_t &note) const {
  return (note.mark ^ static_cast<uint32_t>(position_)) == MREC_NOTE_MARK && note.size != 0 &&
         note.size % kStep == 0 && note.size <= contiguous();
}

void Reader::skip(uint64_t size, uint64_t *count) {
  position_ += size;
  *count += size;
}

// Reads `wanted` bytes from the next note on into the buffer. If that fails, skips the bytes that
// cannot be read and returns false. The bytes do not cross the end of the ring.
bool Reader::fill(std::size_t wanted) {
  if (position_ - buffer_position_ + wanted <= buffer_.size())
    return true;
  const File file(path_);
  check_same(file.device(), file.inode());
  buffer_.resize(static_cast<std::size_t>(
      std::min<uint64_t>(std::max<std::size_t>(wanted, kChunk), contiguous())));
  buffer_position_ = position_;
  const std::size_t got =
      file.read(MREC_HEADER_SIZE + position_ % header_.ring_size, buffer_.data(), buffer_.size());
  buffer_.resize(got - got % kStep);
  uint64_t tail = 0;
  file.read(offsetof(mrec_header_t, tail), &tail, sizeof tail);
  if (tail > position_) {
    skip(std::min<uint64_t>(tail, header_.head) - position_, &overwritten_);
    return false;
  }
  if (buffer_.size() < wanted) {  // the file ends early
    skip(contiguous(), &damaged_);
    return false;
  }
  return true;
}

}  // namespace recording
