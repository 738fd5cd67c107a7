// Whoever gives a lock back removes its file first. So after a lock was taken its file may have
// lost its name meanwhile, or have given it to another file; then it is no lock, and one tries
// again.

#include "file/RunLock.h"

#include "file/Descriptor.h"
#include "file/Identity.h"
#include "file/Io.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <sstream>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace kelvarune::file {

namespace {

constexpr char LOCK_SUFFIX[] = ".kelvarune-lock";
constexpr mode_t LOCK_MODE = 0644; // whatever the umask: others may wait for it
constexpr std::size_t KEPT_OF_LONG_NAME = 180;
constexpr std::size_t OWNER_BYTES = 512;
constexpr std::chrono::milliseconds POLL_INTERVAL(20);
constexpr std::chrono::milliseconds SLOW_POLL_INTERVAL(200);
constexpr std::chrono::seconds TELL_AFTER(1);

/// The files to be removed by releaseAll.
class LockPaths {
public:
  void add(const std::string &path) {
    const std::lock_guard lock(mutex);
    paths.insert(path);
  }

  // Removes it unless that was done before, so that no file of another process is removed.
  void remove(const std::string &path) {
    const std::lock_guard lock(mutex);
    if (paths.erase(path) > 0)
      ::unlink(path.c_str());
  }

  void removeAll() {
    const std::lock_guard lock(mutex);
    for (const std::string &path : std::exchange(paths, {}))
      ::unlink(path.c_str());
  }

private:
  std::mutex mutex;
  std::set<std::string> paths; // guarded by mutex
};

LockPaths &lockPaths() {
  static LockPaths all;
  return all;
}

fs::path resolved(const fs::path &path) {
  const std::unique_ptr<char, decltype(&std::free)> result(::realpath(path.c_str(), nullptr),
                                                           &std::free);
  return result ? fs::path(result.get()) : fs::path();
}

// Beside what the subject leads to.
std::string lockPathOf(const std::string &subject) {
  fs::path real = resolved(subject);
  if (real.empty()) {
    const fs::path path(subject);
    const fs::path directory = resolved(path.has_parent_path() ? path.parent_path() : ".");
    real = (directory.empty() ? path.parent_path() : directory) / path.filename();
  }
  std::string name = real.filename().string();
  if (name.size() + sizeof LOCK_SUFFIX > NAME_MAX)
    name = name.substr(0, KEPT_OF_LONG_NAME) + std::to_string(std::hash<std::string>()(name));
  return (real.parent_path() / ('.' + name + LOCK_SUFFIX)).string();
}

std::string hostName() {
  std::array<char, HOST_NAME_MAX + 1> name = {};
  return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "?";
}

void writeOwner(int fd) {
  ::fchmod(fd, LOCK_MODE); // fails for a file of somebody else, which has it
  const std::string text =
      std::to_string(::getpid()) + ' ' + hostName() + ' ' + ::program_invocation_short_name + '\n';
  if (::ftruncate(fd, 0) == 0 && ::lseek(fd, 0, SEEK_SET) == 0)
    writeAll(fd, text.data(), text.size()); // without it nothing but the owner's name is missing
}

lock_owner_t readOwner(int fd) {
  std::array<char, OWNER_BYTES> text = {};
  lock_owner_t owner;
  if (readSomeAt(fd, text.data(), text.size() - 1, 0) > 0)
    std::istringstream(text.data()) >> owner.process >> owner.host >> owner.program;
  return owner;
}

} // namespace

std::string lock_owner_t::text() const {
  if (process == 0 || host.empty())
    return "another run";
  return "process " + std::to_string(process) + " on " + host + " (" + program + ')';
}

RunLock::RunLock(RunLock &&from) noexcept
    : fd(std::exchange(from.fd, -1)), path(std::exchange(from.path, {})),
      other(std::move(from.other)), reason(from.reason) {}

RunLock &RunLock::operator=(RunLock &&from) noexcept {
  std::swap(fd, from.fd);
  std::swap(path, from.path);
  std::swap(other, from.other);
  std::swap(reason, from.reason);
  return *this;
}

