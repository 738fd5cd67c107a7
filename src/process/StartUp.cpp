// What every program of the project does first.

#include "process/StartUp.h"

#include <QHash>
#include <QTextCodec>

#include <fcntl.h>
#include <malloc.h>
#include <signal.h>
#include <unistd.h>

namespace kelvarune::process {

namespace {

void openStandardDescriptors() {
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
    if (::fcntl(fd, F_GETFD) < 0 && ::open("/dev/null", O_RDWR) < 0)
      return;
  }
}

} // namespace

void startUp() {
  openStandardDescriptors();
  ::signal(SIGCHLD, SIG_DFL);
  ::signal(SIGXFSZ, SIG_IGN);
  ::mallopt(M_MXFAST, 0);
  qSetGlobalQHashSeed(0);
  QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
}

} // namespace kelvarune::process
