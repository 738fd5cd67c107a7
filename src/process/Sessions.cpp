// Descendants are found by their session in /proc, the only place that still knows them when their
// parents are gone. That walk takes milliseconds, so it is made only when a run is stopped or
// stuck, never on the way of an entry.

#include "process/Sessions.h"

#include "process/ProcessTable.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <tuple>

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

namespace kelvarune::process::sessions {

namespace {

constexpr int TABLE_SIZE = 4096;
constexpr pid_t CLAIMED = -1; // taken, the session is not known yet

constexpr long POLL_MS = 10;
constexpr int GRACE_POLLS = 30; // how long processes may take to follow a SIGTERM
constexpr int LAST_POLL = 100;

static_assert(std::atomic<pid_t>::is_always_lock_free &&
              std::atomic<std::int64_t>::is_always_lock_free &&
              std::atomic<const void *>::is_always_lock_free);

slot_t *table() {
  static slot_t *const slots = [] {
    void *memory = ::mmap(nullptr, TABLE_SIZE * sizeof(slot_t), PROT_READ | PROT_WRITE,
                          MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return memory == MAP_FAILED ? nullptr : static_cast<slot_t *>(memory);
  }();
  return slots;
}

std::int64_t nowTicks() {
  timespec now = {};
  ::clock_gettime(CLOCK_BOOTTIME, &now);
  static const std::int64_t perSecond = ::sysconf(_SC_CLK_TCK);
  return now.tv_sec * perSecond + now.tv_nsec * perSecond / 1000000000;
}

void forEachLiving(const std::function<void(const process_t &)> &visit) {
  forEachProcess([&](const process_t &process) {
    if (process.state != 'Z' && process.state != 'X')
      visit(process);
  });
}

// The living processes of sessions that ended at these times. Besides those that were there at that
// time, what they have started since; once found, a process stays in `members`, also when its
// parent has gone.
std::vector<process_t> addMembers(const std::map<pid_t, std::int64_t> &endTicks,
                                  std::set<pid_t> &members) {
  std::vector<process_t> candidates;
  forEachLiving([&](const process_t &process) {
    if (endTicks.count(process.session) > 0)
      candidates.push_back(process);
  });
  const auto byStart = [](const process_t &a, const process_t &b) {
    return std::tie(a.startTicks, a.pid) < std::tie(b.startTicks, b.pid); // parents first
  };
  std::sort(candidates.begin(), candidates.end(), byStart);
  const auto isStranger = [&](const process_t &process) {
    const bool known = members.count(process.pid) > 0 || members.count(process.parent) > 0 ||
                       process.startTicks <= endTicks.at(process.session);
    if (known)
      members.insert(process.pid);
    return !known;
  };
  candidates.erase(std::remove_if(candidates.begin(), candidates.end(), isStranger),
                   candidates.end());
  return candidates;
}

void signalDescendants(const std::vector<process_t> &processes, int signal) {
  for (const process_t &process : processes) {
    if (process.pid != process.session)
      ::kill(process.pid, signal);
  }
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
    // The mode of the link itself shows how the descriptor was opened.
    if (length > 0 && pipeName.compare(0, std::string::npos, target, length) == 0 &&
        ::fstatat(::dirfd(directory), entry->d_name, &link, AT_SYMLINK_NOFOLLOW) == 0 &&
        (link.st_mode & S_IWUSR))
      holds = true;
  }
  ::closedir(directory);
  return holds;
}

} // namespace

slot_t *claim(const void *owner) {
  static std::atomic<unsigned> turn = 0; // in turns, so that the oldest ended session gives way
  slot_t *const slots = table();
  for (int i = 0; slots && i < TABLE_SIZE; ++i) {
    slot_t &slot = slots[turn++ % TABLE_SIZE];
    pid_t found = slot.session;
    const bool running = found == CLAIMED || (found > 0 && slot.endTicks == session_t::RUNNING);
    if (!running && slot.session.compare_exchange_strong(found, CLAIMED)) {
      slot.endTicks = session_t::RUNNING;
      slot.owner = owner;
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
  return of(nullptr);
}

std::vector<session_t> of(const void *owner) {
  std::vector<session_t> result;
  slot_t *const slots = table();
  for (int i = 0; slots && i < TABLE_SIZE; ++i) {
    const session_t session = {slots[i].session, slots[i].endTicks};
    if (session.id > 0 && (!owner || slots[i].owner == owner))
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
  // Held still until none is new, so that no child appears whose parent is gone already.
  std::set<pid_t> members;
  std::vector<process_t> living;
  for (std::size_t known = 0; !(living = addMembers(endTicks, members)).empty();
       known = members.size()) {
    if (known == members.size())
      break;
    signalDescendants(living, SIGSTOP);
  }
  // Leaders first: one that waits for the others would end in order when they have gone, and nobody
  // could see that it was stopped.
  for (const process_t &process : living) {
    if (process.pid == process.session)
      ::kill(process.pid, SIGKILL);
  }
  signalDescendants(living, SIGTERM);
  signalDescendants(living, SIGCONT);
  for (int poll = 0; poll < LAST_POLL && !living.empty(); ++poll) {
    for (const process_t &process : living) {
      if (poll >= GRACE_POLLS)
        ::kill(process.pid, SIGKILL);
    }
    sleepMs(POLL_MS);
    living = addMembers(endTicks, members);
  }
}

void endPipeWriters(ino_t pipe) {
  const std::string name = "pipe:[" + std::to_string(pipe) + "]";
  const pid_t self = ::getpid();
  forEachLiving([&](const process_t &process) {
    if (process.pid != self && process.parent != self && holdsWriteEnd(process.pid, name))
      ::kill(process.pid, SIGKILL);
  });
}

} // namespace kelvarune::process::sessions
