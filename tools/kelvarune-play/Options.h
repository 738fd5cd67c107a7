#ifndef KELVARUNE_PLAY_OPTIONS_H
#define KELVARUNE_PLAY_OPTIONS_H

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
  QString directory;
  QStringList resources;
  std::vector<std::string> installDirs;
  QString driver; ///< empty: all drivers
  QString goal;   ///< empty: all goals
  bool fast = false;
  bool strict = false;
  bool xml = false;
  unsigned int concurrency = 1;
  int trace = 0;
};

/// Reads the command line. Prints help or version and exits with 0 when asked to. An unusable
/// command line gives one line on standard error and false.
bool parseOptions(const QStringList &words, play_options_t &options);

#endif