RunLock::outcome_t RunLock::tryTake(const std::string &subject) {
  release();
  const outcome_t outcome = open(subject);
  if (outcome == outcome_t::HELD && !path.empty()) {
    lockPaths().add(path);
    writeOwner(fd);
  } else if (outcome != outcome_t::HELD) {
    path.clear();
    if (fd >= 0)
      ::close(std::exchange(fd, -1));
  }
  return outcome;
}

// Does not create a file that is there: in a directory with the sticky bit that is refused for
// those of others.
RunLock::outcome_t RunLock::open(const std::string &subject) {
  path = lockPathOf(subject);
  while (true) {
    const outcome_t existing = lockFile(O_RDWR | O_NOFOLLOW);
    if (existing != outcome_t::UNAVAILABLE)
      return existing;
    if (reason == EACCES && lockFile(O_RDONLY | O_NOFOLLOW) != outcome_t::UNAVAILABLE)
      return fd < 0 ? outcome_t::BUSY : outcome_t::HELD;
    if (reason != ENOENT)
      break;
    const outcome_t created = lockFile(O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW);
    if (created != outcome_t::UNAVAILABLE)
      return created;
    if (reason != EEXIST)
      break;
  }
  if (reason != EACCES && reason != EROFS && reason != EPERM)
    return outcome_t::UNAVAILABLE;
  // Nobody can replace the subject in such a directory, so it is as good as a file of the lock.
  const int denied = reason;
  path = subject;
  const outcome_t direct = lockFile(O_RDONLY | O_NONBLOCK);
  path.clear();
  return direct == outcome_t::UNAVAILABLE ? unavailable(denied) : direct;
}

// Opens and locks the file `path`.
RunLock::outcome_t RunLock::lockFile(int flags) {
  while (true) {
    Descriptor file = openFile(path, flags | O_NOCTTY, LOCK_MODE);
    struct stat status = {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0)
      return unavailable(errno);
    if (!S_ISREG(status.st_mode))
      return unavailable(EINVAL);
    if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
      if (errno == EINTR)
        continue;
      if (errno != EWOULDBLOCK)
        return unavailable(errno);
      other = readOwner(file.get());
      return outcome_t::BUSY;
    }
    struct stat named = {};
    const bool isStillNamed = ::stat(path.c_str(), &named) == 0 && named.st_ino == status.st_ino &&
                              named.st_dev == status.st_dev;
    if (!isStillNamed && (flags & O_EXCL))
      return unavailable(ENOENT); // somebody else has removed it: begin anew
    if (!isStillNamed)
      continue;
    fd = ::fcntl(file.get(), F_DUPFD_CLOEXEC, 0);
    return fd < 0 ? unavailable(errno) : outcome_t::HELD;
  }
}

RunLock::outcome_t RunLock::unavailable(int error) {
  reason = error;
  return outcome_t::UNAVAILABLE;
}

RunLock::outcome_t RunLock::take(const std::string &subject,
                                 const std::function<void(const lock_owner_t &)> &tell) {
  using std::chrono::steady_clock;
  const auto begin = steady_clock::now();
  bool told = false;
  while (true) {
    const outcome_t outcome = tryTake(subject);
    if (outcome != outcome_t::BUSY)
      return outcome;
    if (!told && steady_clock::now() - begin >= TELL_AFTER) {
      told = true;
      tell(owner());
    }
    std::this_thread::sleep_for(told ? SLOW_POLL_INTERVAL : POLL_INTERVAL);
  }
}

void RunLock::release() {
  if (fd < 0)
    return;
  if (!path.empty())
    lockPaths().remove(path);
  path.clear();
  ::close(std::exchange(fd, -1));
}

bool RunLock::isWorthAMessage() const {
  for (const int usual : {EACCES, EROFS, EPERM, ENOENT, ENOTDIR, ELOOP, ENAMETOOLONG}) {
    if (reason == usual)
      return false;
  }
  return true;
}

void RunLock::releaseAll() {
  lockPaths().removeAll();
}

} // namespace kelvarune::file
