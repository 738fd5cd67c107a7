#ifndef KELVARUNE_TOOLS_COMMON_FILES_LOCKING_H
#define KELVARUNE_TOOLS_COMMON_FILES_LOCKING_H

#include "file/RunLock.h"

#include <QStringList>

#include <vector>

/// The locks on files that a command reads in order to write, held as long as this object lives, so
/// that no run changes them meanwhile or writes over what the command has written.
class Locks {
public:
  /// Takes them; waits for whoever has one, or gives up.
  Locks(QStringList paths, bool wait);

  /// False, after a complaint that names the owner, when another process has one.
  explicit operator bool() const { return areHeld; }

private:
  std::vector<kelvarune::file::RunLock> locks;
  bool areHeld = true;
};

#endif
