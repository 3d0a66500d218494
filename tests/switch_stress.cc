// A shared switch under stress: switch_stress MORVANED SECONDS. 32 clients, each with registers of
// its own, read back what they wrote, while others are killed in the middle of calls and morvaned
// itself is killed and started again twice. What must hold all the while:
// - words that were written in one transaction are read together, and are ones that this client
//   wrote;
// - what a service has confirmed is there for as long as that service runs;
// - of dead clients and of long records nothing stays in the service.
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
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

constexpr uint32_t kClients = 32, kVictims = 6, kLives = 3;
constexpr uint32_t kRun = 3;           // words that a client writes in one transaction
constexpr int kPatience = 15;          // seconds; the service has some less
constexpr long kMaxGrowth = 4 * 1024;  // KiB that the service may keep in all

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

// Which start of the service this is; 0 where nobody knows.
uint32_t life() {
  std::array<uint32_t, 49> request = {TYPE_READ, 0, 0, address(KEL_ASIC_BLK_CC, 0)};
  return call(SYSSRV_REG_READ_CASE, request.data(), sizeof request) == 0 ? request[4] : 0;
}

// One client, until it is told to end by SIGTERM and has seen its own words.
volatile std::sig_atomic_t told_to_end = 0;

[[noreturn]] void run_client(uint32_t number) {
  std::signal(SIGTERM, [](int) {
    told_to_end = 1;
    alarm(kPatience);
  });
  const uint32_t own = address(KEL_ASIC_BLK_HI, number), first = number << 24;
  uint32_t sent = first, confirmed = 0, confirmed_life = 0, rounds = 0;
  while (told_to_end == 0 || rounds == 0) {
    const uint32_t before = life();
    std::array<uint32_t, 49 + kRun> request = {TYPE_READ_DHS, 0, 0, own, 0, 0, kRun};
    const bool was_read = call(SYSSRV_REG_READ_CASE, request.data(), sizeof request) == 0;
    const uint32_t value = request[49];
    if (was_read && (value != request[50] || value != request[51]))
      fail("a transaction was read in parts");
    if (was_read && value != 0 && (value <= first || value > sent))
      fail("a value was read that nobody wrote");
    const uint32_t behind = life();
    if (was_read && behind != 0 && behind == before && behind == confirmed_life) {
      if (value != confirmed)
        fail("a confirmed write is lost");
      ++rounds;
    }
    const bool was_written = write_words(own, kRun, ++sent) == 0;
    confirmed = sent;
    confirmed_life = was_written && behind != 0 && life() == behind ? behind : 0;
  }
  std::exit(EXIT_SUCCESS);
}

// One that is killed: in the middle of a call, or of a message that is never whole.
[[noreturn]] void run_victim(const std::string &path, uint32_t number) {
  if (number % 2 == 0) {
    while (true)
      write_words(address(KEL_ASIC_BLK_NI, number), KEL_ASIC_XN_ENTRIES, 1);
  }
  remote::Address where;
  remote::parse_address(path.c_str(), &where);
  const int raw = socket(AF_UNIX, SOCK_STREAM, 0);
  const std::string part(1 << 20, 'x');
  const remote::Hello hello = {remote::kMagic, remote::kVersion, 0, 0, 0};
  const remote::Header header = {1, remote::kCall, SYSSRV_REG_WRITE_CASE, 236, 0, 0, 8U << 20};
  if (connect(raw, where.get(), where.length) == 0) {
    send(raw, &hello, sizeof hello, MSG_NOSIGNAL);
    send(raw, &header, sizeof header, MSG_NOSIGNAL);
    send(raw, part.data(), part.size(), MSG_NOSIGNAL);
  }
  for (;;)
    pause();
}

