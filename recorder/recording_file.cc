// The file of a recording. All of it may run in the first service call of a thread with a small
// stack: no function here uses the formatted output of the C library, which needs 2 KiB.
#include "recording_file.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

constexpr uint32_t page = 4096;

// How many numbers are tried after the name if earlier processes with this pid have left files.
constexpr uint32_t max_names = 1000;

// Bytes of a part of a message, and parts of a message.
constexpr std::size_t max_part = 300, max_parts = 8;

struct file_identity {
  uint32_t device_major, device_minor;
  uint64_t inode;  // 0: no file
};

// The file that was standard error at load.
file_identity standard_error;

// Not fstat(), which on the 32-bit target needs 650 bytes of stack.
__attribute__((noinline)) file_identity identity_of(int file) {
  struct statx status = {};
  if (statx(file, "", AT_EMPTY_PATH, STATX_INO, &status) != 0)
    return {};
  return {status.stx_dev_major, status.stx_dev_minor, status.stx_ino};
}

// The program may have opened its own file as descriptor 2, or the other end of the pipe may be
// full or closed: the message must not end up in the file, nor delay or end the program.
bool can_write_error() {
  const file_identity now = identity_of(STDERR_FILENO);
  pollfd ready = {STDERR_FILENO, POLLOUT, 0};
  return now.inode != 0 && now.inode == standard_error.inode &&
         now.device_major == standard_error.device_major &&
         now.device_minor == standard_error.device_minor && poll(&ready, 1, 0) == 1 &&
         ready.revents == POLLOUT;
}

// Writes the decimal digits and a NUL. Returns the end of the digits.
char *append_number(char *to, uint32_t number) {
  char digits[11];
  char *first = digits + sizeof digits - 1;
  *first = '\0';
  for (; number > 9; number /= 10)
    *--first = static_cast<char>('0' + number % 10);
  *--first = static_cast<char>('0' + number);
  return stpcpy(to, first);
}

// False for anything but decimal digits, and for an impossible size of a ring.
bool ring_size_of(const char *text, uint32_t *size) {
  uint64_t number = 0;
  for (const char *digit = text; *digit != '\0'; ++digit) {
    if (*digit < '0' || *digit > '9' || number > MREC_RING_MAX)
      return false;
    number = 10 * number + static_cast<uint64_t>(*digit - '0');
  }
  if (number < MREC_RING_MIN || number > MREC_RING_MAX)
    return false;
  *size = static_cast<uint32_t>((number + page - 1) / page * page);
  return true;
}

// Writes the name of the program as a part of a file name. Returns its end.
char *append_program(char *to, std::size_t size, const char *program) {
  if (*program == '\0')
    program = "unnamed";
  char *const begin = to;
  for (; *program != '\0' && to != begin + size; ++program) {
    const bool allowed = *program > ' ' && *program <= '~' && *program != '/';
    *to++ = allowed ? *program : '_';
  }
  if (*begin == '.')
    *begin = '_';
  return to;
}

// Opens a new file. A file that an earlier process with this pid has left stays as it is.
int create_file(const recorded_process &process, int directory, char *name) {
  constexpr std::size_t max_program = 99;
  char *const program_end = append_program(name, max_program, process.program);
  *program_end = '.';
  char *const pid_end = append_number(program_end + 1, process.pid);
  char *end = pid_end;
  for (uint32_t number = 1; number <= max_names; ++number) {
    stpcpy(end, ".mrec");
    const int file =
        openat(directory, name, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file >= 0 || errno != EEXIST)
      return file;
    *pid_end = '.';
    end = append_number(pid_end + 1, number);
  }
  return -1;
}

// Returns 0 or an error number. A file beyond the process's limit would raise SIGXFSZ.
int allocate(int file, off_t size) {
  rlimit limit = {};
  if (getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY &&
      limit.rlim_cur < static_cast<rlim_t>(size)) {
    return EFBIG;
  }
  int error = EINTR;
  while (error == EINTR)
    error = posix_fallocate(file, 0, size);
  return error;
}

void read_boot_id(char *id, std::size_t size) {
  const int file = open("/proc/sys/kernel/random/boot_id", O_RDONLY | O_CLOEXEC);
  if (file < 0)
    return;
  const ssize_t got = read(file, id, size - 1);
  close(file);
  id[got > 0 ? got : 0] = '\0';
  id[std::strcspn(id, "\n")] = '\0';
}

