// Calls as packets of a pcapng file.
#include "output/pcapng.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "text/errors.h"

namespace mrvctl {
namespace {

using Bytes = std::vector<uint8_t>;

// The blocks of the file and their numbers.
constexpr uint32_t kSectionHeader = 0x0A0D0D0A;
constexpr uint32_t kInterfaceDescription = 1;
constexpr uint32_t kEnhancedPacket = 6;
constexpr uint32_t kByteOrder = 0x1A2B3C4D;
constexpr uint16_t kLinkTypeUser0 = 147;
constexpr uint16_t kOptionName = 2;
constexpr uint16_t kOptionTimeResolution = 9;
constexpr uint8_t kNanoseconds = 9;

// The preamble of each record.
constexpr char kMagic[] = "MRVC";
constexpr uint16_t kVersion = 1;
constexpr uint16_t kPreambleSize = 64;
enum : uint8_t { kRequest = 1, kAnswer = 2 };
enum : uint8_t { kReturned = 1, kRequestCut = 2, kAnswerCut = 4, kFailed = 8, kLost = 16 };

template <typename Number>
void put(Bytes &bytes, Number number) {
  for (size_t i = 0; i < sizeof number; ++i)
    bytes.push_back(static_cast<uint8_t>(static_cast<uint64_t>(number) >> (8 * i)));
}

void pad(Bytes &bytes) {
  bytes.resize((bytes.size() + 3) / 4 * 4);
}

void put_option(Bytes &bytes, uint16_t code, const Bytes &value) {
  put<uint16_t>(bytes, code);
  put(bytes, static_cast<uint16_t>(value.size()));
  bytes.insert(bytes.end(), value.begin(), value.end());
  pad(bytes);
}

Bytes interface_body(const std::string &name) {
  Bytes body;
  put<uint16_t>(body, kLinkTypeUser0);
  put<uint16_t>(body, 0);
  put<uint32_t>(body, 0);  // no limit to the length of a packet
  put_option(body, kOptionName, Bytes(name.begin(), name.end()));
  put_option(body, kOptionTimeResolution, {kNanoseconds});
  put_option(body, 0, {});
  return body;
}

uint8_t flags_of(const DecodedCall &call) {
  return static_cast<uint8_t>((call.result ? kReturned : 0) | (call.request_cut ? kRequestCut : 0) |
                              (call.answer_cut ? kAnswerCut : 0) | (call.failed ? kFailed : 0) |
                              (call.lost ? kLost : 0));
}

constexpr uint8_t kCallerTexts = 4;

// The texts that follow the register of each entry: those of its caller, if any caller is known.
uint8_t caller_texts(const DecodedCall &call) {
  const auto *transaction = std::get_if<TransactionFields>(&call.request);
  if (transaction == nullptr)
    return 0;
  const auto &callers = transaction->callers;
  return std::any_of(callers.begin(), callers.end(), [](const auto &one) { return one != nullptr; })
             ? kCallerTexts
             : 0;
}

void add_caller(const Caller *caller, std::vector<std::string> &texts) {
  if (caller == nullptr)
    texts.resize(texts.size() + kCallerTexts);
  else
    texts.insert(texts.end(), {caller->func, caller->file, std::to_string(caller->line),
                               std::to_string(caller->context)});
}

// Texts between preamble and record, each with its NUL: the program, the operation, the
// outcome, and the name of each register that is touched, in a transaction with its caller.
Bytes texts_of(const DecodedCall &call, const AddressIndex &index) {
  std::vector<std::string> texts = {call.process->program, call.operation, call.outcome};
  for (const Access &access : accesses(call)) {
    texts.push_back(index.name(access.address));
    if (caller_texts(call) != 0)
      add_caller(access.caller, texts);
  }
  Bytes bytes;
  for (const std::string &text : texts) {
    bytes.insert(bytes.end(), text.begin(), text.end());
    bytes.push_back(0);
  }
  return bytes;
}

Bytes packet_bytes(const DecodedCall &call, uint8_t kind, const Bytes &texts, const Bytes &record) {
  const bool answered = kind == kAnswer;
  Bytes bytes(kMagic, kMagic + 4);
  put(bytes, kVersion);
  put(bytes, kPreambleSize);
  put(bytes, kind);
  put(bytes, static_cast<uint8_t>(call.request.index()));
  put(bytes, flags_of(call));
  put(bytes, caller_texts(call));
  put(bytes, static_cast<uint32_t>(call.file));
  put(bytes, call.process->pid);
  put(bytes, call.case_code);
  put(bytes, call.driver);
  put(bytes, call.length);
  put(bytes, call.number);
  put(bytes, answered ? call.duration_ns.value_or(0) : 0);
  put(bytes, static_cast<uint32_t>(answered ? call.result.value_or(0) : 0));
  put(bytes, static_cast<uint32_t>(answered ? call.error_number : 0));
  put(bytes, static_cast<uint32_t>(texts.size()));
  put<uint32_t>(bytes, 0);
  bytes.insert(bytes.end(), texts.begin(), texts.end());
  bytes.insert(bytes.end(), record.begin(), record.end());
  return bytes;
}

}  // namespace

std::FILE *new_file(const std::string &path, bool replace) {
  struct stat old = {};
  if (replace && lstat(path.c_str(), &old) == 0 && S_ISREG(old.st_mode))
    unlink(path.c_str());
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  std::FILE *const file = fd < 0 ? nullptr : fdopen(fd, "wb");
  if (file == nullptr)
    throw OperationFailed("cannot make " + path + ": " + std::strerror(errno));
  return file;
}

PcapngWriter::PcapngWriter(std::FILE *file, std::string name,
                           const std::vector<std::string> &interfaces)
    : name_(std::move(name)), file_(file) {
  Bytes section;
  put(section, kByteOrder);
  put<uint16_t>(section, 1);
  put<uint16_t>(section, 0);
  put(section, UINT64_MAX);  // of an unknown length
  write_block(kSectionHeader, section);
  for (const std::string &interface : interfaces)
    write_block(kInterfaceDescription, interface_body(interface));
}

void PcapngWriter::write_block(uint32_t type, const Bytes &body) {
  Bytes block;
  const auto size = static_cast<uint32_t>(12 + body.size());
  put(block, type);
  put(block, size);
  block.insert(block.end(), body.begin(), body.end());
  put(block, size);
  if (std::fwrite(block.data(), 1, block.size(), file_.get()) != block.size())
    failed_ = true;
}

void PcapngWriter::write_packet(const Packet &packet) {
  Bytes body;
  put(body, packet.interface);
  put(body, static_cast<uint32_t>(packet.wall_ns >> 32));
  put(body, static_cast<uint32_t>(packet.wall_ns));
  put(body, static_cast<uint32_t>(packet.bytes.size()));
  put(body, static_cast<uint32_t>(std::min<uint64_t>(packet.true_length, UINT32_MAX)));
  body.insert(body.end(), packet.bytes.begin(), packet.bytes.end());
  pad(body);
  write_block(kEnhancedPacket, body);
  ++packets_;
}

void PcapngWriter::write_answers(uint64_t before_ns) {
  const auto end = answers_.upper_bound(before_ns);
  for (auto answer = answers_.begin(); answer != end; ++answer)
    write_packet(answer->second);
  answers_.erase(answers_.begin(), end);
}

void PcapngWriter::add(const DecodedCall &call, const AddressIndex &index) {
  write_answers(call.order_ns);
  const Bytes texts = texts_of(call, index);
  const uint64_t true_length = kPreambleSize + texts.size() + uint64_t{call.length};
  const auto interface = static_cast<uint32_t>(call.file);
  write_packet({call.wall_ns, interface, packet_bytes(call, kRequest, texts, call.request_bytes),
                true_length});
  if (!call.result)
    return;
  const uint64_t duration = call.duration_ns.value_or(0);
  Bytes answer = packet_bytes(call, kAnswer, texts, call.answer_bytes);
  const uint64_t answer_length = call.answer_bytes.empty() ? answer.size() : true_length;
  answers_.emplace(call.order_ns + duration,
                   Packet{call.wall_ns + duration, interface, std::move(answer), answer_length});
}

void PcapngWriter::close() {
  write_answers(UINT64_MAX);
  if (std::fclose(file_.release()) != 0)
    failed_ = true;
  if (failed_)
    throw OperationFailed("cannot write " + name_);
}

}  // namespace mrvctl
