#ifndef KELVARUNE_PROCESS_STANDARDSTREAMS_H
#define KELVARUNE_PROCESS_STANDARDSTREAMS_H

#include <string>

namespace kelvarune::process {

/// Writes `text` to standard output or standard error (through std::cout and std::cerr) and flushes
/// it; texts of a few kilobytes in one piece, so that lines of several threads do not mix. Where
/// nobody reads, this blocks: hold no lock that stopping needs. Any thread; failures are ignored.
void writeToStandardOutput(const std::string &text);
void writeToStandardError(const std::string &text);

/// Writes the beginning of `text` (as much as a pipe takes at once) to standard error, past
/// std::cerr, if it can go out without waiting. Any thread, also while others are blocked.
void offerToStandardError(const std::string &text);

} // namespace kelvarune::process

#endif
