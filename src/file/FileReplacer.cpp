// Every byte count and every flush is checked: on a nearly full disk a write comes up short without
// an error, and on some file systems only the flush reports one.

#include "file/FileReplacer.h"

#include "file/Identity.h"
#include "file/Io.h"
#include "file/NumberedBackups.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace kelvarune::file {

namespace {

constexpr std::size_t COPY_BYTES = std::size_t(1) << 20;

// Whether the disk itself is the reason, so that writing in place could only do harm.
bool isDiskError(int error) {
  return error == ENOSPC || error == EDQUOT || error == EIO || error == EFBIG || error == ENOMEM ||
         error == EMFILE || error == ENFILE;
}

result_t failed(int error) {
  return {outcome_t::FAILED, error};
}

// The path without symbolic links; empty when there is none.
std::string resolvedPath(const std::string &path) {
  const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.c_str(), nullptr),
                                                             &std::free);
  return resolved ? resolved.get() : "";
}

// Makes `pieces` the content of a file that holds `held`, on the disk. 0, or the error number.
int overwrite(const TemporaryFile &next, const pieces_t &held, const pieces_t &pieces,
              mode_t mode) {
  const int fd = next.file.get();
  const int common = commonPieces(held, pieces);
  const off_t from = sizeOf(pieces.mid(0, common));
  if (::lseek(fd, from, SEEK_SET) != from)
    return errno;
  if (const int error = writePieces(fd, pieces.mid(common)))
    return error;
  if (::ftruncate(fd, sizeOf(pieces)) != 0)
    return errno;
  if (const int error = restoreMode(fd, mode))
    return error;
  return ::fdatasync(fd) == 0 ? 0 : errno;
}

// The size that the user allows files to have is checked where a write would be torn by it.
int reserve(int fd, off_t size, off_t present) {
  rlimit limit = {};
  if (::getrlimit(RLIMIT_FSIZE, &limit) == 0 && static_cast<rlim_t>(size) > limit.rlim_cur)
    return EFBIG;
  if (size > present && ::fallocate(fd, FALLOC_FL_KEEP_SIZE, 0, size) != 0 && errno != EOPNOTSUPP &&
      errno != ENOSYS)
    return errno;
  return 0;
}

// 0, or the error number.
int copyContent(int from, int to) {
  std::vector<char> buffer(COPY_BYTES);
  for (;;) {
    const ssize_t length = readSome(from, buffer.data(), buffer.size());
    if (length <= 0)
      return length == 0 ? 0 : errno;
    if (const int error =
            writePieces(to, {QByteArray::fromRawData(buffer.data(), static_cast<int>(length))}))
      return error;
  }
}

int giveAnyName(const std::string &path, const std::string &name) {
  return ::rename(path.c_str(), name.c_str()) == 0 ? 0 : errno;
}

// As giveAnyName; EEXIST when something has that name.
int giveNewName(const std::string &path, const std::string &name) {
  if (::renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, name.c_str(), RENAME_NOREPLACE) == 0)
    return 0;
  if (errno != EINVAL && errno != ENOSYS)
    return errno;
  // This file system cannot tell. Nobody else gives such names but a second run at the same time.
  return ::access(name.c_str(), F_OK) == 0 ? EEXIST : giveAnyName(path, name);
}

} // namespace

FileReplacer::FileReplacer(std::string path) : target(std::move(path)) {}

// A file that is not there, or never was for us to write, is the caller's affair; a broken disk, or
// one that has become read-only, is not.
result_t FileReplacer::notWritable(int error) const {
  const bool isNew = wasWritable && error != ENOENT;
  return {isDiskError(error) || isNew ? outcome_t::FAILED : outcome_t::NOT_WRITABLE, error};
}

void FileReplacer::removeSpare() {
  turns.end();
}

void FileReplacer::begin() {
  struct stat status;
  known.reset();
  if (::stat(target.c_str(), &status) == 0)
    known = status;
  wasWritable = ::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) == 0;
  const std::string resolved = resolvedPath(target);
  removeLeftovers(target); // of copies beside a link
  if (!resolved.empty() && resolved != target)
    removeLeftovers(resolved);
  begun = true;
}

result_t FileReplacer::replace(const pieces_t &pieces) {
  if (!begun)
    begin();
  Descriptor old = openFile(target, O_WRONLY | O_NOCTTY | O_NONBLOCK);
  struct stat status;
  if (!old.isOpen() || ::fstat(old.get(), &status) != 0)
    return known && errno == ENOENT ? result_t{outcome_t::GONE, ENOENT} : notWritable(errno);

  foreign_t foreign = foreign_t::NONE;
  if (known && S_ISREG(status.st_mode) && !hasSameContent(status, *known)) {
    int error = 0;
    foreign = keepForeign(target, error);
    if (isDiskError(error))
      return failed(error);
  }
  const std::string resolved = resolvedPath(target);
  const bool inPlace = resolved.empty() || !S_ISREG(status.st_mode) || status.st_nlink != 1;
  result_t result = inPlace ? writeInPlace(old, status, pieces)
                            : replaceContent(pieces, std::move(old), status, resolved);
  if (result.foreign == foreign_t::NONE)
    result.foreign = foreign;
  return result;
}

