#include "file/TemporaryFile.h"

#include "file/Content.h"
#include "file/Identity.h"
#include "file/Io.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <utility>

#include <dirent.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace kelvarune::file {

namespace {

constexpr const char *SUFFIX = ".kelvarune-new";
constexpr int CREATE_ATTEMPTS = 10;

std::string prefixOf(const std::string &path) {
  // Leaves room for the rest of the name where the file's own name is as long as names can be.
  constexpr std::size_t ROOM = 64;
  const std::string name = path.substr(path.find_last_of('/') + 1);
  return "." + name.substr(0, std::min(name.size(), std::size_t(NAME_MAX) - ROOM)) + ".";
}

bool endsWith(const std::string &text, const std::string &end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// False when another run took the new file for a leftover before it was locked. Where the file
// system has no locks, nobody takes anything.
bool isOurs(const TemporaryFile &temporary) {
  if (::flock(temporary.file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
    return false;
  return isNameOf(temporary.path, temporary.file.get());
}

} // namespace

TemporaryFile::TemporaryFile(TemporaryFile &&other) noexcept
    : path(std::exchange(other.path, {})), file(std::move(other.file)) {}

TemporaryFile &TemporaryFile::operator=(TemporaryFile &&other) noexcept {
  std::swap(path, other.path);
  std::swap(file, other.file);
  return *this;
}

TemporaryFile::~TemporaryFile() {
  if (!path.empty())
    ::unlink(path.c_str());
}

int TemporaryFile::create(const std::string &target) {
  static std::atomic<unsigned> counter = 0;
  for (int attempt = 0; attempt < CREATE_ATTEMPTS; ++attempt) {
    const std::string name = directoryOf(target) + prefixOf(target) + std::to_string(::getpid()) +
                             "-" + std::to_string(++counter) + SUFFIX;
    Descriptor created =
        openFile(name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, S_IRUSR | S_IWUSR);
    if (!created.isOpen() && errno != EEXIST)
      return errno;
    if (!created.isOpen())
      continue;
    *this = TemporaryFile(name, std::move(created));
    if (isOurs(*this))
      return 0;
  }
  return EEXIST;
}

void removeLeftovers(const std::string &target) {
  const std::string directory = directoryOf(target);
  const std::string prefix = prefixOf(target);
  DIR *entries = ::opendir(directory.empty() ? "." : directory.c_str());
  if (!entries)
    return;
  while (const dirent *entry = ::readdir(entries)) {
    const std::string name = entry->d_name;
    if (name.compare(0, prefix.size(), prefix) != 0 || !endsWith(name, SUFFIX))
      continue;
    const std::string leftover = directory + name;
    const Descriptor file = openFile(leftover, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    if (file.isOpen() && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0)
      ::unlink(leftover.c_str());
  }
  ::closedir(entries);
}

} // namespace kelvarune::file
