// The recorder and the reader of its files, from end to end: this program runs itself again as a
// client whose service calls are recorded.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "kel_asic_lib_common.h"
#include "platform/system_service.h"
#include "reader.h"

namespace {

using Bytes = std::vector<uint8_t>;
using recording::Call;
using recording::Reader;

constexpr std::size_t kHeader = sizeof(kel_asic_reg_access_params_t);
constexpr uint32_t kFails = 1, kAnswersOddly = 2, kOverwritesType = 3, kKills = 4,
                   kForks = 5;  // drivers

Bytes register_record(uint32_t type, uint32_t num, std::size_t words, uint32_t value) {
  std::vector<uint32_t> fields(kHeader / 4 + words, value);
  fields[0] = type;
  fields[6] = num;
  Bytes record(fields.size() * 4);
  std::memcpy(record.data(), fields.data(), record.size());
  return record;
}

// What a client sends, and how much of it and of its answer a note keeps.
struct Sample {
  uint32_t case_code, driver;
  Bytes record;
  std::size_t request, answer;
  bool request_cut = false, answer_cut = false;
};

Bytes transaction(int32_t num) {
  Bytes record(sizeof(kel_asic_xn_t), 0x33);
  std::memcpy(&record[36], &num, sizeof num);
  return record;
}

Bytes qos(uint8_t type) {
  Bytes record(sizeof(kel_asic_qos_stats_params_t));
  record[0] = type;
  record[12] = 9;
  record[1136] = 8;
  return record;
}

std::vector<Sample> samples() {
  constexpr uint32_t reads = SYSSRV_REG_READ_CASE, writes = SYSSRV_REG_WRITE_CASE;
  return {{reads, 236, register_record(TYPE_READ, 0, 0, 1), 196, 196},
          {writes, 236, register_record(TYPE_WRITE, 0, 0, 2), 196, 196},
          {SYSSRV_SP_TIME_CONFIGURE, 236, register_record(0, 0, 0, 3), 196, 196},
          {writes, 236, register_record(TYPE_WRITE_DHS, 3, 3, 4), 208, 196},
          {writes, 236, register_record(TYPE_WRITE_DHS, 3000, 3000, 5), 8388, 196, true},
          {reads, 236, register_record(TYPE_READ_DHS, 3, 3, 6), 196, 208},
          {reads, kOverwritesType, register_record(TYPE_READ_DHS, 3, 3, 6), 196, 208},
          {reads, 236, register_record(TYPE_READ_DHS, 3000, 3000, 7), 196, 8388, false, true},
          {reads, 236, register_record(TYPE_READ_DHS, 5000, 2, 8), 196, 204},
          {reads, kFails, register_record(TYPE_READ, 0, 0, 9), 196, 0},
          {reads, kAnswersOddly, register_record(TYPE_READ, 0, 0, 10), 196, 0},
          {SYSSRV_MEM_WRITE_CASE, 236, transaction(2), 80, 0},
          {SYSSRV_MEM_WRITE_CASE, 236, transaction(512), 10280, 0},
          {SYSSRV_MEM_WRITE_CASE, 236, transaction(513), 256, 256, true, true},
          {SYSSRV_MEM_WRITE_CASE, 236, transaction(-1), 256, 256, true, true},
          {SYSSRV_MEM_READ_CASE, 236, qos(QOS_STATS_GET), 1140, 1140},
          {SYSSRV_MEM_READ_CASE, 236, qos(QOS_STATS_CLEAR), 1140, 0},
          {writes, 236, Bytes(195, 11), 195, 195},
          {writes, 236, register_record(TYPE_WRITE_DHS, 2048, 2048, 13), 8388, 196},
          {77, 236, Bytes(10, 12), 10, 10},
          {77, 236, {}, 0, 0}};
}

// The clock of a client: it begins beyond 2038, and the wall's goes back by a second each time.
bool own_clock = false;

pid_t forked = -1;     // by the service
uint32_t handled = 0;  // signals

template <typename Timespec>
int read_clock(clockid_t clock, Timespec *now) {
  static int64_t wall = 5000000000, monotonic = 0;
  if (!own_clock)
    return static_cast<int>(syscall(sizeof(long) == 4 ? 403 : 228, clock, now));
  *now = {};
  now->tv_sec = static_cast<decltype(now->tv_sec)>(clock == CLOCK_REALTIME ? wall-- : 7);
  now->tv_nsec = clock == CLOCK_REALTIME ? 1 : static_cast<decltype(now->tv_nsec)>(++monotonic);
  return 0;
}

}  // namespace

