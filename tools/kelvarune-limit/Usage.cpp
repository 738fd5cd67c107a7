// What processes share the kernel finds out page by page, so that is asked only where it matters.

#include "kelvarune-limit/Usage.h"

#include "file/Io.h"
#include "process/ProcessTable.h"

#include <algorithm>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

using namespace kelvarune;

namespace limit {

namespace {

constexpr std::uint64_t BYTES_PER_KIB = 1024;

// The sum of the lines "\nNAME: N kB" of a file; 0 where they cannot be read.
std::uint64_t bytesIn(pid_t pid, const char *name, const std::vector<const char *> &keys) {
  QByteArray text;
  const file::Descriptor fd = file::openFile("/proc/" + std::to_string(pid) + '/' + name, O_RDONLY);
  std::uint64_t kib = 0;
  if (!fd.isOpen() || !file::readAll(fd.get(), text))
    return 0;
  for (const char *key : keys) {
    const int begin = text.indexOf(key);
    if (begin >= 0)
      kib += std::strtoull(text.constData() + begin + std::char_traits<char>::length(key), nullptr,
                           10);
  }
  return kib * BYTES_PER_KIB;
}

std::uint64_t residentOf(pid_t pid) {
  return bytesIn(pid, "status", {"\nVmRSS:", "\nVmSwap:"});
}

// The share of a process in what it has with others. A program that runs with more rights keeps
// that to itself.
std::uint64_t shareOf(pid_t pid) {
  const std::uint64_t share = bytesIn(pid, "smaps_rollup", {"\nPss:", "\nSwapPss:"});
  return share > 0 ? share : residentOf(pid);
}

std::chrono::microseconds timeOf(const timeval &time) {
  return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
}

} // namespace

usage_t usageOfOffspring(std::uint64_t limit) {
  static const std::int64_t ticksPerSecond = ::sysconf(_SC_CLK_TCK);
  const std::vector<pid_t> living = process::descendantsOf(::getpid());
  usage_t usage;
  std::int64_t ticks = 0;
  for (const pid_t pid : living) {
    process::process_t process;
    if (process::readProcess(pid, process))
      ticks += process.processorTicks;
    usage.memory += residentOf(pid);
  }
  if (limit > 0 && usage.memory > limit) {
    usage.memory = 0;
    for (const pid_t pid : living)
      usage.memory += shareOf(pid);
  }
  rusage ended = {};
  ::getrusage(RUSAGE_CHILDREN, &ended);
  usage.processor = timeOf(ended.ru_utime) + timeOf(ended.ru_stime) +
                    std::chrono::microseconds(ticks * 1000000 / ticksPerSecond);
  return usage;
}

} // namespace limit
