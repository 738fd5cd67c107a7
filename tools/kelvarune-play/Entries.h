#ifndef KELVARUNE_PLAY_ENTRIES_H
#define KELVARUNE_PLAY_ENTRIES_H

#include "LogFiles.h"
#include "Options.h"
#include "Summary.h"
#include "director/Observation.h"

#include <QString>
#include <QStringList>

#include <map>
#include <mutex>
#include <vector>

/// What a run keeps of the entries that have ended. Any thread.
class Entries {
public:
  explicit Entries(const play_options_t &options);

  /// Takes the record of an entry. True when the run must stop for it, once at most.
  bool take(const kelvarune::entry_record_t &record);

  /// How many entries of a driver ("mechanism/driver") have ended, and of all.
  unsigned long ended(const QString &driver) const;
  unsigned long ended() const;

  /// The explanations so far, by driver in the order of `drivers` and then by goal, and forgets
  /// them.
  QString takeExplanations(const QStringList &drivers);

  /// What went wrong, in lines; see Summary.
  QStringList summary() const;
  /// Whether a tool could not do its work, an entry was thrown away, or a log could not be written.
  bool hasFailures() const;
  /// Whether a call of `take` has said that the run must stop.
  bool isOver() const;

private:
  struct explanation_t {
    QString driver;
    kelvarune::address_t address;
    QString text;
  };

  bool countFailure(bool failed, bool disproved);

  const play_options_t &options;
  LogFiles logs;
  mutable std::mutex mutex; // guards what follows; nothing slow is done with it held
  Summary summaryOfAll;
  std::map<QString, unsigned long> endedByDriver;
  std::vector<explanation_t> explanations;
  unsigned long failures = 0;
  unsigned long unwrittenLogs = 0;
  bool someFailed = false;
  bool over = false;
};

#endif
