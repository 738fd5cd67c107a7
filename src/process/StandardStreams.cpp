// The one voice of the program on each stream.

#include "process/StandardStreams.h"

#include <algorithm>
#include <climits>
#include <iostream>

#include <poll.h>
#include <unistd.h>

namespace kelvarune::process {

void writeToStandardOutput(const std::string &text) {
  std::cout << text << std::flush;
}

void writeToStandardError(const std::string &text) {
  std::cerr << text << std::flush;
}

void offerToStandardError(const std::string &text) {
  pollfd watched = {STDERR_FILENO, POLLOUT, 0};
  const std::size_t size = std::min(text.size(), std::size_t(PIPE_BUF));
  if (size > 0 && ::poll(&watched, 1, 0) == 1 && ::write(STDERR_FILENO, text.data(), size) < 0)
    return; // nobody can be helped by knowing
}

} // namespace kelvarune::process
