// Nothing escapes that way: as long as a descendant lives this process has a child, its ancestor if
// not itself. So the end of all children is the end of all. Those that start while others are being
// killed are found in the next round; a process that is to be killed starts none.

#include "process/Offspring.h"

#include "process/ProcessTable.h"
#include "process/ToolProcess.h"

#include <algorithm>
#include <cerrno>
#include <thread>

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kelvarune::process::offspring {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds FIRST_PAUSE(1);
constexpr milliseconds LONGEST_PAUSE(10);

void signalAll(int number) {
  for (const pid_t pid : descendantsOf(::getpid()))
    ::kill(pid, number);
}

// Whether all have gone in that time.
bool waitFor(ToolProcess *tool, milliseconds limit, const std::function<void()> &each) {
  const auto deadline = steady_clock::now() + limit;
  for (milliseconds pause = FIRST_PAUSE; reap(tool); pause = std::min(2 * pause, LONGEST_PAUSE)) {
    if (steady_clock::now() >= deadline)
      return false;
    each();
    std::this_thread::sleep_for(pause);
  }
  return true;
}

} // namespace

void adopt() {
  ::prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0);
}

bool reap(ToolProcess *tool) {
  const auto look = [](siginfo_t &info, int how, idtype_t which, id_t id) {
    info = {};
    return ::waitid(which, id, &info, WEXITED | WNOHANG | how);
  };
  siginfo_t info;
  while (look(info, WNOWAIT, P_ALL, 0) == 0) {
    if (info.si_pid == 0)
      return true;
    if (tool && info.si_pid == tool->id())
      tool->waitForEnd();
    else
      look(info, 0, P_PID, static_cast<id_t>(info.si_pid));
  }
  return errno != ECHILD;
}

bool end(ToolProcess *tool, const way_t &way, milliseconds patience) {
  if (!reap(tool))
    return true;
  signalAll(way.signal);
  signalAll(SIGCONT); // a stopped process follows nothing else
  if (waitFor(tool, way.grace, [] {}))
    return true;
  if (way.kill)
    way.kill();
  return waitFor(tool, patience, [] { signalAll(SIGKILL); });
}

} // namespace kelvarune::process::offspring
