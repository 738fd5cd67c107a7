// A pipe that polls as writable takes PIPE_BUF bytes without blocking, so the text goes out in
// pieces of that size and the waiting is done in poll. So nobody who waits holds the lock of a
// stream, which an exit may need.

#include "process/StandardStreams.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <iostream>

#include <poll.h>
#include <unistd.h>

namespace kelvarune::process {

namespace {

void write(std::ostream &stream, int fd, const std::string &text) {
  for (std::size_t at = 0; at < text.size(); at += PIPE_BUF) {
    pollfd watched = {fd, POLLOUT, 0};
    while (::poll(&watched, 1, -1) < 0 && errno == EINTR) {
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
  const std::size_t size = std::min(text.size(), std::size_t(PIPE_BUF));
  if (size > 0 && ::poll(&watched, 1, 0) == 1 && ::write(STDERR_FILENO, text.data(), size) < 0)
    return; // nobody can be helped by knowing
}

} // namespace kelvarune::process
