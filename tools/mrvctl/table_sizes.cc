// Learning the entry sizes of table registers from the library.
//
// The library has no operation that tells an entry size, but it refuses a run of entries whose
// words number more than kMostWords, before it does anything. A run of kMostWords / s entries is
// refused exactly where entries are larger than s words, so the smallest s that is not refused is
// the size. A run that is not refused must come to nothing: it would need a request buffer of 4
// GiB, and the questions are asked in a child process whose address space is limited to less. There
// the library answers that the buffer cannot grow, without having read a word or called the
// service. The child also keeps the library's trace of the questions away from the user's.
//
// While a transaction is open, a run would be added to it instead, so nothing is asked then: a
// script asks for all named tables when it opens one.
#include "table_sizes.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "errors.h"
#include "session.h"

namespace mrvctl {
namespace {

// Words of the longest run: with its header it has a size of 32 bits.
constexpr uint32_t kMostWords = 1073741774;

// The child's address space: less than the request of a run of kMostWords words, or of as many as
// kMostWords / s entries of s words have.
constexpr rlim_t kChildMemory = rlim_t{1} << 31;

syserr_t ask(const Table &table, uint32_t index, uint32_t entry_size) {
  uint32_t word = 0;
  char file[] = "mrvctl";
  return lib_mrv_asic_write_dhs(0, 0, table.block, 0, table.vreg, index, &word,
                                kMostWords / entry_size, 0, file, 0, "dhs");
}

uint32_t ask_entry_size(const Table &table) {
  for (uint32_t size = 1; size <= kLargestEntry; ++size) {
    if (ask(table, 0, size) == KEL_ASIC_SYSERR_NO_BUFFER)
      return size;
  }
  return 0;
}

// Accepted indices run from 0 without a gap.
uint32_t ask_highest_index(const Table &table) {
  uint32_t accepted = 0;
  uint32_t beyond = UINT32_MAX;
  if (ask(table, beyond, table.entry_size) == KEL_ASIC_SYSERR_NO_BUFFER)
    return beyond;
  while (beyond - accepted > 1) {
    const uint32_t middle = accepted + (beyond - accepted) / 2;
    const bool ok = ask(table, middle, table.entry_size) == KEL_ASIC_SYSERR_NO_BUFFER;
    (ok ? accepted : beyond) = middle;
  }
  return accepted;
}

// In the child, cut off from the parent's output and trace log.
[[noreturn]] void answer_in_child(Table *tables, size_t count) {
  const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  rlimit limit = {};
  if (null < 0 || dup2(null, STDOUT_FILENO) < 0 || dup2(null, STDERR_FILENO) < 0 ||
      getrlimit(RLIMIT_AS, &limit) != 0)
    _exit(1);
  closefrom(STDERR_FILENO + 1);
  limit.rlim_cur = std::min(limit.rlim_cur, kChildMemory);
  if (setrlimit(RLIMIT_AS, &limit) != 0)
    _exit(1);
  for (Table *table = tables; table != tables + count; ++table) {
    table->entry_size = ask_entry_size(*table);
    if (table->entry_size != 0)
      table->highest_index = ask_highest_index(*table);
  }
  _exit(0);
}

// Fills in the tables' sizes and ranges; a size of 0 where there is no table.
void ask_in_child(std::vector<Table> &tables) {
  const size_t bytes = tables.size() * sizeof(Table);
  void *shared = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (shared == MAP_FAILED)
    throw OperationFailed(std::string("no memory to share: ") + std::strerror(errno));
  std::memcpy(shared, tables.data(), bytes);
  const pid_t child = fork();
  if (child == 0)
    answer_in_child(static_cast<Table *>(shared), tables.size());
  int status = -1;
  while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  std::memcpy(tables.data(), shared, bytes);
  munmap(shared, bytes);
  if (child < 0 || status != 0)
    throw OperationFailed("the library could not be asked for its entry sizes");
}

}  // namespace

const std::vector<Table> &TableSizes::named(Session &session) {
  if (named_)
    return *named_;
  if (session.transaction.open())
    throw UsageError("the tables cannot be asked for while a transaction is open");
  std::vector<Table> tables;
  for (uint32_t block = 0; block < KEL_ASIC_NUM_BLK; ++block) {
    for (const RegisterName &named : named_registers(static_cast<kel_asic_blk_t>(block)))
      tables.push_back({named.block, named.vreg, 0, 0});
  }
  ask_in_child(tables);
  tables.erase(std::remove_if(tables.begin(), tables.end(),
                              [](const Table &table) { return table.entry_size == 0; }),
               tables.end());
  named_ = std::move(tables);
  return *named_;
}

std::optional<Table> TableSizes::find(Session &session, kel_asic_blk_t block, kel_asic_reg_t vreg) {
  const auto is_wanted = [&](const Table &table) {
    return table.block == block && table.vreg == vreg;
  };
  if (named_ && register_name(block, vreg) != nullptr) {
    const auto found = std::find_if(named_->begin(), named_->end(), is_wanted);
    return found == named_->end() ? std::nullopt : std::make_optional(*found);
  }
  if (session.transaction.open())
    throw UsageError(
        "the entry size of a register without a name cannot be asked for in a transaction");
  std::vector<Table> one = {{block, vreg, 0, 0}};
  ask_in_child(one);
  return one[0].entry_size == 0 ? std::nullopt : std::make_optional(one[0]);
}

}  // namespace mrvctl
