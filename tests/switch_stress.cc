// A shared switch under stress: switch_stress MORVANED SECONDS [SWITCH_STRESS]. 32 clients, each
// with its own registers, read back what they wrote. Clients are killed and stopped at any point,
// others send damaged messages and parts of long records, and morvaned is killed and started again
// twice.
// Each client has a journal in shared memory, which survives its SIGKILL. At all times:
// - the words of one transaction are read together, and this client wrote them;
// - a confirmed write is there for as long as that service runs, also after its client was killed;
// - of dead clients and of long records nothing remains in the service.
// If another build of this program is given, half of the clients run it: both word sizes at a time.
// For a soak, run it with the sanitizers for 1200 seconds; it prints its figures.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cinttypes>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "kel_asic_lib_common.h"
#include "platform/register_map.h"
#include "platform/system_service.h"
#include "virtual_platform.h"
#include "wire/address.h"
#include "wire/messages.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr uint32_t kClients = 32, kHostile = 6, kLives = 3;
constexpr uint32_t kRun = 3;  // words that a client writes in one transaction
constexpr long kMaxGrowth = (SANITIZED ? 32 : 4) * 1024;  // KiB that the service may keep

// What a client knows of its registers. In files that both word sizes map.
struct Journal {
  uint32_t sent;       // the last value that may have been written
  uint32_t confirmed;  // the last one that a service confirmed:
  uint32_t life;       // this one; 0 if none
  uint32_t writes;
  uint32_t reads;  // that found a confirmed value
};

struct Journals {
  uint32_t must_end;  // 1: each client ends as soon as it has seen its own words
  Journal of[kClients];
};

char folder[] = "/tmp/switch_stress_XXXXXX";
const pid_t first_process = getpid();

void remove_folder() {
  if (getpid() == first_process)
    std::filesystem::remove_all(folder);
}

[[noreturn]] void fail(const std::string &what) {
  std::fprintf(stderr, "switch_stress: %s\n", what.c_str());
  std::exit(EXIT_FAILURE);
}

uint32_t address(kel_asic_blk_t block, uint32_t instance) {
  return kel_asic_get_all_base_table(KEL_ASIC_VER_B0)[block][instance] + 4 * 10;
}

// 0 or an errno. Only what says that the service is away is no failure of the test.
int call(uint32_t case_code, void *record, size_t length) {
  sys_srvc_case_params_t params = {KEL_ASIC_DRIVER_MORVANE, record};
  if (sse_call2(case_code, &params, static_cast<uint32_t>(length)) == 0)
    return 0;
  if (errno != ECONNRESET && errno != ECONNREFUSED && errno != ENOENT)
    fail(std::string("a call failed: ") + std::strerror(errno));
  return errno;
}

int write_words(uint32_t first, uint32_t count, uint32_t value) {
  static kel_asic_xn_t transaction;
  transaction.num = static_cast<int32_t>(count);
  for (uint32_t i = 0; i < count; ++i)
    transaction.xn[i] = {0, 0, first + 4 * i, value, UINT32_MAX};
  return call(SYSSRV_MEM_WRITE_CASE, &transaction, sizeof transaction);
}

// Which start of the service this is; 0 if it does not answer.
uint32_t life() {
  std::array<uint32_t, 49> request = {TYPE_READ, 0, 0, address(KEL_ASIC_BLK_CC, 0)};
  return call(SYSSRV_REG_READ_CASE, request.data(), sizeof request) == 0 ? request[4] : 0;
}

volatile Journals *map_journals(const std::string &path) {
  const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  constexpr size_t size = sizeof(Journals);
  void *const journals = ftruncate(file, size) == 0
                             ? mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0)
                             : MAP_FAILED;
  close(file);
  if (journals == MAP_FAILED)
    fail("no journals");
  return static_cast<volatile Journals *>(journals);
}

// A confirmed value; killed between two steps, the journal claims less than what is true.
void confirm(volatile Journal &journal, uint32_t in_life) {
  if (journal.life != in_life)
    journal.life = 0;
  journal.confirmed = journal.sent;
  journal.life = in_life;
  journal.writes = journal.writes + 1;
}

