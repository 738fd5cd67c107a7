#ifndef KELVARUNE_TOOLS_POS_COMMANDS_OPTIONS_H
#define KELVARUNE_TOOLS_POS_COMMANDS_OPTIONS_H

#include "commandline/CommandTable.h"
#include "pos/Goals.h"
#include "project/Options.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <set>
#include <vector>

enum class report_t { HTML, JUNIT, MARKDOWN, BADGE };

/// What the command line asks for. Texts are as typed (UTF-8); what is empty sets no bounds.
struct options_t {
  QString command;
  QStringList files;                     ///< one; for merge, stats, diff and report any number
  QString outputPath;                    ///< report: empty for standard output; merge
  QString tagGlob;                       ///< goals, unprove
  std::set<pos::status_t> statuses;      ///< goals, unprove
  std::vector<pos::goal_name_t> goals;   ///< show, unprove
  std::optional<QString> mechanism = {}; ///< remove, unprove
  std::optional<QString> driver = {};    ///< remove, unprove
  int backup = 0;                        ///< restore: 0 for the latest
  QString history;                       ///< empty: the one beside the file
  int run = 0;                           ///< times: 0 for the latest of each driver and goal
  std::vector<int> runs;                 ///< compare
  int slowest = 0;                       ///< times: 0 for as many as are usual
  int keep = 0;                          ///< prune
  bool json = false;
  bool csv = false;
  bool dryRun = false;
  bool force = false;         ///< merge
  bool wait = false;          ///< commands that write
  bool mustBeProved = false;  ///< check
  bool missingIsLost = false; ///< diff
  QString against;            ///< diff, report
  report_t report = report_t::HTML;
  kelvarune::project::choice_t project = {}; ///< where no file is given
  bool unprovedFails = false;                ///< report --junit

  const QString &file() const { return files.first(); }
  /// The files that a command changes in place.
  QStringList written() const { return dryRun ? QStringList() : files; }
};

/// Reads the command line. `arguments` starts with the program's name.
kelvarune::commandline::parse_t parseOptions(const QStringList &arguments, options_t &options);

#endif