extern "C" {

#if __SIZEOF_LONG__ == 4
struct wide_timespec {
  int64_t tv_sec;
  int32_t tv_nsec, padding;
};
// Under the name by which it is called where seconds have 64 bits.
int __clock_gettime64(clockid_t clock, wide_timespec *now) {  // NOLINT(*-identifier,cert-dcl*)
  return read_clock(clock, now);
}
#else
int clock_gettime(clockid_t clock, timespec *now) noexcept {
  return read_clock(clock, now);
}
#endif

// The service: it overwrites what an answer may, and of records that it does not know everything.
int fake_service_call(uint32_t case_code, sys_srvc_case_params_t *params, uint32_t length) {
  if (params == nullptr || params->params == nullptr)
    return 0;
  auto *const record = static_cast<uint8_t *>(params->params);
  const bool is_register =
      case_code != 77 && length >= kHeader && case_code != SYSSRV_MEM_READ_CASE;
  if (params->caseId == kKills)
    raise(SIGKILL);
  if (params->caseId == kForks)
    forked = fork();
  if (params->caseId == kOverwritesType)
    record[0] = 99;
  if (case_code == SYSSRV_MEM_READ_CASE) {
    std::memset(record + 16, 0x5A, sizeof(kel_asic_qos_stats_t));
  } else if (is_register) {
    std::memset(record + 16, 0x5A, 4);
    std::memset(record + kHeader, 0x5A, length - kHeader);
  } else {
    std::memset(record, 0x5A, length);
  }
  errno = ETIMEDOUT;
  return params->caseId == kFails ? -1 : params->caseId == kAnswersOddly ? 7 : 0;
}
}

namespace {

// Makes the call twice, recorded and straight to the service: nothing may differ.
bool same_as_without_recorder(const Sample &sample) {
  Bytes recorded = sample.record, straight = sample.record;
  sys_srvc_case_params_t params = {sample.driver, recorded.empty() ? nullptr : recorded.data()};
  sys_srvc_case_params_t others = {sample.driver, straight.empty() ? nullptr : straight.data()};
  const auto length = static_cast<uint32_t>(sample.record.size());
  errno = 0;
  const int result = sse_call2(sample.case_code, &params, length);
  const int error_number = errno;
  errno = 0;
  return result == fake_service_call(sample.case_code, &others, length) && error_number == errno &&
         recorded == straight && params.caseId == sample.driver;
}

// A write whose words all tell the same, so that a note that is not whole shows it.
constexpr std::size_t kWords = 20;
struct Write {
  uint32_t fields[kHeader / 4 + kWords];
  void send(uint32_t value, uint32_t driver = 236) {
    std::fill(std::begin(fields), std::end(fields), value);
    fields[0] = TYPE_WRITE_DHS;
    fields[6] = kWords;
    sys_srvc_case_params_t params = {driver, fields};
    sse_call2(SYSSRV_REG_WRITE_CASE, &params, sizeof fields);
  }
};

uint32_t value_of(const Call &call) {
  std::vector<uint32_t> words(kWords);
  EXPECT_EQ(call.request.size(), kHeader + 4 * kWords);
  std::memcpy(words.data(), &call.request[call.request.size() - 4 * kWords], 4 * kWords);
  EXPECT_EQ(words, std::vector<uint32_t>(kWords, words[0]));
  return words[0];
}

std::ptrdiff_t open_files() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return std::distance(begin(files), end(files));
}

// The processes that are killed, in memory that they share with the test.
struct Life {
  pid_t pid;
  volatile uint32_t returned;  // how many of its calls
};

