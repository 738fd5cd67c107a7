#ifndef KELVARUNE_TOOLS_POS_INPUT_PATHS_H
#define KELVARUNE_TOOLS_POS_INPUT_PATHS_H

#include "text/Literals.h"

#include <QDir>
#include <QString>

/// A path from the working directory, or an absolute one, as one that holds everywhere.
inline QString absolutePathOf(const QString &path) {
  return QDir::cleanPath(QDir::current().absoluteFilePath(path));
}

/// The path relative to `directory`, both from the working directory.
inline QString pathBelow(const QString &directory, const QString &path) {
  return QDir(absolutePathOf(directory)).relativeFilePath(absolutePathOf(path));
}

/// Whether such a path leads out of its directory.
inline bool leadsOut(const QString &relativePath) {
  using namespace kelvarune;
  return relativePath == ".."_s || relativePath.startsWith("../"_s);
}

#endif
