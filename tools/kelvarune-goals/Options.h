#ifndef KELVARUNE_TOOLS_GOALS_OPTIONS_H
#define KELVARUNE_TOOLS_GOALS_OPTIONS_H

#include "commandline/CommandTable.h"
#include "pos/Goals.h"

#include <QString>
#include <QStringList>

#include <string>
#include <vector>

/// What the command line asks for.
struct options_t {
  QString command;
  std::vector<std::string> arguments; ///< the words without options, as they were typed
  std::string output;                 ///< import, prove: NAME; empty for none
  std::string pos;                    ///< the status file; empty: the POG's with another suffix
  QString lister;
  QStringList mechanisms;
  QString concurrency;
  std::vector<pos::goal_name_t> goals; ///< show
  bool groupByDirectory = false;
  bool embed = false;
  bool skipBroken = false;
  bool check = false;
  bool adopt = false;
  bool verbose = false;
  bool wait = false;
  bool retry = false;
  bool quiet = false;
};

/// Reads the command line. `arguments` starts with the program's name.
kelvarune::commandline::parse_t parseOptions(const QStringList &arguments, options_t &options);

#endif
