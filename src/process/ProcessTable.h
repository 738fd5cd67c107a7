#ifndef KELVARUNE_PROCESS_PROCESSTABLE_H
#define KELVARUNE_PROCESS_PROCESSTABLE_H

#include <cstdint>
#include <functional>
#include <vector>

#include <sys/types.h>

/// The processes of the system as /proc has them. Any thread.
namespace kelvarune::process {

/// A process. Times are in the system's clock ticks.
struct process_t {
  pid_t pid = 0;
  char state = 0; ///< 'Z' and 'X' have ended
  pid_t parent = 0;
  pid_t session = 0;
  std::int64_t startTicks = 0;     ///< since the system was booted
  std::int64_t processorTicks = 0; ///< its own, and of the children that it has waited for
};

/// False when there is no such process.
bool readProcess(pid_t pid, process_t &process);

/// Visits every process, and those that have ended and are not waited for.
void forEachProcess(const std::function<void(const process_t &)> &visit);

/// The children of a process with theirs, and so on; also those that have ended and are not waited
/// for. One that starts or ends meanwhile may be missing.
std::vector<pid_t> descendantsOf(pid_t ancestor);

} // namespace kelvarune::process

#endif
