// A pipe that polls as writable takes PIPE_BUF bytes without blocking, so the text goes out in
// pieces of that size and the waiting is done in ppoll, where signals may come in.

#include "process/StandardStreams.h"

#include "process/StopSignals.h"

#include <cerrno>
#include <climits>
#include <iostream>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

namespace kelvarune::process {

namespace {

void write(std::ostream &stream, int fd, const std::string &text) {
  for (std::size_t at = 0; at < text.size(); at += PIPE_BUF) {
    pollfd watched = {fd, POLLOUT, 0};
    while (::ppoll(&watched, 1, nullptr, stop_signals::waitMask()) < 0 && errno == EINTR) {
    }
    stream << text.substr(at, PIPE_BUF) << std::flush;
  }
}

} // namespace

void writeToStandardOutput(const std::string &text) {
  write(std::cout, STDOUT_FILENO, text);
}

void writeToStandardError(const std::string &text) {
  write(std::cerr, STDERR_FILENO, text);
}

void offerToStandardError(const std::string &text) {
  pollfd watched = {STDERR_FILENO, POLLOUT, 0};
  if (!text.empty() && ::poll(&watched, 1, 0) == 1)
    std::cerr << text.substr(0, PIPE_BUF) << std::flush;
}

void setUpProgram() {
  ::signal(SIGCHLD, SIG_DFL);
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
    if (::fcntl(fd, F_GETFD) < 0 && ::open("/dev/null", O_RDWR) < 0)
      return;
  }
}

} // namespace kelvarune::process
