#include "file/TurnTaking.h"

#include "file/Identity.h"

#include <utility>

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>

namespace kelvarune::file {

namespace {

bool takeLease(const Descriptor &file) {
  return ::fcntl(file.get(), F_SETSIG, SIGURG) == 0 &&
         ::fcntl(file.get(), F_SETLEASE, F_WRLCK) == 0;
}

} // namespace

TemporaryFile TurnTaking::claim(const std::string &target, const struct stat &now, pieces_t &held) {
  struct stat spareNow;
  const bool mayClaim = !spare.path.empty() && target == path && isUnchanged(now, status) &&
                        ::stat(spare.path.c_str(), &spareNow) == 0 &&
                        isUnchanged(spareNow, spareStatus) && takeLease(spare.file);
  if (!mayClaim) {
    end();
    return {};
  }
  held = std::move(spareContent);
  return std::exchange(spare, {});
}

void TurnTaking::release(const TemporaryFile &claimed) {
  ::fcntl(claimed.file.get(), F_SETLEASE, F_UNLCK);
}

int TurnTaking::keep(const std::string &target, const Descriptor &written,
                     const pieces_t &newContent, TemporaryFile displaced,
                     const struct stat &before) {
  ::flock(displaced.file.get(), LOCK_EX | LOCK_NB); // so that it is no leftover of a killed run
  const bool isKnown = ::fstat(written.get(), &status) == 0 &&
                       ::fstat(displaced.file.get(), &spareStatus) == 0 &&
                       hasSameContent(spareStatus, before);
  if (const int error = flushName(target, written.get()))
    return error;
  path = target;
  spareContent = std::exchange(content, newContent);
  if (isKnown)
    spare = std::move(displaced);
  return 0;
}

void TurnTaking::end() {
  spare = TemporaryFile();
  spareContent.clear();
  content.clear();
}

} // namespace kelvarune::file
