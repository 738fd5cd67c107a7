#include "wrapper/Ending.h"

#include <cerrno>

#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

namespace wrapper {

int statusOfError(int error) {
  return error == ENOENT ? STATUS_NOT_FOUND : STATUS_CANNOT_RUN;
}

void endLike(int signal, int status) {
  if (signal == 0)
    ::_exit(status);
  const rlimit noCore = {0, 0};
  ::setrlimit(RLIMIT_CORE, &noCore);
  ::signal(signal, SIG_DFL);
  sigset_t all;
  sigfillset(&all);
  ::sigprocmask(SIG_UNBLOCK, &all, nullptr);
  ::kill(::getpid(), signal);
  ::_exit(128 + signal);
}

} // namespace wrapper
