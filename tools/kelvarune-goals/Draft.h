#ifndef KELVARUNE_TOOLS_GOALS_DRAFT_H
#define KELVARUNE_TOOLS_GOALS_DRAFT_H

#include "file/TemporaryFile.h"

#include <string>

/// A file that is written beside the one whose place it takes when it is complete. Functions give
/// 0 or an error number.
class Draft {
public:
  /// `target` need not be there yet. A link stays one: what it leads to is replaced.
  int create(const std::string &target);
  /// A file without a name, that takes nobody's place.
  int createAside();

  int fd() const;
  /// Where it can be read.
  std::string path() const;

  /// Puts it on the disk and gives it the target's name, with owner and mode of what was there.
  int install();

private:
  std::string target;
  kelvarune::file::TemporaryFile temporary;
};

#endif
