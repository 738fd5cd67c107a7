#ifndef KELVARUNE_PROCESS_STANDARDSTREAMS_H
#define KELVARUNE_PROCESS_STANDARDSTREAMS_H

#include <string>

namespace process {

/// Writes `text` to standard output or standard error (through std::cout and std::cerr) and flushes
/// it. Where nobody reads, this blocks; stop signals can interrupt it then, on the thread that lets
/// them in. So the caller must hold nothing that stopping needs.
void writeToStandardOutput(const std::string &text);
void writeToStandardError(const std::string &text);

/// Opens the null device in place of each of the descriptors 0, 1 and 2 that is closed, so that no
/// pipe to a tool gets such a number. Call at program start.
void ensureStandardDescriptors();

} // namespace process

#endif
