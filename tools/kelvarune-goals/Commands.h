#ifndef KELVARUNE_TOOLS_GOALS_COMMANDS_H
#define KELVARUNE_TOOLS_GOALS_COMMANDS_H

struct options_t;

/// The subcommands. Each prints its result on standard output, or lines on standard error, and
/// returns the exit status.
namespace commands {

int import(const options_t &options);      // Import.cpp
int sync(const options_t &options);        // Import.cpp
int list(const options_t &options);        // List.cpp
int digests(const options_t &options);     // List.cpp
int show(const options_t &options);        // Show.cpp
int exportGoals(const options_t &options); // Show.cpp
int prove(const options_t &options);       // Prove.cpp

} // namespace commands

#endif