[[noreturn]] void run_client(volatile Journals &journals, uint32_t number) {
  volatile Journal &journal = journals.of[number];
  const uint32_t own = address(KEL_ASIC_BLK_HI, number), first = number << 24;
  if (journal.sent == 0)
    journal.sent = first;
  for (uint32_t rounds = 0; journals.must_end == 0 || rounds == 0;) {
    const uint32_t before = life();
    std::array<uint32_t, 49 + kRun> request = {TYPE_READ_DHS, 0, 0, own, 0, 0, kRun};
    const bool was_read = call(SYSSRV_REG_READ_CASE, request.data(), sizeof request) == 0;
    const uint32_t value = request[49];
    if (was_read && (value != request[50] || value != request[51]))
      fail("a transaction was read in parts");
    if (was_read && value != 0 && (value <= first || value > journal.sent))
      fail("a value was read that its client did not write");
    const uint32_t after = life();
    if (was_read && after != 0 && after == before && after == journal.life) {
      if (value != journal.confirmed && value != journal.sent)  // written when it was killed
        fail("a confirmed write is lost");
      journal.confirmed = value;
      journal.reads = journal.reads + 1;
      ++rounds;
    }
    journal.sent = journal.sent + 1;
    if (write_words(own, kRun, journal.sent) == 0 && after != 0 && life() == after)
      confirm(journal, after);
  }
  std::exit(EXIT_SUCCESS);
}

int connect_raw(const std::string &path) {
  remote::Address where;
  remote::parse_address(path.c_str(), &where);
  const int raw = socket(AF_UNIX, SOCK_STREAM, 0);
  static_cast<void>(connect(raw, where.get(), where.length));  // if it fails, so does each send
  return raw;
}

bool send_bytes(int raw, const void *bytes, size_t count) {
  return send(raw, bytes, count, MSG_NOSIGNAL) > 0;
}

// One that is killed in the middle of a long record, or while it sends damaged headers. None of
// them is a request that changes the switch.
[[noreturn]] void run_hostile(const std::string &path, uint32_t seed) {
  std::minstd_rand random(seed + 1);
  const std::string part(1 << 20, 'x');
  const remote::Hello hello = {remote::kMagic, remote::kVersion, 0, 0, 0};
  const remote::Header record = {1, remote::kCall, SYSSRV_REG_WRITE_CASE, 236, 0, 0, 8U << 20};
  for (uint32_t length = static_cast<uint32_t>(random());; length /= 7) {
    const int raw = connect_raw(path);
    if (seed % 2 == 0 && send_bytes(raw, &hello, sizeof hello) &&
        send_bytes(raw, &record, sizeof record) && send_bytes(raw, part.data(), part.size()))
      pause();
    const remote::Header damaged = {seed, length % 9, 1, 235, length % 5 == 0 ? -1 : 0, 0, length};
    send_bytes(raw, &hello, sizeof hello - length % 3 / 2);
    while (send_bytes(raw, &damaged, sizeof damaged) && length % 2 == 0) {
    }
    close(raw);
  }
}

// The child runs what never returns.
template <typename Run>
pid_t fork_child(Run run) {
  const pid_t child = fork();
  if (child < 0)
    fail("fork failed");
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    run();
  }
  return child;
}

pid_t start_client(const char *program, const std::string &journals, uint32_t number) {
  return fork_child([&] {
    execl(program, "switch_stress", "client", journals.c_str(), std::to_string(number).c_str(),
          nullptr);
    _exit(127);
  });
}

// Nothing if there is no child: the number 0 would name all processes of the group.
int end(pid_t child, int signal) {
  if (child == 0)
    return 0;
  int status = 0;
  kill(child, signal);
  waitpid(child, &status, 0);
  return status;
}

// A service that holds the number of its life.
pid_t start_service(const char *program, const std::string &path, uint32_t number) {
  const pid_t service = fork_child([&] {
    dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);  // a line for each that is killed
    execl(program, "morvaned", "--socket", path.c_str(), nullptr);
    _exit(127);
  });
  if (vp_connect(path.c_str()) != 0 || write_words(address(KEL_ASIC_BLK_CC, 0), 1, number) != 0)
    fail("the service does not start");
  return service;
}

size_t open_files(pid_t process) {
  const std::filesystem::directory_iterator files("/proc/" + std::to_string(process) + "/fd");
  return static_cast<size_t>(std::distance(begin(files), end(files)));
}

