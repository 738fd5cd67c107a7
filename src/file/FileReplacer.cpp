// Every byte count and every flush is checked: on a nearly full disk a write comes up short without
// an error, and on some file systems only the flush tells of one.
//
// Overwriting blocks that a file has is several times faster than allocating new ones, so two files
// take turns (see FileReplacer). Whatever is unexpected about either leads back to a new file.
//
// Temporary files have unique names and are locked while they are in use. So a temporary file that
// can be locked was left by a run that was killed, and is removed by the next one that saves; two
// running programs never take each other's file for their own.

#include "file/FileReplacer.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace kelvarune::file {

namespace {

constexpr const char *TEMPORARY_SUFFIX = ".kelvarune-new";
constexpr mode_t PERMISSION_BITS = 07777;
constexpr int CREATE_ATTEMPTS = 10;
constexpr std::size_t STRIDE_BYTES = std::size_t(2) << 20;

// Whether the disk itself is the reason, so that writing in place could only do harm.
bool isDiskError(int error) {
  return error == ENOSPC || error == EDQUOT || error == EIO || error == EFBIG || error == ENOMEM ||
         error == EMFILE || error == ENFILE;
}

result_t failed(int error) {
  return {outcome_t::FAILED, error};
}

// A file that is not there, or not for us to write, is the caller's affair; a broken disk is not.
result_t notWritable(int error) {
  return {isDiskError(error) ? outcome_t::FAILED : outcome_t::NOT_WRITABLE, error};
}

/// A file beside the target under a name of its own; removed unless it was renamed.
struct temporary_t {
  std::string path;
  Descriptor file;

