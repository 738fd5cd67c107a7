// The rule stands in one function, through which every call goes.

#include "file/Io.h"

#include <algorithm>
#include <cerrno>
#include <limits>

#include <poll.h>
#include <sys/stat.h>

namespace kelvarune::file {

namespace {

constexpr off_t BLOCK_BYTES = 1 << 16;

// Makes the call until it has a result that is not about waiting. `events` is what to wait for.
template <typename Call>
ssize_t persist(int fd, short events, Call call) {
  for (;;) {
    const ssize_t result = call();
    if (result >= 0 || (errno != EINTR && errno != EAGAIN))
      return result;
    pollfd watched = {fd, events, 0};
    if (errno == EAGAIN)
      ::poll(&watched, 1, -1);
  }
}

} // namespace

Descriptor openFile(const std::string &path, int flags, mode_t mode) {
  int fd = -1;
  do
    fd = ::open(path.c_str(), flags | O_CLOEXEC, mode);
  while (fd < 0 && errno == EINTR);
  return Descriptor(fd);
}

ssize_t readSome(int fd, char *buffer, std::size_t size) {
  return persist(fd, POLLIN, [&] { return ::read(fd, buffer, size); });
}

ssize_t readSomeAt(int fd, char *buffer, std::size_t size, off_t offset) {
  return persist(fd, POLLIN, [&] { return ::pread(fd, buffer, size, offset); });
}

bool readAll(int fd, QByteArray &content) {
  constexpr off_t MOST_BYTES = std::numeric_limits<int>::max() - 64; // the array's own come on top
  struct stat status = {};
  // One byte more than the file has, so that its end is seen without another block.
  off_t room = ::fstat(fd, &status) == 0 && status.st_size > 0 ? status.st_size + 1 : BLOCK_BYTES;
  int length = 0;
  for (ssize_t count = 1; count != 0; length += static_cast<int>(count)) {
    if (length == room)
      room = std::min(2 * room, MOST_BYTES);
    if (length == room || room > MOST_BYTES) {
      errno = EFBIG;
      return false;
    }
    content.resize(static_cast<int>(room));
    count = readSome(fd, content.data() + length, static_cast<std::size_t>(room - length));
    if (count < 0)
      return false;
  }
  content.resize(length);
  return true;
}

bool writeAll(int fd, const char *bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t written = persist(fd, POLLOUT, [&] { return ::write(fd, bytes, size); });
    if (written < 0)
      return false;
    bytes += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

bool writeAll(int fd, const QByteArray &content) {
  return writeAll(fd, content.constData(), static_cast<std::size_t>(content.size()));
}

} // namespace kelvarune::file
