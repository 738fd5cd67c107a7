#ifndef KELVARUNE_PLAY_LIMITS_H
#define KELVARUNE_PLAY_LIMITS_H

#include "Options.h"
#include "director/Observation.h"

#include <QString>
#include <QStringList>

/// kelvarune-cache and kelvarune-limit as they are put before provers, and what the latter says of
/// them.

/// The programs beside this one that the options need.
QStringList wrappingPrograms(const play_options_t &options);

/// What to put before each prover, the cache first; empty without cache and limits.
QStringList wrappingCommand(const play_options_t &options);

/// "reached its time limit of 10 s", when kelvarune-limit said so of a tool; else empty.
QString reachedLimit(const kelvarune::tool_record_t &tool);

#endif
