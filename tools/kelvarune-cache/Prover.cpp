// The prover stays in the wrapper's session and process group, so that whoever ends those ends it
// too. Its output is passed on block by block; the wrapper has ended only when the prover has, and
// waits no longer than a moment for others that hold the prover's output open: their caller would
// not wait for them either, had it started the prover itself.

#include "kelvarune-cache/Prover.h"

#include "file/Descriptor.h"

#include <cerrno>
#include <cstdlib>

#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace kelvarune;

namespace cache {

namespace {

constexpr int LINGER_MS = 1000; // after the prover's end, for what its children still write
constexpr int ASK_AGAIN_MS = 5; // where the kernel gives no descriptor for a process

std::vector<char *> pointersTo(const std::vector<std::string> &words) {
  std::vector<char *> pointers;
  pointers.reserve(words.size() + 1);
  for (const std::string &word : words)
    pointers.push_back(const_cast<char *>(word.c_str())); // NOLINT: exec changes nothing
  pointers.push_back(nullptr);
  return pointers;
}

void useAsInput(int standardInput) {
  const int fd = standardInput < 0 ? ::open("/dev/null", O_RDONLY) : standardInput;
  if (fd != STDIN_FILENO)
    ::dup2(fd, STDIN_FILENO);
}

int statusOfError(int error) {
  return error == ENOENT ? STATUS_NOT_FOUND : STATUS_CANNOT_RUN;
}

pid_t start(const std::string &program, const std::vector<std::string> &words, int standardInput,
            int standardOutput) {
  const pid_t parent = ::getpid();
  const pid_t pid = ::fork();
  if (pid != 0)
    return pid;
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != parent) // it died before the line above
    ::_exit(STATUS_OWN_FAILURE);
  ::dup2(standardOutput, STDOUT_FILENO);
  ::_exit(becomeProver(program, words, standardInput));
}

// Passes on what has come; false at the end of the output.
bool passOn(int output, Answer &answer) {
  char block[1 << 16];
  const ssize_t count = ::read(output, block, sizeof block);
  if (count <= 0)
    return count < 0 && errno == EINTR;
  answer.append(block, count);
  if (!writeOut(block, count))
    ::_exit(STATUS_OWN_FAILURE); // the kernel ends the prover
  return true;
}

bool hasEnded(pid_t pid, int &status) {
  return ::waitpid(pid, &status, WNOHANG) != 0;
}

} // namespace

bool writeOut(const char *bytes, qint64 count) {
  while (count > 0) {
    const ssize_t written = ::write(STDOUT_FILENO, bytes, static_cast<std::size_t>(count));
    if (written >= 0) {
      bytes += written;
      count -= written;
    } else if (errno == EAGAIN) {
      pollfd writable = {STDOUT_FILENO, POLLOUT, 0};
      ::poll(&writable, 1, -1);
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

end_t runProver(const std::string &program, const std::vector<std::string> &words,
                int standardInput, Answer &answer) {
  end_t end;
  ::signal(SIGCHLD, SIG_DFL); // a caller that ignores it would lose us the prover's status
  file::pipe_t output = file::makePipe();
  const pid_t pid =
      output.readEnd.isOpen() ? start(program, words, standardInput, output.writeEnd.get()) : -1;
  if (pid < 0)
    return end;
  end.started = true;
  output.writeEnd.reset();

  const file::Descriptor process(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
  int status = 0;
  bool ended = false;
  while (!ended || !end.complete) {
    // A negative descriptor is not waited for.
    pollfd ready[] = {{end.complete ? -1 : output.readEnd.get(), POLLIN, 0},
                      {ended ? -1 : process.get(), POLLIN, 0}};
    const int limitMs = ended ? LINGER_MS : process.isOpen() ? -1 : ASK_AGAIN_MS;
    const int events = ::poll(ready, 2, limitMs);
    if (events == 0 && ended)
      break;
    if (ready[0].revents != 0)
      end.complete = !passOn(output.readEnd.get(), answer);
    if (!ended)
      ended = hasEnded(pid, status);
  }
  end.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  end.status = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
  return end;
}

int becomeProver(const std::string &program, const std::vector<std::string> &words,
                 int standardInput) {
  useAsInput(standardInput);
  ::execvp(program.c_str(), pointersTo(words).data());
  return statusOfError(errno);
}

void endLike(const end_t &end) {
  if (end.signal == 0)
    ::_exit(end.status);
  const rlimit noCore = {0, 0};
  ::setrlimit(RLIMIT_CORE, &noCore);
  ::signal(end.signal, SIG_DFL);
  sigset_t all;
  sigfillset(&all);
  ::sigprocmask(SIG_UNBLOCK, &all, nullptr);
  ::kill(::getpid(), end.signal);
  ::_exit(128 + end.signal);
}

} // namespace cache
