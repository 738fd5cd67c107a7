#ifndef KELVARUNE_TOOLS_POS_COMMANDS_H
#define KELVARUNE_TOOLS_POS_COMMANDS_H

struct options_t;

/// The subcommands. Each prints its result on standard output, or one line on standard error, and
/// returns the exit status.
namespace commands {

int list(const options_t &options);        // List.cpp
int stats(const options_t &options);       // Stats.cpp
int goals(const options_t &options);       // Goals.cpp
int check(const options_t &options);       // Check.cpp
int unprove(const options_t &options);     // Rewrite.cpp
int remove(const options_t &options);      // Rewrite.cpp
int diff(const options_t &options);        // Diff.cpp
int htmlReport(const options_t &options);  // HtmlReport.cpp
int junitReport(const options_t &options); // JUnitReport.cpp

} // namespace commands

#endif