// The magic last: up to then the file has no calls.
void write_header(const recorded_process &process, mrec_header_t *header, uint32_t ring_size) {
  header->version = MREC_VERSION;
  header->header_size = MREC_HEADER_SIZE;
  header->ring_size = ring_size;
  header->wall_ns = clock_ns(CLOCK_REALTIME);
  header->monotonic_ns = clock_ns(CLOCK_MONOTONIC);
  header->pid = process.pid;
  header->parent_pid = process.parent_pid;
  header->word_size = process.word_size;
  read_boot_id(header->boot_id, sizeof header->boot_id);
  std::strncpy(header->program, process.program, sizeof header->program - 1);
  __atomic_thread_fence(__ATOMIC_RELEASE);
  std::memcpy(header->magic, MREC_MAGIC, sizeof header->magic);
}

// Returns 0 or an error number. The pages are there from the start, so that no call waits for one.
int map_recording(const recorded_process &process, int file, uint32_t ring_size, ring *to) {
  const std::size_t size = MREC_HEADER_SIZE + ring_size;
  if (const int error = allocate(file, static_cast<off_t>(size)))
    return error;
  void *const mapped =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_POPULATE, file, 0);
  if (mapped == MAP_FAILED)
    return errno;
  *to = {static_cast<mrec_header_t *>(mapped),
         static_cast<uint8_t *>(mapped) + MREC_HEADER_SIZE,
         ring_size,
         0,
         {}};
  write_header(process, to->header, ring_size);
  return 0;
}

// Returns 0 or an error number.
__attribute__((noinline)) int create_in(const recorded_process &process, int directory,
                                        uint32_t ring_size, ring *to) {
  char name[160];
  const int file = create_file(process, directory, name);
  if (file < 0)
    return errno;
  const int error = map_recording(process, file, ring_size, to);
  close(file);
  if (error != 0)
    unlinkat(directory, name, 0);
  return error;
}

}  // namespace

void remember_standard_error() {
  standard_error = identity_of(STDERR_FILENO);
}

void read_settings(recording_settings *settings) {
  *settings = {"", MREC_RING_DEFAULT};
  // A program with more rights than its caller records nothing where its caller chooses.
  const char *const directory = secure_getenv("MORVANE_RECORD");
  const char *const size = secure_getenv("MORVANE_RECORD_SIZE");
  if (directory == nullptr || *directory == '\0')
    return;
  if (size != nullptr && *size != '\0' && !ring_size_of(size, &settings->ring_size)) {
    char min[11], max[11];
    append_number(min, MREC_RING_MIN);
    append_number(max, MREC_RING_MAX);
    log_error({"no recording: MORVANE_RECORD_SIZE is '", size, "', not a number of bytes from ",
               min, " to ", max});
    return;
  }
  // The program may change its working directory before its first call.
  char *const path = settings->directory;
  std::size_t used = 0;
  if (*directory != '/' && getcwd(path, sizeof settings->directory - 1) != nullptr) {
    used = std::strlen(path);
    path[used++] = '/';
  }
  const std::size_t length = std::strlen(directory);
  if (length < sizeof settings->directory - used) {
    std::memcpy(path + used, directory, length + 1);
    return;
  }
  path[0] = '\0';
  log_error({"no recording: the name of the directory is too long"});
}

int create_recording_of(const recorded_process &process, const char *directory, uint32_t ring_size,
                        ring *to) {
  const int opened = open(directory, O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (opened < 0)
    return errno;
  const int error = create_in(process, opened, ring_size, to);
  close(opened);
  return error;
}

bool create_recording(const recording_settings &settings, ring *to) {
  const char *const program = program_invocation_short_name;
  const recorded_process self = {program == nullptr ? "" : program, static_cast<uint32_t>(getpid()),
                                 static_cast<uint32_t>(getppid()), sizeof(void *)};
  const int error = create_recording_of(self, settings.directory, settings.ring_size, to);
  if (error != 0) {
    const char *const text = strerrordesc_np(error);
    log_error({"no recording in ", settings.directory, ": ", text == nullptr ? "unknown" : text});
  }
  return error == 0;
}

void unmap_recording(const ring &of) {
  munmap(of.header, MREC_HEADER_SIZE + of.size);
}

uint64_t clock_ns(int clock) {
  timespec now = {};
  clock_gettime(clock, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1000000000U + static_cast<uint64_t>(now.tv_nsec);
}

namespace {

void write_error(std::initializer_list<const char *> parts) {
  iovec line[max_parts + 2] = {};
  int count = 0;
  const auto append = [&](const char *text) {
    line[count++] = {const_cast<char *>(text), strnlen(text, max_part)};
  };
  append("libmorvanerecord: ");
  for (const char *const part : parts)
    append(part);
  append("\n");
  const ssize_t written = writev(STDERR_FILENO, line, count);
  static_cast<void>(written);  // there is no other place for the message
}

}  // namespace

void log_error(std::initializer_list<const char *> parts) {
  const int old_errno = errno;
  if (can_write_error())
    write_error(parts);
  errno = old_errno;
}
