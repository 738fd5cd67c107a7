// Preloaded into the program, lets one chosen file-system call go wrong: it fails, comes up short,
// or the program is killed just before or after it. Calls are counted that concern files whose
// path contains FAULT_NAME, or descriptors that were opened on such a path; no others, and none of
// the tools that the program starts. What stands at FAULT_WATCH is copied to a new file below
// FAULT_SNAPSHOTS whenever a counted call has changed it, so that every state that the path ever
// had can be looked at afterwards.
//
// FAULT_AT is the number of the call, from 1. FAULT_ACTION is fail, short (a write comes up short),
// torn (short, and the next write fails), kill or killafter. FAULT_ERRNO is the error of a failing
// call. With FAULT_PERSIST=1 all calls from FAULT_AT on fail, with FAULT_PERSIST=space all those
// that need room on the disk. FAULT_LOG takes one line per counted call.

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

extern char *program_invocation_short_name; // NOLINT: declared by the system

namespace {

enum class fault_t { NONE, FAIL, SHORT };

std::string setting(const char *name) {
  const char *value = std::getenv(name);
  return value ? value : "";
}

struct settings_t {
  std::string name = setting("FAULT_NAME");
  std::string action = setting("FAULT_ACTION");
  std::string persist = setting("FAULT_PERSIST");
  std::string log = setting("FAULT_LOG");
  std::string watch = setting("FAULT_WATCH");
  std::string snapshots = setting("FAULT_SNAPSHOTS");
  long at = std::atol(setting("FAULT_AT").c_str());
  int error = std::atoi(setting("FAULT_ERRNO").c_str());
  unsigned slowMs = static_cast<unsigned>(std::atoi(setting("FAULT_SLOW_MS").c_str()));
  bool active = !name.empty() && setting("FAULT_PROGRAM") == program_invocation_short_name;
};

const settings_t &settings() {
  static const settings_t *const theSettings = new settings_t; // outlives every destructor
  return *theSettings;
}

std::array<std::atomic<bool>, 4096> concerned;
std::atomic<long> counter = 0;
std::atomic<bool> torn = false; // a write came up short, the next one fails
std::mutex snapshotMutex;

bool concerns(const char *path) {
  const settings_t &given = settings();
  return given.active && path && std::strstr(path, given.name.c_str());
}

bool concerns(int fd) {
  return fd >= 0 && static_cast<std::size_t>(fd) < concerned.size() && concerned[fd];
}

// System calls of its own, which are not counted.
std::string contentOf(const std::string &path) {
  std::string content;
  const long fd = ::syscall(SYS_openat, AT_FDCWD, path.c_str(), O_RDONLY | O_CLOEXEC);
  std::array<char, 65536> buffer;
  for (long size = 0;
       fd >= 0 && (size = ::syscall(SYS_read, fd, buffer.data(), buffer.size())) > 0;)
    content.append(buffer.data(), static_cast<std::size_t>(size));
  if (fd >= 0)
    ::syscall(SYS_close, fd);
  return fd >= 0 ? content : "the path names no file";
}

void append(const std::string &path, const std::string &text) {
  const long fd = ::syscall(SYS_openat, AT_FDCWD, path.c_str(),
                            O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  ::syscall(SYS_write, fd, text.data(), text.size());
  ::syscall(SYS_close, fd);
}

void takeSnapshot() {
  static std::string *const last = new std::string;
  static int number = 0;
  const settings_t &given = settings();
  if (given.snapshots.empty())
    return;
  const std::lock_guard lock(snapshotMutex);
  const std::string now = contentOf(given.watch);
  if (now != *last)
    append(given.snapshots + "/" + std::to_string(++number), now);
  *last = now;
}

[[noreturn]] void die() {
  ::syscall(SYS_kill, ::getpid(), SIGKILL);
  for (;;)
    ::pause();
}

fault_t faultOf(long number, bool isWrite, bool needsRoom) {
  const settings_t &given = settings();
  if (given.at == 0 || number < given.at)
    return fault_t::NONE;
  if (number == given.at && given.action == "kill")
    die();
  if (given.action == "fail" && number > given.at)
    return given.persist == "1" || (given.persist == "space" && needsRoom) ? fault_t::FAIL
                                                                           : fault_t::NONE;
  if (given.action == "fail")
    return given.persist == "space" && !needsRoom ? fault_t::NONE : fault_t::FAIL;
  if (isWrite && given.action == "torn" && torn.exchange(false))
    return fault_t::FAIL;
  if (isWrite && number == given.at && (given.action == "short" || given.action == "torn")) {
    torn = given.action == "torn";
    return fault_t::SHORT;
  }
  return fault_t::NONE;
}

/// One counted call. `call(shorten)` makes it and returns its result.
template <typename Call>
long counted(const char *kind, const std::string &what, bool isWrite, bool needsRoom, Call call) {
  const long number = ++counter;
  const settings_t &given = settings();
  if (!given.log.empty())
    append(given.log, std::to_string(number) + " " + kind + " " + what + "\n");
  const fault_t fault = faultOf(number, isWrite, needsRoom);
  const long result = fault == fault_t::FAIL ? -1 : call(fault == fault_t::SHORT);
  const int error = fault == fault_t::FAIL ? given.error : errno;
  takeSnapshot();
  if (number == given.at && given.action == "killafter")
    die();
  errno = error;
  return result;
}

template <typename Function>
Function *next(const char *name) {
  return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

std::string numberOf(int fd) {
  return std::to_string(fd);
}

int openFile(const char *path, int flags, mode_t mode) {
  static auto *const real = next<int(const char *, int, ...)>("open");
  if (!concerns(path))
    return real(path, flags, mode);
  const bool creates = (flags & O_CREAT) != 0;
  const int fd = static_cast<int>(
      counted("open", path, false, creates, [&](bool) { return real(path, flags, mode); }));
  if (fd >= 0 && static_cast<std::size_t>(fd) < concerned.size())
    concerned[static_cast<std::size_t>(fd)] = true;
  return fd;
}

/// A call on a descriptor that is passed on as it is when the descriptor is of no concern.
template <typename Call>
long onDescriptor(const char *kind, int fd, bool isWrite, bool needsRoom, Call call) {
  return concerns(fd) ? counted(kind, numberOf(fd), isWrite, needsRoom, call) : call(false);
}

template <typename Call>
int onPath(const char *kind, const char *path, bool needsRoom, Call call) {
  return static_cast<int>(concerns(path) ? counted(kind, path, false, needsRoom, call)
                                         : call(false));
}

} // namespace

#define OPEN(NAME)                                                                                 \
  int NAME(const char *path, int flags, ...) {                                                     \
    va_list arguments;                                                                             \
    va_start(arguments, flags);                                                                    \
    const bool takesMode = (flags & (O_CREAT | O_TMPFILE)) != 0;                                   \
    const mode_t mode = takesMode ? va_arg(arguments, mode_t) : 0;                                 \
    va_end(arguments);                                                                             \
    return openFile(path, flags, mode);                                                            \
  }

extern "C" {

OPEN(open)
OPEN(open64)

ssize_t read(int fd, void *bytes, size_t size) {
  static auto *const real = next<ssize_t(int, void *, size_t)>("read");
  return onDescriptor("read", fd, false, false, [&](bool) { return real(fd, bytes, size); });
}

ssize_t write(int fd, const void *bytes, size_t size) {
  static auto *const real = next<ssize_t(int, const void *, size_t)>("write");
  return onDescriptor("write", fd, true, true,
                      [&](bool less) { return real(fd, bytes, less ? (size + 1) / 2 : size); });
}

ssize_t writev(int fd, const iovec *parts, int count) {
  static auto *const real = next<ssize_t(int, const iovec *, int)>("writev");
  return onDescriptor("writev", fd, true, true, [&](bool less) {
    iovec first = parts[0];
    first.iov_len = (first.iov_len + 1) / 2;
    return less ? real(fd, &first, 1) : real(fd, parts, count);
  });
}

int fallocate(int fd, int mode, off_t offset, off_t length) {
  static auto *const real = next<int(int, int, off_t, off_t)>("fallocate");
  return static_cast<int>(onDescriptor("fallocate", fd, false, true,
                                       [&](bool) { return real(fd, mode, offset, length); }));
}

int ftruncate(int fd, off_t length) noexcept {
  static auto *const real = next<int(int, off_t)>("ftruncate");
  return static_cast<int>(
      onDescriptor("ftruncate", fd, false, false, [&](bool) { return real(fd, length); }));
}

int fchmod(int fd, mode_t mode) noexcept {
  static auto *const real = next<int(int, mode_t)>("fchmod");
  return static_cast<int>(
      onDescriptor("fchmod", fd, false, false, [&](bool) { return real(fd, mode); }));
}

int fchown(int fd, uid_t owner, gid_t group) noexcept {
  static auto *const real = next<int(int, uid_t, gid_t)>("fchown");
  return static_cast<int>(
      onDescriptor("fchown", fd, false, false, [&](bool) { return real(fd, owner, group); }));
}

int flock(int fd, int operation) noexcept {
  static auto *const real = next<int(int, int)>("flock");
  return static_cast<int>(
      onDescriptor("flock", fd, false, false, [&](bool) { return real(fd, operation); }));
}

int fdatasync(int fd) {
  static auto *const real = next<int(int)>("fdatasync");
  if (concerns(fd) && settings().slowMs > 0)
    ::usleep(settings().slowMs * 1000);
  return static_cast<int>(
      onDescriptor("fdatasync", fd, false, true, [&](bool) { return real(fd); }));
}

// A close that fails has closed the descriptor all the same.
int close(int fd) {
  static auto *const real = next<int(int)>("close");
  if (!concerns(fd))
    return real(fd);
  concerned[static_cast<std::size_t>(fd)] = false;
  int result = 0;
  const long told = counted("close", numberOf(fd), false, false, [&](bool) { return 0L; });
  const int error = errno;
  result = real(fd);
  errno = error;
  return told == 0 ? result : -1;
}

int rename(const char *from, const char *to) noexcept {
  static auto *const real = next<int(const char *, const char *)>("rename");
  return onPath("rename", to, true, [&](bool) { return real(from, to); });
}

int renameat2(int fromDirectory, const char *from, int toDirectory, const char *to,
              unsigned flags) noexcept {
  static auto *const real = next<int(int, const char *, int, const char *, unsigned)>("renameat2");
  return onPath("renameat2", to, true,
                [&](bool) { return real(fromDirectory, from, toDirectory, to, flags); });
}

int unlink(const char *path) noexcept {
  static auto *const real = next<int(const char *)>("unlink");
  return onPath("unlink", path, false, [&](bool) { return real(path); });
}

} // extern "C"
