#ifndef KELVARUNE_TOOLS_POS_COMMANDS_COMMANDS_H
#define KELVARUNE_TOOLS_POS_COMMANDS_COMMANDS_H

struct options_t;

/// The subcommands. Each prints its result on standard output, or one line on standard error, and
/// returns the exit status.
namespace commands {

int init(const options_t &options);    // Init.cpp
int list(const options_t &options);    // List.cpp
int show(const options_t &options);    // ShowGoal.cpp
int stats(const options_t &options);   // ShowStats.cpp
int goals(const options_t &options);   // ShowGoals.cpp
int check(const options_t &options);   // Check.cpp
int unprove(const options_t &options); // Rewrite.cpp
int remove(const options_t &options);  // Rewrite.cpp
int restore(const options_t &options); // Restore.cpp
int merge(const options_t &options);   // Merge.cpp
int diff(const options_t &options);    // Diff.cpp
int report(const options_t &options);  // Report.cpp
int history(const options_t &options); // History.cpp
int prune(const options_t &options);   // History.cpp
int times(const options_t &options);   // Times.cpp
int advise(const options_t &options);  // Advise.cpp
int flaky(const options_t &options);   // Compare.cpp
int compare(const options_t &options); // Compare.cpp

} // namespace commands

#endif
