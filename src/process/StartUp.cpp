// What every program of the project does first.

#include "process/StartUp.h"

#include <QHash>
#include <QTextCodec>

#include <algorithm>

#include <fcntl.h>
#include <malloc.h>
#include <signal.h>
#include <unistd.h>

namespace kelvarune::process {

namespace {

constexpr rlim_t ENOUGH_DESCRIPTORS = 1 << 16;

void openStandardDescriptors() {
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
    if (::fcntl(fd, F_GETFD) < 0 && ::open("/dev/null", O_RDWR) < 0)
      return;
  }
}

rlimit limitOfCaller = {};

// A run needs some ten descriptors per job.
void raiseDescriptorLimit() {
  if (::getrlimit(RLIMIT_NOFILE, &limitOfCaller) != 0)
    return;
  rlimit raised = limitOfCaller;
  raised.rlim_cur = std::max(raised.rlim_cur, std::min(raised.rlim_max, ENOUGH_DESCRIPTORS));
  ::setrlimit(RLIMIT_NOFILE, &raised);
}

} // namespace

const rlimit *descriptorLimitForTools() {
  return limitOfCaller.rlim_max == 0 ? nullptr : &limitOfCaller;
}

void startUp() {
  raiseDescriptorLimit();
  openStandardDescriptors();
  ::signal(SIGCHLD, SIG_DFL);
  ::signal(SIGXFSZ, SIG_IGN);
  ::mallopt(M_MXFAST, 0);
  qSetGlobalQHashSeed(0);
  QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
}

} // namespace kelvarune::process
