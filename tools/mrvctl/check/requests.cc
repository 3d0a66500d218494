// The service calls of the checks.
#include "check/requests.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include "check/check_table.h"
#include "check/isolation.h"
#include "check/register_map_query.h"
#include "text/errors.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr uint8_t kBefore = 0xC3;  // the bytes before a record
constexpr char kWithinLength[] = "nothing touched beyond the length of the record";

uint32_t page_size() {
  return static_cast<uint32_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace

GuardedMemory::GuardedMemory(uint32_t length) : length_(length) {
  const uint32_t page = page_size();
  pages_length_ = (length / page + 1) * page;
  void *all =
      mmap(nullptr, pages_length_ + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (all == MAP_FAILED)
    throw std::bad_alloc();
  pages_ = static_cast<uint8_t *>(all) + page;
  if (mprotect(pages_, pages_length_, PROT_READ | PROT_WRITE) != 0)
    throw std::bad_alloc();
  std::memset(pages_, kBefore, pages_length_);
  data_ = pages_ + pages_length_ - length;
  const auto begin = reinterpret_cast<uintptr_t>(pages_);
  guards.push_back({begin - page, begin + pages_length_ + page, "P5", kWithinLength,
                    "a page next to the record was touched"});
}

void GuardedMemory::expect_untouched_before() const {
  const uint8_t *begin = static_cast<uint8_t *>(data_);
  require(std::all_of(static_cast<const uint8_t *>(pages_), begin,
                      [](uint8_t byte) { return byte == kBefore; }),
          kWithinLength, "bytes before the record were written", "P5");
}

void GuardedMemory::revoke() const {
  const auto begin = reinterpret_cast<uintptr_t>(pages_);
  guards.push_back({begin, begin + pages_length_, "P4", "no address of a call used after it",
                    "an address of an earlier call was used"});
  mprotect(pages_, pages_length_, PROT_NONE);
}

std::vector<morvane::asic> unknown_asics(const morvane::asic &known) {
  const auto modules = static_cast<int>(queried_map().limits().max_modules);
  const auto [module, number] = known;
  return {{modules, number}, {-1, number}, {module, 1}, {module, 0x10000}, {module, UINT32_MAX}};
}

std::string asic_text(const morvane::asic &asic) {
  return format("module %d, ASIC %u", asic.module, asic.number);
}

std::string result_text(const CallResult &result) {
  if (result.result >= 0)
    return format("result %d", result.result);
  return format("result %d, errno %d (%s)", result.result, result.error_number,
                std::strerror(result.error_number));
}

CallResult send_record(uint32_t case_code, const GuardedMemory &record, uint32_t driver_id) {
  sys_srvc_case_params_t params = {driver_id, record.data()};
  errno = 0;
  const int result = sse_call2(case_code, &params, record.length());
  const CallResult answer = {result, result < 0 ? errno : 0};
  const bool has_errno = answer.error_number >= 1 &&
                         answer.error_number <= static_cast<int>(KEL_ASIC_SYSERR_ERRNO_MASK);
  require(result >= 0 || has_errno, "errno from 1 to 4095 with a result below 0",
          result_text(answer), "P3");
  record.expect_untouched_before();
  return answer;
}

void expect_success(const CallResult &result, const std::string &call) {
  require(result.result == 0, "result 0 of " + call, result_text(result));
}

void expect_refusal(const CallResult &result, const std::string &call) {
  require(result.result != 0, call + " refused", result_text(result));
}

void expect_word(uint32_t expected, uint32_t seen, const std::string &where) {
  require(seen == expected, format("0x%08x ", expected) + where, format("0x%08x", seen));
}

Request::Request(kel_asic_access_type_t type, const kel_asic_xn_entry_t &access, uint32_t room,
                 uint32_t fill_pattern)
    : memory_(static_cast<uint32_t>(sizeof(kel_asic_reg_access_params_t)) + 4 * room),
      fields_(static_cast<kel_asic_reg_access_params_t *>(memory_.data())) {
  *fields_ = {};
  fields_->type = type;
  fields_->module = access.module;
  fields_->asic = static_cast<kel_asic_num_t>(access.asic_map);
  fields_->addr = access.reg;
  fields_->data = type == TYPE_READ ? fill_pattern : access.data;
  fields_->mask = access.mask;
  fields_->num = room;
  std::strcpy(fields_->info.func, "check");
  std::strcpy(fields_->info.file, "mrvctl");
  std::fill_n(words(), room, fill_pattern);
}

uint32_t *Request::words() const {
  return reinterpret_cast<uint32_t *>(static_cast<uint8_t *>(memory_.data()) +
                                      sizeof(kel_asic_reg_access_params_t));
}

CallResult Request::send() const {
  const bool reads = fields_->type == TYPE_READ || fields_->type == TYPE_READ_DHS;
  return send_record(reads ? SYSSRV_REG_READ_CASE : SYSSRV_REG_WRITE_CASE, memory_);
}

void Request::expect_success(const std::string &call) const {
  mrvctl::expect_success(send(), call);
}

kel_asic_xn_entry_t Registers::entry(uint32_t address, uint32_t data, uint32_t mask) const {
  return {asic_.module, static_cast<int32_t>(asic_.number), address, data, mask};
}

uint32_t Registers::read(uint32_t address) const {
  const Request request(TYPE_READ, entry(address));
  request.expect_success(format("a read of 0x%08x", address));
  return request->data;
}

void Registers::write(uint32_t address, uint32_t data) const {
  Request(TYPE_WRITE, entry(address, data)).expect_success(format("a write to 0x%08x", address));
}

void Registers::write_field(uint32_t address, uint32_t data, uint32_t mask) const {
  Request(TYPE_WRITE_FIELD, entry(address, data, mask))
      .expect_success(format("a field write to 0x%08x", address));
}

std::vector<uint32_t> Registers::read_block(uint32_t address, uint32_t count) const {
  const Request request(TYPE_READ_DHS, entry(address), count);
  request.expect_success(format("a read of %u words from 0x%08x", count, address));
  require(request->num <= count, format("num at most the %u words that were asked for", count),
          std::to_string(request->num), "P6");
  return {request.words(), request.words() + count};
}

void Registers::write_block(uint32_t address, const std::vector<uint32_t> &words) const {
  const Request request(TYPE_WRITE_DHS, entry(address), static_cast<uint32_t>(words.size()));
  std::copy(words.begin(), words.end(), request.words());
  request.expect_success(format("a write of %zu words from 0x%08x", words.size(), address));
}

void Registers::expect(uint32_t address, uint32_t expected, const std::string &after) const {
  expect_word(expected, read(address), format("at 0x%08x ", address) + after);
}

CallResult send_transaction(const std::vector<kel_asic_xn_entry_t> &entries, int32_t num,
                            uint32_t length) {
  kel_asic_xn_t transaction = {};
  std::strcpy(transaction.name, "check");
  transaction.num = num;
  std::copy(entries.begin(), entries.end(), transaction.xn);
  return send_record(SYSSRV_MEM_WRITE_CASE, GuardedMemory(transaction, length));
}

void commit(const std::vector<kel_asic_xn_entry_t> &entries, const std::string &what) {
  expect_success(send_transaction(entries, static_cast<int32_t>(entries.size())), what);
}

GuardedMemory statistics_request(const morvane::asic &asic, const Port &port, uint32_t length) {
  kel_asic_qos_stats_params_t request = {};
  request.module = static_cast<cardcfg_module_id_t>(asic.module);
  request.asic = static_cast<cardcfg_dev_id_t>(asic.number);
  request.port_type = static_cast<cardcfg_port_type_t>(port.type);
  request.port = static_cast<cardcfg_port_id_t>(port.number);
  return {request, length};
}

std::optional<Port> any_port() {
  const kel_asic_limits_t limits = queried_map().limits();
  for (const uint32_t type : {CARDCFG_PORT_TYPE_HIF, CARDCFG_PORT_TYPE_NIF}) {
    if (max_ports(limits, type).value_or(0) > 0)
      return Port{type, 0};
  }
  return std::nullopt;
}

std::optional<CallResult> send_accepted_call(const CheckTarget &subject) {
  if (subject.read)
    return Request(TYPE_READ, Registers(subject.asic).entry(queried_map().address(*subject.read)))
        .send();
  const std::optional<Port> port = any_port();
  if (!port)
    return std::nullopt;
  return send_record(SYSSRV_MEM_READ_CASE, statistics_request(subject.asic, *port));
}

void expect_service(const CheckTarget &subject) {
  const std::optional<CallResult> result = send_accepted_call(subject);
  if (!result || result->result >= 0)
    return;
  const int error = result->error_number;
  if (error == ENOENT || error == ECONNREFUSED || error == ENOTCONN)
    throw Outcome{Verdict::kNoService, "", "", result_text(*result), {}};
}

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
  ++shared_->count;  // once the write is complete
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
