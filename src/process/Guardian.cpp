// The guardian reads from a pipe of which only the program holds the other end, so the end of file
// is the program's end, whatever its cause. It stays in a session of its own, out of reach of the
// terminal and of signals to the program's process group.

#include "process/Guardian.h"

#include "process/Sessions.h"

#include <cerrno>

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kelvarune::process {

namespace {

[[noreturn]] void guard(int lifeline) {
  ::setsid();
  ::prctl(PR_SET_NAME, "kelvarune-guard");
  sigset_t all;
  sigfillset(&all);
  ::sigprocmask(SIG_SETMASK, &all, nullptr);
  // Nobody shall wait for the guardian to close a terminal, a pipe or a directory.
  ::dup2(lifeline, STDIN_FILENO);
  ::close_range(STDIN_FILENO + 1, ~0U, 0);
  if (::chdir("/") != 0)
    ::_exit(1);
  char byte;
  while (::read(STDIN_FILENO, &byte, 1) < 0 && errno == EINTR) {
  }
  sessions::end(sessions::all());
  ::_exit(0);
}

} // namespace

Guardian::Guardian() {
  sessions::release(sessions::claim(nullptr)); // the table must exist to be shared
  file::pipe_t pipe = file::makePipe();
  if (!pipe.readEnd.isOpen())
    return;
  pid = ::fork();
  if (pid == 0) {
    pipe.writeEnd.reset();
    guard(pipe.readEnd.get());
  }
  lifeline = std::move(pipe.writeEnd);
}

Guardian::~Guardian() {
  if (pid <= 0)
    return;
  ::kill(pid, SIGKILL);
  while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
  }
}

} // namespace kelvarune::process
