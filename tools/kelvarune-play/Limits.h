#ifndef KELVARUNE_PLAY_LIMITS_H
#define KELVARUNE_PLAY_LIMITS_H

#include "Options.h"
#include "director/Observation.h"

#include <QString>
#include <QStringList>

/// kelvarune-limit as it is put before provers, and what it says of them.

/// The program beside this one.
QString limitingProgram();

/// What to put before each prover; empty without limits.
QStringList limitingCommand(const play_options_t &options);

/// "reached its time limit of 10 s", when kelvarune-limit said so of a tool; else empty.
QString reachedLimit(const kelvarune::tool_record_t &tool);

#endif
