// Descendants are found by their session in /proc, the only place that still knows them when their
// parents are gone. That walk takes milliseconds, so it is made only when a run is stopped or
// stuck, never on the way of an entry.

#include "process/Sessions.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

namespace process::sessions {

namespace {

constexpr int TABLE_SIZE = 4096;
constexpr pid_t CLAIMED = -1; // taken, the session is not known yet

constexpr long POLL_MS = 10;
constexpr int GRACE_POLLS = 30; // how long processes may take to follow a SIGTERM
constexpr int LAST_POLL = 100;

static_assert(std::atomic<pid_t>::is_always_lock_free &&
              std::atomic<std::int64_t>::is_always_lock_free);

slot_t *table() {
  static slot_t *const slots = [] {
    void *memory = ::mmap(nullptr, TABLE_SIZE * sizeof(slot_t), PROT_READ | PROT_WRITE,
                          MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return memory == MAP_FAILED ? nullptr : static_cast<slot_t *>(memory);
  }();
  return slots;
}

struct process_t {
  pid_t pid;
  pid_t parent;
  pid_t session;
  std::int64_t startTicks;
};

// Reads "pid (name) state ppid pgrp session ..." up to the start time, the 22nd field; the name may
// hold anything, also parentheses.
bool readProcess(pid_t pid, process_t &process) {
  const std::string path = "/proc/" + std::to_string(pid) + "/stat";
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0)
    return false;
  char text[512];
  const ssize_t length = ::read(fd, text, sizeof text - 1);
  ::close(fd);
  if (length <= 0)
    return false;
  text[length] = '\0';
  const char *afterName = std::strrchr(text, ')');
  char state = 0;
  process.pid = pid;
  const char *format =
      " %c %d %*d %d %*d %*d %*u %*u %*u %*u %*u %*u %*u %*d %*d %*d %*d %*d %*d %" SCNd64;
  return afterName &&
         std::sscanf(afterName + 1, format, &state, &process.parent, &process.session,
                     &process.startTicks) == 4 &&
         state != 'Z' && state != 'X';
}

std::int64_t nowTicks() {
  timespec now = {};
  ::clock_gettime(CLOCK_BOOTTIME, &now);
  static const std::int64_t perSecond = ::sysconf(_SC_CLK_TCK);
  return now.tv_sec * perSecond + now.tv_nsec * perSecond / 1000000000;
}

void forEachProcess(const std::function<void(const process_t &)> &visit) {
  DIR *directory = ::opendir("/proc");
  if (!directory)
    return;
  while (const dirent *entry = ::readdir(directory)) {
    const pid_t pid = std::atoi(entry->d_name);
    process_t process;
    if (pid > 0 && readProcess(pid, process))
      visit(process);
  }
  ::closedir(directory);
}

void sleepMs(long ms) {
  const timespec duration = {ms / 1000, (ms % 1000) * 1000000};
  ::nanosleep(&duration, nullptr);
}

bool holdsWriteEnd(pid_t pid, const std::string &pipeName) {
  const std::string path = "/proc/" + std::to_string(pid) + "/fd";
  DIR *directory = ::opendir(path.c_str());
  if (!directory)
    return false;
  bool holds = false;
  while (const dirent *entry = ::readdir(directory)) {
    char target[64];
    struct stat link;
    const ssize_t length = ::readlinkat(::dirfd(directory), entry->d_name, target, sizeof target);
    // The mode of the link itself tells how the descriptor was opened.
    if (length > 0 && pipeName.compare(0, std::string::npos, target, length) == 0 &&
        ::fstatat(::dirfd(directory), entry->d_name, &link, AT_SYMLINK_NOFOLLOW) == 0 &&
        (link.st_mode & S_IWUSR))
      holds = true;
  }
  ::closedir(directory);
  return holds;
}

} // namespace

slot_t *claim() {
  static std::atomic<unsigned> turn = 0; // in turns, so that the oldest ended session gives way
  slot_t *const slots = table();
  for (int i = 0; slots && i < TABLE_SIZE; ++i) {
    slot_t &slot = slots[turn++ % TABLE_SIZE];
    pid_t found = slot.session;
    const bool running = found == CLAIMED || (found > 0 && slot.endTicks == session_t::RUNNING);
    if (!running && slot.session.compare_exchange_strong(found, CLAIMED)) {
      slot.endTicks = session_t::RUNNING;
      return &slot;
    }
  }
  return nullptr;
}

void release(slot_t *slot) {
  if (!slot)
    return;
  slot->endTicks = nowTicks();
  pid_t unknown = CLAIMED; // the tool was never started
  slot->session.compare_exchange_strong(unknown, 0);
}

std::vector<session_t> all() {
  std::vector<session_t> result;
  slot_t *const slots = table();
  for (int i = 0; slots && i < TABLE_SIZE; ++i) {
    const session_t session = {slots[i].session, slots[i].endTicks};
    if (session.id > 0)
      result.push_back(session);
  }
  return result;
}

void end(const std::vector<session_t> &sessions) {
  std::map<pid_t, std::int64_t> endTicks;
  for (const session_t &session : sessions) {
    // Never what no tool can lead: 0 is the session of everything outside a container.
    if (session.id > 1 && session.id != ::getsid(0))
      endTicks[session.id] = std::max(endTicks[session.id], session.endTicks);
  }
  for (int poll = 0; poll < LAST_POLL && !endTicks.empty(); ++poll) {
    int living = 0;
    forEachProcess([&](const process_t &process) {
      const auto found = endTicks.find(process.session);
      if (found == endTicks.end() || process.startTicks > found->second)
        return;
      ++living;
      if (process.pid == process.session || poll >= GRACE_POLLS)
        ::kill(process.pid, SIGKILL);
      else if (poll == 0)
        ::kill(process.pid, SIGTERM);
    });
    if (living == 0)
      return;
    sleepMs(POLL_MS);
  }
}

void endPipeWriters(ino_t pipe) {
  const std::string name = "pipe:[" + std::to_string(pipe) + "]";
  const pid_t self = ::getpid();
  forEachProcess([&](const process_t &process) {
    if (process.pid != self && process.parent != self && holdsWriteEnd(process.pid, name))
      ::kill(process.pid, SIGKILL);
  });
}

} // namespace process::sessions
