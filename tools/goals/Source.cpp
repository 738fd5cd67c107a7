// Reading a source file as a whole.

#include "Source.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvarune::goals {

namespace {

bool isSame(const struct stat &before, const struct stat &after) {
  return before.st_size == after.st_size && before.st_mtim.tv_sec == after.st_mtim.tv_sec &&
         before.st_mtim.tv_nsec == after.st_mtim.tv_nsec;
}

std::variant<std::string, source_error_t> readAll(int descriptor) {
  struct stat before;
  if (::fstat(descriptor, &before) != 0)
    return source_error_t{std::strerror(errno)};
  if (!S_ISREG(before.st_mode))
    return source_error_t{S_ISDIR(before.st_mode) ? "it is a directory" : "it is no regular file"};
  std::string bytes(static_cast<std::size_t>(before.st_size), '\0');
  std::size_t have = 0;
  while (have < bytes.size()) {
    const ssize_t count = ::read(descriptor, bytes.data() + have, bytes.size() - have);
    if (count < 0 && errno == EINTR)
      continue;
    if (count < 0)
      return source_error_t{std::strerror(errno)};
    if (count == 0)
      break;
    have += static_cast<std::size_t>(count);
  }
  struct stat after;
  if (::fstat(descriptor, &after) != 0 || have != bytes.size() || !isSame(before, after))
    return source_error_t{"it changes while it is read"};
  return bytes;
}

} // namespace

std::variant<std::string, source_error_t> readSource(const std::string &path) {
  // Not blocked by what is no file after all.
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0)
    return source_error_t{std::strerror(errno)};
  auto result = readAll(descriptor);
  ::close(descriptor);
  return result;
}

} // namespace kelvarune::goals
