#ifndef KELVARUNE_FRONT_WAITING_H
#define KELVARUNE_FRONT_WAITING_H

#include "file/RunLock.h"
#include "mechanism/Mechanism.h"

#include <string>
#include <vector>

/// Waits as long as another run has the lock on the file `path`. Says on standard error whom it
/// waits for when that takes longer than a second, and that there are no locks where the system has
/// none. The lock is given back when the result is destroyed.
kelvarune::file::RunLock waitForFile(const std::string &path);

/// As waitForFile, but without waiting: false when another run has the lock, see lock.owner().
bool takeFile(const std::string &path, kelvarune::file::RunLock &lock);

/// The same for all secondary files that playing `mechanism` may make in `directory`.
std::vector<kelvarune::file::RunLock>
waitForSecondaryFiles(const std::string &directory, const std::string &pogPath,
                      const mechanism::mechanism_t &mechanism);

#endif
