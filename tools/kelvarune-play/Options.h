#ifndef KELVARUNE_PLAY_OPTIONS_H
#define KELVARUNE_PLAY_OPTIONS_H

#include "Project.h"

#include <QString>
#include <QStringList>

#include <string>
#include <vector>

/// What the command line asks for.
struct play_options_t {
  QStringList mechanisms; ///< description files, in the order in which they are played
  QString mechanismDirectory;
  QString posPath;
  QString pogPath;
  QStringList sources; ///< files with goals that the POG is made of; empty: it is there
  QString directory;   ///< empty: a private one
  QStringList resources;
  std::vector<std::string> installDirs;
  QString driver;    ///< empty: all drivers
  QStringList goals; ///< as they were named; empty: all goals, or the failed ones
  bool failed = false;
  bool record = false;
  bool explain = false;
  bool retry = false;
  bool replay = false;
  QString against;        ///< empty: the POS file itself
  QString log;            ///< the directory of the logs; empty: none
  QString history;        ///< the file that the entries are recorded in; empty: none
  bool wait = true;       ///< for other runs that use the POS file
  unsigned int shard = 0; ///< the part to play, from 0
  unsigned int shards = 1;
  bool dryRun = false;
  bool verbose = false;
  unsigned long stopAfter = 0; ///< failures; 0: never
  bool noCheck = false;        ///< whether the POS file is in step with the POG
  bool fast = false;
  bool strict = false;
  bool xml = false;
  unsigned int concurrency = 1;
  bool hasJobs = false; ///< the concurrency was given as a number
  int trace = 0;
  QString timeLimit;   ///< in seconds; empty: none
  QString memoryLimit; ///< empty: none
  QString cache;       ///< the directory of the answers that provers gave before; empty: none

  /// Whether only some goals are played.
  bool isForSomeGoals() const { return failed || !goals.isEmpty(); }
  /// Whether only a part is played, on a copy of the POS file.
  bool isShard() const { return shards > 1; }
  /// Whether verdicts go into the POS file.
  bool isRecorded() const { return record || !isForSomeGoals(); }
  /// Whether the history gets the entries.
  bool keepsHistory() const { return isRecorded() && !dryRun && !history.isEmpty(); }
  /// Whether the driver called `name`, marked as fast or not, is played.
  bool plays(const QString &name, bool isFast) const {
    return (driver.isEmpty() || name == driver) && (!fast || isFast);
  }
};

/// Puts the descriptions in the place of the names of installed mechanisms, whose tools are then
/// also looked for where those are. A file of that name comes first.
void findInstalled(play_options_t &options);

enum class command_line_t {
  COMPONENT, ///< plays what the options say
  PROJECT,   ///< plays what a project file says
  REFUSED
};

/// Reads the command line, which starts with the program's name: with --pos and --pog into
/// `options`, else into `request` when there is a project. Prints help or version and exits with 0
/// when asked to. An unusable command line gives a line on standard error, an unusable project file
/// one for each fault.
command_line_t parseOptions(const QStringList &words, play_options_t &options,
                            project_request_t &request);

#endif
