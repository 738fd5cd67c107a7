#ifndef KELVARUNE_PLAY_DRYRUN_H
#define KELVARUNE_PLAY_DRYRUN_H

#include "Options.h"

#include <QString>

class ProofDirector;

/// What `director`, which has played nothing yet, would play: a line for each driver with the
/// number of entries and goals and, where `options` ask for it, the commands of each entry, with
/// the secondary files in `directory`. Loads the director's POS file, and writes nothing.
///
/// The numbers are the most that can come: what a driver really does depends on the results of
/// those before.
QString dryRun(ProofDirector &director, const play_options_t &options, const QString &directory);

#endif
