// The supervisor is the ancestor of everything that the prover starts and adopts what loses its
// parent, so nothing gets out of its sight. It has a session of its own, where signals to the
// wrapper's process group, session or terminal do not reach it; the prover stays in the wrapper's.
// Either of the two may be killed: the supervisor outlives the wrapper by what it takes to end all,
// and the wrapper adopts and ends what a supervisor leaves.

#include "kelvarune-limit/Supervisor.h"

#include "file/Io.h"
#include "kelvarune-limit/ControlGroup.h"
#include "kelvarune-limit/Outcome.h"
#include "kelvarune-limit/Usage.h"
#include "process/Offspring.h"
#include "process/ToolProcess.h"

#include <algorithm>
#include <memory>
#include <thread>
#include <tuple>

#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace kelvarune;

namespace limit {

namespace {

using std::chrono::duration_cast;
using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds RAREST_LOOK(500);
constexpr milliseconds CLOSEST_LOOK(10);
constexpr int LOOKS_SHARE = 20; // looking takes at most one part in so many of the time
constexpr std::uint64_t BYTES_PER_MS = std::uint64_t(4) << 20; // a fast eater of memory
constexpr std::uint64_t DATA_PER_MEMORY = 2; // not all that is reserved comes to be used
constexpr milliseconds PATIENCE(1000);
constexpr std::uint64_t BYTES_OF_KIB = 1024;

sigset_t awaitedSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : {SIGCHLD, SIGTERM, SIGINT, SIGHUP, SIGQUIT})
    sigaddset(&set, number);
  return set;
}

// The signal that asks for the end, 0 when none has come in that time or before a child ended.
int awaitSignal(microseconds limit) {
  static const sigset_t awaited = awaitedSignals();
  const auto seconds = duration_cast<std::chrono::seconds>(limit);
  const timespec time = {seconds.count(), (limit - seconds).count() * 1000};
  const int number = ::sigtimedwait(&awaited, nullptr, &time);
  return number == SIGCHLD ? 0 : std::max(number, 0);
}

int usableProcessorCount() {
  cpu_set_t set;
  return ::sched_getaffinity(0, sizeof set, &set) == 0 ? std::max(1, CPU_COUNT(&set)) : 1;
}

// Nobody shall wait for the supervisor to close a terminal, a pipe or a directory.
void leaveCaller() {
  sigset_t all;
  sigfillset(&all);
  ::sigprocmask(SIG_SETMASK, &all, nullptr);
  ::setsid();
  const file::Descriptor null = file::openFile("/dev/null", O_RDWR);
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    ::dup2(null.get(), fd);
  if (::chdir("/") != 0)
    ::_exit(1);
}

class Supervision {
public:
  explicit Supervision(const options_t &options) : options(options) {}

  outcome_t run();
  /// Until nothing is left.
  void endRest() {
    while (!endAll(SIGTERM))
      std::this_thread::sleep_for(PATIENCE);
  }

private:
  void start();
  void watch();
  bool look();
  bool eats(std::uint64_t memory);
  microseconds pause() const;
  void settle(end_t end, int number = 0);
  bool endAll(int signal);
  void addUsage();

  microseconds passed() const { return duration_cast<microseconds>(steady_clock::now() - begin); }

  const options_t &options;
  std::unique_ptr<ControlGroup> group;
  process::ToolProcess prover;
  outcome_t outcome;
  bool isSettled = false;
  steady_clock::time_point begin;
  usage_t usage; // of the last look
  microseconds lookTime = {};
};

outcome_t Supervision::run() {
  if (options.memory > 0)
    group = ControlGroup::make(options.memory);
  begin = steady_clock::now();
  start();
  leaveCaller();
  if (outcome.end == end_t::NOT_STARTED)
    return outcome;
  watch();
  const int signal = outcome.end == end_t::STOPPED ? outcome.number : SIGTERM;
  outcome.wall = passed();
  outcome.allGone = endAll(signal);
  if (isSettled)
    outcome.wall = passed();
  addUsage();
  return outcome;
}

void Supervision::start() {
  process::start_t how = {
      options.command.front(), options.command, STDIN_FILENO,
      STDOUT_FILENO,           STDERR_FILENO,   process::place_t::CALLERS_SESSION};
  how.dataLimit = options.memory * DATA_PER_MEMORY;
  how.group = group ? group->processes() : -1;
  bool started = prover.start(how);
  if (!started && group) { // perhaps it must not join
    group.reset();
    how.group = -1;
    started = prover.start(how);
  }
  outcome.end = started ? end_t::EXITED : end_t::NOT_STARTED;
  outcome.number = started ? 0 : prover.runError();
}

