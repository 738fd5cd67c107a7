#ifndef KELVARUNE_LIMIT_USAGE_H
#define KELVARUNE_LIMIT_USAGE_H

#include <chrono>
#include <cstdint>

namespace limit {

/// What the offspring of this process has taken so far and has now, as /proc tells it.
struct usage_t {
  std::chrono::microseconds processor = {};
  std::uint64_t memory = 0; ///< resident and swapped out
};

/// Looks at all of it. Memory that processes share is counted for each of them unless that comes to
/// more than `limit` (0: none); then it is counted once.
usage_t usageOfOffspring(std::uint64_t limit);

} // namespace limit

#endif