// One that asks and takes no answer, or one that stops within a message: 0 once the service has let
// it go.
[[noreturn]] void run_sleeper(const std::string &path, bool asks) {
  remote::Address where;
  remote::parse_address(path.c_str(), &where);
  const int raw = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0);
  remote::Hello hello = {remote::kMagic, remote::kVersion, 0, 0, 0};
  const remote::Header header = {1, remote::kListClients, 0, 0, 0, 0, 0};
  if (connect(raw, where.get(), where.length) != 0 || send(raw, &hello, sizeof hello, 0) < 0)
    std::exit(EXIT_FAILURE);
  while (send(raw, &header, asks ? sizeof header : 5, MSG_NOSIGNAL) > 0 && asks) {
  }
  pollfd gone = {raw, 0, 0};
  std::exit(poll(&gone, 1, kPatience * 1000) == 1 ? EXIT_SUCCESS : EXIT_FAILURE);
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

// Nothing where there is no child: the number 0 would name all processes of the group.
int end(pid_t child, int signal) {
  if (child == 0)
    return 0;
  int status = 0;
  kill(child, signal);
  waitpid(child, &status, 0);
  return status;
}

// A service that has told which of its lives this is.
pid_t start_service(const char *program, const std::string &path, uint32_t number) {
  const pid_t service = fork_child([&] {
    dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);  // it has much to say of those who die
    execl(program, "morvaned", "--socket", path.c_str(), nullptr);
    _exit(127);
  });
  if (vp_connect(path.c_str()) != 0 || write_words(address(KEL_ASIC_BLK_CC, 0), 1, number) != 0)
    fail("no service comes up");
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
  if (argc != 3)
    fail("usage: switch_stress MORVANED SECONDS");
  if (mkdtemp(folder) == nullptr)
    fail("no folder");
  std::atexit(remove_folder);
  const std::string path = std::string(folder) + "/socket";
  setenv("MORVANE_SWITCH", path.c_str(), 1);
  pid_t service = start_service(argv[1], path, 1);
  std::vector<pid_t> clients(kClients), victims(kVictims);
  for (uint32_t i = 0; i < kClients; ++i)
    clients[i] = fork_child([i] { run_client(i); });
  const auto life_time =
      std::chrono::milliseconds(std::lround(std::strtod(argv[2], nullptr) * 1000 / kLives));
  std::minstd_rand random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same course each time
  size_t files = 0;
  long memory = 0;
  std::array<pid_t, 2> sleepers = {};
  for (uint32_t number = 1; number <= kLives; ++number) {
    if (number > 1) {
      end(service, SIGKILL);
      service = start_service(argv[1], path, number);
    }
    files = open_files(service);
    memory = resident_memory(service);
    for (size_t i = 0; number == kLives && i < sleepers.size(); ++i)
      sleepers[i] = fork_child([&] { run_sleeper(path, i == 0); });
    const auto end_of_life = Clock::now() + life_time;
    while (Clock::now() < end_of_life) {
      const uint32_t one = static_cast<uint32_t>(random()) % kVictims;
      end(victims[one], SIGKILL);
      victims[one] = fork_child([&] { run_victim(path, one); });
      usleep(static_cast<useconds_t>(random() % 10000));
    }
  }
  for (const pid_t victim : victims)
    end(victim, SIGKILL);
  for (const pid_t client : clients) {
    if (end(client, SIGTERM) != 0)
      fail("a client ended badly, or never saw its own words");
  }
  for (const pid_t sleeper : sleepers) {
    if (end(sleeper, 0) != 0)
      fail("a client that takes no answer, or ends no message, is not let go");
  }
  const vp_client *list = nullptr;
  uint32_t count = 0;
  for (int i = 0; i < 100 && (vp_clients(&list, &count) != 0 || count != 1); ++i)
    usleep(10000);
  std::vector<uint32_t> long_record(3 << 20);
  long_record[0] = TYPE_READ_DHS;
  if (call(SYSSRV_REG_READ_CASE, long_record.data(), long_record.size() * sizeof(uint32_t)) != 0 ||
      life() == 0)  // whose answer says that the service is through with the record
    fail("a long record is not served");
  const size_t files_left = open_files(service);
  const long growth = resident_memory(service) - memory;
  end(service, SIGTERM);
  if (count != 1 || files_left > files)
    fail(std::to_string(files_left) + " open files stay, of " + std::to_string(count) + " clients");
  if (growth > kMaxGrowth)
    fail("the service has grown by " + std::to_string(growth) + " KiB");
  return EXIT_SUCCESS;
}
