#ifndef KELVARUNE_PLAY_EXPLANATION_H
#define KELVARUNE_PLAY_EXPLANATION_H

#include "director/Observation.h"

#include <QString>

/// All that is known of an entry, for people: its verdicts in words, how each tool ended, what it
/// took and said, and the commands that repeat it in the working directory. Lines, with a line
/// break at the end. For the screen verdicts are coloured where colours are used.
enum class medium_t { SCREEN, FILE };
QString explanationOf(const kelvarune::entry_record_t &record, medium_t medium);

/// "mechanism/driver".
QString driverOf(const kelvarune::entry_record_t &record);

#endif
