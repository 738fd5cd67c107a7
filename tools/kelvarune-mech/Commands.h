#ifndef KELVARUNE_MECH_COMMANDS_H
#define KELVARUNE_MECH_COMMANDS_H

#include "Options.h"

/// The subcommands. Each prints its result on standard output, or lines on standard error, and
/// returns the exit status.
namespace commands {

int check(const options_t &options);
int makeNew(const options_t &options);

} // namespace commands

#endif
