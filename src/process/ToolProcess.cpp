// Tools are started by vfork: the child borrows the program's memory until it runs the tool, so
// starting is as cheap beside a document of a gigabyte as beside none, where fork would copy the
// page tables of all of it. posix_spawn does the same but cannot ask for the parent-death signal.
//
// The end of a tool is awaited on a process descriptor together with its output, which lets one
// thread do both without helper threads or a SIGCHLD handler. Where the kernel gives none, the
// process is asked every few milliseconds.

#include "process/ToolProcess.h"

#include "file/Io.h"
#include "process/SignalMask.h"
#include "process/StartUp.h"
#include "process/WatchedPipe.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <tuple>
#include <utility>
#include <vector>

#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kelvarune::process {

namespace {

constexpr int ASK_AGAIN_MS = 5;
constexpr int LAST_CLASSIC_SIGNAL = 31;
constexpr std::uint64_t BYTES_PER_KIB = 1024;

/// All that the child needs, made ready before it exists: it must not allocate.
struct child_t {
  const char *program;
  char *const *words;
  bool leadsSession;
  sigset_t mask;
  int standardInput;
  int standardOutput;
  int standardError;
  int errorPipe;
  pid_t parent;
  sessions::slot_t *slot;
  const rlimit *descriptorLimit;
  const rlimit *dataLimit;
  int group;
};

// Opened once for all; -1 as long as that fails.
int nullDevice() {
  static std::mutex mutex;
  static file::Descriptor device;
  const std::lock_guard lock(mutex);
  if (!device.isOpen())
    device = file::openFile("/dev/null", O_RDWR);
  return device.get();
}

// Everything above standard error is closed when the program starts, whoever opened it.
void keepStandardDescriptorsOnly() {
  if (::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC) == 0)
    return;
  rlimit limit = {};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  for (int fd = STDERR_FILENO + 1; fd < static_cast<int>(limit.rlim_cur); ++fd)
    ::fcntl(fd, F_SETFD, FD_CLOEXEC);
}

// The child shares its memory with the program but not its table of handlers; a handler of the
// program must not run here once the signals are let in again.
void resetSignals(const child_t &child) {
  struct sigaction action = {};
  for (int number = 1; number <= LAST_CLASSIC_SIGNAL; ++number) {
    if (::sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_DFL &&
        (action.sa_handler != SIG_IGN || number == SIGXFSZ ||
         (number == SIGPIPE && child.leadsSession))) {
      action = {};
      action.sa_handler = SIG_DFL;
      ::sigaction(number, &action, nullptr);
    }
  }
  ::sigprocmask(SIG_SETMASK, &child.mask, nullptr);
}

// Tells why the program cannot be run.
[[noreturn]] void giveUp(const child_t &child) {
  const int error = errno;
  if (::write(child.errorPipe, &error, sizeof error) < 0)
    ::_exit(126);
  ::_exit(127);
}

[[noreturn]] void runChild(const child_t &child) {
  if (child.leadsSession)
    ::setsid();
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != child.parent) // it died before the line above
    ::_exit(127);
  if (child.slot)
    child.slot->session = ::getpid();
  ::dup2(child.standardInput, STDIN_FILENO);
  ::dup2(child.standardOutput, STDOUT_FILENO);
  ::dup2(child.standardError, STDERR_FILENO);
  if (child.leadsSession)
    keepStandardDescriptorsOnly();
  if (child.descriptorLimit)
    ::setrlimit(RLIMIT_NOFILE, child.descriptorLimit);
  resetSignals(child);
  if (child.dataLimit)
    ::setrlimit(RLIMIT_DATA, child.dataLimit);
  if (child.group >= 0 && ::write(child.group, "0", 1) < 0) // which stands for the writer
    giveUp(child);
  ::execvp(child.program, child.words);
  giveUp(child);
}

// A function of its own that is never inlined, so that the child cannot disturb the frame of a
// caller which goes on.
[[gnu::noinline]] pid_t startChild(const child_t &child) {
  const AllSignalsBlocked blocked;
  const pid_t pid = ::vfork(); // NOLINT(clang-analyzer-security.insecureAPI.vfork)
  if (pid == 0)
    runChild(child); // NOLINT(clang-analyzer-unix.Vfork)
  return pid;
}

sigset_t maskFor(place_t place) {
  sigset_t mask;
  sigemptyset(&mask);
  if (place == place_t::CALLERS_SESSION)
    ::pthread_sigmask(SIG_BLOCK, nullptr, &mask);
  return mask;
}

// The limit that `bytes` asks for, as far as the caller's own permits.
rlimit dataLimitOf(std::uint64_t bytes) {
  rlimit limit = {};
  ::getrlimit(RLIMIT_DATA, &limit);
  limit.rlim_max = std::min<rlim_t>(limit.rlim_max, bytes);
  limit.rlim_cur = std::min(limit.rlim_cur, limit.rlim_max);
  return limit;
}

// The error number that the child has met. It writes only when it could not run the program, which
// closes the pipe.
int errorFrom(int errorPipe) {
  int error = 0;
  return file::readSome(errorPipe, reinterpret_cast<char *>(&error), sizeof error) > 0 ? error : 0;
}

bool isLackOfRoom(int error) {
  return error == EAGAIN || error == ENOMEM || error == EMFILE || error == ENFILE;
}

std::chrono::microseconds durationOf(const timeval &time) {
  return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
}

