#ifndef KELVARUNE_PLAY_CHECKS_H
#define KELVARUNE_PLAY_CHECKS_H

#include "Options.h"
#include "mechanism/Mechanism.h"
#include "pos/Goals.h"

#include <QDomDocument>
#include <QStringList>

#include <vector>

/// What was read while it was checked.
struct inputs_t {
  QDomDocument document;                          ///< the POS file
  QDomDocument against;                           ///< the file of --against
  std::vector<mechanism::mechanism_t> mechanisms; ///< those of options.mechanisms
  std::vector<pos::goal_name_t> goals;            ///< those of --goal or --failed
  int unnamedGoals = 0;                           ///< that --failed must leave out
};

/// What is wrong with the inputs, one line for each fault with the place and the remedy; empty when
/// all of them can be used. Nothing is changed. First whether the files and directories are there:
QStringList faultsOfFiles(const play_options_t &options);

/// Then what they hold; the resource files must have been loaded, as they say where tools are. For
/// a replay of a directory, options.mechanisms becomes what is registered in the POS file.
QStringList faultsOfContents(play_options_t &options, inputs_t &inputs);

/// What is odd about inputs without faults: a line each. The run is of use all the same.
QStringList oddities(const play_options_t &options, const inputs_t &inputs);

#endif