  ~temporary_t() {
    if (!path.empty())
      ::unlink(path.c_str());
  }
};

std::string directoryOf(const std::string &path) {
  return path.substr(0, path.find_last_of('/') + 1);
}

std::string temporaryPrefix(const std::string &path) {
  // Leaves room for the rest of the name where the file's own name is as long as names can be.
  constexpr std::size_t ROOM = 64;
  const std::string name = path.substr(path.find_last_of('/') + 1);
  return "." + name.substr(0, std::min(name.size(), std::size_t(NAME_MAX) - ROOM)) + ".";
}

bool endsWith(const std::string &text, const std::string &end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// 0, or the error number.
int createTemporary(const std::string &path, temporary_t &temporary) {
  static std::atomic<unsigned> counter = 0;
  for (int attempt = 0; attempt < CREATE_ATTEMPTS; ++attempt) {
    const std::string name = directoryOf(path) + temporaryPrefix(path) +
                             std::to_string(::getpid()) + "-" + std::to_string(++counter) +
                             TEMPORARY_SUFFIX;
    Descriptor file(::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW,
                           S_IRUSR | S_IWUSR));
    if (file.isOpen()) {
      ::flock(file.get(), LOCK_EX | LOCK_NB);
      temporary.path = name;
      temporary.file = std::move(file);
      return 0;
    }
    if (errno != EEXIST)
      return errno;
  }
  return EEXIST;
}

void removeLeftovers(const std::string &path) {
  const std::string directory = directoryOf(path);
  const std::string prefix = temporaryPrefix(path);
  DIR *entries = ::opendir(directory.empty() ? "." : directory.c_str());
  if (!entries)
    return;
  while (const dirent *entry = ::readdir(entries)) {
    const std::string name = entry->d_name;
    if (name.compare(0, prefix.size(), prefix) != 0 || !endsWith(name, TEMPORARY_SUFFIX))
      continue;
    const std::string leftover = directory + name;
    const Descriptor file(::open(leftover.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (file.isOpen() && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0)
      ::unlink(leftover.c_str());
  }
  ::closedir(entries);
}

bool copyAttributes(int from, int to) {
  const ssize_t size = ::flistxattr(from, nullptr, 0);
  if (size <= 0)
    return size == 0 || errno == ENOTSUP;
  std::vector<char> names(static_cast<std::size_t>(size));
  const ssize_t length = ::flistxattr(from, names.data(), names.size());
  for (ssize_t at = 0; at < length;) {
    const std::string name = names.data() + at;
    at += static_cast<ssize_t>(name.size()) + 1;
    const ssize_t valueSize = ::fgetxattr(from, name.c_str(), nullptr, 0);
    std::vector<char> value(static_cast<std::size_t>(std::max<ssize_t>(valueSize, 0)));
    if (valueSize < 0 || ::fgetxattr(from, name.c_str(), value.data(), value.size()) < 0 ||
        ::fsetxattr(to, name.c_str(), value.data(), value.size(), 0) != 0)
      return false;
  }
  return length >= 0;
}

// 0, or the error number.
int copyIdentity(int from, const struct stat &status, int to) {
  const bool ownerDiffers = status.st_uid != ::geteuid() || status.st_gid != ::getegid();
  if (ownerDiffers && ::fchown(to, status.st_uid, status.st_gid) != 0)
    return errno;
  if (::fchmod(to, status.st_mode & PERMISSION_BITS) != 0 || !copyAttributes(from, to))
    return errno;
  return 0;
}

// The number of parts from `at` on to be written together.
int strideFrom(const std::vector<iovec> &parts, std::size_t at) {
  std::size_t bytes = 0;
  int count = 0;
  for (; at < parts.size() && count < IOV_MAX && bytes < STRIDE_BYTES; ++at, ++count)
    bytes += parts[at].iov_len;
  return count;
}

// Writes all the pieces at the descriptor's position; 0, or the error number. The disk gets to work
// on what has been written while the rest is: that saves a quarter of the time of a large file. It
// is asked to, no more; whether it has done so only a flush tells.
int writeAll(int fd, const QVector<QByteArray> &pieces) {
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

off_t sizeOf(const QVector<QByteArray> &pieces) {
  off_t size = 0;
  for (const QByteArray &piece : pieces)
    size += piece.size();
  return size;
}

result_t writeInPlace(int fd, const struct stat &status, const QVector<QByteArray> &pieces) {
  const bool regular = S_ISREG(status.st_mode);
  const off_t size = sizeOf(pieces);
  if (regular && size > status.st_size && ::fallocate(fd, FALLOC_FL_KEEP_SIZE, 0, size) != 0 &&
      errno != EOPNOTSUPP && errno != ENOSYS)
    return failed(errno);
  if (const int error = writeAll(fd, pieces))
    return failed(error);
  if (regular && (::ftruncate(fd, size) != 0 || ::fdatasync(fd) != 0))
    return failed(errno);
  return {outcome_t::DONE, 0};
}

// Whether a file is still as it was, by everything that the system tells of it.
bool isUnchanged(const struct stat &now, const struct stat &before) {
  const auto same = [](const timespec &a, const timespec &b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
  };
  return now.st_dev == before.st_dev && now.st_ino == before.st_ino &&
         now.st_size == before.st_size && now.st_nlink == before.st_nlink &&
         same(now.st_mtim, before.st_mtim) && same(now.st_ctim, before.st_ctim);
}

bool refersTo(const std::string &path, const Descriptor &file) {
  struct stat named;
  struct stat open;
  return ::lstat(path.c_str(), &named) == 0 && ::fstat(file.get(), &open) == 0 &&
         named.st_dev == open.st_dev && named.st_ino == open.st_ino;
}

// Whether nobody else has the file open: a lease for writing is granted only then. Who opens it
// just now breaks the lease, which is told by a signal, by default one that ends the program;
// SIGURG is ignored by default.
bool isOpenHereOnly(const Descriptor &file) {
  return ::fcntl(file.get(), F_SETSIG, SIGURG) == 0 &&
         ::fcntl(file.get(), F_SETLEASE, F_WRLCK) == 0 &&
         ::fcntl(file.get(), F_SETLEASE, F_UNLCK) == 0;
}

// How many pieces at the start are the same. Unchanged ones share their bytes.
int commonPieces(const QVector<QByteArray> &a, const QVector<QByteArray> &b) {
  const int count = std::min(a.size(), b.size());
  for (int i = 0; i < count; ++i) {
    if (a[i].constData() != b[i].constData() && a[i] != b[i])
      return i;
  }
  return count;
}

} // namespace

FileReplacer::FileReplacer(std::string path) : target(std::move(path)) {}

FileReplacer::~FileReplacer() {
  removeSpare();
}

void FileReplacer::removeSpare() {
  if (!spare.path.empty() && refersTo(spare.path, spare.file))
    ::unlink(spare.path.c_str());
  spare = known_file_t();
}

result_t FileReplacer::replace(const QVector<QByteArray> &pieces) {
  Descriptor old(::open(target.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  struct stat status;
  if (!old.isOpen() || ::fstat(old.get(), &status) != 0)
    return notWritable(errno);
  const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(target.c_str(), nullptr),
                                                             &std::free);
  if (!resolved || !S_ISREG(status.st_mode) || status.st_nlink != 1)
    return writeInPlace(old.get(), status, pieces);

  const std::string path = resolved.get();
  if (!leftoversRemoved)
    removeLeftovers(path);
  leftoversRemoved = true;
  if (mayUseSpare(status, path))
    return replaceBySpare(pieces, std::move(old), path);
  removeSpare();
  return replaceWhole(pieces, std::move(old), status, path);
}

result_t FileReplacer::replaceWhole(const QVector<QByteArray> &pieces, Descriptor old,
                                    const struct stat &status, const std::string &path) {
  temporary_t temporary;
  if (const int error = createTemporary(path, temporary))
    return isDiskError(error) ? failed(error) : writeInPlace(old.get(), status, pieces);
  if (const int error = copyIdentity(old.get(), status, temporary.file.get()))
    return isDiskError(error) ? failed(error) : writeInPlace(old.get(), status, pieces);
  if (const int error = writeAll(temporary.file.get(), pieces))
    return failed(error);
  if (::fdatasync(temporary.file.get()) != 0)
    return failed(errno);
  const std::string name = temporary.path;
  known_file_t written = {path, std::move(temporary.file), {}, pieces};
  known_file_t replaced = {name, std::move(old), {}, {}};
  if (!exchange(name, written, replaced) && ::rename(name.c_str(), path.c_str()) != 0) {
    const int error = errno;
    return isDiskError(error) ? failed(error) : writeInPlace(replaced.file.get(), status, pieces);
  }
  temporary.path.clear();
  return {outcome_t::DONE, 0};
}

// The spare may only be written over while nobody else has changed either file, and nobody has it
// open since it was the current one.
bool FileReplacer::mayUseSpare(const struct stat &status, const std::string &path) const {
  struct stat spareStatus;
  return !spare.path.empty() && current.path == path && isUnchanged(status, current.status) &&
         ::stat(spare.path.c_str(), &spareStatus) == 0 && isUnchanged(spareStatus, spare.status) &&
         isOpenHereOnly(spare.file);
}

result_t FileReplacer::replaceBySpare(const QVector<QByteArray> &pieces, Descriptor old,
                                      const std::string &path) {
  const int common = commonPieces(spare.content, pieces);
  const off_t from = sizeOf(pieces.mid(0, common));
  known_file_t written = std::move(spare);
  spare = known_file_t();
  const std::string name = written.path;
  temporary_t temporary = {name, Descriptor()}; // removed unless all goes well
  if (::lseek(written.file.get(), from, SEEK_SET) != from)
    return failed(errno);
  if (const int error = writeAll(written.file.get(), pieces.mid(common)))
    return failed(error);
  if (::ftruncate(written.file.get(), sizeOf(pieces)) != 0 || ::fdatasync(written.file.get()) != 0)
    return failed(errno);
  written.path = path;
  written.content = pieces;
  known_file_t replaced = {name, std::move(old), {}, current.content};
  if (!exchange(name, written, replaced))
    return failed(errno);
  temporary.path.clear();
  return {outcome_t::DONE, 0};
}

// Lets the written file and the one it replaces change names and takes both over. False, with both
// and their names as they were, when the file system cannot do that.
bool FileReplacer::exchange(const std::string &temporary, known_file_t &written,
                            known_file_t &replaced) {
  if (::renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, written.path.c_str(), RENAME_EXCHANGE) !=
      0)
    return false;
  ::flock(replaced.file.get(), LOCK_EX | LOCK_NB); // so that it is no leftover of a killed run
  const bool known = ::fstat(written.file.get(), &written.status) == 0 &&
                     ::fstat(replaced.file.get(), &replaced.status) == 0;
  written.file.reset();
  current = std::move(written);
  spare = std::move(replaced);
  if (!known)
    current.path.clear();
  return true;
}

result_t FileReplacer::keepBackup() const {
  const Descriptor source(::open(target.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status;
  if (!source.isOpen() || ::fstat(source.get(), &status) != 0)
    return notWritable(errno);
  const std::string backup = target + "~";
  temporary_t temporary;
  if (const int error = createTemporary(target, temporary))
    return failed(error);
  ::fchmod(temporary.file.get(), status.st_mode & PERMISSION_BITS);
  std::vector<char> buffer(std::size_t(1) << 20);
  for (;;) {
    const ssize_t length = ::read(source.get(), buffer.data(), buffer.size());
    if (length == 0)
      break;
    if (length < 0)
      return failed(errno);
    const QVector<QByteArray> piece = {
        QByteArray::fromRawData(buffer.data(), static_cast<int>(length))};
    if (const int error = writeAll(temporary.file.get(), piece))
      return failed(error);
  }
  if (::fdatasync(temporary.file.get()) != 0)
    return failed(errno);
  if (::rename(temporary.path.c_str(), backup.c_str()) != 0)
    return failed(errno);
  temporary.path.clear();
  return {outcome_t::DONE, 0};
}

} // namespace kelvarune::file
