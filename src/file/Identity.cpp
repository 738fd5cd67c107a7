// What a new file gets is compared with what the old one has, not with what the program would give
// it: in a directory with a group or a default access list of its own files are born differently.

#include "file/Identity.h"

#include <algorithm>
#include <cerrno>
#include <vector>

#include <sys/xattr.h>
#include <unistd.h>

namespace kelvarune::file {

namespace {

constexpr mode_t PERMISSION_BITS = 07777;

using names_t = std::vector<std::string>;

// False when the system cannot say; a file system without attributes has none.
bool attributeNames(int fd, names_t &names) {
  const ssize_t size = ::flistxattr(fd, nullptr, 0);
  if (size <= 0)
    return size == 0 || errno == ENOTSUP;
  std::vector<char> list(static_cast<std::size_t>(size));
  const ssize_t length = ::flistxattr(fd, list.data(), list.size());
  for (ssize_t at = 0; at < length;) {
    names.emplace_back(list.data() + at);
    at += static_cast<ssize_t>(names.back().size()) + 1;
  }
  return length >= 0;
}

bool copyAttribute(int from, const std::string &name, int to) {
  const ssize_t size = ::fgetxattr(from, name.c_str(), nullptr, 0);
  std::vector<char> value(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
  return size >= 0 && ::fgetxattr(from, name.c_str(), value.data(), value.size()) == size &&
         ::fsetxattr(to, name.c_str(), value.data(), value.size(), 0) == 0;
}

bool copyAttributes(int from, int to) {
  names_t wanted;
  names_t present;
  if (!attributeNames(from, wanted) || !attributeNames(to, present))
    return false;
  for (const std::string &name : present) {
    if (std::find(wanted.begin(), wanted.end(), name) == wanted.end() &&
        ::fremovexattr(to, name.c_str()) != 0)
      return false;
  }
  return std::all_of(wanted.begin(), wanted.end(),
                     [&](const std::string &name) { return copyAttribute(from, name, to); });
}

bool isSame(const timespec &a, const timespec &b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

bool isSameFile(const struct stat &a, const struct stat &b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

} // namespace

int copyIdentity(int from, const struct stat &status, int to) {
  struct stat own;
  if (::fstat(to, &own) != 0)
    return errno;
  const bool ownerDiffers = own.st_uid != status.st_uid || own.st_gid != status.st_gid;
  if (ownerDiffers && ::fchown(to, status.st_uid, status.st_gid) != 0)
    return errno;
  if (!copyAttributes(from, to) || ::fchmod(to, status.st_mode & PERMISSION_BITS) != 0)
    return errno;
  return 0;
}

int restoreMode(int fd, mode_t mode) {
  struct stat own;
  if (::fstat(fd, &own) != 0)
    return errno;
  return own.st_mode == mode || ::fchmod(fd, mode & PERMISSION_BITS) == 0 ? 0 : errno;
}

bool hasSameContent(const struct stat &now, const struct stat &before) {
  return isSameFile(now, before) && now.st_size == before.st_size &&
         isSame(now.st_mtim, before.st_mtim);
}

bool isUnchanged(const struct stat &now, const struct stat &before) {
  return hasSameContent(now, before) && now.st_nlink == before.st_nlink &&
         isSame(now.st_ctim, before.st_ctim);
}

bool isNameOf(const std::string &path, int fd) {
  struct stat named;
  struct stat open;
  return ::lstat(path.c_str(), &named) == 0 && ::fstat(fd, &open) == 0 && isSameFile(named, open);
}

} // namespace kelvarune::file
