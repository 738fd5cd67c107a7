#ifndef KELVARUNE_PROJECT_GLOB_H
#define KELVARUNE_PROJECT_GLOB_H

#include <QString>
#include <QStringList>

namespace kelvarune::project {

/// Whether `text` is a pattern rather than the path of something.
bool isPattern(const QString &text);

/// The absolute paths, in the order of their names, of what matches `pattern` below `directory`: *,
/// ? and [..] within a name, ** for directories of any depth, without those that links lead to.
/// Names that begin with a dot match only a dot. What is no pattern is its own only match.
QStringList matches(const QString &directory, const QString &pattern);

} // namespace kelvarune::project

#endif
