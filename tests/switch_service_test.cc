// The switch in a separate process: morvaned against hostile clients, the client side against
// hostile services, and what each does when the other goes away.
#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "descriptor.h"
#include "kel_asic_lib_common.h"
#include "listener.h"
#include "platform/register_map.h"
#include "platform/system_service.h"
#include "virtual_platform.h"
#include "wire/messages.h"

namespace {

using morvaned::Descriptor;
using remote::Header;
using remote::Hello;
using Clock = std::chrono::steady_clock;

constexpr Hello kGoodHello = {remote::kMagic, remote::kVersion, 0, 0, 0};
constexpr uint32_t kRecord = sizeof(kel_asic_reg_access_params_t);
constexpr uid_t kNobody = 65534;
using Record = std::array<uint32_t, kRecord / 4>;

constexpr Hello service_hello(int error, uint32_t max_record = 1 << 24) {
  return {remote::kMagic, remote::kVersion, remote::kFeatures, max_record, error};
}

template <typename... Messages>
std::string bytes_of(const Messages &...messages) {
  std::string bytes;
  (bytes.append(reinterpret_cast<const char *>(&messages), sizeof messages), ...);
  return bytes;
}

void send_bytes(const Descriptor &socket, const std::string &bytes) {
  send(socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

std::string receive(const Descriptor &socket, size_t count) {
  if (count == 0)
    return "";
  std::string bytes(count, '\0');
  const ssize_t got = recv(socket.get(), bytes.data(), count, MSG_WAITALL);
  return bytes.substr(0, got > 0 ? static_cast<size_t>(got) : 0);
}

// Sends a record; 0 or an errno.
int send_record(uint32_t case_code, void *record, size_t length) {
  sys_srvc_case_params_t params = {KEL_ASIC_DRIVER_MORVANE, record};
  return sse_call2(case_code, &params, static_cast<uint32_t>(length)) == 0 ? 0 : errno;
}

// Reads or writes a register; 0 or an errno.
int access_register(uint32_t case_code, uint32_t &value) {
  Record record = {case_code == SYSSRV_REG_READ_CASE ? TYPE_READ : TYPE_WRITE, 0, 0,
                   kel_asic_get_all_base_table(KEL_ASIC_VER_B0)[KEL_ASIC_BLK_HI][2], value};
  const Record before = record;
  const int error = send_record(case_code, record.data(), kRecord);
  EXPECT_TRUE(error == 0 || record == before);  // a failure leaves the record unchanged
  value = record[4];
  return error;
}

int write_register(uint32_t value) {
  return access_register(SYSSRV_REG_WRITE_CASE, value);
}

int read_register() {
  uint32_t value = 0;
  return access_register(SYSSRV_REG_READ_CASE, value);
}

void expect_register(uint32_t expected) {
  uint32_t value = 0;
  EXPECT_EQ(access_register(SYSSRV_REG_READ_CASE, value), 0);
  EXPECT_EQ(value, expected);
}

int wait_for(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

template <typename Condition>
bool wait_until(Condition condition) {
  for (int i = 0; i < 5000 && !condition(); ++i)
    usleep(1000);
  return condition();
}

// What the functions below do besides, which take the place of those of the C library.
int failing_sends = 0;  // so many requests do not leave, with this errno:
int failure_of_sends = 0;
int last_sent_to = -1;
pid_t process_number = 0;  // of this process and its children, as in new process namespaces
std::function<void()> after_send = [] {}, before_connect = [] {}, after_bind = [] {};

}  // namespace

pid_t getpid() noexcept {
  return process_number != 0 ? process_number : static_cast<pid_t>(syscall(SYS_getpid));
}

ssize_t sendmsg(int fd, const msghdr *message, int flags) {
  last_sent_to = fd;
  if (failing_sends == 0 || message->msg_iov->iov_len != sizeof(Header)) {
    const ssize_t sent = syscall(SYS_sendmsg, fd, message, flags);
    after_send();
    return sent;
  }
  --failing_sends;
  errno = failure_of_sends;
  return -1;
}

int connect(int fd, const sockaddr *addr, socklen_t len) {
  before_connect();
  return static_cast<int>(syscall(SYS_connect, fd, addr, len));
}

int bind(int fd, const sockaddr *addr, socklen_t len) noexcept {
  const auto result = static_cast<int>(syscall(SYS_bind, fd, addr, len));
  after_bind();
  return result;
}

namespace {

pid_t start_child(const std::function<int()> &run) {
  const pid_t child = fork();
  if (child == 0)
    _exit(run());
  return child;
}

// Gives what the function gives.
int in_child(const std::function<int()> &run) {
  return wait_for(start_child(run));
}

class SwitchService : public testing::Test {
 protected:
  void SetUp() override {
    char name[] = "/tmp/switch_test_XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    folder_ = name;
    address_ = folder_ + "/socket";
  }

  void TearDown() override {
    if (service_ > 0) {
      kill(service_, SIGCONT);
      EXPECT_EQ(stop(SIGTERM), 0) << log();
      EXPECT_FALSE(std::filesystem::exists(address_));
    }
    std::filesystem::remove_all(folder_);
  }

  pid_t spawn(
      std::vector<std::string> options, const std::function<void()> &prepare = [] {}) {
    if (!address_.empty())
      options.insert(options.begin(), {"--socket", address_});
    options.insert(options.begin(), "morvaned");
    std::vector<char *> arguments(options.size() + 1);
    std::transform(options.begin(), options.end(), arguments.begin(),
                   [](std::string &option) { return option.data(); });
    return start_child([&] {
      dup2(open((folder_ + "/log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600), STDERR_FILENO);
      prepare();
      prctl(PR_SET_PDEATHSIG, SIGKILL);  // which a change of the user would take back
      execv(MORVANED_PATH, arguments.data());
      return 127;
    });
  }

  void start(
      const std::vector<std::string> &options = {}, const std::function<void()> &prepare = [] {}) {
    service_ = spawn(options, prepare);
    ASSERT_EQ(vp_connect(address_.c_str()), 0);
  }

  int stop(int signal) {
    kill(service_, signal);
    return wait_for(std::exchange(service_, -1));
  }

  std::string log() const {
    std::ifstream file(folder_ + "/log");
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::ptrdiff_t log_lines() const {
    const std::string lines = log();
    return std::count(lines.begin(), lines.end(), '\n');
  }

  void clear_log() const { std::filesystem::resize_file(folder_ + "/log", 0); }

  void expect_log(const std::string &part) const {
    EXPECT_TRUE(wait_until([&] { return log().find(part) != std::string::npos; }))
        << part << " is not in: " << log();
  }

  void expect_refusal(const std::vector<std::string> &options, int status, const std::string &why) {
    EXPECT_EQ(wait_for(spawn(options)), status) << why;
    expect_log(why);
  }

  // Waits until the clients of others are gone.
  static vp_client expect_only_client() {
    const vp_client *clients = nullptr;
    uint32_t count = 0;
    EXPECT_TRUE(wait_until([&] { return vp_clients(&clients, &count) == 0 && count == 1; }));
    return count == 0 ? vp_client{} : *clients;
  }

  static Descriptor socket_of(int type) {
    return Descriptor(socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
  }

  // Binds or connects a socket to a path or @name.
  template <typename Use>
  static int at(const std::string &text, const Descriptor &socket, Use use) {
    remote::Address address;
    EXPECT_EQ(remote::parse_address(text.c_str(), &address), 0);
    return use(socket.get(), address.get(), address.length);
  }

  static Descriptor bind_at(const std::string &path, int type) {
    Descriptor made = socket_of(type);
    EXPECT_EQ(at(path, made, bind), 0);
    return made;
  }

  // For a service that the test plays.
  Descriptor listen_here() const {
    Descriptor listener = bind_at(address_, SOCK_STREAM);
    EXPECT_EQ(listen(listener.get(), 8), 0);
    return listener;
  }

  Descriptor connect_raw() const {
    Descriptor raw = socket_of(SOCK_STREAM);
    EXPECT_EQ(at(address_, raw, connect), 0) << std::strerror(errno);
    return raw;
  }

  // Connects, receives the hello, and sends these bytes.
  Descriptor client_that_sends(const std::string &bytes) const {
    Descriptor raw = connect_raw();
    EXPECT_EQ(receive(raw, sizeof(Hello)), bytes_of(service_hello(0)));
    send_bytes(raw, bytes);
    return raw;
  }

  // As a user of the group tty, if the user is not the test's own.
  Descriptor connect_as(uid_t user) const {
    if (user == geteuid())
      return connect_raw();
    EXPECT_EQ(chmod(folder_.c_str(), 0711) + setegid(getgrnam("tty")->gr_gid) + seteuid(user), 0);
    Descriptor raw = connect_raw();
    EXPECT_EQ(seteuid(0) + setegid(0), 0);
    return raw;
  }

  std::string folder_, address_;
  pid_t service_ = -1;
};

TEST_F(SwitchService, ends_the_connection_that_brings_a_bad_message_and_nothing_else) {
  start();
  expect_log("ready");
  EXPECT_EQ(log_lines(), 2) << log();
  ASSERT_EQ(write_register(7), 0);
  const auto request = [](uint32_t kind, uint32_t length, int32_t result = 0, uint32_t driver = 0) {
    return bytes_of(kGoodHello, Header{9, kind, 0, driver, result, 0, length});
  };
  const uint32_t too_long = (16 << 20) + 1;
  const struct {
    std::string sent, answer, logged;
  } cases[] = {
      {std::string(100, 'x'), "", "disconnected: unknown protocol"},
      {bytes_of(Hello{remote::kMagic, 2, 0, 0, 0}), "", "unsupported protocol version"},
      {bytes_of(Hello{remote::kMagic, 1, 0, 0, EAGAIN}), "", "malformed handshake"},
      {request(remote::kEndOfKinds, 0), "", "unknown request kind"},
      {request(remote::kReset, 0, -1), "", "request with a result"},
      {request(remote::kReset, 0, 0, 236), "", "control request with a case or driver"},
      {request(remote::kSetCard, UINT32_MAX), "", "wrong request length"},
      {request(remote::kCall, too_long), bytes_of(Header{9, remote::kCall, 0, 0, -1, EMSGSIZE, 0}),
       "record too long"},
      {request(remote::kReset, 0).substr(0, 30), "", "disconnected mid-message"},
      {request(remote::kCall, 196) + "cut", "", "disconnected mid-message"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.logged);
    clear_log();
    const Descriptor raw = client_that_sends("");
    for (const char byte : c.sent)  // the rest of a refused message has no reader
      send_bytes(raw, {byte});
    shutdown(raw.get(), SHUT_WR);
    EXPECT_EQ(receive(raw, 1000), c.answer);
    expect_log(" client " + std::to_string(getpid()) + " (switch_service_, uid ");
    expect_log(c.logged);
    EXPECT_EQ(log_lines(), 1) << log();
    expect_register(7);
  }
  const vp_client client = expect_only_client();
  EXPECT_TRUE(client.process == getpid() && client.user == geteuid());
  EXPECT_TRUE(client.calls == std::size(cases) + 1 && client.failures == 0);
  EXPECT_EQ(client.last_case, SYSSRV_REG_READ_CASE);
  // Clients that do no better fill no disk.
  const Clock::time_point begin = Clock::now();
  const auto is_suppressed = [&] {
    client_that_sends(std::string(20, 'x'));
    return log().find("more lines about clients suppressed") != std::string::npos;
  };
  EXPECT_TRUE(wait_until(is_suppressed));
  EXPECT_LE(log_lines(), 11 * ((Clock::now() - begin) / std::chrono::seconds(1) + 2)) << log();
  const std::size_t reported = log().rfind("suppressed");
  client_that_sends(std::string(20, 'x'));
  EXPECT_TRUE(
      wait_until([&] { return log().find("disconnected", reported) != std::string::npos; }));
}

TEST_F(SwitchService, serves_and_ends_while_the_reader_of_its_log_stalls) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  const Descriptor reader(ends[0]), writer(ends[1]);
  const std::string full(static_cast<size_t>(fcntl(ends[1], F_SETPIPE_SZ, 4096)), '.');
  ASSERT_EQ(write(ends[1], full.data(), full.size()), static_cast<ssize_t>(full.size()));
  start({"--verbose"}, [&] { dup2(ends[1], STDERR_FILENO); });
  const auto make_many_lines = [this] {
    for (int i = 0; i < 200; ++i)
      client_that_sends("");
    EXPECT_EQ(write_register(1), 0);
  };
  make_many_lines();
  EXPECT_EQ(fcntl(ends[1], F_GETFL) & O_NONBLOCK, 0);
  std::string lines(4096, '\0'), all;
  for (pollfd more = {ends[0], POLLIN, 0};
       all.find(" lines lost\n") == std::string::npos && poll(&more, 1, 15000) == 1;)
    all.append(lines.data(), static_cast<size_t>(read(ends[0], lines.data(), lines.size())));
  EXPECT_NE(all.find(" lines lost\n"), std::string::npos) << all;
  EXPECT_NE(all.find(" listening on " + address_ + "\n"), std::string::npos) << all;
  make_many_lines();
  EXPECT_EQ(stop(SIGTERM), 0);
}

TEST_F(SwitchService, serves_requests_that_come_together_one_by_one_and_answers_nothing_twice) {
  start();
  std::string sent = bytes_of(kGoodHello), expected;
  for (uint32_t i = 0; i < 100; ++i) {
    sent += bytes_of(Header{i, remote::kCall, SYSSRV_REG_READ_CASE, 236, 0, 0, kRecord}, Record{});
    expected += bytes_of(Header{i, remote::kCall, SYSSRV_REG_READ_CASE, 236, -1, EFAULT, 0});
  }
  const Descriptor raw = client_that_sends(sent);
  shutdown(raw.get(), SHUT_WR);
  EXPECT_EQ(receive(raw, expected.size() + 1), expected);
}

TEST_F(SwitchService, delays_the_answer_to_one_client_and_serves_the_others) {
  start();
  vp_fault fault = {};
  fault.conditions = VP_IF_PROCESS;
  fault.process = getpid();
  fault.every = fault.times = 1;
  fault.min_delay_us = fault.max_delay_us = 3600U * 1000 * 1000;
  ASSERT_EQ(vp_add_fault(&fault), 0);
  const Record read = {TYPE_READ, 99};
  Descriptor delayed = client_that_sends(bytes_of(
      kGoodHello, Header{1, remote::kCall, SYSSRV_REG_READ_CASE, 236, 0, 0, kRecord}, read));
  const vp_fault *faults = nullptr;
  uint32_t count = 0;
  EXPECT_TRUE(wait_until([&] { return vp_faults(&faults, &count) == 0 && faults->hits == 1; }));
  EXPECT_EQ(read_register(), 0);
  EXPECT_EQ(recv(delayed.get(), &fault, 1, MSG_DONTWAIT), -1);
  delayed = Descriptor();
  expect_only_client();
  expect_log("disconnected before reading its reply");
}

TEST_F(SwitchService, waits_for_no_monitor_and_reports_how_many_notes_it_left_out) {
  start();
  vp_monitor *monitor = nullptr;
  ASSERT_EQ(vp_monitor_open(&monitor), 0);
  constexpr uint64_t calls = 10000;
  for (uint64_t i = 0; i < calls; ++i)
    ASSERT_EQ(read_register(), 0);
  uint64_t received = 0, lost = 0, number = 0;
  const vp_note *note = nullptr;
  const auto receive_notes = [&] {
    while (vp_monitor_next(monitor, 0, &note) == 0) {
      lost += note->lost;
      received += note->lost == 0 ? 1 : 0;
    }
    return received + lost == calls;
  };
  EXPECT_TRUE(wait_until(receive_notes)) << received << " notes, " << lost << " lost";
  EXPECT_GT(lost, 0U);
  EXPECT_GT(received, uint64_t{1 << 20} / 400);
  EXPECT_EQ(read_register(), 0);
  EXPECT_EQ(vp_monitor_next(monitor, -1, &note), 0);
  std::memcpy(&number, reinterpret_cast<const char *>(note + 1) + 16, sizeof number);
  EXPECT_EQ(number, calls + 1);
  EXPECT_EQ(note->process, getpid());
  vp_monitor_close(monitor);
  expect_only_client();
  expect_log("ready");
  EXPECT_EQ(log_lines(), 2) << log();
  const Header request = {9, remote::kMonitor, 0, 0, 0, 0, 0};
  const Descriptor talking = client_that_sends(bytes_of(kGoodHello, request, request));
  EXPECT_EQ(receive(talking, 1000), bytes_of(request));
  expect_log("disconnected: request from a monitor");
}

TEST_F(SwitchService, tells_a_bad_answer_from_a_good_one) {
  const Descriptor listener = listen_here();
  const auto list = [] {
    const vp_client *clients = nullptr;
    uint32_t count = 0;
    const int error = vp_clients(&clients, &count);
    EXPECT_EQ(count, error == 0 ? 2U : 0U);
    return error;
  };
  const auto card = [] { return vp_sw_card_id() != 0 ? 0 : errno; };
  const auto client = [](int32_t process, int32_t error, char last) {
    vp_client made = {process, 0, 1, 1, SYSSRV_REG_READ_CASE, error, 0, 0, {}};
    std::memset(made.program, 'x', sizeof made.program - 1);
    made.program[sizeof made.program - 1] = last;
    return bytes_of(made);
  };
  const auto body = [](size_t length) { return std::string(length, 'a'); };
  const auto monitor = [] {
    vp_monitor *opened = nullptr;
    if (const int error = vp_monitor_open(&opened))
      return error;
    const vp_note *note = nullptr;
    const int error = vp_monitor_next(opened, -1, &note);
    EXPECT_EQ(vp_monitor_next(opened, -1, &note), error == 0 ? ECONNRESET : error);
    vp_monitor_close(opened);
    return error;
  };
  const auto note = [](uint64_t lost, int32_t process, uint32_t size, size_t given, char last,
                       int32_t result = 0) {
    vp_note made = {lost, 1, process, 0, size, 0, {}};
    std::memset(made.program, 'x', sizeof made.program - 1);
    made.program[sizeof made.program - 1] = last;
    const auto length = static_cast<uint32_t>(sizeof made + given);
    return bytes_of(Header{0, remote::kMonitor, 0, 0, result, 0, length}, made) +
           std::string(given, 'a');
  };
  const auto info = [] {
    return in_child([] {
      vp_switch shown = {};
      return vp_switch_info(&shown);
    });
  };
  const Hello good = service_hello(0);
  const Hello older = {remote::kMagic, remote::kVersion, 0, 1 << 24, 0};  // without any feature
  const std::string known = client(0, 4095, '\0');
  constexpr uint32_t kNone = UINT32_MAX;  // in the place of -1
  const struct {
    int expected;
    Hello hello;
    std::array<uint32_t, 6> added;  // to the header of the request
    uint32_t length;
    std::string body;
    std::function<int()> request = read_register;
  } cases[] = {
      {0, good, {}, kRecord, body(kRecord)},
      {EPROTO, good, {1}, kRecord, body(kRecord)},
      {EPROTO, good, {0, 1}, kRecord, body(kRecord)},
      {EPROTO, good, {0, 0, 1}, kRecord, body(kRecord)},
      {EPROTO, good, {0, 0, 0, 1}, kRecord, body(kRecord)},
      {EPROTO, good, {0, 0, 0, 0, 0, EIO}, kRecord, body(kRecord)},
      {EPROTO, good, {0, 0, 0, 0, kNone, 0}, 0, ""},
      {EPROTO, good, {0, 0, 0, 0, kNone, 4096}, 0, ""},
      {EPROTO, good, {0, 0, 0, 0, kNone, EIO}, kRecord, body(kRecord)},
      {EBADMSG, good, {0, 0, 0, 0, kNone, EBADMSG}, 0, ""},
      {EPROTO, good, {}, kRecord + 4, body(kRecord + 4)},
      {EPROTO, good, {}, 4, body(4)},
      {EPROTO, good, {}, kRecord, body(kRecord + 1)},
      {EPROTO, good, {}, 0, body(1)},
      {ECONNRESET, good, {}, kRecord, ""},
      {ECONNRESET, good, {}, kRecord, body(kRecord - 1)},
      {0, good, {}, 128, known + known, list},
      {EPROTO, good, {}, 128, known + client(1, 0, 'x'), list},
      {EPROTO, good, {}, 128, client(-1, 0, '\0') + known, list},
      {EPROTO, good, {}, 128, known + client(1, -1, '\0'), list},
      {EPROTO, good, {}, 128, known + client(1, 4096, '\0'), list},
      {EPROTO, good, {}, 128, known + known + "x", list},
      {0, good, {}, 8, bytes_of(remote::Card{7, UINT16_MAX}), card},
      {EPROTO, good, {}, 8, bytes_of(remote::Card{7, UINT16_MAX + 1}), card},
      {0, good, {}, 0, note(0, 1, 96, 96, '\0'), monitor},
      {0, good, {}, 0, note(3, 0, 0, 0, '\0'), monitor},
      {EPROTO, good, {}, 0, note(0, 1, 0, 0, '\0'), monitor},
      {EPROTO, good, {}, 0, note(3, 1, 96, 96, '\0'), monitor},
      {EPROTO, good, {}, 0, note(0, 1, 112, 96, '\0'), monitor},
      {EPROTO, good, {}, 0, note(0, 1, 100, 100, '\0'), monitor},
      {EPROTO, good, {}, 0, note(0, 1, 26784, 26784, '\0'), monitor},
      {EPROTO, good, {}, 0, note(0, -1, 96, 96, '\0'), monitor},
      {EPROTO, good, {}, 0, note(0, 1, 96, 96, 'x'), monitor},
      {EPROTO, good, {}, 0, note(0, 1, 96, 96, '\0', 1), monitor},
      {ECONNRESET, good, {}, 0, note(0, 1, 96, 96, '\0').substr(0, 100), monitor},
      {EPERM, good, {0, 0, 0, 0, kNone, EPERM}, 0, "", monitor},
      {EPROTO, good, {}, 4, body(4), monitor},
      {EAGAIN, service_hello(EAGAIN), {}, 0, ""},
      {EPROTONOSUPPORT, {remote::kMagic, 2, 0, 1 << 24, 0}, {}, 0, ""},
      {EPROTO, {}, {}, 0, ""},
      {EPROTO, service_hello(-1), {}, 0, ""},
      {EPROTO, service_hello(4096), {}, 0, ""},
      {0, older, {}, kRecord, body(kRecord)},
      {EPROTONOSUPPORT, older, {}, 0, "", monitor},
      {EPROTONOSUPPORT, older, {}, 0, "", info},
      {EMSGSIZE, service_hello(0, kRecord - 1), {}, 0, ""},  // last, because nothing is sent
  };
  uint32_t last_sequence = 0;
  setenv("MORVANE_SWITCH", address_.c_str(), 1);
  for (const auto &c : cases) {
    std::thread service([&] {
      const Descriptor socket(accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
      send_bytes(socket, bytes_of(c.hello));
      const std::string request = receive(socket, sizeof(Hello) + sizeof(Header));
      if (request.size() < sizeof(Hello) + sizeof(Header))
        return;
      std::array<uint32_t, 7> header;
      std::memcpy(header.data(), &request[sizeof(Hello)], sizeof header);
      EXPECT_TRUE(header[1] == remote::kMonitor ||
                  header[0] != std::exchange(last_sequence, header[0]));
      receive(socket, std::exchange(header[6], c.length));
      std::transform(c.added.begin(), c.added.end(), header.begin(), header.begin(), std::plus<>());
      send_bytes(socket, bytes_of(header) + c.body);
    });
    EXPECT_EQ(c.request(), c.expected) << &c - cases;
    EXPECT_EQ(c.expected == EMSGSIZE ? vp_connect(nullptr) : 0, 0);
    service.join();
  }
}

TEST_F(SwitchService, tries_again_a_service_that_ends_before_its_hello_and_ends_the_wait_for_one) {
  Descriptor listener = listen_here();
  setenv("MORVANE_SWITCH", address_.c_str(), 1);
  for (const char *name : {"MORVANE_SWITCH_WAIT", "MORVANE_SWITCH_TIMEOUT"}) {
    for (const char *number : {"1a", "-1", " 1", "2147483648"}) {
      const auto fails_until_unset = [&] {
        setenv(name, number, 1);
        return write_register(1) == EINVAL ? vp_connect(nullptr) + write_register(1) : -1;
      };
      EXPECT_EQ(in_child(fails_until_unset), 0) << number;
    }
  }
  setenv("MORVANE_SWITCH_WAIT", "1000000", 1);  // longer than this test may take
  std::thread service([&] {
    close(accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    const Descriptor socket(accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    send_bytes(socket, bytes_of(service_hello(EBUSY)));
  });
  EXPECT_EQ(in_child([] { return write_register(1); }), EBUSY);
  shutdown(listener.get(), SHUT_RDWR);
  service.join();
  unlink(address_.c_str());
  const Descriptor silent = listen_here();
  setenv("MORVANE_SWITCH_TIMEOUT", "1", 1);
  EXPECT_EQ(in_child([] { return write_register(1); }), ETIMEDOUT);
}

TEST_F(SwitchService, accepts_a_service_of_root_of_its_own_user_and_of_the_user_that_is_named) {
  if (geteuid() != 0)
    GTEST_SKIP() << "needs root, to listen as another user";
  address_ = "@switch_test_" + std::to_string(getpid());
  setenv("MORVANE_SWITCH", address_.c_str(), 1);
  setenv("MORVANE_SWITCH_TIMEOUT", "1", 1);
  const struct {
    uid_t service, client;
    const char *named;
    int expected;  // ETIMEDOUT: accepted, and no hello came
  } cases[] = {
      {kNobody, 0, "", EACCES},          {kNobody, 0, "65533", EACCES},
      {kNobody, 0, "65534", ETIMEDOUT},  {kNobody, 0, "nobody", ETIMEDOUT},
      {kNobody, kNobody, "", ETIMEDOUT}, {65533, kNobody, "", EACCES},
      {0, kNobody, "", ETIMEDOUT},       {0, 0, "no such user", EINVAL},
      {0, 0, "4294967295", EINVAL},
  };
  for (const auto &c : cases) {
    ASSERT_EQ(seteuid(c.service), 0);
    const Descriptor listener = listen_here();
    ASSERT_EQ(seteuid(0), 0);
    const auto call = [&] {
      setenv("MORVANE_SWITCH_USER", c.named, 1);
      return seteuid(c.client) == 0 ? write_register(1) : -1;
    };
    EXPECT_EQ(in_child(call), c.expected) << &c - cases;
  }
}

TEST_F(SwitchService, late_answers_and_lost_services_are_reported_once) {
  setenv("MORVANE_SWITCH_TIMEOUT", "1000", 1);
  // Longer than this test may take: a later connection does not wait for a service.
  setenv("MORVANE_SWITCH_WAIT", "1000000", 1);
  // Interrupted all the while, and never told.
  struct sigaction action = {};
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, nullptr);
  const itimerval often = {{0, 5000}, {0, 5000}};
  setitimer(ITIMER_REAL, &often, nullptr);
  start();
  ASSERT_EQ(write_register(1), 0);
  kill(service_, SIGSTOP);
  EXPECT_EQ(write_register(2), ETIMEDOUT);
  kill(service_, SIGCONT);
  for (uint32_t i = 3; i < 50; ++i) {
    EXPECT_EQ(write_register(i), 0);
    expect_register(i);
  }
  static kel_asic_xn_t transaction;
  kill(service_, SIGSTOP);
  after_send = [this] { kill(service_, SIGKILL); };
  EXPECT_EQ(send_record(SYSSRV_MEM_WRITE_CASE, &transaction, sizeof transaction), ECONNRESET);
  after_send = [] {};
  stop(SIGKILL);
  EXPECT_EQ(write_register(1), ECONNREFUSED);  // the socket that was left
  clear_log();
  service_ = spawn({});
  expect_log("ready");
  expect_register(0);  // a new switch, without a failure between
  // A child has its own connection, and does not touch its parent's.
  for (const pid_t number : {0, getpid()}) {
    process_number = number;
    EXPECT_EQ(write_register(5), 0);
    const auto is_second_client = [] {
      const vp_client *clients = nullptr;
      uint32_t count = 0;
      return vp_clients(&clients, &count) == 0 && count == 2 &&
             clients[1].process == syscall(SYS_getpid);
    };
    EXPECT_EQ(in_child(is_second_client), 1);
  }
  EXPECT_EQ(write_register(5), 0);
  expect_register(5);
}

TEST_F(SwitchService, connects_anew_where_nothing_was_sent) {
  start();
  const std::pair<int, int> failures[] = {{EPIPE, 0}, {ECONNRESET, 0},    {ENOTCONN, 0},
                                          {EBADF, 0}, {ENOBUFS, ENOBUFS}, {ENOMEM, ENOMEM}};
  for (const auto &[failure, expected] : failures) {
    failing_sends = 1, failure_of_sends = failure;
    EXPECT_EQ(write_register(1), expected);
    EXPECT_EQ(write_register(2), 0) << failure;
  }
  failing_sends = 2, failure_of_sends = EPIPE;  // nor does it leave on the new connection
  EXPECT_EQ(write_register(3), ECONNRESET);
  EXPECT_EQ(write_register(4), 0);
  int ends[2];  // a socket of the program's own, which gets the number of the client's
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
  const Descriptor programs(ends[0]), other_end(ends[1]);
  shutdown(ends[1], SHUT_WR);  // no client waits for the answer
  const int number = dup2(ends[0], last_sent_to);
  EXPECT_EQ(write_register(3), 0);
  EXPECT_EQ(close(number) + shutdown(ends[0], SHUT_RDWR), 0);
  EXPECT_EQ(receive(other_end, 1000), "");
  const auto leaves_standard_streams_closed = [] {
    int others = close_range(0, 2, 0) + write_register(3);
    for (int standard = 0; standard <= STDERR_FILENO; ++standard)
      others += fcntl(standard, F_GETFD) + 1;
    return others;
  };
  EXPECT_EQ(in_child(leaves_standard_streams_closed), 0);
}

TEST_F(SwitchService, has_a_queue_in_which_clients_and_a_second_service_wait) {
  start();
  const Descriptor early = client_that_sends(bytes_of(kGoodHello));
  kill(service_, SIGSTOP);
  EXPECT_EQ(waitpid(service_, nullptr, WUNTRACED), service_);
  std::vector<Descriptor> queue;
  do
    queue.push_back(socket_of(SOCK_STREAM | SOCK_NONBLOCK));
  while (at(address_, queue.back(), connect) == 0);
  EXPECT_EQ(errno, EAGAIN);
  send_bytes(early, bytes_of(Header{1, remote::kListClients, 0, 0, 0, 0, 0}));
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  const Descriptor reader(ends[0]), writer(ends[1]);
  const auto wait_for_connects = [&](int count) {
    for (char byte = 0; count > 0 && read(reader.get(), &byte, 1) == 1; --count) {
    }
  };
  before_connect = [&] { EXPECT_EQ(write(writer.get(), "", 1), 1); };
  const auto is_told_who_serves = [&] {
    morvaned::Log log;
    try {
      const morvaned::Listener second(address_, std::nullopt, log);
    } catch (const morvaned::StartError &error) {
      return error.what() == address_ + " is already served by process " + std::to_string(service_);
    }
    return false;
  };
  const pid_t second = start_child(is_told_who_serves);
  wait_for_connects(1);
  const pid_t client = start_child([] { return write_register(4); });
  wait_for_connects(2);
  before_connect = [] {};
  kill(service_, SIGCONT);
  EXPECT_EQ(wait_for(client), 0);
  EXPECT_EQ(wait_for(second), 1);
  std::array<uint32_t, 7> reply = {};  // sent before all who connect are accepted
  std::memcpy(reply.data(), receive(early, sizeof reply).data(), sizeof reply);
  EXPECT_LT(reply[6] / sizeof(vp_client), queue.size() / 2);
  queue.clear();
  expect_register(4);
}

TEST_F(SwitchService, has_room_for_so_many_long_records_at_once_and_for_short_ones_always) {
  constexpr uint32_t length = 1 << 20;
  start({"--max-record", std::to_string(length), "--group", "tty"});
  const auto call = [] {
    std::vector<uint32_t> run(length / 4);
    run[0] = TYPE_READ_DHS;
    return send_record(SYSSRV_REG_READ_CASE, run.data(), length);
  };
  EXPECT_EQ(call(), 0);
  const std::string part = bytes_of(kGoodHello, Header{1, remote::kCall, 0, 0, 0, 0, length}) +
                           std::string(length - sizeof(Header), 'x');
  const struct {
    uid_t user;         // of the first records; the next ones are of the users before it
    unsigned per_user;  // records
    unsigned refused;   // which record
    int owners_call;
  } cases[] = {{geteuid(), 9, 8, ENOBUFS}, {kNobody, 9, 2, 0}, {kNobody, 2, 8, 0}};
  for (const auto &c : cases) {
    if (c.user != geteuid() && geteuid() != 0)
      GTEST_SKIP() << "needs root, to become a member of the group";
    std::vector<Descriptor> clients;
    while (clients.size() <= c.refused) {
      clients.push_back(connect_as(c.user - static_cast<uid_t>(clients.size()) / c.per_user));
      send_bytes(clients.back(), part);
      int left = 1;
      EXPECT_TRUE(wait_until(
          [&] { return ioctl(clients.back().get(), TIOCOUTQ, &left) != 0 || left == 0; }));
    }
    EXPECT_EQ(receive(clients.back(), 1000),
              bytes_of(service_hello(0, length), Header{1, remote::kCall, 0, 0, -1, ENOBUFS, 0}));
    clients.pop_back();
    for (const Descriptor &client : clients) {
      pollfd closed = {client.get(), POLLRDHUP, 0};
      EXPECT_EQ(poll(&closed, 1, 0), 0);
    }
    expect_log("disconnected: receive buffers exhausted");
    EXPECT_EQ(call(), c.owners_call);
    EXPECT_EQ(write_register(5), 0);
    clients.clear();
    expect_only_client();
    EXPECT_EQ(call(), 0);
  }
}

TEST_F(SwitchService, ends_clients_without_progress_after_five_seconds_and_not_before) {
  start();
  const Clock::time_point begin = Clock::now();
  const Descriptor silent = client_that_sends(""), asking = connect_raw(),
                   incomplete = client_that_sends(bytes_of(kGoodHello) + "cut");
  send_bytes(asking, bytes_of(kGoodHello));
  vp_monitor *monitor = nullptr;  // which does not receive its notes, and stays
  EXPECT_EQ(vp_monitor_open(&monitor), 0);
  constexpr int kNotes = 2000;  // more than its socket holds
  for (int i = 0; i < kNotes; ++i)
    expect_register(0);
  const std::string request = bytes_of(Header{1, remote::kCall, 0, 0, 0, 0, 0});
  pollfd gone = {silent.get(), POLLIN, 0};
  while (poll(&gone, 1, 20) == 0 && Clock::now() - begin < std::chrono::seconds(15)) {
    expect_register(0);  // a service that is never idle checks as soon as it may
    while (send(asking.get(), request.data(), request.size(), MSG_DONTWAIT | MSG_NOSIGNAL) > 0) {
    }
  }
  EXPECT_GE(Clock::now() - begin, std::chrono::seconds(5));
  ASSERT_EQ(poll(&gone, 1, 0), 1) << log();
  EXPECT_EQ(receive(silent, 1), "");
  expect_log("handshake timed out");
  expect_log("incomplete request timed out");
  expect_log("not reading replies, disconnected");
  const vp_note *note = nullptr;
  for (int i = 0; i < kNotes; ++i)
    ASSERT_EQ(vp_monitor_next(monitor, -1, &note), 0);
  vp_monitor_close(monitor);
}

TEST_F(SwitchService, gives_enomem_and_applies_nothing_when_its_memory_runs_out) {
  if (SANITIZED)
    GTEST_SKIP() << "a sanitizer ends a program whose memory runs out";
  constexpr uint32_t pages = 32, per_module = 2 * pages, count = 4 * per_module;
  const kel_asic_reg_t *const bases = kel_asic_get_all_base_table(KEL_ASIC_VER_B0)[KEL_ASIC_BLK_NF];
  const uint32_t table =
      kel_asic_get_all_reg_table(KEL_ASIC_VER_B0)[KEL_ASIC_BLK_NF][NF_DHS_MCAST_MEM_00_OFFSET];
  static kel_asic_xn_t transaction;
  transaction.num = count;
  for (uint32_t i = 0; i < count; ++i) {
    transaction.xn[i] = {static_cast<int32_t>(i / per_module), 0,
                         bases[i / pages % 2] + table + i % pages * 4096, 1, UINT32_MAX};
  }
  const auto commit = [] {
    return send_record(SYSSRV_MEM_WRITE_CASE, &transaction, sizeof transaction);
  };
  const auto written_words = [] {
    return std::count_if(transaction.xn, transaction.xn + count, [](const auto &entry) {
      Record record = {TYPE_READ, static_cast<uint32_t>(entry.module), 0, entry.reg};
      return send_record(SYSSRV_REG_READ_CASE, record.data(), kRecord) == 0 && record[4] == 1;
    });
  };
  start();
  expect_log("ready");
  rlimit before = {};
  ASSERT_EQ(prlimit(service_, RLIMIT_DATA, nullptr, &before), 0);
  std::ifstream status("/proc/" + std::to_string(service_) + "/status");
  for (std::string word; word != "VmData:";)
    ASSERT_TRUE(status >> word);
  rlim_t used = 0;  // KiB
  status >> used;
  const rlimit half = {(used + 512) * 1024, before.rlim_max};  // of the pages
  ASSERT_EQ(prlimit(service_, RLIMIT_DATA, &half, nullptr), 0);
  EXPECT_EQ(commit(), ENOMEM);
  ASSERT_EQ(prlimit(service_, RLIMIT_DATA, &before, nullptr), 0);
  EXPECT_EQ(written_words(), 0);
  EXPECT_EQ(expect_only_client().failures, 1U);  // on the same connection
  std::vector<uint32_t> run(1 << 20);            // of which the answer is longer than any before
  run[0] = TYPE_READ_DHS;
  const rlimit none = {1, before.rlim_max};
  setrlimit(RLIMIT_DATA, &none);
  EXPECT_EQ(send_record(SYSSRV_REG_READ_CASE, run.data(), 4 * run.size()), ENOMEM);
  setrlimit(RLIMIT_DATA, &before);
  EXPECT_EQ(commit(), 0);
  EXPECT_EQ(written_words(), count);
}

TEST_F(SwitchService, serves_those_who_are_here_while_it_has_no_descriptor_for_another) {
  start();
  rlimit before = {};
  ASSERT_EQ(prlimit(service_, RLIMIT_NOFILE, nullptr, &before), 0);
  const rlimit none = {3, before.rlim_max};  // for a new one; what it has open stays
  ASSERT_EQ(prlimit(service_, RLIMIT_NOFILE, &none, nullptr), 0);
  const Descriptor raw = connect_raw();
  expect_log("cannot accept a client: Too many open files");
  for (int turns = 0; turns < 100; ++turns)
    EXPECT_EQ(write_register(7), 0);
  EXPECT_LT(log_lines(), 50) << log();  // not one in each turn
  ASSERT_EQ(prlimit(service_, RLIMIT_NOFILE, &before, nullptr), 0);
  EXPECT_EQ(receive(raw, sizeof(Hello)), bytes_of(service_hello(0)));
}

TEST_F(SwitchService, takes_over_a_left_socket_and_leaves_what_is_served_and_what_is_not_its_own) {
  start({"--verbose", "--max-clients", "0x2"});
  expect_refusal({}, 1, address_ + " is already served by process " + std::to_string(service_));
  {
    const Descriptor second = client_that_sends(""), third = connect_raw();
    EXPECT_EQ(receive(third, 1000), bytes_of(service_hello(EAGAIN)));
  }
  expect_log(" connected\n");
  expect_only_client();
  expect_log(" disconnected\n");
  const pid_t killed = start_child([this] {
    const Descriptor raw = connect_raw();
    return raise(SIGKILL);
  });
  expect_log("client " + std::to_string(killed) + " (switch_service_, uid " +
             std::to_string(geteuid()) + ") disconnected (killed by signal 9)\n");
  wait_for(killed);
  // A switch that cannot be had leaves the one at hand, and the connection to it.
  EXPECT_EQ(write_register(1), 0);
  EXPECT_EQ(vp_connect((folder_ + "/log/socket").c_str()), ENOTDIR);
  EXPECT_EQ(vp_connect(""), EINVAL);
  EXPECT_EQ(vp_connect(std::string(200, 'x').c_str()), ENAMETOOLONG);
  EXPECT_EQ(expect_only_client().calls, 1U);
  stop(SIGKILL);
  EXPECT_TRUE(std::filesystem::exists(address_));
  {
    const Descriptor locked(open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    EXPECT_EQ(flock(locked.get(), LOCK_SH), 0);  // any user can do this
    start({}, [] { std::signal(SIGHUP, SIG_IGN); });
    expect_log(folder_ + "/: locked by another process, continuing without the lock");
  }
  kill(service_, SIGHUP);  // as nohup starts it
  EXPECT_EQ(write_register(1), 0);
  std::filesystem::rename(address_, address_ + ".ours");
  std::ofstream(address_) << "somebody's file";
  expect_refusal({}, 1, "exists and is not a socket");
  EXPECT_EQ(stop(SIGINT), 0);
  EXPECT_TRUE(std::filesystem::remove(address_));
  const std::pair<std::vector<std::string>, int> wrong[] = {
      {{"--max-clients", "0"}, 2},
      {{"--max-record", "10279"}, 2},
      {{"--group", "no such group"}, 1},
      {{"--max-record=1073741824", "--group=-"}, 1},  // but for its group
      {{"--max-record", "1073741825"}, 2},
      {{"--max-clients", "1x"}, 2},
      {{"--max-clients", "0x10001"}, 2},
      {{"--group", ""}, 2},
      {{"--verbosely"}, 2},
      {{"and more"}, 2}};
  for (const auto &[options, status] : wrong)
    expect_refusal(options, status, "");
  const auto few_files = [] {
    const rlimit few = {64, 64};
    setrlimit(RLIMIT_NOFILE, &few);
  };
  EXPECT_EQ(wait_for(spawn({"--max-clients", "64"}, few_files)), 1);
  expect_log("--max-clients: more open files than a process may have here");
  const Descriptor datagrams = bind_at(address_, SOCK_DGRAM);
  expect_refusal({}, 1, address_ + ": Protocol wrong type for socket");
  address_ = folder_ + "/none/socket";
  expect_refusal({}, 1, "No such file or directory");
}

TEST_F(SwitchService, gives_the_group_its_own_socket_and_no_file_that_replaces_it) {
  const bool is_root = geteuid() == 0;
  const gid_t group = is_root ? getgrnam("tty")->gr_gid : getegid();
  const std::string victim = folder_ + "/victim";
  EXPECT_EQ(close(creat(victim.c_str(), 0600)), 0);
  const auto status = [](const std::string &path) {
    struct stat found = {};
    EXPECT_EQ(lstat(path.c_str(), &found), 0) << path;
    return found;
  };
  morvaned::Log log;
  const auto listens = [&](bool has_group) {
    try {
      const morvaned::Listener listener(address_, has_group ? std::optional(group) : std::nullopt,
                                        log);
      const struct stat made = status(address_);
      EXPECT_EQ(made.st_gid, has_group ? group : getegid());
      return true;
    } catch (const morvaned::StartError &) {
      return false;
    }
  };
  mode_t mode = 0;
  after_bind = [&] { mode = status(address_).st_mode; };  // no client has to wait for its mode
  EXPECT_TRUE(listens(false));
  EXPECT_EQ(mode, S_IFSOCK | 0600U);
  EXPECT_TRUE(listens(true));
  EXPECT_EQ(mode, S_IFSOCK | 0660U);
  after_bind = [&] {
    std::filesystem::remove(address_);
    std::filesystem::create_symlink(victim, address_);
  };
  EXPECT_FALSE(listens(true));
  EXPECT_TRUE(std::filesystem::remove(address_));  // which is not the listener's
  EXPECT_EQ(status(victim).st_mode, S_IFREG | 0600U);
  EXPECT_EQ(status(victim).st_gid, getegid());
  after_bind = [] {};
  const struct {
    mode_t mode;
    uid_t owner;
    bool alone, with_group;
  } directories[] = {
      {0700, 0, true, true},  {01777, 0, true, true},       {0777, 0, false, false},
      {0770, 0, true, false}, {0700, kNobody, true, false}, {01777, kNobody, true, false},
  };
  for (const auto &c : directories) {
    if (c.owner != 0 && !is_root) {
      std::cout << "not tested: a directory of nobody, which needs root\n";
      continue;
    }
    SCOPED_TRACE(&c - directories);
    EXPECT_EQ(chown(folder_.c_str(), is_root ? c.owner : geteuid(), getegid()), 0);
    EXPECT_EQ(chmod(folder_.c_str(), c.mode), 0);
    EXPECT_EQ(listens(false), c.alone);
    EXPECT_EQ(listens(true), c.with_group);
  }
}

TEST_F(SwitchService, takes_a_socket_that_was_handed_over_and_tells_when_it_is_ready) {
  const std::string file = address_;
  for (const std::string &address : {file, "@handed_over_" + std::to_string(getpid())}) {
    address_ = address;
    const std::string notify_path = folder_ + (address[0] == '@' ? "/notify" : "/notified");
    const Descriptor notified = bind_at(notify_path, SOCK_DGRAM);
    const Descriptor listener = listen_here();
    service_ = spawn({}, [&] {
      fcntl(dup2(listener.get(), 3), F_SETFD, 0);  // which may be its number already
      close_range(0, 2, 0);
      setenv("LISTEN_PID", std::to_string(getpid()).c_str(), 1);
      setenv("LISTEN_FDS", "1", 1);
      setenv("NOTIFY_SOCKET", notify_path.c_str(), 1);
    });
    std::string state(1000, '\0');
    state.resize(static_cast<size_t>(recv(notified.get(), state.data(), state.size(), 0)));
    EXPECT_EQ(state, "READY=1\nSTATUS=Serving at " + address_);
    EXPECT_EQ(vp_connect(address_.c_str()), 0);
    EXPECT_EQ(receive(client_that_sends(std::string(100, 'x')), 1000), "");  // nothing of the log
    EXPECT_EQ(write_register(5), 0);
    EXPECT_EQ(stop(SIGQUIT), 0);
  }
  EXPECT_TRUE(std::filesystem::exists(file));  // its maker removes it
}

TEST_F(SwitchService, leaves_the_controls_to_its_owner_and_serves_the_group_alone) {
  if (geteuid() != 0)
    GTEST_SKIP() << "needs root, to become somebody else";
  address_ = "@switch_test_" + std::to_string(getpid());
  const gid_t tty = getgrnam("tty")->gr_gid;
  const auto as_nobody_of = [this](gid_t own, gid_t more, const std::function<int()> &run) {
    return in_child([&] {
      const bool changed = setgroups(1, &more) == 0 && setgid(own) == 0 && setuid(kNobody) == 0;
      const int error = changed ? vp_connect(address_.c_str()) : -1;
      return error != 0 ? error : run();
    });
  };
  const auto as_member = [&](const std::function<int()> &run) {
    return as_nobody_of(kNobody, tty, run);
  };
  start({"--group", "tty", "--max-clients", "4"});
  std::ifstream sockets("/proc/net/unix");  // as others see the address: no byte more
  const std::string names(std::istreambuf_iterator<char>(sockets), {});
  EXPECT_NE(names.find(" " + address_ + "\n"), std::string::npos);
  EXPECT_EQ(as_nobody_of(kNobody, kNobody, [] { return 0; }), EACCES);
  EXPECT_EQ(as_member([] { return write_register(5); }), 0);
  EXPECT_EQ(as_nobody_of(tty, kNobody, [] { return write_register(5); }), 0);
  expect_register(5);
  // One user may have half of the places, and a quarter is root's.
  EXPECT_EQ(vp_connect(nullptr), 0);
  const std::pair<uid_t, int> members[] = {
      {kNobody, 0}, {kNobody, 0}, {kNobody, EAGAIN}, {65533, 0}, {65533, EAGAIN}};
  std::vector<Descriptor> connected;
  for (const auto &[user, error] : members) {
    connected.push_back(connect_as(user));
    EXPECT_EQ(receive(connected.back(), sizeof(Hello)), bytes_of(service_hello(error)));
  }
  EXPECT_EQ(vp_connect(address_.c_str()), 0);
  connected.clear();
  expect_only_client();
  vp_asic_state state = {};
  EXPECT_EQ(as_member([] { return vp_reset(); }), EPERM);
  EXPECT_EQ(as_member([] { return vp_set_card(1, 1); }), EPERM);
  EXPECT_EQ(as_member([&] { return vp_asic_show(0, 0, &state); }), EPERM);
  EXPECT_EQ(as_member([] { return vp_sw_card_id() == 1 ? 0 : -1; }), 0);
  expect_register(5);
  EXPECT_EQ(stop(SIGHUP), 0) << log();
  start({"--group", "root"});  // number 0 is a group like others
  EXPECT_EQ(as_member([] { return 0; }), EACCES);
}

TEST_F(SwitchService, listens_by_itself_where_the_session_of_its_user_has_its_sockets) {
  address_.clear();
  const auto becomes_nobody = [this] {
    setenv("XDG_RUNTIME_DIR", folder_.c_str(), 1);
    return setgid(kNobody) == 0 && setuid(kNobody) == 0 && access(MORVANED_PATH, X_OK) == 0;
  };
  if (geteuid() != 0 || in_child(becomes_nobody) == 0)
    GTEST_SKIP() << "needs root, to become somebody else who can run " << MORVANED_PATH;
  ASSERT_EQ(chown(folder_.c_str(), kNobody, kNobody), 0);
  service_ = spawn({}, becomes_nobody);
  address_ = folder_ + "/morvaned.sock";
  setenv("MORVANE_SWITCH_USER", "nobody", 1);
  EXPECT_EQ(vp_connect(address_.c_str()), 0);
}

}  // namespace
