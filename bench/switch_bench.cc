// Compares a shared switch with a baseline: a read through library and morvaned with a bare
// ping-pong of the same sizes over the same kind of socket, and a transaction with single writes.
// All processes share one processor.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "kel_asic_intf.h"
#include "kel_asic_lib_common.h"
#include "ratio_report.h"
#include "virtual_platform.h"

namespace {

constexpr size_t message_size = 28 + 196;  // a header and the record of a register
constexpr uint32_t writes = KEL_ASIC_XN_ENTRIES;

char caller_file[] = "control/plane/port_manager.cc";
const char caller_func[] = "port_manager_program_port";

void stay_on_one_processor() {
  cpu_set_t processors;
  CPU_ZERO(&processors);
  CPU_SET(sched_getcpu(), &processors);
  sched_setaffinity(0, sizeof processors, &processors);
}

// A child that ends with this process.
pid_t fork_child() {
  const pid_t child = fork();
  if (child == 0)
    prctl(PR_SET_PDEATHSIG, SIGKILL);
  return child;
}

bool move_message(ssize_t (*mover)(int, void *, size_t, int), int socket) {
  static std::array<char, message_size> message;
  return mover(socket, message.data(), message.size(), MSG_NOSIGNAL) == ssize_t{message_size};
}

ssize_t send_bytes(int socket, void *bytes, size_t count, int flags) {
  return send(socket, bytes, count, flags);
}

// The other end of the ping-pong.
int start_echo() {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
    std::exit(EXIT_FAILURE);
  if (fork_child() == 0) {
    close(ends[0]);
    while (move_message(recv, ends[1]) && move_message(send_bytes, ends[1])) {
    }
    _exit(0);
  }
  close(ends[1]);
  return ends[0];
}

void start_service(const std::string &address) {
  if (fork_child() != 0)
    return;
  dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
  execl(MORVANED_PATH, "morvaned", "--socket", address.c_str(), nullptr);
  _exit(127);
}

// A process that receives the notes of a service.
void start_monitor(const std::string &address) {
  int ready[2];
  if (pipe(ready) != 0)
    std::exit(EXIT_FAILURE);
  if (fork_child() == 0) {
    vp_monitor *monitor = nullptr;
    const vp_note *note = nullptr;
    if (vp_connect(address.c_str()) == 0 && vp_monitor_open(&monitor) == 0 &&
        write(ready[1], "", 1) == 1) {
      while (vp_monitor_next(monitor, -1, &note) == 0) {
      }
    }
    _exit(1);
  }
  char byte = 0;
  if (read(ready[0], &byte, 1) != 1)
    std::exit(EXIT_FAILURE);
}

void read_one() {
  uint32_t data;
  if (lib_mrv_asic_read(0, 0, KEL_ASIC_BLK_HI, 1, 7, &data, 1, caller_file, 99, caller_func) != 0)
    std::exit(EXIT_FAILURE);
}

void write_one(uint32_t vreg) {
  if (lib_mrv_asic_write(0, 0, KEL_ASIC_BLK_HI, 1, vreg, 5, KEL_ASIC_WR_SYMBOLIC, 1, caller_file,
                         99, caller_func) != 0)
    std::exit(EXIT_FAILURE);
}

void write_all() {
  for (uint32_t vreg = 0; vreg < writes; ++vreg)
    write_one(vreg);
}

// Measures an operation on the switch at this address; empty for no change.
template <typename Operation>
void add_on(const char *name, const std::string &address, Operation operation) {
  benchmark::RegisterBenchmark(name, [=](benchmark::State &state) {
    if (!address.empty() && vp_connect(address.c_str()) != 0)
      std::exit(EXIT_FAILURE);
    for (auto _ : state)
      operation();
  })->UseRealTime();
}

template <typename Operation>
void add(const char *name, Operation operation) {
  add_on(name, "", operation);
}

}  // namespace

int main(int argc, char **argv) {
  FILE *out = take_standard_output();
  stay_on_one_processor();
  const int echo = start_echo();
  const std::string address = "@morvane-bench-" + std::to_string(getpid());
  start_service(address);
  if (vp_connect(address.c_str()) != 0 ||
      lib_mrv_asic_init(0, KEL_ASIC_DRIVER_MORVANE, 0, caller_file, 0, caller_func) != 0) {
    std::fprintf(stderr, "no service at %s\n", address.c_str());
    return EXIT_FAILURE;
  }
  add_on("read through morvaned@1.40/library", address, read_one);
  add("read through morvaned@1.40/baseline", [echo] {
    if (!move_message(send_bytes, echo) || !move_message(recv, echo))
      std::exit(EXIT_FAILURE);
  });
  const std::string monitored = address + "-monitored";
  start_service(monitored);
  start_monitor(monitored);
  add_on("read with a monitor/library", monitored, read_one);
  add_on("read with a monitor/baseline", address, read_one);
  add_on("512 writes in a transaction@0.0033/library", address, [] {
    mrv_asic_transaction_start(const_cast<char *>("bench"), 0);
    write_all();
    mrv_asic_transaction_commit();
  });
  add_on("512 writes in a transaction@0.0033/baseline", address, write_all);
  return run_ratio_benchmarks(out, argc, argv);
}
