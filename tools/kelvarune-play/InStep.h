#ifndef KELVARUNE_PLAY_INSTEP_H
#define KELVARUNE_PLAY_INSTEP_H

#include "Options.h"

#include <QDomDocument>
#include <QStringList>

/// Whether the goals of the POG are those that the statuses are about: empty, or what is wrong.
/// Only digests can tell, so that nothing is wrong where a file has none, goal by goal.
QStringList faultsOfStep(const play_options_t &options, const QDomDocument &document);

#endif
