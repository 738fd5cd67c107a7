#ifndef KELVARUNE_PROCESS_STANDARDSTREAMS_H
#define KELVARUNE_PROCESS_STANDARDSTREAMS_H

#include <string>

namespace kelvarune::process {

/// Writes `text` to standard output or standard error (through std::cout and std::cerr) and flushes
/// it. Where nobody reads, this blocks; stop signals can interrupt it then, on the thread that lets
/// them in. So the caller must hold nothing that stopping needs.
void writeToStandardOutput(const std::string &text);
void writeToStandardError(const std::string &text);

/// Writes a few words to standard error if they can go out at once.
void offerToStandardError(const std::string &text);

/// Puts right what the program may have inherited from its caller. Each of the descriptors 0, 1 and
/// 2 that is closed gets the null device, so that no pipe to a tool gets such a number; and SIGCHLD
/// is not ignored, which would hide how tools end. Call at program start.
void setUpProgram();

} // namespace kelvarune::process

#endif
