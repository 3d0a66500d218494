// Checks of service calls that only look.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "asic/address_index.h"
#include "asic/register_reference.h"
#include "asic/table_shapes.h"
#include "calls/decoded_call.h"
#include "check/check_table.h"
#include "check/isolation.h"
#include "check/register_map_query.h"
#include "check/requests.h"
#include "host/observed_calls.h"
#include "text/text.h"

namespace mrvctl {
namespace {

constexpr uint32_t kUnknownDriver = KEL_ASIC_DRIVER_MORVANE + 1;
constexpr uint32_t kUnknownCase = 0x40000004;
constexpr uint32_t kLate = 50000;  // microseconds that something late may take

// The first register of a block instance that is not part of a table.
std::optional<Register> plain_register(const RegisterMap &map, kel_asic_blk_t block,
                                       uint32_t instance) {
  for (kel_asic_reg_t vreg = 0; vreg < kel_asic_blocks[block].registers; ++vreg) {
    const Register reg = {block, instance, vreg};
    if (map.missing(reg).empty() && !find_table(map, block, vreg))
      return reg;
  }
  return std::nullopt;
}

// A register for requests that are to be refused: the one to read, or the first plain one.
uint32_t any_address(const CheckTarget &subject) {
  const RegisterMap map = queried_map();
  if (subject.read)
    return map.address(*subject.read);
  for (const kel_asic_block_t &info : kel_asic_blocks) {
    if (const std::optional<Register> reg = plain_register(map, info.block, 0))
      return map.address(*reg);
  }
  throw skipped("the map has no plain register");
}

// The register of --read.
kel_asic_xn_entry_t read_entry(const CheckTarget &subject) {
  return Registers(subject.asic).entry(queried_map().address(*subject.read));
}

Request read_request(const CheckTarget &subject) {
  return {TYPE_READ, Registers(subject.asic).entry(any_address(subject))};
}

void initialises_the_library(const CheckTarget &subject) {
  init_library(subject.slot);
}

CallResult send_for_unknown_driver(const Request &request) {
  return send_record(SYSSRV_REG_READ_CASE, request.memory(), kUnknownDriver);
}

// Shows that a refusal is the answer of a service that accepts other calls.
void expect_accepted(const CheckTarget &subject) {
  const std::optional<CallResult> result = send_accepted_call(subject);
  if (!result)
    throw skipped("needs --read, as the limits have no port");
  expect_success(*result, "a valid call, sent before the refusals");
}

void refuses_unknown_driver(const CheckTarget &subject) {
  expect_accepted(subject);
  expect_refusal(send_for_unknown_driver(read_request(subject)),
                 format("a call for driver %u", kUnknownDriver));
}

void refuses_unknown_case(const CheckTarget &subject) {
  expect_accepted(subject);
  expect_refusal(send_record(kUnknownCase, read_request(subject).memory()),
                 format("case 0x%08x", kUnknownCase));
}

void refuses_unknown_type(const CheckTarget &subject) {
  expect_accepted(subject);
  const Request request = read_request(subject);
  request->type = kUnknownType;
  expect_refusal(send_record(SYSSRV_REG_READ_CASE, request.memory()),
                 format("a read of type %u", kUnknownType));
}

void refuses_wrong_lengths(const CheckTarget &subject) {
  expect_accepted(subject);
  const auto entry = Registers(subject.asic).entry(any_address(subject));
  const auto expect_refused = [](uint32_t case_code, const GuardedMemory &memory) {
    expect_refusal(send_record(case_code, memory),
                   format("a record of %u bytes for case 0x%08x", memory.length(), case_code));
  };
  const Request single(TYPE_READ, entry);
  expect_refused(SYSSRV_REG_READ_CASE, {*single.operator->(), single.memory().length() - 4});
  const Request run(TYPE_READ_DHS, entry, 1);
  run->num = 2;
  expect_refused(SYSSRV_REG_READ_CASE, run.memory());
  expect_refused(SYSSRV_REG_READ_CASE, Request(TYPE_READ, entry, 1).memory());
  if (const std::optional<Port> port = any_port()) {
    expect_success(send_record(SYSSRV_MEM_READ_CASE, statistics_request(subject.asic, *port)),
                   "statistics of port " + port_text(*port));
    for (const uint32_t length : wrong_lengths(sizeof(kel_asic_qos_stats_params_t)))
      expect_refused(SYSSRV_MEM_READ_CASE, statistics_request(subject.asic, *port, length));
  }
}

// A read commits an open transaction: that shows a platform that calls the library.
void calls_no_library(const CheckTarget &subject) {
  init_library(subject.slot);
  const Request unknown = read_request(subject);
  bool sent = false;
  observe_calls([&sent](const DecodedCall &request) {
    sent = sent || request.case_code == SYSSRV_MEM_WRITE_CASE;
  });
  char name[] = "check";
  mrv_asic_transaction_start(name, 0);
  uint32_t type = 0;
  uint16_t identifier = 0;
  cardcfg_get_real_asic_type(subject.slot, 0, &type);
  query_identifier(subject.slot, &identifier);
  query_tables(query_register_map());
  send_for_unknown_driver(unknown);
  require(!sent, "no operation of the library called by the platform",
          "an open transaction was sent");
}

void answers_in_the_record(const CheckTarget &subject) {
  const auto entry = read_entry(subject);
  const auto unanswered = [&entry](uint32_t fill_pattern) {
    const Request request(TYPE_READ, entry, 0, fill_pattern);
    request.expect_success("a read");
    return request->data == fill_pattern;
  };
  require(!unanswered(Request::kFillPattern) || !unanswered(~Request::kFillPattern),
          "the value in the record", "the record as it was sent");
}

void reads_every_instance(const CheckTarget &subject) {
  const RegisterMap map = queried_map();
  for (const kel_asic_block_t &info : kel_asic_blocks) {
    for (uint32_t instance = 0; instance < map.instances(info.block); ++instance) {
      if (const std::optional<Register> reg = plain_register(map, info.block, instance))
        Request(TYPE_READ, Registers(subject.asic).entry(map.address(*reg)))
            .expect_success("a read of " + register_text(*reg));
    }
  }
}

void answers_before_it_returns(const CheckTarget &subject) {
  const auto entry = read_entry(subject);
  const Request single(TYPE_READ, entry);
  const Request run(TYPE_READ_DHS, entry, 1);
  single.expect_success("a read");
  run.expect_success("a read of one word");
  const uint32_t answers[] = {single->data, run->num, run.words()[0]};
  usleep(kLate);
  require(single->data == answers[0] && run->num == answers[1] && run.words()[0] == answers[2],
          "the record unchanged once the call has returned", "it has changed");
}

void forgets_the_addresses(const CheckTarget &subject) {
  const auto entry = read_entry(subject);
  const Request first(TYPE_READ, entry);
  const GuardedMemory params(sizeof(sys_srvc_case_params_t));
  auto *const case_params = static_cast<sys_srvc_case_params_t *>(params.data());
  *case_params = {KEL_ASIC_DRIVER_MORVANE, first.memory().data()};
  const int result = sse_call2(SYSSRV_REG_READ_CASE, case_params, first.memory().length());
  expect_success({result, errno}, "a read");
  first.memory().revoke();
  params.revoke();
  usleep(kLate);
  Request(TYPE_READ, entry).expect_success("the next read");
}

// The guard pages around each record detect accesses outside it, in other checks too. This is the
// shortest record.
void stays_within_the_record(const CheckTarget &subject) {
  Request(TYPE_READ_DHS, read_entry(subject)).send();  // refused or not
}

// Words after the requested ones, and words that the answer does not count, stay as sent.
void counts_the_words_of_a_run(const CheckTarget &subject) {
  constexpr uint32_t kRoom = 4;
  const Request request(TYPE_READ_DHS, read_entry(subject), kRoom);
  request->num = 1;
  request.expect_success("a read of one word, with room for more");
  require(request->num <= 1, "num at most the 1 word that was asked for",
          std::to_string(request->num));
  const auto written = static_cast<uint32_t>(
      std::count_if(request.words(), request.words() + kRoom,
                    [](uint32_t word) { return word != Request::kFillPattern; }));
  require(
      written == request->num, "num the number of words answered",
      format("%s answered, num is %u", count_text(written, "word", "words").c_str(), request->num));
}

void refuses_unknown_asics(const CheckTarget &subject) {
  expect_accepted(subject);
  const uint32_t address = any_address(subject);
  for (const morvane::asic &asic : unknown_asics(subject.asic))
    expect_refusal(Request(TYPE_READ, Registers(asic).entry(address)).send(),
                   "a read from " + asic_text(asic));
  const auto modules = static_cast<int>(queried_map().limits().max_modules);
  const int module = subject.asic.module;
  const std::optional<Port> port = any_port();
  if (!port)
    return;
  for (const morvane::asic &asic : std::vector<morvane::asic>{{modules, 0}, {module, 1}})
    expect_refusal(send_record(SYSSRV_MEM_READ_CASE, statistics_request(asic, *port)),
                   "statistics of " + asic_text(asic));
}

// The addresses of commands have no register, nor has the first address after the last register.
void refuses_addresses_without_register(const CheckTarget &subject) {
  expect_accepted(subject);
  const std::vector<AddressSpan> spans = address_spans(queried_map());
  const auto last =
      std::max_element(spans.begin(), spans.end(),
                       [](const AddressSpan &a, const AddressSpan &b) { return a.end < b.end; });
  if (last == spans.end())
    throw skipped("the map has no register");
  const Registers registers(subject.asic);
  const auto expect_bad_address = [&](kel_asic_access_type_t type, uint64_t address,
                                      uint32_t count) {
    const Request request(type, registers.entry(static_cast<uint32_t>(address)), count);
    const CallResult result = request.send();
    const std::string what = format("a read of %u words from 0x%08llx", std::max(count, 1U),
                                    static_cast<unsigned long long>(address));
    expect_refusal(result, what);
    require(result.error_number == EFAULT, what + " refused with EFAULT", result_text(result));
  };
  expect_bad_address(TYPE_READ, KEL_ASIC_CMD_CLEAR_DROP_COUNTERS, 0);
  expect_bad_address(TYPE_READ_DHS, UINT32_MAX - 3, 2);
  if (last->end <= KEL_ASIC_CMD_CLEAR_DROP_COUNTERS)  // else the map is wrong, which P20 reports
    expect_bad_address(TYPE_READ_DHS, last->end - 4, 2);
}

void prints_nothing(const CheckTarget &subject) {
  FILE *const output = std::tmpfile();
  if (output == nullptr)
    throw skipped("no temporary file");
  dup2(fileno(output), STDOUT_FILENO);
  queried_map();
  send_accepted_call(subject);
  std::fflush(nullptr);
  const off_t length = lseek(fileno(output), 0, SEEK_END);
  require(length <= 0, "nothing printed on standard output",
          format("%lld bytes", static_cast<long long>(length)));
}

// There may be room for more words than the request asks for.
void passes_long_records(const CheckTarget &subject) {
  const Request request(TYPE_READ_DHS, read_entry(subject), 20000);
  request->num = 1;
  request.expect_success(format("a read in a record of %u bytes", request.memory().length()));
}

}  // namespace

std::vector<Check> call_checks() {
  return {
      {"the library initialises over it", "P16", kNothing, initialises_the_library},
      {"a call for another driver is refused", "P1", kNothing, refuses_unknown_driver},
      {"an unknown case is refused", "P23", kNothing, refuses_unknown_case},
      {"an unknown type of request is refused", "P23", kNothing, refuses_unknown_type},
      {"a record of a wrong length is refused", "P23", kNothing, refuses_wrong_lengths},
      {"a module or ASIC that does not exist is refused", "P23", kNothing, refuses_unknown_asics},
      {"an address without a register is refused with EFAULT", "P33", kNothing,
       refuses_addresses_without_register},
      {"nothing is printed on standard output", "P32", kNothing, prints_nothing},
      {"no function of the platform calls the library", "P21", kNothing, calls_no_library},
      {"a read is answered in its record", "P22", kRead, answers_in_the_record},
      {"a register of each block instance can be read", "P22", kReadAll, reads_every_instance},
      {"the answer is in the record when the call returns", "P2", kRead, answers_before_it_returns},
      {"no address of a call is used after it", "P4", kRead, forgets_the_addresses},
      {"nothing is touched beyond the length of a record", "P5", kRead, stays_within_the_record},
      {"the answer to a run counts its words", "P6", kRead, counts_the_words_of_a_run},
      {"a record above 64 KiB is passed", "P29", kRead, passes_long_records},
  };
}

}  // namespace mrvctl
