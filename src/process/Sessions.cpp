// Descendants are found by their session in /proc, the only place that still knows them when their
// parents are gone. That walk takes milliseconds, so it is made only when a run is stopped or
// stuck, never on the way of an entry.

#include "process/Sessions.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
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
                              // -S with S > 1: session S whose leader has ended

constexpr long POLL_MS = 10;
constexpr int GRACE_POLLS = 30; // how long processes may take to follow a SIGTERM
constexpr int LAST_POLL = 100;

static_assert(slot_t::is_always_lock_free);

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
};

// Reads "pid (name) state ppid pgrp session ..."; the name may hold anything, also parentheses.
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
  int group = 0;
  process.pid = pid;
  return afterName &&
         std::sscanf(afterName + 1, " %c %d %d %d", &state, &process.parent, &group,
                     &process.session) == 4 &&
         state != 'Z' && state != 'X';
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
  slot_t *const slots = table();
  for (int i = 0; slots && i < TABLE_SIZE; ++i) {
    pid_t expected = 0;
    if (slots[i].compare_exchange_strong(expected, CLAIMED))
      return &slots[i];
  }
  return nullptr;
}

void release(slot_t *slot) {
  if (slot)
    slot->store(0);
}

void releaseEnded(slot_t *slot) {
  if (!slot)
    return;
  // Most descendants stay in the group of their tool, and asking for the group is cheap.
  const pid_t session = slot->load();
  const bool livesOn = session > 0 && ::kill(-session, 0) == 0;
  const bool hasRoom = slot - table() < TABLE_SIZE / 2;
  slot->store(livesOn && hasRoom ? -session : 0);
}

std::vector<pid_t> all() {
  std::vector<pid_t> result;
  slot_t *const slots = table();
  for (int i = 0; slots && i < TABLE_SIZE; ++i) {
    const pid_t session = slots[i].load();
    // The number of an ended leader is not given to a new process while its session has members;
    // when a process of that number exists, it is a stranger and the session is long gone.
    const bool leaderless = session < CLAIMED && ::kill(-session, 0) != 0;
    if (session > 0 || leaderless)
      result.push_back(std::abs(session));
  }
  return result;
}

void end(std::vector<pid_t> sessionIds) {
  // Never what no tool can lead: 0 is the session of everything outside a container.
  const auto isForeign = [](pid_t session) { return session <= 1 || session == ::getsid(0); };
  sessionIds.erase(std::remove_if(sessionIds.begin(), sessionIds.end(), isForeign),
                   sessionIds.end());
  if (sessionIds.empty())
    return;
  for (int poll = 0; poll < LAST_POLL; ++poll) {
    int living = 0;
    forEachProcess([&](const process_t &process) {
      if (std::find(sessionIds.begin(), sessionIds.end(), process.session) == sessionIds.end())
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