Life *map_lives(const char *path, std::size_t count) {
  const int file = open(path, O_RDWR | O_CREAT, 0600);
  EXPECT_EQ(ftruncate(file, static_cast<off_t>(count * sizeof(Life))), 0);
  void *const mapped =
      mmap(nullptr, count * sizeof(Life), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  return static_cast<Life *>(mapped);
}

[[noreturn]] void spin(Life *life) {
  Write write = {};
  for (uint32_t i = 1;; ++i) {
    write.send(i);
    life->returned = i;
  }
}

// Each dies at a moment that nobody chose: most behind their first call, some wherever they are.
void live_and_die(Life *lives, std::size_t count) {
  std::uniform_int_distribution<useconds_t> moment(0, 500);
  std::minstd_rand random(static_cast<unsigned>(getpid()));
  for (Life *life = lives; life != lives + count; ++life) {
    const pid_t child = fork();
    if (child == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      spin(life);
    }
    if (child < 0)
      _exit(1);
    life->pid = child;
    const bool anywhere = random() % 8 == 0;
    while (!anywhere && life->returned == 0)
      usleep(50);
    usleep(moment(random));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
  }
}

void on_alarm(int) {
  ++handled;
  Write().send(5);
}

// What this program does as a client.
int client(const std::string &what) {
  Write write = {};
  own_clock = true;
  if (what == "samples") {
    const std::ptrdiff_t files = open_files();
    for (const Sample &sample : samples()) {
      if (!same_as_without_recorder(sample) || open_files() != files)
        return 1;
    }
    return sse_call2(77, nullptr, 3);
  }
  if (what == "sealed") {  // any system call but read, write and exit kills it
    write.send(1);
    const auto calls = static_cast<uint32_t>(std::stoul(getenv("CALLS")));
    prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT);
    for (uint32_t i = 2; i <= calls; ++i)
      write.send(i);
    syscall(SYS_exit, 0);
  }
  if (what == "dies") {
    write.send(1);
    write.send(2, kKills);
  }
  if (what == "dies in a long call") {
    Bytes record = register_record(TYPE_WRITE_DHS, 3000, 3000, 1);
    sys_srvc_case_params_t params = {kKills, record.data()};
    sse_call2(SYSSRV_REG_WRITE_CASE, &params, static_cast<uint32_t>(record.size()));
  }
  if (what == "fork" || what == "clone" || what == "below") {
    write.send(1, what == "below" ? kForks : 236);
    if (what != "below")  // Of a bare clone the C library knows nothing.
      forked =
          what == "fork" ? fork() : static_cast<pid_t>(syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0));
    if (forked == 0) {
      write.send(2);
      write.send(3);
      _exit(0);
    }
    wait(nullptr);
    write.send(4);
  }
  if (what == "threads") {
    own_clock = false;
    std::vector<std::thread> threads;
    for (uint32_t i = 1; i <= 4; ++i) {
      threads.emplace_back([i] {
        for (uint32_t n = 0; n < 1000; ++n)
          Write().send(i << 16 | n);
      });
    }
    for (std::thread &thread : threads)
      thread.join();
  }
  if (what == "signals") {
    const itimerval often = {{0, 50}, {0, 50}};
    write.send(6);
    signal(SIGALRM, on_alarm);
    setitimer(ITIMER_REAL, &often, nullptr);
    for (uint32_t i = 0; i < 20000; ++i)
      write.send(4);
    signal(SIGALRM, SIG_IGN);
    write.send(100 + handled);
  }
  if (what == "spin") {
    Life life = {};
    spin(&life);
  }
  if (what == "kills") {
    own_clock = false;
    const auto count = std::stoul(getenv("KILLS"));
    live_and_die(map_lives(getenv("LIVES"), count), count);
  }
  return 0;
}

