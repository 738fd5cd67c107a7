#ifndef KELVARUNE_PLAY_PROJECT_H
#define KELVARUNE_PLAY_PROJECT_H

#include "SideBySide.h"
#include "project/Project.h"

#include <QString>
#include <QStringList>

#include <map>
#include <optional>
#include <vector>

/// What the command line asks of a project.
struct project_request_t {
  kelvarune::project::project_t project;
  QStringList names;                    ///< of components; none: all of them
  std::map<QString, QStringList> given; ///< the values of the options, by their long names
  bool verbose = false;                 ///< -v beside --dry-run
};

/// What is to be played of a project.
struct project_plan_t {
  std::vector<part_t> parts; ///< at least one
  QString jobs;              ///< as --concurrency takes them
  bool hasJobs = false;      ///< the command line has a number
};

/// Makes a command line of its own for each component: what the file says of it, where the typed
/// options say nothing else. Nothing after telling what cannot be done.
std::optional<project_plan_t> planOf(const project_request_t &request);

/// Tells of each part what would be played; gives the exit status.
int tellParts(const std::vector<part_t> &parts);

#endif
