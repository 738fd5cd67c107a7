#ifndef KELVARUNE_PLAY_LOGFILES_H
#define KELVARUNE_PLAY_LOGFILES_H

#include "director/Observation.h"

#include <QString>
#include <QStringList>

#include <mutex>
#include <set>

/// The files of --log, one for each entry that is logged. Any thread.
class LogFiles {
public:
  /// Files go into `directory`, which must exist.
  explicit LogFiles(const QString &directory) : directory(directory) {}

  /// Writes `text` for an entry, to a file whose name tells the mechanism, the driver and the first
  /// goal, and which no other entry of this run has. One of an earlier run is replaced. False when
  /// it cannot be written.
  bool write(const kelvarune::entry_record_t &record, const QString &text);

private:
  QString nameFor(const kelvarune::entry_record_t &record);

  const QString directory;
  std::mutex mutex;
  std::set<QString> names; // guarded by mutex
};

#endif
