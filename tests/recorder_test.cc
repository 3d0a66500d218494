// The recorder and the reader of its files, from end to end: this program runs itself again as a
// client whose service calls are recorded.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <linux/seccomp.h>
#include <setjmp.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/uio.h>
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
#include <future>
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
using Values = std::vector<uint32_t>;
using recording::Call;
using recording::Reader;

constexpr std::size_t kHeader = sizeof(kel_asic_reg_access_params_t);
constexpr uint32_t kFails = 1, kAnswersOddly = 2, kOverwritesType = 3, kKills = 4, kForks = 5,
                   kRunsHook = 6;  // drivers

Bytes register_record(uint32_t type, uint32_t num, std::size_t words, uint32_t value) {
  Values fields(kHeader / 4 + words, value);
  fields[0] = type;
  fields[6] = num;
  Bytes record(fields.size() * 4);
  std::memcpy(record.data(), fields.data(), record.size());
  return record;
}

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

// What a client sends, and how much of it and of its answer a note keeps.
struct Sample {
  uint32_t case_code, driver;
  Bytes record;
  std::size_t request, answer;
  bool request_cut = false, answer_cut = false;
};

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

// The clock of a client: it begins after 2038, and the wall clock goes back by a second each time.
bool own_clock = false;

pid_t forked = -1;                   // by the service
volatile uint32_t handled = 0;       // signals
int torn_headers = 0;                // how often a reader gets an impossible header
std::function<void()> hook;          // run by the service, and at a reading of the clock
thread_local int readings_left = 0;  // of the clock, up to the one that runs the hook; 0: none

}  // namespace

extern "C" {

// Under the names that programs with 64-bit time and file offsets call.
#if __SIZEOF_LONG__ == 4
int test_clock_gettime(clockid_t clock, timespec *now) __asm__("__clock_gettime64");
#else
int test_clock_gettime(clockid_t clock, timespec *now) __asm__("clock_gettime");
#endif
ssize_t test_pread(int file, void *to, std::size_t size, off_t offset) __asm__("pread64");

int test_clock_gettime(clockid_t clock, timespec *now) {
  static int64_t wall = 5000000000, monotonic = 0;
  if (readings_left > 0 && --readings_left == 0)
    hook();
  if (!own_clock)
    return static_cast<int>(syscall(sizeof(long) == 4 ? 403 : 228, clock, now));
  *now = {};
  now->tv_sec = clock == CLOCK_REALTIME ? wall-- : 7;
  now->tv_nsec = clock == CLOCK_REALTIME ? 1 : static_cast<long>(++monotonic);
  return 0;
}

// If the process changes its header meanwhile, a reader may get parts of two states.
ssize_t test_pread(int file, void *to, std::size_t size, off_t offset) {
  const iovec part = {to, size};
  const ssize_t got = preadv(file, &part, 1, offset);
  if (offset == 0 && torn_headers > 0 && torn_headers-- > 0)
    static_cast<mrec_header_t *>(to)->tail = 8;
  return got;
}

// The service overwrites what an answer may overwrite, and all of a record that it does not know.
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
  if (params->caseId == kRunsHook)
    hook();
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

// A write whose words are all equal, so that a note that is not complete shows it.
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
  Values words(kWords);
  EXPECT_EQ(call.request.size(), kHeader + 4 * kWords);
  std::memcpy(words.data(), &call.request[call.request.size() - 4 * kWords], 4 * kWords);
  EXPECT_EQ(words, Values(kWords, words[0]));
  return words[0];
}

std::ptrdiff_t open_files() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return std::distance(begin(files), end(files));
}

std::vector<Call> calls_of(Reader &reader) {
  std::vector<Call> calls;
  for (Call call; reader.next(&call);)
    calls.push_back(call);
  return calls;
}

