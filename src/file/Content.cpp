// Every byte count is checked: on a nearly full disk a write comes up short without an error.

#include "file/Content.h"

#include "file/Io.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <vector>

#include <sys/uio.h>

namespace kelvarune::file {

namespace {

constexpr std::size_t STRIDE_BYTES = std::size_t(2) << 20;

// The number of parts from `at` on to be written together.
int strideFrom(const std::vector<iovec> &parts, std::size_t at) {
  std::size_t bytes = 0;
  int count = 0;
  for (; at < parts.size() && count < IOV_MAX && bytes < STRIDE_BYTES; ++at, ++count)
    bytes += parts[at].iov_len;
  return count;
}

} // namespace

off_t sizeOf(const pieces_t &pieces) {
  off_t size = 0;
  for (const QByteArray &piece : pieces)
    size += piece.size();
  return size;
}

int commonPieces(const pieces_t &a, const pieces_t &b) {
  const int count = std::min(a.size(), b.size());
  for (int i = 0; i < count; ++i) {
    if (a[i].constData() != b[i].constData() && a[i] != b[i])
      return i;
  }
  return count;
}

// The disk gets to work on what has been written while the rest is: that saves a quarter of the
// time of a large file. It is asked to, no more; whether it has done so only a flush shows.
int writePieces(int fd, const pieces_t &pieces) {
  std::vector<iovec> parts;
  parts.reserve(static_cast<std::size_t>(pieces.size()));
  for (const QByteArray &piece : pieces) {
    if (!piece.isEmpty())
      parts.push_back({const_cast<char *>(piece.constData()), // NOLINT: writev does not write there
                       static_cast<std::size_t>(piece.size())});
  }
  for (std::size_t at = 0; at < parts.size();) {
    ssize_t written = ::writev(fd, &parts[at], strideFrom(parts, at));
    if (written < 0 && errno == EINTR)
      continue;
    if (written <= 0)
      return written < 0 ? errno : ENOSPC;
    for (; at < parts.size() && static_cast<std::size_t>(written) >= parts[at].iov_len; ++at)
      written -= static_cast<ssize_t>(parts[at].iov_len);
    if (written > 0) {
      parts[at].iov_base = static_cast<char *>(parts[at].iov_base) + written;
      parts[at].iov_len -= static_cast<std::size_t>(written);
    }
    if (at < parts.size())
      ::sync_file_range(fd, 0, 0, SYNC_FILE_RANGE_WRITE);
  }
  return 0;
}

// A directory that may be written but not read cannot be opened, and some file systems do not flush
// directories; flushing the file itself then flushes the journal, which holds its new name.
int flushName(const std::string &path, int fd) {
  const std::string directory = directoryOf(path);
  const Descriptor names = openFile(directory.empty() ? "." : directory, O_RDONLY | O_DIRECTORY);
  if (names.isOpen() && ::fsync(names.get()) == 0)
    return 0;
  const bool mayNotBeFlushed = !names.isOpen() || errno == EINVAL;
  return mayNotBeFlushed && ::fsync(fd) == 0 ? 0 : errno;
}

std::string directoryOf(const std::string &path) {
  return path.substr(0, path.find_last_of('/') + 1);
}

} // namespace kelvarune::file
