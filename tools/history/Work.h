#ifndef KELVARUNE_HISTORY_WORK_H
#define KELVARUNE_HISTORY_WORK_H

#include <QString>

namespace history {

/// The seconds that the entries of the last run with any took together; negative when the file at
/// `path` cannot tell.
double workOfLastRun(const QString &path);

} // namespace history

#endif
