#ifndef KELVARUNE_MECH_INPUTS_H
#define KELVARUNE_MECH_INPUTS_H

#include "Options.h"

#include <optional>

/// Loads the resource files and looks whether the installation directories are there. False after
/// telling what cannot be used.
bool loadPlaces(const options_t &options);

/// The description files that `paths` stand for: a directory for its files *.xml, in the order of
/// their names. Nothing after telling what is neither a file nor such a directory.
std::optional<QStringList> descriptionsIn(const QStringList &paths);

#endif
