#ifndef KELVARUNE_PLAY_CHECKS_H
#define KELVARUNE_PLAY_CHECKS_H

#include "Options.h"

#include <QStringList>

/// What is wrong with the inputs, one line for each fault with the place and the remedy; empty when
/// all of them can be used. Nothing is changed. First whether the files and directories are there:
QStringList faultsOfFiles(const play_options_t &options);

/// Then what they hold; the resource files must have been loaded, as they say where tools are.
QStringList faultsOfContents(const play_options_t &options);

#endif
