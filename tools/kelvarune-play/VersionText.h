#ifndef KELVARUNE_PLAY_VERSIONTEXT_H
#define KELVARUNE_PLAY_VERSIONTEXT_H

#include "process/ToolProcess.h"

#include <QByteArray>
#include <QString>

#include <mutex>
#include <string>

/// The line of a program's output that tells its version; a null string when none does.
QString versionIn(const QByteArray &output);

/// Runs programs with --version behind kelvarune-limit, one after the other.
class VersionText {
public:
  /// What the program at `path` tells. A null string when it tells no version, takes longer than
  /// two seconds, or `stop` is called.
  QString of(const std::string &path);

  /// Ends the program that runs; none is started from then on. Any thread.
  void stop();

  /// Whether `stop` was called. Any thread.
  bool isStopped();

private:
  bool start(kelvarune::process::ToolProcess &tool, const std::string &path, int output);

  std::mutex mutex; // guards what follows
  kelvarune::process::ToolProcess *running = nullptr;
  bool stopped = false;
};

#endif
