#include "Draft.h"

#include "Paths.h"
#include "file/Content.h"
#include "file/Identity.h"
#include "file/Io.h"

#include <QDir>

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kelvarune;

namespace {

mode_t modeOfNewFiles() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

} // namespace

int Draft::create(const std::string &path) {
  const std::string real = paths::realPath(path);
  target = real.empty() ? path : real;
  file::removeLeftovers(target);
  return temporary.create(target);
}

int Draft::createAside() {
  std::string name = QDir::tempPath().toStdString() + "/kelvarune-goals-XXXXXX";
  file::Descriptor created(::mkostemp(name.data(), O_CLOEXEC));
  if (!created.isOpen())
    return errno;
  temporary = file::TemporaryFile(name, std::move(created));
  return 0;
}

int Draft::fd() const {
  return temporary.file.get();
}

std::string Draft::path() const {
  return temporary.path;
}

int Draft::install() {
  struct stat status = {};
  const file::Descriptor old = file::openFile(target, O_RDONLY | O_NONBLOCK);
  const bool isThere = old.isOpen() && ::fstat(old.get(), &status) == 0;
  if (!isThere && ::fchmod(fd(), modeOfNewFiles()) != 0)
    return errno;
  if (isThere) {
    const int error = file::copyIdentity(old.get(), status, fd());
    if (error != 0)
      return error;
  }
  if (::fsync(fd()) != 0 || ::rename(path().c_str(), target.c_str()) != 0)
    return errno;
  temporary.letGo();
  return file::flushName(target, fd());
}
