#include "recording_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

constexpr uint32_t page = 4096;

// A name is tried with so many numbers behind it where there are files of earlier processes.
constexpr int names_tried = 1000;

// Decimal digits alone. False for anything else, and for what no ring can be.
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

// The name of the program as a part of a file name.
void program_name(char *name, std::size_t size) {
  const char *program = program_invocation_short_name;
  if (program == nullptr || *program == '\0')
    program = "unnamed";
  std::strncpy(name, program, size - 1);
  name[size - 1] = '\0';
  for (char *letter = name; *letter != '\0'; ++letter) {
    if (*letter <= ' ' || *letter > '~' || *letter == '/')
      *letter = '_';
  }
  if (name[0] == '.')
    name[0] = '_';
}

// Opens a file that was not there. One of an earlier process with this pid stays as it is.
int create_file(int directory, char *name, std::size_t size) {
  char program[100];
  program_name(program, sizeof program);
  for (int number = 0; number < names_tried; ++number) {
    if (number == 0) {
      std::snprintf(name, size, "%s.%d.mrec", program, getpid());
    } else {
      std::snprintf(name, size, "%s.%d.%d.mrec", program, getpid(), number);
    }
    const int file =
        openat(directory, name, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file >= 0 || errno != EEXIST)
      return file;
  }
  return -1;
}

// Gives 0 or an error number. A file beyond the process's limit would raise SIGXFSZ.
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
void write_header(mrec_header_t *header, uint32_t ring_size) {
  header->version = MREC_VERSION;
  header->header_size = MREC_HEADER_SIZE;
  header->ring_size = ring_size;
  header->wall_ns = clock_ns(CLOCK_REALTIME);
  header->monotonic_ns = clock_ns(CLOCK_MONOTONIC);
  header->pid = static_cast<uint32_t>(getpid());
  header->parent_pid = static_cast<uint32_t>(getppid());
  header->word_size = sizeof(void *);
  read_boot_id(header->boot_id, sizeof header->boot_id);
  if (program_invocation_short_name != nullptr)
    std::strncpy(header->program, program_invocation_short_name, sizeof header->program - 1);
  __atomic_thread_fence(__ATOMIC_RELEASE);
  std::memcpy(header->magic, MREC_MAGIC, sizeof header->magic);
}

// Gives 0 or an error number. The pages are there from the start, so that no call waits for one.
int map_recording(int file, uint32_t ring_size, ring *to) {
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
         0,
         0};
  write_header(to->header, ring_size);
  return 0;
}

// Gives 0 or an error number.
int create_in(int directory, uint32_t ring_size, ring *to) {
  char name[160];
  const int file = create_file(directory, name, sizeof name);
  if (file < 0)
    return errno;
  const int error = map_recording(file, ring_size, to);
  close(file);
  if (error != 0)
    unlinkat(directory, name, 0);
  return error;
}

}  // namespace

void read_settings(recording_settings *settings) {
  *settings = {"", MREC_RING_DEFAULT};
  // A program with more rights than its caller records nothing where the caller asks for it.
  const char *const directory = secure_getenv("MORVANE_RECORD");
  const char *const size = secure_getenv("MORVANE_RECORD_SIZE");
  if (directory == nullptr || *directory == '\0')
    return;
  if (size != nullptr && !ring_size_of(size, &settings->ring_size)) {
    log_error("no recording: MORVANE_RECORD_SIZE is '%.40s', not a number of bytes from %u to %u",
              size, MREC_RING_MIN, MREC_RING_MAX);
    return;
  }
  // The program may go elsewhere before its first call.
  char here[sizeof settings->directory] = "";
  if (*directory != '/' && getcwd(here, sizeof here) == nullptr)
    here[0] = '\0';
  const int length = std::snprintf(settings->directory, sizeof settings->directory, "%s%s%s", here,
                                   *directory != '/' && here[0] != '\0' ? "/" : "", directory);
  if (length < 0 || static_cast<std::size_t>(length) >= sizeof settings->directory) {
    settings->directory[0] = '\0';
    log_error("no recording: the name of the directory is too long");
  }
}

bool create_recording(const recording_settings &settings, ring *to) {
  const int directory = open(settings.directory, O_PATH | O_DIRECTORY | O_CLOEXEC);
  const int error = directory < 0 ? errno : create_in(directory, settings.ring_size, to);
  if (directory >= 0)
    close(directory);
  if (error != 0)
    log_error("no recording in %.300s: %s", settings.directory, std::strerror(error));
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

void log_error(const char *format, ...) {
  char line[512] = "libmorvanerecord: ";
  const std::size_t begin = std::strlen(line);
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line + begin, sizeof line - begin - 1, format, arguments);
  va_end(arguments);
  std::strcat(line, "\n");
  const ssize_t written = write(STDERR_FILENO, line, std::strlen(line));
  static_cast<void>(written);  // nobody else can be told
}