long resident_memory(pid_t process) {
  std::ifstream status("/proc/" + std::to_string(process) + "/status");
  for (std::string word; status >> word;) {
    long size = 0;
    if (word == "VmRSS:" && status >> size)
      return size;
  }
  fail("the service is gone");
}

}  // namespace

int main(int argc, char **argv) {
  if (argc == 4 && std::strcmp(argv[1], "client") == 0) {
    const auto number = static_cast<uint32_t>(std::strtoul(argv[3], nullptr, 10));
    run_client(*map_journals(argv[2]), number);
  }
  if (argc != 3 && argc != 4)
    fail("usage: switch_stress MORVANED SECONDS [SWITCH_STRESS]");
  if (mkdtemp(folder) == nullptr)
    fail("no folder");
  std::atexit(remove_folder);
  const std::string path = std::string(folder) + "/socket", journals = path + ".journals";
  const std::array<const char *, 2> programs = {"/proc/self/exe",
                                                argc == 4 ? argv[3] : "/proc/self/exe"};
  setenv("MORVANE_SWITCH", path.c_str(), 1);
  volatile Journals *const journal = map_journals(journals);
  pid_t service = start_service(argv[1], path, 1);
  std::vector<pid_t> clients(kClients), hostile(kHostile);
  for (uint32_t i = 0; i < kClients; ++i)
    clients[i] = start_client(programs.at(i % 2), journals, i);
  const auto life_time =
      std::chrono::milliseconds(std::lround(std::strtod(argv[2], nullptr) * 1000 / kLives));
  std::minstd_rand random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same course each time
  size_t files = 0;
  long memory = 0;
  uint32_t killed = 0, stopped = 0, attacks = 0;
  for (uint32_t number = 1; number <= kLives; ++number) {
    if (number > 1) {
      end(service, SIGKILL);
      service = start_service(argv[1], path, number);
    }
    files = open_files(service);
    memory = resident_memory(service);
    const auto end_of_life = Clock::now() + life_time;
    while (Clock::now() < end_of_life) {
      const uint32_t one = static_cast<uint32_t>(random()) % kClients;
      pid_t &client = clients[one], &attacker = hostile[one % kHostile];
      const bool stops = random() % 2 == 0;
      kill(client, stops ? SIGSTOP : SIGCONT);
      stopped += stops ? 1 : 0;
      if (random() % 8 == 0) {
        end(client, SIGKILL);
        client = start_client(programs.at(one % 2), journals, one);
        ++killed;
      }
      end(attacker, SIGKILL);
      attacker = fork_child([&] { run_hostile(path, attacks); });
      ++attacks;
      usleep(static_cast<useconds_t>(random() % 10000));
    }
  }
  for (const pid_t attacker : hostile)
    end(attacker, SIGKILL);
  journal->must_end = 1;
  for (const pid_t client : clients) {
    if (end(client, SIGCONT) != 0)
      fail("a client failed");
  }
  const vp_client *list = nullptr;
  uint32_t count = 0;
  for (int i = 0; i < 100 && (vp_clients(&list, &count) != 0 || count != 1); ++i)
    usleep(10000);
  std::vector<uint32_t> long_record(3 << 20);
  long_record[0] = TYPE_READ_DHS;
  if (call(SYSSRV_REG_READ_CASE, long_record.data(), long_record.size() * sizeof(uint32_t)) != 0 ||
      life() == 0)  // the service has released the record before it replies
    fail("a long record is not served");
  const size_t files_left = open_files(service);
  const long growth = resident_memory(service) - memory;
  end(service, SIGTERM);
  if (count != 1 || files_left > files)
    fail(std::to_string(files_left) + " open files remain, of " + std::to_string(count) +
         " clients");
  if (growth > kMaxGrowth)
    fail("the service has grown by " + std::to_string(growth) + " KiB");
  uint64_t writes = 0, reads = 0;
  for (uint32_t i = 0; i < kClients; ++i) {
    writes += journal->of[i].writes;
    reads += journal->of[i].reads;
  }
  std::printf("%" PRIu64 " confirmed writes, %" PRIu64 " verified reads; %" PRIu32
              " clients killed, %" PRIu32 " stopped, %" PRIu32 " hostile; memory grew by %ld KiB\n",
              writes, reads, killed, stopped, attacks, growth);
  return EXIT_SUCCESS;
}