// As waitid of the library, which leaves out the system's last argument.
int waitFor(pid_t pid, siginfo_t &info, int options, rusage *usage) {
  return static_cast<int>(::syscall(SYS_waitid, P_PID, pid, &info, options, usage));
}

} // namespace

ToolProcess::~ToolProcess() {
  kill();
  reap(true);
}

bool ToolProcess::start(const std::filesystem::path &program, const QStringList &arguments,
                        int standardInput, int standardOutput, int standardError) {
  start_t how;
  how.program = program.native();
  how.words.reserve(static_cast<std::size_t>(arguments.size()) + 1);
  how.words.push_back(how.program);
  for (const QString &argument : arguments)
    how.words.push_back(argument.toStdString());
  how.standardInput = standardInput;
  how.standardOutput = standardOutput;
  how.standardError = standardError;
  return start(std::move(how));
}

bool ToolProcess::start(start_t how) {
  std::vector<char *> words;
  words.reserve(how.words.size() + 1);
  for (std::string &word : how.words)
    words.push_back(word.data());
  words.push_back(nullptr);

  errorOfRun = 0;
  file::pipe_t errors = file::makePipe();
  hadNoRoom = !errors.readEnd.isOpen() || nullDevice() < 0;
  if (hadNoRoom)
    return false;
  const bool leads = how.place == place_t::OWN_SESSION;
  slot = leads ? sessions::claim(owner) : nullptr;
  const auto orNull = [](int fd) { return fd < 0 ? nullDevice() : fd; };
  const rlimit data = dataLimitOf(how.dataLimit);
  const child_t child = {how.program.c_str(),
                         words.data(),
                         leads,
                         maskFor(how.place),
                         orNull(how.standardInput),
                         orNull(how.standardOutput),
                         orNull(how.standardError),
                         errors.writeEnd.get(),
                         ::getpid(),
                         slot,
                         descriptorLimitForTools(),
                         how.dataLimit > 0 ? &data : nullptr,
                         how.group};
  const pid_t started = startChild(child);
  hadNoRoom = started < 0 && isLackOfRoom(errno);
  {
    const std::lock_guard lock(endMutex);
    pid = started;
    leadsSession = leads;
  }
  errors.writeEnd.reset();
  if (pid > 0)
    errorOfRun = errorFrom(errors.readEnd.get());
  if (pid < 0 || errorOfRun != 0) {
    reap(true);
    return false;
  }
  pidfd = file::Descriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
  return true;
}

bool ToolProcess::waitForEnd(const std::vector<WatchedPipe *> &pipes, int limitMs) {
  using std::chrono::steady_clock;
  const auto deadline = steady_clock::now() + std::chrono::milliseconds(limitMs);
  constexpr std::size_t PER_PIPE = std::tuple_size_v<WatchedPipe::watched_t>;
  std::vector<pollfd> watched(1 + PER_PIPE * pipes.size());
  while (pid > 0) {
    const auto rest =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - steady_clock::now());
    if (limitMs >= 0 && rest.count() <= 0)
      return false;
    long waitMs = limitMs < 0 ? -1 : rest.count() + 1;
    if (!pidfd.isOpen())
      waitMs = ASK_AGAIN_MS;
    auto place = watched.begin();
    for (const WatchedPipe *const pipe : pipes) {
      const auto each = pipe ? pipe->watched() : WatchedPipe::watched_t{{{-1, 0, 0}, {-1, 0, 0}}};
      place = std::copy(each.begin(), each.end(), place);
    }
    *place = {pidfd.get(), POLLIN, 0};
    const int ready = ::poll(watched.data(), watched.size(), static_cast<int>(waitMs));
    place = watched.begin();
    for (WatchedPipe *const pipe : pipes) {
      WatchedPipe::watched_t each;
      std::copy_n(std::exchange(place, place + PER_PIPE), PER_PIPE, each.begin());
      if (ready > 0 && pipe)
        pipe->goOn(each);
    }
    if (!pidfd.isOpen() || (ready > 0 && place->revents))
      reap(pidfd.isOpen());
  }
  return true;
}

void ToolProcess::kill() {
  const std::lock_guard lock(endMutex);
  if (pid > 0)
    ::kill(pid, SIGKILL);
}

pid_t ToolProcess::session() const {
  const std::lock_guard lock(endMutex);
  return leadsSession ? pid : 0;
}

void ToolProcess::reap(bool block) {
  siginfo_t info = {};
  // Wait without reaping first, so that endMutex is held for a moment only.
  const int when = WEXITED | (block ? 0 : WNOHANG);
  int result = 0;
  do
    result = pid > 0 ? waitFor(pid, info, when | WNOWAIT, nullptr) : -1;
  while (pid > 0 && result != 0 && errno == EINTR);
  if (result == 0 && info.si_pid == 0)
    return; // it runs on
  // Any other failure means that somebody else has reaped it; nobody knows then how it ended.
  const std::lock_guard lock(endMutex);
  rusage usage = {};
  if (pid > 0)
    waitFor(pid, info, WEXITED | WNOHANG, &usage);
  used = {durationOf(usage.ru_utime), durationOf(usage.ru_stime),
          static_cast<std::uint64_t>(usage.ru_maxrss) * BYTES_PER_KIB};
  const bool bySignal = info.si_code != CLD_EXITED;
  endedBy = info.si_pid != 0 && bySignal ? info.si_status : 0;
  status = info.si_pid != 0 && !bySignal ? info.si_status : 0;
  pid = 0;
  sessions::release(slot);
  slot = nullptr;
  pidfd.reset();
}

} // namespace kelvarune::process
