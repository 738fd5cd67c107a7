#ifndef KELVARUNE_PLAY_RECORDING_H
#define KELVARUNE_PLAY_RECORDING_H

#include "Options.h"
#include "Versions.h"
#include "director/Observation.h"
#include "history/Recorder.h"
#include "mechanism/Mechanism.h"

#include <QString>

#include <map>
#include <optional>

/// The history of this run, if there shall be one.
class Recording {
public:
  explicit Recording(const play_options_t &options);

  /// The mechanism described by the file `path` is played from here on. While nothing plays.
  void startMechanism(const QString &path, const mechanism::mechanism_t &mechanism);

  /// Takes the record of an entry. Any thread.
  void take(const kelvarune::entry_record_t &record);

  /// The run ends with this exit status. Lines on provers that have changed since the last run, and
  /// on what went wrong with the history.
  QStringList end(int status);

  /// As `end`, for a program that a signal ends: what is still being asked of provers is given up.
  /// Told once by one of the two. Any thread.
  QStringList stop(int status);

private:
  QStringList close(int status, QStringList lines);

  std::optional<history::Recorder> recorder;
  std::optional<Versions> versions;
  std::map<QString, double> timeLimits; // of the mechanism's drivers, in seconds
};

#endif
