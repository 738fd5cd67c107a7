#ifndef KELVARUNE_LIMIT_CONTROLGROUP_H
#define KELVARUNE_LIMIT_CONTROLGROUP_H

#include "file/Descriptor.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace limit {

/// A control group of the kernel (version 2) with a memory limit, which the kernel itself watches.
class ControlGroup {
public:
  /// Makes one for a single run. Null where that is not permitted, or where the system does not
  /// account memory in such groups.
  static std::unique_ptr<ControlGroup> make(std::uint64_t memoryLimit);

  /// Removes it; it must be empty by then.
  ~ControlGroup();
  ControlGroup(const ControlGroup &) = delete;
  ControlGroup &operator=(const ControlGroup &) = delete;

  /// Where a process joins it; see process::start_t.
  int processes() const { return members.get(); }

  /// Whether the kernel has killed for the memory limit.
  bool hasReachedLimit() const;

  /// User and system time of all that ever was in it.
  std::optional<std::pair<std::chrono::microseconds, std::chrono::microseconds>> time() const;

  /// The most memory that it had at a time, in bytes; 0 where the kernel does not tell.
  std::uint64_t peakMemory() const;

  /// Kills all that is in it.
  void kill() const;

private:
  explicit ControlGroup(std::string directory);
  bool write(const char *file, const std::string &text) const;
  std::uint64_t number(const char *file, const char *key) const;

  const std::string path;
  kelvarune::file::Descriptor members;
};

} // namespace limit

#endif