// Reads what a process has noted that may have been killed at any moment. Gives the last value.
uint32_t check_complete(const std::string &path) {
  Reader reader(path);
  uint32_t last = 0;
  for (const Call &call : calls_of(reader)) {
    const uint32_t value = value_of(call);
    EXPECT_EQ(call.number, value);
    EXPECT_TRUE(last == 0 || value == last + 1) << value << " after " << last;
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

[[noreturn]] void spin(volatile uint32_t *returned) {
  Write write = {};
  for (uint32_t i = 1;; ++i) {
    write.send(i);
    *returned = i;
  }
}

// Children die at a random moment: most of them after their first call, some at any instruction.
// Each call that had returned is in the recording.
int live_and_die(std::size_t count) {
  std::uniform_int_distribution<useconds_t> moment(0, 500);
  std::minstd_rand random(static_cast<unsigned>(getpid()));
  auto *const returned = static_cast<volatile uint32_t *>(
      mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  std::size_t recorded = 0;
  for (std::size_t i = 0; i < count; ++i) {
    *returned = 0;
    const pid_t child = fork();
    if (child == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      spin(returned);
    }
    const bool anywhere = random() % 8 == 0;
    while (!anywhere && *returned == 0)
      usleep(50);
    usleep(moment(random));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const std::string file =
        getenv("MORVANE_RECORD") + std::string("/recorder_test.") + std::to_string(child) + ".mrec";
    const bool has_file = std::filesystem::exists(file);
    EXPECT_GE(has_file ? check_complete(file) : 0, *returned) << file;
    recorded += has_file ? 1 : 0;
  }
  EXPECT_GT(recorded, count * 3 / 4);
  return testing::Test::HasFailure() ? 1 : 0;
}

// How much of an alternate stack a signal handler uses if it does that.
std::size_t stack_used_by(void (*act)(int)) {
  constexpr uint8_t kPaint = 0xA5;
  static uint8_t stack[65536];
  std::fill(std::begin(stack), std::end(stack), kPaint);
  const stack_t alternate = {stack, 0, sizeof stack};
  struct sigaction action = {};
  action.sa_handler = act;
  action.sa_flags = SA_ONSTACK;
  sigaltstack(&alternate, nullptr);
  sigaction(SIGUSR1, &action, nullptr);
  raise(SIGUSR1);
  return static_cast<std::size_t>(std::end(stack) -
                                  std::find_if(std::begin(stack), std::end(stack),
                                               [](uint8_t byte) { return byte != kPaint; }));
}

Write handlers_write;

bool is_within_a_kilobyte_of_stack() {
  const std::size_t without = stack_used_by([](int) {
    sys_srvc_case_params_t params = {236, handlers_write.fields};
    fake_service_call(SYSSRV_REG_WRITE_CASE, &params, sizeof handlers_write.fields);
  });
  const std::size_t with = stack_used_by([](int) { handlers_write.send(1); });
  std::fprintf(stderr, "%zu bytes of stack, %zu without recorder\n", with, without);
  return with <= without + RECORDER_STACK;
}

// Two calls of a thread with the smallest stack, one during the other.
void run_on_small_stack() {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes,
                            static_cast<std::size_t>(PTHREAD_STACK_MIN) - 1024 + RECORDER_STACK);
  hook = [] { handlers_write.send(2); };
  pthread_t thread = 0;
  const auto call = [](void *) -> void * {
    Write().send(1, kRunsHook);
    return nullptr;
  };
  pthread_create(&thread, &attributes, call, nullptr);
  pthread_join(thread, nullptr);
}

sigjmp_buf before_call;

__attribute__((noinline)) void send_from_other_frame(uint32_t value) {
  volatile uint8_t frame[500] = {};
  Write().send(value + frame[0]);
}

// Leaves calls at each reading of the clock, while the file is created and later, and in the
// service.
void leave_calls() {
  hook = [] { siglongjmp(before_call, 1); };
  volatile uint32_t value = 0;
  for (const int reading : {1, 2, 3, 1, 2, 3, 0, 9, 0}) {
    ++value;
    readings_left = reading;
    if (sigsetjmp(before_call, 1) == 0)
      Write().send(value, reading == 0 ? kRunsHook : 236);
  }
  send_from_other_frame(10);
  readings_left = 3;
  if (sigsetjmp(before_call, 1) == 0)
    send_from_other_frame(11);
  Write().send(12);
}

// A thread stops at a reading of the clock in its first call, or in the service, while others make
// calls. Then it continues, or leaves the call and ends.
void stop_in_call(int reading, bool leaves) {
  std::promise<void> stopped, others_done;
  hook = [&] {
    stopped.set_value();
    others_done.get_future().wait();
    if (leaves)
      siglongjmp(before_call, 1);
  };
  std::thread thread([&] {
    readings_left = reading;
    if (sigsetjmp(before_call, 1) == 0)
      Write().send(1, reading == 0 ? kRunsHook : 236);
  });
  stopped.get_future().wait();
  for (uint32_t i = 2; i <= 4; ++i)
    Write().send(i);
  others_done.set_value();
  thread.join();
  Write().send(5);
}

// What this program does as a client.
int client(const std::string &what) {
  Write write = {};
  own_clock = what != "threads" && what != "kills";
  alarm(60);  // against a call that hangs
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
    if (what != "below")  // The C library does not know of a bare clone.
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
  if (what == "stack") {
    bool good = is_within_a_kilobyte_of_stack();  // in the first call
    hook = [&good] { good = good && is_within_a_kilobyte_of_stack(); };
    write.send(1, kRunsHook);
    run_on_small_stack();
    return good ? 0 : 1;
  }
  if (what == "leaves")
    leave_calls();
  if (what == "stops" || what == "stops and leaves")
    stop_in_call(std::stoi(getenv("READING")), what != "stops");
  if (what == "other descriptor 2") {
    dup2(open(getenv("DATA"), O_WRONLY), STDERR_FILENO);
    write.send(1);
  }
  if (what == "signals") {
    const itimerval often = {{0, 50}, {0, 50}};
    write.send(6);
    signal(SIGALRM, [](int) {
      ++handled;
      Write().send(5);
    });
    setitimer(ITIMER_REAL, &often, nullptr);
    for (uint32_t i = 0; i < 20000; ++i)
      write.send(4);
    signal(SIGALRM, SIG_IGN);
    write.send(100 + handled);
  }
  if (what == "spin")
    spin(&handled);
  if (what == "kills")
    return live_and_die(std::stoul(getenv("KILLS")));
  return 0;
}

using Environment = std::map<std::string, std::string>;

class Recorder : public testing::Test {
 protected:
  void SetUp() override {
    char name[] = "/tmp/recorder_test_XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    folder_ = name;
  }
  void TearDown() override {
    std::filesystem::remove_all(folder_);
    std::filesystem::remove(folder_ + ".err");
  }

  // Starts a client; `prepare` runs in the new process before it.
  pid_t start(const std::string &what, const Environment &environment = {},
              void (*prepare)() = nullptr) {
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
    if (prepare != nullptr)
      prepare();
    const char *const name = getenv("NAME");
    execl("/proc/self/exe", name == nullptr ? "recorder_test" : name, "--client", what.c_str(),
          nullptr);
    _exit(99);
  }

  int run(const std::string &what, const Environment &environment = {},
          void (*prepare)() = nullptr) {
    int status = 0;
    waitpid(start(what, environment, prepare), &status, 0);
    std::ifstream file(folder_ + ".err");
    err_.assign(std::istreambuf_iterator<char>(file), {});
    return status;
  }

  std::vector<std::string> recordings() const {
    std::set<std::string> paths;
    for (const auto &entry : std::filesystem::directory_iterator(folder_))
      paths.insert(entry.path());
    return {paths.begin(), paths.end()};
  }

  // The recording with calls, of those that a process may have left before.
  std::string recording() const {
    const std::vector<std::string> paths = recordings();
    const auto has_begun = [](const auto &path) { return Reader(path).process().pid != 0; };
    const auto found = std::find_if(paths.begin(), paths.end(), has_begun);
    return found == paths.end() ? "none" : *found;
  }

  void remove_recordings() const {
    for (const std::string &path : recordings())
      std::filesystem::remove(path);
  }

  std::string folder_, err_;
};

std::vector<Call> calls_in(const std::string &path) {
  Reader reader(path);
  std::vector<Call> calls = calls_of(reader);
  EXPECT_EQ(reader.damaged_bytes() + reader.unknown_notes(), 0U);
  return calls;
}

Values values_of(const std::vector<Call> &calls) {
  Values values;
  std::transform(calls.begin(), calls.end(), std::back_inserter(values), value_of);
  return values;
}

TEST_F(Recorder, notes_what_means_something_and_changes_nothing) {
  const auto largest_file = [] {
    const rlimit limit = {65536 + 16384, 65536 + 16384};
    setrlimit(RLIMIT_FSIZE, &limit);
  };
  ASSERT_EQ(run("samples", {}, largest_file), 0);
  ASSERT_EQ(recordings().size(), 1U);
  struct stat status = {};
  stat(recording().c_str(), &status);
  EXPECT_EQ(status.st_mode & 07777, 0600U);
  EXPECT_EQ(status.st_size, 65536 + 16384);

  const Reader reader(recording());
  const recording::Process &process = reader.process();
  EXPECT_EQ(process.program, "recorder_test");
  EXPECT_EQ(process.parent_pid, static_cast<uint32_t>(getpid()));
  EXPECT_EQ(process.word_size, sizeof(void *));
  EXPECT_EQ(process.boot_id.size(), 36U);
  EXPECT_EQ(recording(), folder_ + "/recorder_test." + std::to_string(process.pid) + ".mrec");

  const std::vector<Call> calls = calls_in(recording());
  ASSERT_EQ(calls.size(), samples().size() + 1);
  std::size_t number = 0;
  for (const Sample &sample : samples()) {
    const Call &call = calls[number++];
    SCOPED_TRACE(number);
    Bytes request = sample.record, answer = sample.record;
    sys_srvc_case_params_t params = {sample.driver, answer.empty() ? nullptr : answer.data()};
    const auto length = static_cast<uint32_t>(answer.size());
    const int result = fake_service_call(sample.case_code, &params, length);
    if (sample.driver == kOverwritesType)
      answer[0] = sample.record[0];
    request.resize(sample.request);
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
    EXPECT_EQ(call.request, request);
    EXPECT_EQ(call.answer, answer);
    EXPECT_EQ(call.request_cut, sample.request_cut);
    EXPECT_EQ(call.answer_cut, sample.answer_cut);
    EXPECT_TRUE(call.returned);
  }
}

TEST_F(Recorder, makes_no_system_call_and_wraps) {
  // A note of 96 + 276 + 8 bytes, in steps of 16. The second ring has no remainder, and is just
  // full once. A ring that wraps has up to 4096 bytes free.
  const struct {
    const char *size;
    uint32_t ring, sent;
  } cases[] = {
      {"65536", 65536, 2000}, {"98304", 98304, 2000}, {"98304", 98304, 256}, {"", 4194304, 500}};
  for (const auto &[size, ring, sent] : cases) {
    ASSERT_EQ(run("sealed", {{"MORVANE_RECORD_SIZE", size}, {"CALLS", std::to_string(sent)}}), 0);
    const std::vector<Call> calls = calls_in(recording());
    EXPECT_LE(calls.size(), std::min(ring / 384, sent));
    EXPECT_GE(calls.size(), std::min((ring - 4096) / 384 - 1, sent));
    uint32_t number = sent - static_cast<uint32_t>(calls.size());
    for (const Call &call : calls) {
      EXPECT_EQ(call.number, ++number);
      EXPECT_EQ(value_of(call), number);
    }
    remove_recordings();
  }
}

TEST_F(Recorder, shows_the_call_that_its_process_died_in) {
  EXPECT_EQ(run("dies", {{"NAME", ".b/.x y" + std::string(120, 'z')}}), SIGKILL);
  EXPECT_EQ(recording().rfind(folder_ + "/_x_y" + std::string(95, 'z') + ".", 0), 0U);
  Reader reader(recording());
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

  remove_recordings();
  EXPECT_EQ(run("dies in a long call"), SIGKILL);
  ASSERT_TRUE(Reader(recording()).under_way(&call));
  EXPECT_EQ(call.request.size(), 8388U);
  EXPECT_TRUE(call.request_cut);
}

TEST_F(Recorder, gives_a_forked_child_its_own_file) {
  for (const char *const how : {"fork", "clone", "below"}) {
    SCOPED_TRACE(how);
    ASSERT_EQ(run(how), 0);
    EXPECT_EQ(recordings().size(), 2U);
    for (const std::string &path : recordings()) {
      const bool is_parent = Reader(path).process().parent_pid == static_cast<uint32_t>(getpid());
      const std::vector<Call> calls = calls_in(path);
      EXPECT_EQ(values_of(calls), is_parent ? Values({1, 4}) : Values({2, 3}));
      EXPECT_TRUE(calls.front().number == 1 && calls.back().number == 2);
    }
    remove_recordings();
  }
}

TEST_F(Recorder, keeps_notes_complete_with_threads_and_signal_handlers) {
  const Environment large = {{"MORVANE_RECORD_SIZE", "33554432"}};
  ASSERT_EQ(run("threads", large), 0);
  std::map<uint32_t, uint32_t> next;  // by thread
  std::set<uint64_t> numbers;
  for (const Call &call : calls_in(recording())) {
    EXPECT_EQ(value_of(call) & 0xFFFF, next[value_of(call) >> 16]++);
    numbers.insert(call.number);
  }
  EXPECT_EQ(next, (std::map<uint32_t, uint32_t>{{1, 1000}, {2, 1000}, {3, 1000}, {4, 1000}}));
  EXPECT_EQ(numbers.size(), 4000U);
  EXPECT_EQ(*numbers.rbegin(), 4000U);

  remove_recordings();
  ASSERT_EQ(run("signals", large), 0);
  const Values values = values_of(calls_in(recording()));
  const auto handled_calls = std::count(values.begin(), values.end(), 5U);
  EXPECT_EQ(std::count(values.begin(), values.end(), 4U), 20000);
  EXPECT_GT(handled_calls, 0);
  EXPECT_EQ(static_cast<uint64_t>(handled_calls) + Reader(recording()).missed_calls(),
            values.back() - 100);
}

TEST_F(Recorder, uses_a_kilobyte_of_stack_on_any_path) {
  ASSERT_EQ(run("stack"), 0) << err_;
  EXPECT_EQ(calls_in(recording()).size(), 5U);
  EXPECT_EQ(run("stack", {{"MORVANE_RECORD", folder_ + "/none"}}), 0) << err_;
}

TEST_F(Recorder, outlives_calls_that_do_not_return) {
  const struct {
    std::string client;
    const char *reading;
    Values values;
    uint64_t missed;
  } cases[] = {
      {"leaves", "", {8, 10, 12}, 5},
      {"stops", "0", {2, 3, 4, 1, 5}, 0},
      {"stops", "1", {1, 5}, 3},  // while it creates the file
      {"stops", "3", {1, 5}, 3},  // while it writes the request
      {"stops", "5", {2, 3, 4, 1, 5}, 0},
      {"stops and leaves", "0", {2, 3, 4, 5}, 1},
      {"stops and leaves", "1", {5}, 3},
      {"stops and leaves", "3", {5}, 4},
      {"stops and leaves", "5", {2, 3, 4, 5}, 1},
  };
  for (const auto &[client, reading, values, missed] : cases) {
    SCOPED_TRACE(client + " " + reading);
    ASSERT_EQ(run(client, {{"READING", reading}}), 0);
    Reader reader(recording());
    EXPECT_EQ(values_of(calls_of(reader)), values);
    EXPECT_EQ(reader.missed_calls(), missed);
    Call call;
    EXPECT_FALSE(reader.under_way(&call)) << value_of(call);
    remove_recordings();
  }
}

TEST_F(Recorder, goes_on_without_a_recording_if_there_can_be_none) {
  const std::string file = folder_ + "/file", none = folder_ + "/none";
  std::ofstream(file) << "x";
  const auto small_files = [] {
    const rlimit limit = {32768, 32768};
    setrlimit(RLIMIT_FSIZE, &limit);
  };
  const auto closed_pipe = [] {
    int ends[2];
    if (pipe(ends) == 0)
      dup2(ends[1], STDERR_FILENO);
    close(ends[0]);
  };
  const struct {
    Environment environment;
    std::string message;
    void (*prepare)() = nullptr;
    const char *client = "samples";
  } cases[] = {
      {{{"MORVANE_RECORD", none}}, "No such file or directory"},
      {{{"MORVANE_RECORD", none}}, "", closed_pipe},
      {{{"MORVANE_RECORD", none}, {"DATA", file}}, "", nullptr, "other descriptor 2"},
      {{{"MORVANE_RECORD", file}}, "Not a directory"},
      {{{"MORVANE_RECORD", "/proc"}}, "no recording in /proc: "},
      {{{"MORVANE_RECORD", std::string(5000, 'a')}}, "too long"},
      {{{"MORVANE_RECORD_SIZE", "4M"}}, "'4M', not a number of bytes from 65536 to 1073741824\n"},
      {{{"MORVANE_RECORD_SIZE", "65535"}}, "'65535', not"},
      {{{"MORVANE_RECORD_SIZE", "18446744073709617152"}}, "not a number of bytes"},
      {{}, "File too large", small_files},
      {{{"MORVANE_RECORD", ""}}, ""},
  };
  for (const auto &[environment, message, prepare, client] : cases) {
    EXPECT_EQ(run(client, environment, prepare), 0);
    EXPECT_NE(err_.find(message), std::string::npos) << err_;
    EXPECT_EQ(err_.rfind("libmorvanerecord: no recording", 0),
              message.empty() ? std::string::npos : 0);
    EXPECT_EQ(std::count(err_.begin(), err_.end(), '\n'), message.empty() ? 0 : 1) << err_;
    EXPECT_EQ(recordings(), std::vector<std::string>{file});
    EXPECT_EQ(std::filesystem::file_size(file), 1U);
  }
}

TEST_F(Recorder, leaves_a_file_with_its_name_as_it_is) {
  std::ofstream(folder_ + "/victim") << "untouched";
  setenv("FOLDER", folder_.c_str(), 1);
  const auto occupy = [] {
    const std::string folder = getenv("FOLDER");
    const std::string name = folder + "/recorder_test." + std::to_string(getpid());
    std::filesystem::create_symlink(folder + "/victim", name + ".mrec");
    std::filesystem::create_directory(name + ".1.mrec");
  };
  ASSERT_EQ(run("fork", {}, occupy), 0);
  EXPECT_EQ(std::filesystem::file_size(folder_ + "/victim"), 9U);
  const std::vector<std::string> files = recordings();
  EXPECT_EQ(std::count_if(files.begin(), files.end(),
                          [](const std::string &path) {
                            return path.find(".2.mrec") != std::string::npos &&
                                   calls_in(path).size() == 2;
                          }),
            1);
}

TEST_F(Recorder, leaves_every_call_that_had_returned_however_it_is_killed) {
  const char *const wanted = getenv("RECORDER_TEST_KILLS");
  EXPECT_EQ(run("kills", {{"KILLS", wanted == nullptr ? "100" : wanted}}), 0) << err_;
}

TEST_F(Recorder, is_read_correctly_while_it_runs) {
  const pid_t client = start("spin");
  const rlimit few = {64, 64};  // what the reader opens it closes
  setrlimit(RLIMIT_NOFILE, &few);
  while (recording() == "none")
    usleep(1000);
  Reader reader(recording());
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
  EXPECT_GT(last, 0U);
  EXPECT_EQ(reader.damaged_bytes(), 0U);
  check_complete(recording());  // what the reader had not read yet may be overwritten
}

// A recording that another program has changed.
class Damaged : public Recorder {
 protected:
  void SetUp() override {
    Recorder::SetUp();
    ASSERT_EQ(run("samples"), 0);
    path_ = recording();
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

  // What is wrong with the file; empty if it is a recording.
  std::string fault() const {
    try {
      const Reader reader(path_);
      return "";
    } catch (const recording::Unreadable &error) {
      EXPECT_EQ(std::string(error.what()).rfind(path_ + " is ", 0), 0U) << error.what();
      return error.what();
    }
  }

  std::string path_, good_;
};

TEST_F(Damaged, is_refused) {
  const struct {
    std::size_t offset;
    Values values;
    std::string message;
  } cases[] = {
      {0, {0x01020304}, "recording"},
      {8, {2}, "is a recording of another version"},
      {12, {4096}, "is a recording of another version"},
      {16, {4096, 65536 + 16}, "the size of its ring is impossible"},
      {20, {1}, "the size of its ring is impossible"},
      {24, {8}, "its ring begins or ends at an impossible place"},
      {32, {1}, "its ring begins or ends at an impossible place"},
      {36, {1}, "its ring begins or ends at an impossible place"},
  };
  for (const auto &[offset, values, message] : cases) {
    for (const uint32_t value : values) {
      put(offset, value);
      EXPECT_NE(fault().find(message), std::string::npos) << offset << ": " << value;
    }
  }
  for (const std::size_t size : {1U, 100U, 10000U}) {
    write(good_.substr(0, size));
    EXPECT_NE(fault(), "");
  }
  EXPECT_THROW(Reader{folder_}, recording::Unreadable);
  EXPECT_THROW(Reader{folder_ + "/none"}, recording::Unreadable);
}

TEST_F(Damaged, gives_fewer_calls) {
  constexpr std::size_t first = 16384, fourth = first + 304 * 3, sixth = 26112, tenth = 35568,
                        twelfth = 36176;  // notes
  const struct {
    std::size_t offset;
    Values values;
  } cases[] = {
      {fourth, {0}},                         // its mark
      {fourth + 4, {0, 1, 16, 0x80000000}},  // its size
      {fourth + 8, {0, 77}},                 // its kind: a filler, one of a later version
      {fourth + 56, {100}},                  // a record shorter than what is kept of it
      {fourth + 68, {2, 3, 4}},              // another shape
      {fourth + 76, {195, 0xFFFFFFFF}},      // the size of its request
      {fourth + 80, {4, 20, 0xFFFFFFFF}},    // of its answer: 20 would end in the next note
      {fourth + 96 + 24, {2}},               // fewer words in the request than it has
      {first + 76, {195}},
      {sixth + 96 + 196 + 4, {2}},    // more words in the answer than it counts
      {tenth + 68, {3}},              // which has no answer: another shape
      {twelfth + 76, {30}},           // a transaction without its complete header
      {twelfth + 96 + 36, {513, 3}},  // of more entries than there can be, or are
  };
  for (const auto &[offset, values] : cases) {
    for (const uint32_t value : values) {
      SCOPED_TRACE(std::to_string(offset) + ": " + std::to_string(value));
      put(offset, value);
      Reader reader(path_);
      EXPECT_EQ(calls_of(reader).size(), 21U);
      Call call;
      EXPECT_FALSE(reader.under_way(&call));
    }
  }
  for (const std::size_t size : {0U, 16384U, 16384U + 700U}) {
    write(good_.substr(0, size));
    Reader reader(path_);
    EXPECT_EQ(calls_of(reader).size(), size < 16385 ? 0U : 2U);
  }
}

TEST_F(Damaged, is_read_again_if_its_header_changes_meanwhile) {
  torn_headers = 7;
  EXPECT_EQ(calls_in(path_).size(), 22U);
  torn_headers = 8;
  EXPECT_THROW(Reader{path_}, recording::Unreadable);
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

}  // namespace

int main(int argc, char **argv) {
  if (argc == 3 && std::strcmp(argv[1], "--client") == 0)
    return client(argv[2]);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