result_t FileReplacer::replaceContent(const pieces_t &pieces, Descriptor old,
                                      const struct stat &status, const std::string &resolved) {
  pieces_t held;
  TemporaryFile next = turns.claim(resolved, status, held);
  const bool claimed = next.file.isOpen();
  if (!claimed) {
    int error = next.create(resolved);
    if (error == 0)
      error = copyIdentity(old.get(), status, next.file.get());
    if (error != 0)
      return isDiskError(error) ? failed(error) : writeInPlace(old, status, pieces);
  }
  if (const int error = overwrite(next, held, pieces, status.st_mode))
    return failed(error);
  if (claimed)
    TurnTaking::release(next);
  return giveName(std::move(next), pieces, std::move(old), status, resolved);
}

result_t FileReplacer::giveName(TemporaryFile next, const pieces_t &pieces, Descriptor old,
                                const struct stat &status, const std::string &resolved) {
  struct stat written;
  if (::fstat(next.file.get(), &written) != 0)
    return failed(errno);
  const char *name = next.path.c_str();
  if (::renameat2(AT_FDCWD, name, AT_FDCWD, resolved.c_str(), RENAME_EXCHANGE) != 0) {
    turns.end(); // this file system has no exchange
    if (::rename(name, resolved.c_str()) != 0)
      return isDiskError(errno) ? failed(errno) : writeInPlace(old, status, pieces);
    known = written;
    next.letGo();
    const int error = flushName(resolved, next.file.get());
    return error == 0 ? result_t{outcome_t::DONE, 0} : failed(error);
  }
  known = written;
  TemporaryFile displaced(std::exchange(next.path, {}), std::move(old));
  foreign_t foreign = foreign_t::NONE;
  struct stat now;
  const bool expected = isNameOf(displaced.path, displaced.file.get()) &&
                        ::fstat(displaced.file.get(), &now) == 0 && hasSameContent(now, status);
  if (!expected) { // somebody wrote it while we wrote ours
    int ignored = 0;
    foreign = keepForeign(displaced.path, ignored);
  }
  const int error = turns.keep(resolved, next.file, pieces, std::move(displaced), status);
  return {error == 0 ? outcome_t::DONE : outcome_t::FAILED, error, foreign};
}

result_t FileReplacer::writeInPlace(const Descriptor &file, const struct stat &status,
                                    const pieces_t &pieces) {
  const bool regular = S_ISREG(status.st_mode);
  const off_t size = sizeOf(pieces);
  if (regular) {
    if (const int error = reserve(file.get(), size, status.st_size))
      return failed(error);
  }
  if (const int error = writePieces(file.get(), pieces))
    return failed(error);
  if (regular && (::ftruncate(file.get(), size) != 0 || ::fdatasync(file.get()) != 0))
    return failed(errno);
  struct stat written;
  if (::fstat(file.get(), &written) == 0)
    known = written;
  return {outcome_t::DONE, 0};
}

// Once: two runs on one file would else copy it at every save.
foreign_t FileReplacer::keepForeign(const std::string &source, int &error) {
  if (std::exchange(hasBackup, true))
    return foreign_t::NONE;
  error = keep(source, target + "~");
  hasBackup = !isDiskError(error); // the next replacement tries again
  return error == 0 ? foreign_t::KEPT : foreign_t::LOST;
}

result_t FileReplacer::keepBackup() {
  const Descriptor source = openFile(target, O_RDONLY | O_NONBLOCK);
  if (!source.isOpen())
    return notWritable(errno);
  const int error = keep(target, target + "~");
  hasBackup = hasBackup || error == 0;
  return error == 0 ? result_t{outcome_t::DONE, 0} : failed(error);
}

result_t FileReplacer::keepNumberedBackup(std::string &backup) {
  const std::vector<int> numbers = numbersOfBackups(target);
  int number = numbers.empty() ? 0 : numbers.back();
  int error = 0;
  do { // again where another program has just taken the name
    backup = numberedBackup(target, ++number);
    error = keep(target, backup, true);
  } while (error == EEXIST);
  hasBackup = hasBackup || error == 0;
  return error == 0 ? result_t{outcome_t::DONE, 0} : failed(error);
}

// Copies a file to the path `backup`. 0, or the error number.
int FileReplacer::keep(const std::string &source, const std::string &backup, bool isNew) {
  const Descriptor from = openFile(source, O_RDONLY | O_NONBLOCK);
  struct stat status;
  if (!from.isOpen() || ::fstat(from.get(), &status) != 0)
    return errno;
  TemporaryFile copy;
  if (const int error = copy.create(target))
    return error;
  if (const int error = copyContent(from.get(), copy.file.get()))
    return error;
  copyIdentity(from.get(), status, copy.file.get()); // else it stays private
  if (::fdatasync(copy.file.get()) != 0)
    return errno;
  if (const int error = isNew ? giveNewName(copy.path, backup) : giveAnyName(copy.path, backup))
    return error;
  copy.letGo();
  return flushName(backup, copy.file.get());
}

} // namespace kelvarune::file
