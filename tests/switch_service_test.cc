// The switch in a process of its own: morvaned against hostile clients, the client side against
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
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "kel_asic_lib_common.h"
#include "platform/register_map.h"
#include "platform/system_service.h"
#include "virtual_platform.h"
#include "wire/address.h"
#include "wire/messages.h"

namespace {

using remote::Header;
using remote::Hello;

constexpr Hello kGoodHello = {remote::kMagic, remote::kVersion, 0, 0, 0};
constexpr Hello kServiceHello = {remote::kMagic, remote::kVersion, remote::kFeatures, 1 << 24, 0};
constexpr uint32_t kRecord = sizeof(kel_asic_reg_access_params_t);
using Record = std::array<uint32_t, kRecord / 4>;

template <typename... Messages>
std::string bytes_of(const Messages &...messages) {
  std::string bytes;
  (bytes.append(reinterpret_cast<const char *>(&messages), sizeof messages), ...);
  return bytes;
}

std::string receive(int socket, size_t count) {
  std::string bytes(count, '\0');
  const ssize_t got = recv(socket, bytes.data(), count, MSG_WAITALL);
  return bytes.substr(0, got > 0 ? static_cast<size_t>(got) : 0);
}

// Reads or writes a register; 0 or an errno.
int access_register(uint32_t case_code, uint32_t &value) {
  Record record = {case_code == SYSSRV_REG_READ_CASE ? TYPE_READ : TYPE_WRITE, 0, 0,
                   kel_asic_get_all_base_table(KEL_ASIC_VER_B0)[KEL_ASIC_BLK_HI][2], value};
  const Record before = record;
  sys_srvc_case_params_t params = {KEL_ASIC_DRIVER_MORVANE, record.data()};
  errno = 0;
  const int result = sse_call2(case_code, &params, kRecord);
  const int error = result == 0 ? 0 : errno;
  EXPECT_TRUE(result == 0 || record == before);  // a failure leaves the record alone
  value = record[4];
  return error;
}

int write_register(uint32_t value) {
  return access_register(SYSSRV_REG_WRITE_CASE, value);
}

int read_register(uint32_t &value) {
  value = 0;
  return access_register(SYSSRV_REG_READ_CASE, value);
}

void expect_register(uint32_t expected) {
  uint32_t value = 0;
  EXPECT_EQ(read_register(value), 0);
  EXPECT_EQ(value, expected);
}

int wait_for(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int failing_sends = 0;  // so many requests do not leave, with this errno:
int failure_of_sends = 0;
int last_sent_to = -1;
pid_t process_number = 0;  // of this process and its children, as in new process namespaces

}  // namespace

pid_t getpid() noexcept {
  return process_number != 0 ? process_number : static_cast<pid_t>(syscall(SYS_getpid));
}

ssize_t sendmsg(int fd, const msghdr *message, int flags) {
  last_sent_to = fd;
  if (failing_sends == 0 || message->msg_iov->iov_len != sizeof(Header))
    return syscall(SYS_sendmsg, fd, message, flags);
  --failing_sends;
  errno = failure_of_sends;
  return -1;
}

namespace {

// In a child: gives what the function gives.
int in_child(const std::function<int()> &run) {
  const pid_t child = fork();
  if (child == 0)
    _exit(run());
  return wait_for(child);
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
    const pid_t child = fork();
    if (child != 0)
      return child;
    dup2(open((folder_ + "/log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600), STDERR_FILENO);
    prepare();
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // which a change of the user would take back
    execv(MORVANED_PATH, arguments.data());
    _exit(127);
  }

  void start(const std::vector<std::string> &options = {}) {
    service_ = spawn(options);
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

  void expect_log(const std::string &part) const {
    for (int i = 0; i < 500 && log().find(part) == std::string::npos; ++i)
      usleep(10000);
    EXPECT_NE(log().find(part), std::string::npos) << part << " is not in: " << log();
  }

  // Waits until the clients of others are gone.
  static vp_client expect_only_client() {
    const vp_client *clients = nullptr;
    uint32_t count = 0;
    for (int i = 0; i < 500 && vp_clients(&clients, &count) == 0 && count != 1; ++i)
      usleep(10000);
    EXPECT_EQ(count, 1U);
    return count == 0 ? vp_client{} : *clients;
  }

  int connect_raw() const {
    remote::Address address;
    EXPECT_EQ(remote::parse_address(address_.c_str(), &address), 0);
    const int raw = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(connect(raw, address.get(), address.length), 0) << std::strerror(errno);
    return raw;
  }

  // A socket that listens at the address, for a service that the test plays.
  int listen_here() const {
    remote::Address address;
    EXPECT_EQ(remote::parse_address(address_.c_str(), &address), 0);
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(bind(listener, address.get(), address.length), 0);
    EXPECT_EQ(listen(listener, 8), 0);
    return listener;
  }

  // As a user of the group tty, if the user is not the test's own.
  int connect_as(uid_t user) const {
    if (user == geteuid())
      return connect_raw();
    EXPECT_EQ(chmod(folder_.c_str(), 0711) + setegid(getgrnam("tty")->gr_gid) + seteuid(user), 0);
    const int raw = connect_raw();
    EXPECT_EQ(seteuid(0) + setegid(0), 0);
    return raw;
  }

  std::string folder_, address_;
  pid_t service_ = -1;
};

TEST_F(SwitchService, ends_the_connection_that_brings_a_bad_message_and_nothing_else) {
  start();
  expect_log("ready");
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
    std::filesystem::resize_file(folder_ + "/log", 0);
    const int raw = connect_raw();
    EXPECT_EQ(receive(raw, sizeof(Hello)), bytes_of(kServiceHello));
    for (const char byte : c.sent)  // the rest of a message that is refused finds nobody
      send(raw, &byte, 1, MSG_NOSIGNAL);
    shutdown(raw, SHUT_WR);
    EXPECT_EQ(receive(raw, 1000), c.answer);
    close(raw);
    expect_log(" client " + std::to_string(getpid()) + " (switch_service_, uid ");
    expect_log(c.logged);
    const std::string lines = log();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 1) << lines;
    expect_register(7);
  }
  const vp_client client = expect_only_client();
  EXPECT_TRUE(client.process == getpid() && client.user == geteuid());
  EXPECT_TRUE(client.calls == std::size(cases) + 1 && client.failures == 0);
  EXPECT_EQ(client.last_case, SYSSRV_REG_READ_CASE);
  // Clients that do no better fill no disk.
  const auto begin = std::chrono::steady_clock::now();
  uint32_t more = 0;
  for (; more < 100000 && log().find("more lines about clients suppressed") == std::string::npos;
       ++more) {
    const int raw = connect_raw();
    send(raw, std::string(20, 'x').data(), 20, MSG_NOSIGNAL);
    EXPECT_EQ(receive(raw, 100), bytes_of(kServiceHello));
    close(raw);
  }
  const auto seconds = (std::chrono::steady_clock::now() - begin) / std::chrono::seconds(1);
  const std::string lines = log();
  EXPECT_LE(std::count(lines.begin(), lines.end(), '\n'), 11 * (seconds + 2)) << more << lines;
}

TEST_F(SwitchService, serves_and_ends_while_the_reader_of_its_log_stalls) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  const std::string full(static_cast<size_t>(fcntl(ends[1], F_SETPIPE_SZ, 4096)), '.');
  ASSERT_EQ(write(ends[1], full.data(), full.size()), static_cast<ssize_t>(full.size()));
  service_ = spawn({"--verbose"}, [&] { dup2(ends[1], STDERR_FILENO); });
  ASSERT_EQ(vp_connect(address_.c_str()), 0);
  const auto many_lines = [this] {
    for (int i = 0; i < 200; ++i) {
      const int raw = connect_raw();
      EXPECT_EQ(receive(raw, sizeof(Hello)), bytes_of(kServiceHello));
      close(raw);
    }
    EXPECT_EQ(write_register(1), 0);
  };
  many_lines();
  EXPECT_EQ(fcntl(ends[1], F_GETFL) & O_NONBLOCK, 0);
  std::string lines(4096, '\0'), all;
  for (pollfd more = {ends[0], POLLIN, 0};
       all.find(" lines lost\n") == std::string::npos && poll(&more, 1, 15000) == 1;)
    all.append(lines.data(), static_cast<size_t>(read(ends[0], lines.data(), lines.size())));
  EXPECT_NE(all.find(" lines lost\n"), std::string::npos) << all;
  EXPECT_NE(all.find(" listening on " + address_ + "\n"), std::string::npos) << all;
  many_lines();
  EXPECT_EQ(stop(SIGTERM), 0);
  close(ends[0]);
  close(ends[1]);
}

TEST_F(SwitchService, serves_requests_that_come_together_one_by_one_and_answers_nothing_twice) {
  start();
  const Record record = {};
  std::string sent = bytes_of(kGoodHello), expected = bytes_of(kServiceHello);
  for (uint32_t i = 0; i < 100; ++i) {
    Header header = {i, remote::kCall, SYSSRV_REG_READ_CASE, KEL_ASIC_DRIVER_MORVANE, 0,
                     0, kRecord};
    sent += bytes_of(header, record);
    header.result = -1, header.error_number = EFAULT, header.length = 0;
    expected += bytes_of(header);
  }
  const int raw = connect_raw();
  EXPECT_EQ(send(raw, sent.data(), sent.size(), 0), static_cast<ssize_t>(sent.size()));
  shutdown(raw, SHUT_WR);
  EXPECT_EQ(receive(raw, expected.size() + 1), expected);
  close(raw);
}

TEST_F(SwitchService, tells_a_bad_answer_from_a_good_one) {
  const int listener = listen_here();
  // What is added to the header of a good answer, and what the body is.
  const struct {
    int expected;
    Hello hello;
    Header added;
    uint32_t body;
  } cases[] = {
      {0, kServiceHello, {}, kRecord},
      {EPROTO, kServiceHello, {1, 0, 0, 0, 0, 0, 0}, kRecord},
      {EPROTO, kServiceHello, {0, 1, 0, 0, 0, 0, 0}, kRecord},
      {EPROTO, kServiceHello, {0, 0, 1, 0, 0, 0, 0}, kRecord},
      {EPROTO, kServiceHello, {0, 0, 0, 1, 0, 0, 0}, kRecord},
      {EPROTO, kServiceHello, {0, 0, 0, 0, 0, EIO, 0}, kRecord},
      {EPROTO, kServiceHello, {0, 0, 0, 0, -1, 0, 0}, 0},
      {EPROTO, kServiceHello, {0, 0, 0, 0, -1, 4096, 0}, 0},
      {EPROTO, kServiceHello, {0, 0, 0, 0, 0, 0, 4}, kRecord + 4},
      {EPROTO, kServiceHello, {0, 0, 0, 0, -1, EIO, 0}, kRecord},
      {EBADMSG, kServiceHello, {0, 0, 0, 0, -1, EBADMSG, 0}, 0},
      {EPROTO, kServiceHello, {0, 0, 0, 0, 0, 0, 4 - kRecord}, 4},
      {EPROTO, kServiceHello, {}, kRecord + 1},
      {EPROTO, kServiceHello, {0, 0, 0, 0, 0, 0, 0 - kRecord}, 1},
      {ECONNRESET, kServiceHello, {}, 0},
      {ECONNRESET, kServiceHello, {}, kRecord - 1},
      {EAGAIN, {remote::kMagic, 1, 0, 1 << 24, EAGAIN}, {}, 0},
      {EPROTONOSUPPORT, {remote::kMagic, 2, 0, 1 << 24, 0}, {}, 0},
      {EPROTO, {}, {}, 0},
      {EPROTO, {remote::kMagic, 1, 0, 1 << 24, -1}, {}, 0},
      {EPROTO, {remote::kMagic, 1, 0, 1 << 24, 4096}, {}, 0},
      {EMSGSIZE, {remote::kMagic, 1, 0, kRecord - 1, 0}, {}, 0},
  };
  uint32_t last_sequence = 0;
  setenv("MORVANE_SWITCH", address_.c_str(), 1);
  for (const char *name : {"MORVANE_SWITCH_WAIT", "MORVANE_SWITCH_TIMEOUT"}) {
    for (const char *number : {"1a", "-1", " 1", "2147483648"})
      EXPECT_EQ(in_child([&] {
                  setenv(name, number, 1);
                  return write_register(1) == EINVAL ? vp_connect(nullptr) + write_register(1) : -1;
                }),
                0);
  }
  for (const auto &c : cases) {
    std::thread service([&] {
      const int socket = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
      send(socket, &c.hello, sizeof c.hello, 0);
      const std::string request = receive(socket, sizeof(Hello) + sizeof(Header) + kRecord);
      if (request.size() == sizeof(Hello) + sizeof(Header) + kRecord) {
        std::array<uint32_t, 7> words = {};
        EXPECT_EQ(request.substr(0, 4), "MRVS");
        std::memcpy(words.data(), &request[sizeof(Hello)], sizeof words);
        EXPECT_NE(words[0], std::exchange(last_sequence, words[0]));
        const std::array<uint32_t, 7> added = {c.added.sequence,
                                               c.added.kind,
                                               c.added.case_code,
                                               c.added.driver_id,
                                               static_cast<uint32_t>(c.added.result),
                                               static_cast<uint32_t>(c.added.error_number),
                                               c.added.length};
        for (size_t i = 0; i < words.size(); ++i)
          words[i] += added[i];
        words[6] = c.added.result < 0 && c.body == 0 ? 0 : words[6];
        const std::string answer = bytes_of(words) + std::string(c.body, 'a');
        send(socket, answer.data(), answer.size(), MSG_NOSIGNAL);
      }
      close(socket);
    });
    uint32_t value = 0;
    EXPECT_EQ(read_register(value), c.expected) << &c - cases;
    EXPECT_EQ(c.expected == EMSGSIZE ? vp_connect(nullptr) : 0, 0);  // nothing was sent
    service.join();
  }
  close(listener);
}

TEST_F(SwitchService, rejects_a_card_and_a_list_of_clients_with_impossible_values) {
  const int listener = listen_here();
  ASSERT_EQ(vp_connect(nullptr), 0);
  const auto client = [](int32_t process, int32_t error, char last) {
    vp_client made = {process, 0, 1, 1, SYSSRV_REG_READ_CASE, error, 0, 0, {}};
    std::memset(made.program, 'x', sizeof made.program - 1);
    made.program[sizeof made.program - 1] = last;
    return bytes_of(made);
  };
  const auto list = [] {
    const vp_client *clients = nullptr;
    uint32_t count = 0;
    const int error = vp_clients(&clients, &count);
    EXPECT_EQ(count, error == 0 ? 2U : 0U);
    return error;
  };
  const auto card = [] {
    errno = 0;
    vp_sw_card_id();
    return errno;
  };
  const std::string good = client(0, 4095, '\0');
  const struct {
    int expected;
    uint32_t kind;
    std::string body;
    std::function<int()> request;
  } cases[] = {
      {0, remote::kListClients, good + good, list},
      {EPROTO, remote::kListClients, good + client(1, 0, 'x'), list},
      {EPROTO, remote::kListClients, client(-1, 0, '\0') + good, list},
      {EPROTO, remote::kListClients, good + client(1, -1, '\0'), list},
      {EPROTO, remote::kListClients, good + client(1, 4096, '\0'), list},
      {EPROTO, remote::kListClients, good + good + "x", list},
      {0, remote::kCard, bytes_of(remote::Card{7, UINT16_MAX}), card},
      {EPROTO, remote::kCard, bytes_of(remote::Card{7, UINT16_MAX + 1}), card},
  };
  for (const auto &c : cases) {
    std::thread service([&] {
      const int socket = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
      send(socket, &kServiceHello, sizeof kServiceHello, 0);
      receive(socket, sizeof(Hello) + sizeof(Header));
      const auto length = static_cast<uint32_t>(c.body.size() / 8 * 8);
      const std::string answer = bytes_of(Header{1, c.kind, 0, 0, 0, 0, length}) + c.body;
      send(socket, answer.data(), answer.size(), MSG_NOSIGNAL);
      close(socket);
    });
    EXPECT_EQ(vp_connect(address_.c_str()), 0);
    EXPECT_EQ(c.request(), c.expected) << &c - cases;
    service.join();
  }
  close(listener);
}

TEST_F(SwitchService, tries_again_a_service_that_ends_before_its_hello_and_ends_the_wait_for_one) {
  const int listener = listen_here();
  setenv("MORVANE_SWITCH", address_.c_str(), 1);
  setenv("MORVANE_SWITCH_WAIT", "1000000", 1);  // longer than this test may take
  std::thread service([&] {
    close(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
    const int socket = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    const Hello rejection = {remote::kMagic, remote::kVersion, 0, 0, EBUSY};
    send(socket, &rejection, sizeof rejection, MSG_NOSIGNAL);
    close(socket);
  });
  EXPECT_EQ(in_child([] { return write_register(1); }), EBUSY);
  shutdown(listener, SHUT_RDWR);
  service.join();
  unlink(address_.c_str());
  const int silent = listen_here();
  setenv("MORVANE_SWITCH_TIMEOUT", "1", 1);
  EXPECT_EQ(in_child([] { return write_register(1); }), ETIMEDOUT);
  close(listener);
  close(silent);
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
      {65534, 0, "", EACCES},         {65534, 0, "65533", EACCES},
      {65534, 0, "65534", ETIMEDOUT}, {65534, 0, "nobody", ETIMEDOUT},
      {65534, 65534, "", ETIMEDOUT},  {65533, 65534, "", EACCES},
      {0, 65534, "", ETIMEDOUT},      {0, 0, "no such user", EINVAL},
      {0, 0, "4294967295", EINVAL},
  };
  for (const auto &c : cases) {
    ASSERT_EQ(seteuid(c.service), 0);
    const int listener = listen_here();
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_EQ(in_child([&] {
                setenv("MORVANE_SWITCH_USER", c.named, 1);
                return seteuid(c.client) == 0 ? write_register(1) : -1;
              }),
              c.expected)
        << &c - cases;
    close(listener);
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
  sys_srvc_case_params_t params = {KEL_ASIC_DRIVER_MORVANE, &transaction};
  kill(service_, SIGSTOP);
  std::thread killer([this] {
    usleep(50000);
    kill(service_, SIGKILL);
  });
  EXPECT_EQ(sse_call2(SYSSRV_MEM_WRITE_CASE, &params, sizeof transaction), -1);
  EXPECT_EQ(errno, ECONNRESET);
  killer.join();
  stop(SIGKILL);
  EXPECT_EQ(write_register(1), ECONNREFUSED);  // the socket that was left
  std::filesystem::resize_file(folder_ + "/log", 0);
  service_ = spawn({});
  expect_log("ready");
  expect_register(0);  // a new switch, without a failure between
  // A child has its own connection, and does not touch its parent's.
  for (const pid_t number : {0, getpid()}) {
    process_number = number;
    EXPECT_EQ(write_register(5), 0);
    EXPECT_EQ(in_child([] {
                const vp_client *clients = nullptr;
                uint32_t count = 0;
                return vp_clients(&clients, &count) != 0 || count != 2 ||
                       clients[1].process != syscall(SYS_getpid);
              }),
              0);
  }
  EXPECT_EQ(write_register(5), 0);
  expect_register(5);
}

TEST_F(SwitchService, connects_anew_where_nothing_was_sent_and_finds_room_in_a_full_queue) {
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
  shutdown(ends[1], SHUT_WR);  // nobody waits for its answer
  const int number = dup2(ends[0], last_sent_to);
  EXPECT_EQ(write_register(3), 0);
  EXPECT_EQ(close(number) + close(ends[0]), 0);
  EXPECT_EQ(receive(ends[1], 1000), "");
  close(ends[1]);
  EXPECT_EQ(in_child([] {
              int others = close_range(0, 2, 0) + write_register(3);
              for (int standard = 0; standard <= STDERR_FILENO; ++standard)
                others += fcntl(standard, F_GETFD) + 1;
              return others;
            }),
            0);
  remote::Address address;
  ASSERT_EQ(remote::parse_address(address_.c_str(), &address), 0);
  const int early = connect_raw();
  const std::string hello = bytes_of(kGoodHello),
                    list = bytes_of(Header{1, remote::kListClients, 0, 0, 0, 0, 0});
  EXPECT_GT(send(early, hello.data(), hello.size(), 0), 0);
  EXPECT_EQ(receive(early, sizeof(Hello)), bytes_of(kServiceHello));
  kill(service_, SIGSTOP);
  EXPECT_EQ(waitpid(service_, nullptr, WUNTRACED), service_);
  std::vector<int> queue;
  do
    queue.push_back(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  while (connect(queue.back(), address.get(), address.length) == 0);
  EXPECT_EQ(errno, EAGAIN);
  EXPECT_GT(send(early, list.data(), list.size(), 0), 0);
  const pid_t second = spawn({});
  const pid_t child = fork();
  if (child == 0)
    _exit(write_register(4));
  usleep(100000);
  kill(service_, SIGCONT);
  EXPECT_EQ(wait_for(child), 0);
  EXPECT_EQ(wait_for(second), 1);
  std::array<uint32_t, 7> reply = {};  // sent before all who connect are accepted
  std::memcpy(reply.data(), receive(early, sizeof reply).data(), sizeof reply);
  EXPECT_LT(reply[6] / sizeof(vp_client), queue.size() / 2);
  close(early);
  expect_log("already served by process " + std::to_string(service_));
  std::for_each(queue.begin(), queue.end(), close);
  expect_register(4);
}

TEST_F(SwitchService, has_room_for_so_many_long_records_at_once_and_for_short_ones_always) {
  constexpr uint32_t length = 1 << 20;
  const bool is_root = geteuid() == 0;
  start({"--max-record", std::to_string(length), "--group", "tty"});
  std::vector<uint32_t> run(length / 4);
  run[0] = TYPE_READ_DHS;
  sys_srvc_case_params_t params = {KEL_ASIC_DRIVER_MORVANE, run.data()};
  EXPECT_EQ(sse_call2(SYSSRV_REG_READ_CASE, &params, length), 0);
  const std::string part = bytes_of(kGoodHello, Header{1, remote::kCall, 0, 0, 0, 0, length}) +
                           std::string(length - sizeof(Header), 'x');
  std::vector<int> others(9);
  const auto send_parts = [&](uid_t user) {
    for (int &other : others) {
      other = connect_as(user);
      send(other, part.data(), part.size(), MSG_NOSIGNAL);
      for (int left = 1; left != 0 && ioctl(other, TIOCOUTQ, &left) == 0;)
        usleep(1000);
    }
  };
  const auto close_others = [&] {
    std::for_each(others.begin(), others.end(), close);
    expect_only_client();
  };
  if (is_root) {  // a member of the group does not use up what the owner has
    send_parts(65534);
    EXPECT_EQ(receive(others[2], 1000).substr(sizeof(Hello)),
              bytes_of(Header{1, remote::kCall, 0, 0, -1, ENOBUFS, 0}));
    EXPECT_EQ(sse_call2(SYSSRV_REG_READ_CASE, &params, length), 0);
    close_others();
  }
  send_parts(geteuid());
  expect_log("disconnected: receive buffers exhausted");
  EXPECT_EQ(receive(others.back(), 1000),
            bytes_of(Hello{remote::kMagic, remote::kVersion, remote::kFeatures, length, 0},
                     Header{1, remote::kCall, 0, 0, -1, ENOBUFS, 0}));
  EXPECT_EQ(sse_call2(SYSSRV_REG_READ_CASE, &params, length), -1);
  EXPECT_EQ(errno, ENOBUFS);
  EXPECT_EQ(write_register(5), 0);
  close_others();
  EXPECT_EQ(sse_call2(SYSSRV_REG_READ_CASE, &params, length), 0);
}

TEST_F(SwitchService, ends_clients_without_progress_after_five_seconds_and_not_before) {
  using Clock = std::chrono::steady_clock;
  start();
  const Clock::time_point begin = Clock::now();
  const int asking = connect_raw(), incomplete = connect_raw(), raw = connect_raw();
  const std::string hello = bytes_of(kGoodHello),
                    request = bytes_of(Header{1, remote::kCall, 0, 0, 0, 0, 0});
  EXPECT_GT(send(incomplete, (hello + "cut").data(), hello.size() + 3, 0), 0);
  EXPECT_GT(send(asking, hello.data(), hello.size(), 0), 0);
  EXPECT_EQ(receive(raw, sizeof(Hello)), bytes_of(kServiceHello));
  pollfd gone = {raw, POLLIN, 0};
  while (poll(&gone, 1, 20) == 0 && Clock::now() - begin < std::chrono::seconds(15)) {
    expect_register(0);  // a service that is never idle checks as soon as it may
    while (send(asking, request.data(), request.size(), MSG_DONTWAIT | MSG_NOSIGNAL) > 0) {
    }
  }
  EXPECT_GE(Clock::now() - begin, std::chrono::seconds(5));
  ASSERT_EQ(poll(&gone, 1, 0), 1) << log();
  EXPECT_EQ(receive(raw, 1), "");
  expect_log("handshake timed out");
  expect_log("incomplete request timed out");
  expect_log("not reading replies, disconnected");
  for (const int client : {asking, incomplete, raw})
    close(client);
}

TEST_F(SwitchService, gives_enomem_and_applies_nothing_when_its_memory_runs_out) {
  if (SANITIZED)
    GTEST_SKIP() << "a sanitizer ends a program whose memory runs out";
  constexpr uint32_t pages = 32, per_module = 2 * pages;
  static kel_asic_xn_t transaction;
  transaction.num = 4 * per_module;
  for (uint32_t i = 0; i < 4 * per_module; ++i) {
    const uint32_t base =
        kel_asic_get_all_base_table(KEL_ASIC_VER_B0)[KEL_ASIC_BLK_NF][i / pages % 2];
    const uint32_t table =
        kel_asic_get_all_reg_table(KEL_ASIC_VER_B0)[KEL_ASIC_BLK_NF][NF_DHS_MCAST_MEM_00_OFFSET];
    transaction.xn[i] = {static_cast<int32_t>(i / per_module), 0, base + table + i % pages * 4096,
                         1, UINT32_MAX};
  }
  sys_srvc_case_params_t params = {KEL_ASIC_DRIVER_MORVANE, &transaction};
  const auto written_words = [] {
    uint32_t count = 0;
    for (int32_t i = 0; i < transaction.num; ++i) {
      const kel_asic_xn_entry_t &entry = transaction.xn[i];
      Record record = {TYPE_READ, static_cast<uint32_t>(entry.module), 0, entry.reg};
      sys_srvc_case_params_t read = {KEL_ASIC_DRIVER_MORVANE, record.data()};
      count += sse_call2(SYSSRV_REG_READ_CASE, &read, kRecord) == 0 ? record[4] : 0;
    }
    return count;
  };
  start();
  expect_log("ready");
  rlimit before = {};
  ASSERT_EQ(prlimit(service_, RLIMIT_DATA, nullptr, &before), 0);
  const rlimit no_more = {1, before.rlim_max};  // than it has
  ASSERT_EQ(prlimit(service_, RLIMIT_DATA, &no_more, nullptr), 0);
  EXPECT_EQ(sse_call2(SYSSRV_MEM_WRITE_CASE, &params, sizeof transaction), -1);
  EXPECT_EQ(errno, ENOMEM);
  ASSERT_EQ(prlimit(service_, RLIMIT_DATA, &before, nullptr), 0);
  EXPECT_EQ(written_words(), 0U);
  EXPECT_EQ(expect_only_client().failures, 1U);  // on the same connection
  EXPECT_EQ(sse_call2(SYSSRV_MEM_WRITE_CASE, &params, sizeof transaction), 0);
  EXPECT_EQ(written_words(), 4U * per_module);
}

TEST_F(SwitchService, serves_those_who_are_here_while_it_has_no_descriptor_for_another) {
  start();
  rlimit before = {};
  ASSERT_EQ(prlimit(service_, RLIMIT_NOFILE, nullptr, &before), 0);
  const rlimit none = {3, before.rlim_max};  // for a new one; what it has open stays
  ASSERT_EQ(prlimit(service_, RLIMIT_NOFILE, &none, nullptr), 0);
  const int raw = connect_raw();
  expect_log("cannot accept a client: Too many open files");
  for (int turns = 0; turns < 100; ++turns)
    EXPECT_EQ(write_register(7), 0);
  const std::string lines = log();
  EXPECT_LT(std::count(lines.begin(), lines.end(), '\n'), 50) << lines;  // not one in each turn
  ASSERT_EQ(prlimit(service_, RLIMIT_NOFILE, &before, nullptr), 0);
  EXPECT_EQ(receive(raw, sizeof(Hello)), bytes_of(kServiceHello));
  close(raw);
}

TEST_F(SwitchService, takes_over_a_left_socket_and_leaves_what_is_served_and_what_is_not_its_own) {
  start({"--verbose", "--max-clients", "2"});
  EXPECT_EQ(wait_for(spawn({})), 1);
  expect_log(address_ + " is already served by process " + std::to_string(service_));
  const int second = connect_raw(), third = connect_raw();
  EXPECT_EQ(receive(second, sizeof(Hello)), bytes_of(kServiceHello));
  Hello refusal = kServiceHello;
  refusal.error_number = EAGAIN;
  EXPECT_EQ(receive(third, 1000), bytes_of(refusal));
  close(third);
  close(second);
  expect_log(" connected\n");
  expect_only_client();
  expect_log(" disconnected\n");
  const pid_t killed = fork();
  if (killed == 0) {
    connect_raw();
    raise(SIGKILL);
  }
  expect_log("client " + std::to_string(killed) + " (switch_service_, uid " +
             std::to_string(geteuid()) + ") disconnected (killed by signal 9)\n");
  wait_for(killed);
  // A switch that cannot be had leaves the one at hand, and the connection to it.
  EXPECT_EQ(write_register(1), 0);
  EXPECT_EQ(vp_connect((folder_ + "/log/socket").c_str()), ENOTDIR);
  EXPECT_EQ(expect_only_client().calls, 1U);
  stop(SIGKILL);
  EXPECT_TRUE(std::filesystem::exists(address_));
  const int locked = open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  EXPECT_EQ(flock(locked, LOCK_SH), 0);  // any user can do this
  start();
  expect_log(folder_ + "/: locked by another process, continuing without the lock");
  close(locked);
  std::filesystem::rename(address_, address_ + ".ours");
  std::ofstream(address_) << "somebody's file";
  EXPECT_EQ(wait_for(spawn({})), 1);
  expect_log("exists and is not a socket");
  EXPECT_EQ(stop(SIGINT), 0);
  EXPECT_TRUE(std::filesystem::remove(address_));
  EXPECT_EQ(chmod(folder_.c_str(), 0777), 0);
  EXPECT_EQ(wait_for(spawn({})), 1);
  expect_log("other users can replace files in this directory");
  EXPECT_EQ(chmod(folder_.c_str(), 0770), 0);
  EXPECT_EQ(wait_for(spawn({"--group", "root"})), 1);
  EXPECT_EQ(chmod(folder_.c_str(), 0700), 0);
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
    EXPECT_EQ(wait_for(spawn(options)), status) << options[0];
  remote::Address address;
  ASSERT_EQ(remote::parse_address(address_.c_str(), &address), 0);
  const int datagrams = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  EXPECT_EQ(bind(datagrams, address.get(), address.length), 0);
  EXPECT_EQ(wait_for(spawn({})), 1);
  expect_log(address_ + ": Protocol wrong type for socket");
  close(datagrams);
  address_ = folder_ + "/none/socket";
  EXPECT_EQ(wait_for(spawn({})), 1);
  EXPECT_EQ(vp_connect(""), EINVAL);
  EXPECT_EQ(vp_connect(std::string(200, 'x').c_str()), ENAMETOOLONG);
}

TEST_F(SwitchService, takes_a_socket_that_was_handed_over_and_tells_when_it_is_ready) {
  remote::Address address, notified;
  const std::string notify_path = folder_ + "/notify";
  ASSERT_EQ(remote::parse_address(address_.c_str(), &address), 0);
  ASSERT_EQ(remote::parse_address(notify_path.c_str(), &notified), 0);
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int notify = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(bind(listener, address.get(), address.length), 0);
  ASSERT_EQ(bind(notify, notified.get(), notified.length), 0);
  ASSERT_EQ(listen(listener, 8), 0);
  service_ = spawn({}, [&] {
    fcntl(dup2(listener, 3), F_SETFD, 0);  // which may be its number already
    close_range(0, 2, 0);
    setenv("LISTEN_PID", std::to_string(getpid()).c_str(), 1);
    setenv("LISTEN_FDS", "1", 1);
    setenv("NOTIFY_SOCKET", notify_path.c_str(), 1);
  });
  std::string state(1000, '\0');
  state.resize(static_cast<size_t>(recv(notify, state.data(), state.size(), 0)));
  EXPECT_EQ(state, "READY=1\nSTATUS=Serving at " + address_);
  EXPECT_EQ(vp_connect(address_.c_str()), 0);
  const int raw = connect_raw();
  send(raw, std::string(100, 'x').data(), 100, MSG_NOSIGNAL);
  EXPECT_EQ(receive(raw, 1000), bytes_of(kServiceHello));  // and nothing of the log
  close(raw);
  EXPECT_EQ(write_register(5), 0);
  EXPECT_EQ(stop(SIGQUIT), 0);
  EXPECT_TRUE(std::filesystem::exists(address_));  // its maker removes it
  close(listener);
  close(notify);
}

TEST_F(SwitchService, leaves_the_controls_to_its_owner_and_serves_the_group_alone) {
  if (geteuid() != 0)
    GTEST_SKIP() << "needs root, to become somebody else";
  address_ = "@switch_test_" + std::to_string(getpid());
  const auto as_nobody_of = [this](gid_t own, gid_t more, const std::function<int()> &run) {
    return in_child([&] {
      const bool changed = setgroups(1, &more) == 0 && setgid(own) == 0 && setuid(65534) == 0;
      const int error = changed ? vp_connect(address_.c_str()) : -1;
      return error != 0 ? error : run();
    });
  };
  const auto as_nobody = [&](gid_t more, const std::function<int()> &run) {
    return as_nobody_of(65534, more, run);
  };
  const group *const tty = getgrnam("tty");
  ASSERT_NE(tty, nullptr);
  start({"--group", "tty", "--max-clients", "4"});
  std::ifstream sockets("/proc/net/unix");  // as others see the address: no byte more
  const std::string names(std::istreambuf_iterator<char>(sockets), {});
  EXPECT_NE(names.find(" " + address_ + "\n"), std::string::npos);
  EXPECT_EQ(as_nobody(65534, [] { return 0; }), EACCES);
  EXPECT_EQ(as_nobody(tty->gr_gid, [] { return write_register(5); }), 0);
  EXPECT_EQ(as_nobody_of(tty->gr_gid, 65534, [] { return write_register(5); }), 0);
  expect_register(5);
  // One user may have half of the places, and a quarter is root's.
  EXPECT_EQ(vp_connect(nullptr), 0);
  const std::pair<uid_t, int> members[] = {
      {65534, 0}, {65534, 0}, {65534, EAGAIN}, {65533, 0}, {65533, EAGAIN}};
  std::vector<int> connected;
  for (const auto &[user, expected] : members) {
    connected.push_back(connect_as(user));
    Hello hello = kServiceHello;
    hello.error_number = expected;
    EXPECT_EQ(receive(connected.back(), sizeof hello), bytes_of(hello)) << connected.size();
  }
  EXPECT_EQ(vp_connect(address_.c_str()), 0);
  expect_register(5);
  std::for_each(connected.begin(), connected.end(), close);
  EXPECT_EQ(as_nobody(tty->gr_gid, [] { return vp_reset(); }), EPERM);
  EXPECT_EQ(as_nobody(tty->gr_gid, [] { return vp_set_card(1, 1); }), EPERM);
  vp_asic_state state = {};
  EXPECT_EQ(as_nobody(tty->gr_gid, [&] { return vp_asic_show(0, 0, &state); }), EPERM);
  EXPECT_EQ(as_nobody(tty->gr_gid, [] { return vp_sw_card_id() == 1 ? 0 : -1; }), 0);
  expect_register(5);
  EXPECT_EQ(stop(SIGHUP), 0) << log();
  start({"--group", "root"});  // number 0 is a group like others
  EXPECT_EQ(as_nobody(tty->gr_gid, [] { return 0; }), EACCES);
}

TEST_F(SwitchService, listens_by_itself_where_the_session_of_its_user_has_its_sockets) {
  address_.clear();
  const auto becomes_nobody = [this] {
    setenv("XDG_RUNTIME_DIR", folder_.c_str(), 1);
    return setgid(65534) == 0 && setuid(65534) == 0 && access(MORVANED_PATH, X_OK) == 0;
  };
  if (geteuid() != 0 || in_child([&] { return becomes_nobody() ? 0 : 1; }) != 0)
    GTEST_SKIP() << "needs root, to become somebody else who can run " << MORVANED_PATH;
  ASSERT_EQ(chown(folder_.c_str(), 65534, 65534), 0);
  service_ = spawn({}, becomes_nobody);
  address_ = folder_ + "/morvaned.sock";
  setenv("MORVANE_SWITCH_USER", "nobody", 1);
  EXPECT_EQ(vp_connect(address_.c_str()), 0);
}

}  // namespace
