#ifndef KELVARUNE_MECH_OPTIONS_H
#define KELVARUNE_MECH_OPTIONS_H

#include "commandline/CommandTable.h"

#include <QString>
#include <QStringList>

#include <string>
#include <vector>

/// What `new` writes. The commands are lists of words: a program and its arguments.
struct new_options_t {
  QString name;       ///< of the mechanism
  QString path;       ///< of its description
  QStringList writer; ///< shared by the drivers, as is the reader
  QStringList reader;
  std::vector<QStringList> provers; ///< one driver for each
  QStringList drivers;              ///< their names
  QString input;                    ///< empty: what the prover's arguments suggest
  QString timeout;                  ///< empty: 10 where a prover asks for one
  QString ext;
  QString group;
  QString trust;
  bool fast = false;
  bool force = false;
};

/// What the command line asks for. Texts are as typed (UTF-8).
struct options_t {
  QString command;
  QStringList paths; ///< check: files and directories
  std::vector<std::string> installDirs;
  QStringList resources;
  bool runTools = false; ///< check: also run each tool
  QString pogPath;       ///< check: with a goal of this file
  int limitS = 0;        ///< check: how long each tool may take
  new_options_t description;
};

/// Reads the command line. `arguments` starts with the program's name.
kelvarune::commandline::parse_t parseOptions(const QStringList &arguments, options_t &options);

#endif
