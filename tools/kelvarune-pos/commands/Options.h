#ifndef KELVARUNE_TOOLS_POS_COMMANDS_OPTIONS_H
#define KELVARUNE_TOOLS_POS_COMMANDS_OPTIONS_H

#include "commandline/CommandTable.h"
#include "pos/pos.h"

#include <QString>
#include <QStringList>

#include <set>

/// What the command line asks for. Texts are as typed (UTF-8).
struct options_t {
  QString command;
  QString name;                     ///< remove: the mechanism
  QStringList files;                ///< one; for diff the old and the new one
  QString outputPath;               ///< report: empty for standard output
  QString tagGlob;                  ///< goals: empty for all
  std::set<pos::status_t> statuses; ///< goals: empty for all
  bool json = false;
  bool csv = false;
  bool dryRun = false;
  bool html = false;
  bool junit = false;
  bool unprovedFails = false; ///< report --junit

  const QString &file() const { return files.first(); }
};

/// Reads the command line. `arguments` starts with the program's name.
kelvarune::commandline::parse_t parseOptions(const QStringList &arguments, options_t &options);

#endif