class Recorder : public testing::Test {
 protected:
  void SetUp() override {
    char name[] = "/tmp/recorder_test_XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    folder_ = name;
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  // Starts a client; `prepare` runs in the new process before it.
  pid_t start(
      const std::string &what, const std::map<std::string, std::string> &environment = {},
      const std::function<void()> &prepare = [] {}) {
    const pid_t child = fork();
    if (child < 0)
      throw std::runtime_error("fork failed");
    if (child != 0)
      return child;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    setenv("MORVANE_RECORD", folder_.c_str(), 1);
    setenv("MORVANE_RECORD_SIZE", "65536", 1);
    for (const auto &[name, value] : environment)
      setenv(name.c_str(), value.c_str(), 1);
    dup2(open((folder_ + ".err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
    prepare();
    const char *const name = getenv("NAME");
    execl("/proc/self/exe", name == nullptr ? "recorder_test" : name, "--client", what.c_str(),
          nullptr);
    _exit(99);
  }

  int run(
      const std::string &what, const std::map<std::string, std::string> &environment = {},
      const std::function<void()> &prepare = [] {}) {
    int status = 0;
    waitpid(start(what, environment, prepare), &status, 0);
    std::ifstream file(folder_ + ".err");
    err_.assign(std::istreambuf_iterator<char>(file), {});
    std::filesystem::remove(folder_ + ".err");
    return status;
  }

  std::vector<std::string> recordings() const {
    std::set<std::string> paths;
    for (const auto &entry : std::filesystem::directory_iterator(folder_))
      paths.insert(entry.path());
    return {paths.begin(), paths.end()};
  }

  std::string folder_, err_;
};

std::vector<Call> calls_of(Reader &reader) {
  std::vector<Call> calls;
  for (Call call; reader.next(&call);)
    calls.push_back(call);
  return calls;
}

std::vector<Call> calls_in(const std::string &path) {
  Reader reader(path);
  std::vector<Call> calls = calls_of(reader);
  EXPECT_EQ(reader.damaged_bytes() + reader.unknown_notes(), 0U);
  return calls;
}

TEST_F(Recorder, notes_what_means_something_and_changes_nothing) {
  const auto largest_file = [] {
    const rlimit limit = {65536 + 16384, 65536 + 16384};
    setrlimit(RLIMIT_FSIZE, &limit);
  };
  ASSERT_EQ(run("samples", {}, largest_file), 0);
  const std::vector<std::string> files = recordings();
  ASSERT_EQ(files.size(), 1U);
  struct stat status = {};
  stat(files[0].c_str(), &status);
  EXPECT_EQ(status.st_mode & 07777, 0600U);
  EXPECT_EQ(status.st_size, 65536 + 16384);

  const Reader reader(files[0]);
  EXPECT_EQ(reader.process().program, "recorder_test");
  EXPECT_EQ(reader.process().parent_pid, static_cast<uint32_t>(getpid()));
  EXPECT_EQ(reader.process().word_size, sizeof(void *));
  EXPECT_EQ(reader.process().boot_id.size(), 36U);
  EXPECT_EQ(files[0], folder_ + "/recorder_test." + std::to_string(reader.process().pid) + ".mrec");

  const std::vector<Call> calls = calls_in(files[0]);
  ASSERT_EQ(calls.size(), samples().size() + 1);
  std::size_t number = 0;
  for (const Sample &sample : samples()) {
    const Call &call = calls[number++];
    SCOPED_TRACE(number);
    Bytes answer = sample.record;
    sys_srvc_case_params_t params = {sample.driver, answer.empty() ? nullptr : answer.data()};
    const auto length = static_cast<uint32_t>(answer.size());
    const int result = fake_service_call(sample.case_code, &params, length);
    if (sample.driver == kOverwritesType)
      answer[0] = sample.record[0];
    answer.resize(sample.answer);
    EXPECT_EQ(call.number, number);
    EXPECT_EQ(call.wall_ns, (uint64_t{5000000000} - number) * 1000000000 + 1);
    EXPECT_EQ(call.monotonic_ns, 7000000000U + uint64_t{2} * number);
    EXPECT_EQ(call.duration_ns, 1U);
    EXPECT_EQ(call.case_code, sample.case_code);
    EXPECT_EQ(call.driver, sample.driver);
    EXPECT_EQ(call.length, length);
    EXPECT_EQ(call.result, result);
    EXPECT_EQ(call.error_number, result < 0 ? ETIMEDOUT : 0);
    EXPECT_EQ(call.request, Bytes(sample.record.begin(),
                                  sample.record.begin() + static_cast<ptrdiff_t>(sample.request)));
    EXPECT_EQ(call.answer, answer);
    EXPECT_EQ(call.request_cut, sample.request_cut);
    EXPECT_EQ(call.answer_cut, sample.answer_cut);
    EXPECT_TRUE(call.returned);
  }
}

TEST_F(Recorder, makes_no_system_call_and_wraps) {
  // A note of 96 + 276 + 8 bytes, in steps of 16. The larger ring has no rest; once it is just
  // full.
  const std::pair<uint32_t, uint32_t> cases[] = {{65536, 2000}, {98304, 2000}, {98304, 256}};
  for (const auto &[ring, sent] : cases) {
    ASSERT_EQ(run("sealed",
                  {{"MORVANE_RECORD_SIZE", std::to_string(ring)}, {"CALLS", std::to_string(sent)}}),
              0);
    const std::vector<Call> calls = calls_in(recordings()[0]);
    EXPECT_EQ(calls.size(), ring / 384);
    uint32_t number = sent - static_cast<uint32_t>(calls.size());
    for (const Call &call : calls) {
      EXPECT_EQ(call.number, ++number);
      EXPECT_EQ(value_of(call), number);
    }
    std::filesystem::remove(recordings()[0]);
  }
}

TEST_F(Recorder, shows_the_call_that_its_process_died_in) {
  EXPECT_EQ(run("dies", {{"NAME", ".b/.x y" + std::string(120, 'z')}}), SIGKILL);
  EXPECT_EQ(recordings()[0].rfind(folder_ + "/_x_y" + std::string(95, 'z') + ".", 0), 0U);
  Reader reader(recordings()[0]);
  EXPECT_EQ(calls_of(reader).size(), 1U);
  Call call;
  ASSERT_TRUE(reader.under_way(&call));
  EXPECT_EQ(call.number, 2U);
  EXPECT_EQ(call.wall_ns, 4999999998000000001U);
  EXPECT_EQ(call.case_code, SYSSRV_REG_WRITE_CASE);
  EXPECT_EQ(call.driver, kKills);
  EXPECT_EQ(call.length, sizeof(Write));
  EXPECT_EQ(value_of(call), 2U);
  EXPECT_FALSE(call.request_cut);
  EXPECT_FALSE(call.returned);

  std::filesystem::remove(recordings()[0]);
  EXPECT_EQ(run("dies in a long call"), SIGKILL);
  ASSERT_TRUE(Reader(recordings()[0]).under_way(&call));
  EXPECT_EQ(call.request.size(), 8388U);
  EXPECT_TRUE(call.request_cut);
}

TEST_F(Recorder, gives_a_forked_child_a_file_of_its_own) {
  ASSERT_EQ(run("fork"), 0);
  ASSERT_EQ(run("clone"), 0);
  ASSERT_EQ(run("below"), 0);
  std::map<bool, std::vector<uint32_t>> values;  // by whether it is the child's
  for (const std::string &path : recordings()) {
    const bool child = Reader(path).process().parent_pid != static_cast<uint32_t>(getpid());
    for (const Call &call : calls_in(path))
      values[child].push_back(value_of(call) + 10 * static_cast<uint32_t>(call.number));
  }
  EXPECT_EQ(values[false], (std::vector<uint32_t>{11, 24, 11, 24, 11, 24}));
  EXPECT_EQ(values[true], (std::vector<uint32_t>{12, 23, 12, 23, 12, 23}));
}

TEST_F(Recorder, keeps_notes_whole_with_threads_and_signal_handlers) {
  const std::map<std::string, std::string> room = {{"MORVANE_RECORD_SIZE", "33554432"}};
  ASSERT_EQ(run("threads", room), 0);
  std::map<uint32_t, uint32_t> next;  // by thread
  std::set<uint64_t> numbers;
  for (const Call &call : calls_in(recordings()[0])) {
    EXPECT_EQ(value_of(call) & 0xFFFF, next[value_of(call) >> 16]++);
    numbers.insert(call.number);
  }
  EXPECT_EQ(next, (std::map<uint32_t, uint32_t>{{1, 1000}, {2, 1000}, {3, 1000}, {4, 1000}}));
  EXPECT_EQ(numbers.size(), 4000U);
  EXPECT_EQ(*numbers.rbegin(), 4000U);

  std::filesystem::remove(recordings()[0]);
  ASSERT_EQ(run("signals", room), 0);
  std::map<uint32_t, uint32_t> count;
  uint32_t last = 0;
  for (const Call &call : calls_in(recordings()[0]))
    ++count[last = value_of(call)];
  EXPECT_EQ(count[4], 20000U);
  EXPECT_GT(count[5], 0U);
  EXPECT_EQ(count[5] + Reader(recordings()[0]).missed_calls(), last - 100);
}

TEST_F(Recorder, goes_on_without_a_recording_where_there_can_be_none) {
  const std::string file = folder_ + "/file";
  std::ofstream(file) << "x";
  const auto small_files = [] {
    const rlimit limit = {32768, 32768};
    setrlimit(RLIMIT_FSIZE, &limit);
  };
  const struct {
    std::map<std::string, std::string> environment;
    std::function<void()> prepare;
    std::string says;
  } cases[] = {
      {{{"MORVANE_RECORD", folder_ + "/none"}}, [] {}, "No such file or directory"},
      {{{"MORVANE_RECORD", file}}, [] {}, "Not a directory"},
      {{{"MORVANE_RECORD", "/proc"}}, [] {}, "no recording in /proc: "},
      {{{"MORVANE_RECORD", std::string(5000, 'a')}}, [] {}, "too long"},
      {{{"MORVANE_RECORD_SIZE", "4M"}},
       [] {},
       "'4M', not a number of bytes from 65536 to 10737418"},
      {{{"MORVANE_RECORD_SIZE", "65535"}}, [] {}, "'65535', not"},
      {{{"MORVANE_RECORD_SIZE", "18446744073709617152"}}, [] {}, "not a number of bytes"},
      {{}, small_files, "File too large"},
      {{{"MORVANE_RECORD", ""}}, [] {}, ""},
  };
  for (const auto &[environment, prepare, says] : cases) {
    EXPECT_EQ(run("samples", environment, prepare), 0);
    EXPECT_NE(err_.find(says), std::string::npos) << err_;
    EXPECT_EQ(err_.rfind("libmorvanerecord: no recording", 0),
              says.empty() ? std::string::npos : 0);
    EXPECT_EQ(std::count(err_.begin(), err_.end(), '\n'), says.empty() ? 0 : 1) << err_;
    EXPECT_EQ(recordings(), std::vector<std::string>{file});
  }
}

TEST_F(Recorder, leaves_what_stands_in_its_place) {
  const std::string victim = folder_ + "/victim";
  std::ofstream(victim) << "untouched";
  const auto occupy = [&] {
    const std::string name = folder_ + "/recorder_test." + std::to_string(getpid());
    std::filesystem::create_symlink(victim, name + ".mrec");
    std::filesystem::create_directory(name + ".1.mrec");
  };
  ASSERT_EQ(run("fork", {}, occupy), 0);
  EXPECT_EQ(std::filesystem::file_size(victim), 9U);
  int recorded = 0;
  for (const std::string &path : recordings())
    recorded += path.find(".2.mrec") != std::string::npos && calls_in(path).size() == 2 ? 1 : 0;
  EXPECT_EQ(recorded, 1);
}

// Reads what a process has noted that may have been killed at any moment. Gives the last value.
uint32_t check_whole(Reader &reader) {
  uint32_t last = 0;
  for (const Call &call : calls_of(reader)) {
    const uint32_t value = value_of(call);
    EXPECT_EQ(call.number, value);
    EXPECT_TRUE(last == 0 || value == last + 1) << value << " behind " << last;
    last = value;
  }
  EXPECT_EQ(reader.damaged_bytes() + reader.unknown_notes(), 0U);
  Call call;
  if (reader.under_way(&call)) {
    EXPECT_EQ(call.number, last + 1);
    EXPECT_EQ(value_of(call), last + 1);
  }
  return last;
}

TEST_F(Recorder, leaves_every_call_that_had_returned_however_it_is_killed) {
  const char *const wanted = getenv("RECORDER_TEST_KILLS");
  const std::size_t count = wanted == nullptr ? 100 : std::stoul(wanted);
  const std::string path = folder_ + ".lives";
  Life *const lives = map_lives(path.c_str(), count);
  ASSERT_EQ(run("kills", {{"LIVES", path}, {"KILLS", std::to_string(count)}}), 0) << err_;
  std::filesystem::remove(path);
  for (std::size_t i = 0; i < count; ++i) {
    const std::string file = folder_ + "/recorder_test." + std::to_string(lives[i].pid) + ".mrec";
    if (!std::filesystem::exists(file)) {
      EXPECT_EQ(lives[i].returned, 0U);
      continue;
    }
    Reader reader(file);
    EXPECT_GE(check_whole(reader), lives[i].returned) << file;
  }
  EXPECT_GT(recordings().size(), count * 3 / 4);
}

TEST_F(Recorder, is_read_whole_while_it_runs) {
  const pid_t client = start("spin");
  const rlimit few = {64, 64};  // what the reader opens it closes
  setrlimit(RLIMIT_NOFILE, &few);
  while (recordings().empty() || Reader(recordings()[0]).process().pid == 0)
    usleep(1000);
  Reader reader(recordings()[0]);
  uint32_t last = 0;
  for (int look = 0; look < 1000; ++look) {
    reader.refresh();
    for (Call call; reader.next(&call); last = value_of(call)) {
      EXPECT_EQ(call.number, value_of(call));
      EXPECT_GT(value_of(call), last);
    }
  }
  kill(client, SIGKILL);
  waitpid(client, nullptr, 0);
  std::filesystem::remove(folder_ + ".err");
  EXPECT_GT(last, 0U);
  EXPECT_EQ(reader.damaged_bytes(), 0U);
  Reader at_the_end(recordings()[0]);  // what the other had not read yet may be overwritten
  check_whole(at_the_end);
}

// A recording with what somebody else has written into it.
class Damaged : public Recorder {
 protected:
  void SetUp() override {
    Recorder::SetUp();
    ASSERT_EQ(run("samples"), 0);
    path_ = recordings()[0];
    std::ifstream file(path_, std::ios::binary);
    good_.assign(std::istreambuf_iterator<char>(file), {});
  }

  void write(const std::string &bytes) const {
    std::ofstream(path_, std::ios::binary | std::ios::in) << bytes;
    std::filesystem::resize_file(path_, bytes.size());
  }

  // Puts 4 bytes into the file.
  void put(std::size_t offset, uint32_t value) const {
    std::string bytes = good_;
    std::memcpy(&bytes[offset], &value, sizeof value);
    write(bytes);
  }

  std::string path_, good_;
};

TEST_F(Damaged, is_refused_or_gives_fewer_calls) {
  constexpr std::size_t first = 16384, fourth = first + 304 * 3, sixth = 26112, tenth = 35568,
                        twelfth = 36176;  // notes
  constexpr uint32_t all = 22, none = 99;
  const struct {
    std::size_t offset;
    uint32_t value, calls;
    std::string says;
  } cases[] = {
      {0, 0x01020304, none, "is no recording"},
      {8, 2, none, "is a recording of another version"},
      {12, 4096, none, "is a recording of another version"},
      {16, 4096, none, "the size of its ring is impossible"},
      {16, 65536 + 16, none, "the size of its ring is impossible"},
      {20, 1, none, "the size of its ring is impossible"},
      {24, 8, none, "its ring begins or ends at an impossible place"},
      {32, 1, none, "its ring begins or ends at an impossible place"},
      {36, 1, none, "its ring begins or ends at an impossible place"},
      {fourth, 0, all - 1, ""},      // its mark
      {fourth + 4, 0, all - 1, ""},  // its size
      {fourth + 4, 1, all - 1, ""},
      {fourth + 4, 16, all - 1, ""},
      {fourth + 4, 0x80000000, all - 1, ""},
      {fourth + 8, 0, all - 1, ""},     // its kind: a filler
      {fourth + 8, 77, all - 1, ""},    // a kind of a later version
      {fourth + 56, 100, all - 1, ""},  // a record shorter than what is kept of it
      {fourth + 68, 2, all - 1, ""},    // another shape
      {fourth + 68, 3, all - 1, ""},
      {fourth + 68, 4, all - 1, ""},
      {fourth + 76, 195, all - 1, ""},  // the size of its request
      {fourth + 76, 0xFFFFFFFF, all - 1, ""},
      {fourth + 80, 4, all - 1, ""},   // of its answer
      {fourth + 80, 20, all - 1, ""},  // three words, which end in the next note
      {fourth + 80, 0xFFFFFFFF, all - 1, ""},
      {fourth + 96 + 24, 2, all - 1, ""},  // fewer words in the request than are there
      {first + 76, 195, all - 1, ""},
      {sixth + 96 + 196 + 4, 2, all - 1, ""},  // more words in the answer than it counts
      {tenth + 68, 3, all - 1, ""},            // which has no answer: another shape
      {twelfth + 76, 30, all - 1, ""},         // a transaction without its whole head
      {twelfth + 96 + 36, 513, all - 1, ""},   // of more entries than there can be
      {twelfth + 96 + 36, 3, all - 1, ""},
      {272, 1, all, ""},  // a call under way that makes no sense
  };
  for (const auto &[offset, value, calls, says] : cases) {
    SCOPED_TRACE(std::to_string(offset) + ": " + std::to_string(value));
    put(offset, value);
    try {
      Reader reader(path_);
      EXPECT_EQ(calls_of(reader).size(), calls);
      Call call;
      EXPECT_EQ(reader.under_way(&call), offset == 272);
    } catch (const recording::Unreadable &error) {
      EXPECT_EQ(calls, none);
      EXPECT_EQ(std::string(error.what()).rfind(path_ + " is ", 0), 0U) << error.what();
      EXPECT_NE(std::string(error.what()).find(says), std::string::npos) << error.what();
    }
  }
}

TEST_F(Damaged, is_read_as_far_as_it_is_there) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{16384}, std::size_t{16384 + 700}}) {
    write(good_.substr(0, size));
    Reader reader(path_);
    EXPECT_EQ(calls_of(reader).size(), size < 16385 ? 0U : 2U);
  }
  for (const std::size_t size : {1U, 100U, 10000U}) {
    write(good_.substr(0, size));
    EXPECT_THROW(Reader{path_}, recording::Unreadable);
  }
  EXPECT_THROW(Reader{folder_}, recording::Unreadable);
  EXPECT_THROW(Reader{folder_ + "/none"}, recording::Unreadable);
}

TEST_F(Damaged, is_followed) {
  put(32, 304 * 2);
  Reader reader(path_);
  EXPECT_EQ(calls_of(reader).size(), 2U);
  reader.refresh();
  EXPECT_EQ(calls_of(reader).size(), 0U);
  write(good_);
  put(24, 304 * 4);  // the third and the fourth note are gone
  reader.refresh();
  EXPECT_EQ(calls_of(reader).size(), 18U);
  EXPECT_EQ(reader.overwritten_bytes(), 304U * 2);
  const auto refusal = [&reader]() -> std::string {
    try {
      reader.refresh();
    } catch (const recording::Unreadable &error) {
      return error.what();
    }
    return "";
  };
  put(16, 131072);
  EXPECT_EQ(refusal(), path_ + " has been replaced by another recording");
  std::filesystem::rename(path_, path_ + "x");
  std::filesystem::copy(path_ + "x", path_);
  EXPECT_EQ(refusal(), path_ + " has been replaced by another file");
}

// Tells whether there are calls in the recordings, all whole.
bool can_read(char **paths, int count) {
  std::size_t calls = 0;
  std::for_each(paths, paths + count,
                [&calls](const char *path) { calls += calls_in(path).size(); });
  std::printf("%zu calls in %d recordings\n", calls, count);
  return calls > 0 && !testing::Test::HasFailure();
}

}  // namespace

int main(int argc, char **argv) {
  if (argc == 3 && std::strcmp(argv[1], "--client") == 0)
    return client(argv[2]);
  testing::InitGoogleTest(&argc, argv);
  if (argc > 2 && std::strcmp(argv[1], "--read") == 0)
    return can_read(argv + 2, argc - 2) ? 0 : 1;
  return RUN_ALL_TESTS();
}
