// The guardian reads from a pipe of which only the program holds the other end, so the end of file
// is the program's end, whatever its cause. It stays in a session of its own, out of reach of the
// terminal and of signals to the program's process group. The program waits until it is there: what
// ends the whole group in this moment would end the guardian with it.

#include "process/Guardian.h"

#include "file/Io.h"
#include "process/Sessions.h"
#include "process/SignalMask.h"

#include <cerrno>

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kelvarune::process {

namespace {

void awaitByteOrEnd(int fd) {
  char byte;
  file::readSome(fd, &byte, 1);
}

// Expects all signals blocked.
[[noreturn]] void guard(int lifeline, const file::Descriptor &ready, const Guardian::duty_t &duty) {
  ::setsid();
  ::prctl(PR_SET_NAME, "kelvarune-guard");
  file::writeAll(ready.get(), "", 1);
  // Nobody shall wait for the guardian to close a terminal, a pipe or a directory.
  const bool keeps = duty.keeps >= 0 && ::dup2(duty.keeps, STDOUT_FILENO) >= 0;
  ::dup2(lifeline, STDIN_FILENO);
  ::close_range(keeps ? STDERR_FILENO : STDOUT_FILENO, ~0U, 0);
  if (::chdir("/") != 0)
    ::_exit(1);
  awaitByteOrEnd(STDIN_FILENO);
  if (keeps)
    duty.act(STDOUT_FILENO);
  sessions::end(sessions::all());
  ::_exit(0);
}

} // namespace

Guardian::Guardian(const duty_t &duty) {
  sessions::release(sessions::claim(nullptr)); // the table must exist to be shared
  file::pipe_t life = file::makePipe();
  file::pipe_t ready = file::makePipe();
  if (!life.readEnd.isOpen() || !ready.readEnd.isOpen())
    return;
  const AllSignalsBlocked blocked;
  pid = ::fork();
  if (pid == 0) {
    life.writeEnd.reset();
    guard(life.readEnd.get(), ready.writeEnd, duty);
  }
  ready.writeEnd.reset();
  awaitByteOrEnd(ready.readEnd.get());
  lifeline = std::move(life.writeEnd);
}

Guardian::~Guardian() {
  if (pid <= 0)
    return;
  ::kill(pid, SIGKILL);
  while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
  }
}

} // namespace kelvarune::process
