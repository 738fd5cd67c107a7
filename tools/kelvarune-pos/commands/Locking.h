#ifndef KELVARUNE_TOOLS_POS_COMMANDS_LOCKING_H
#define KELVARUNE_TOOLS_POS_COMMANDS_LOCKING_H

#include "file/RunLock.h"

#include <QStringList>

#include <vector>

struct options_t;

/// The locks on files that a command reads in order to write, held as long as this object lives, so
/// that no run changes them meanwhile or writes over what the command has written. A dry run needs
/// none.
class Locks {
public:
  /// Takes them. With --wait it waits for whoever has one.
  Locks(const options_t &options, QStringList paths);

  /// False, after a complaint that names the owner, when another process has one.
  explicit operator bool() const { return areHeld; }

private:
  std::vector<kelvarune::file::RunLock> locks;
  bool areHeld = true;
};

#endif
