#ifndef KELVARUNE_PLAY_SOURCES_H
#define KELVARUNE_PLAY_SOURCES_H

#include "Options.h"

#include <optional>

/// Has kelvarune-goals make the POG and the POS file of options.sources, or bring them in step with
/// these, and fills in the mechanisms where none is named: those for the languages of the goals. A
/// dry run only tells what is to be done. Does nothing without sources. Gives the exit status when
/// that is all: something is wrong, or a dry run without files.
std::optional<int> bringInStep(play_options_t &options);

#endif
