#ifndef KELVARUNE_TOOLS_COMMON_PROGRAM_BESIDE_H
#define KELVARUNE_TOOLS_COMMON_PROGRAM_BESIDE_H

#include <string>
#include <vector>

/// Where the output of a program goes.
enum class output_t { SHOWN, HIDDEN, AS_ERRORS };

/// Runs the program called `name` that lies beside this one, and waits for its end. An interrupt
/// from the keyboard is the other program's matter, unless this thread blocks it as another waits
/// for it; the program ends when this one does. Gives its exit
/// status, 128 and the number when a signal ended it, or -1 after a complaint when it cannot be
/// run.
int runBeside(const std::string &name, const std::vector<std::string> &arguments, output_t output);

#endif
