#ifndef KELVARUNE_PLAY_CHECKS_H
#define KELVARUNE_PLAY_CHECKS_H

#include "Options.h"

#include <QStringList>

/// What is wrong with the inputs, one line for each fault with the place and the remedy; empty when
/// all of them can be used. Nothing is changed. First whether the files and directories are there:
QStringList faultsOfFiles(const play_options_t &options);

/// Then what they hold; the resource files must have been loaded, as they say where tools are.
QStringList faultsOfContents(const play_options_t &options);

/// A line for each driver that does not work on the goal of --goal: one that groups related goals
/// numbers the designated goal's obligation as if it were the first, whichever it is. The run is of
/// use for the other drivers. Expects inputs without faults.
QStringList misdirectedDrivers(const play_options_t &options);

#endif