// Returns when the prover has ended or must.
void Supervision::watch() {
  process::offspring::reap(&prover);
  while (prover.id() > 0) {
    const int signal = awaitSignal(pause());
    process::offspring::reap(&prover);
    if (prover.id() <= 0)
      break;
    if (signal > 0)
      return settle(end_t::STOPPED, signal);
    if (options.time.count() > 0 && passed() >= options.time)
      return settle(end_t::TIME_LIMIT);
    if (options.isMeasured() && look())
      return;
  }
  outcome.end = prover.crashed() ? end_t::SIGNALLED : end_t::EXITED;
  outcome.number = prover.crashed() ? prover.endSignal() : prover.exitStatus();
}

// Whether a limit is reached.
bool Supervision::look() {
  const auto before = steady_clock::now();
  usage = usageOfOffspring(options.memory);
  outcome.peakMemory = std::max(outcome.peakMemory, usage.memory);
  lookTime = duration_cast<microseconds>(steady_clock::now() - before);
  if (options.processor.count() > 0 && usage.processor >= options.processor)
    settle(end_t::PROCESSOR_LIMIT);
  else if (options.memory > 0 && eats(usage.memory))
    settle(end_t::MEMORY_LIMIT);
  return isSettled;
}

// A process that is just starting another one may share all its memory with that for a moment.
bool Supervision::eats(std::uint64_t memory) {
  if (group)
    return group->hasReachedLimit();
  if (memory <= options.memory)
    return false;
  std::this_thread::sleep_for(CLOSEST_LOOK);
  return usageOfOffspring(options.memory).memory > options.memory;
}

// How long nothing can happen, or as little that it does not matter.
microseconds Supervision::pause() const {
  static const int processors = usableProcessorCount();
  microseconds time = RAREST_LOOK;
  if (options.processor.count() > 0)
    time = std::min(time, (options.processor - usage.processor) / processors);
  if (options.memory > 0 && !group)
    time = std::min<microseconds>(
        time,
        milliseconds((options.memory - std::min(options.memory, usage.memory)) / BYTES_PER_MS));
  time =
      std::clamp<microseconds>(std::max(time, LOOKS_SHARE * lookTime), CLOSEST_LOOK, RAREST_LOOK);
  if (options.time.count() > 0)
    time = std::min<microseconds>(time, options.time - passed());
  return std::max(time, microseconds(0));
}

void Supervision::settle(end_t end, int number) {
  outcome.end = end;
  outcome.number = number;
  isSettled = true;
}

bool Supervision::endAll(int signal) {
  process::offspring::way_t way = {signal, options.grace, nullptr};
  if (group)
    way.kill = [this] { group->kill(); };
  return process::offspring::end(&prover, way, PATIENCE);
}

// Expects that all have ended. A prover that fails with more memory than it may have had no more of
// it before anybody looked: the kernel has refused it, or killed one of the processes.
void Supervision::addUsage() {
  rusage ended = {};
  ::getrusage(RUSAGE_CHILDREN, &ended);
  const auto timeOf = [](const timeval &time) {
    return std::chrono::seconds(time.tv_sec) + microseconds(time.tv_usec);
  };
  outcome.user = timeOf(ended.ru_utime);
  outcome.system = timeOf(ended.ru_stime);
  const std::uint64_t largest = static_cast<std::uint64_t>(ended.ru_maxrss) * BYTES_OF_KIB;
  const bool isOver = group ? group->hasReachedLimit() : largest > options.memory;
  const bool hasFailed =
      outcome.end == end_t::SIGNALLED || (outcome.end == end_t::EXITED && outcome.number != 0);
  if (hasFailed && options.memory > 0 && isOver)
    outcome.end = end_t::MEMORY_LIMIT;
  outcome.peakMemory = std::max(outcome.peakMemory, largest);
  if (!group)
    return;
  if (const std::uint64_t peak = group->peakMemory(); peak > 0)
    outcome.peakMemory = peak;
  if (const auto time = group->time())
    std::tie(outcome.user, outcome.system) = *time;
}

} // namespace

void supervise(const options_t &options, file::Descriptor outcomes, const sigset_t &mask,
               pid_t parent) {
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (::getppid() != parent) // it died before the line above
    ::_exit(1);
  ::prctl(PR_SET_NAME, "kelvarune-guard");
  process::offspring::adopt();
  ::sigprocmask(SIG_SETMASK, &mask, nullptr);
  {
    Supervision supervision(options);
    const outcome_t outcome = supervision.run();
    file::writeAll(outcomes.get(), reinterpret_cast<const char *>(&outcome), sizeof outcome);
    outcomes.reset();
    supervision.endRest();
  }
  ::_exit(0);
}

} // namespace limit
