#include "front/Waiting.h"

#include "director/SecondaryFileSubjects.h"
#include "process/StandardStreams.h"

#include <cstring>

using namespace kelvarune;

namespace {

using outcome_t = file::RunLock::outcome_t;

void tellIfUnavailable(outcome_t outcome, const file::RunLock &lock, const std::string &path) {
  if (outcome == outcome_t::UNAVAILABLE && lock.isWorthAMessage())
    process::writeToStandardError("Cannot lock " + path + ": " + std::strerror(lock.error()) +
                                  "; no other run is kept away.\n");
}

} // namespace

file::RunLock waitForFile(const std::string &path) {
  file::RunLock lock;
  const auto tell = [&path](const file::lock_owner_t &owner) {
    process::writeToStandardError("Waiting for " + owner.text() + ", which uses " + path + ".\n");
  };
  tellIfUnavailable(lock.take(path, tell), lock, path);
  return lock;
}

bool takeFile(const std::string &path, file::RunLock &lock) {
  const outcome_t outcome = lock.tryTake(path);
  tellIfUnavailable(outcome, lock, path);
  return outcome != outcome_t::BUSY;
}

std::vector<file::RunLock> waitForSecondaryFiles(const std::string &directory,
                                                 const std::string &pogPath,
                                                 const mechanism::mechanism_t &mechanism) {
  std::vector<file::RunLock> locks;
  for (const std::string &subject : secondaryFileSubjects(directory, pogPath, mechanism))
    locks.push_back(waitForFile(subject));
  return locks;
}
