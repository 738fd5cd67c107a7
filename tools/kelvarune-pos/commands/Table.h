#ifndef KELVARUNE_TOOLS_POS_COMMANDS_TABLE_H
#define KELVARUNE_TOOLS_POS_COMMANDS_TABLE_H

#include "commandline/CommandTable.h"

/// The subcommands and the options that each of them takes.
const kelvarune::commandline::program_t &program();

#endif
