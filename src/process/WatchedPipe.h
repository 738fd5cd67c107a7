#ifndef KELVARUNE_PROCESS_WATCHEDPIPE_H
#define KELVARUNE_PROCESS_WATCHEDPIPE_H

#include <array>

#include <poll.h>

namespace kelvarune::process {

/// What goes on while somebody waits for a tool; see ToolProcess::waitForEnd. Never blocks.
class WatchedPipe {
public:
  /// What poll is to wait for; descriptors below 0 stand for none.
  using watched_t = std::array<pollfd, 2>;

  virtual ~WatchedPipe() = default;

  virtual watched_t watched() const = 0;

  /// Goes on after poll has said what there is to do.
  virtual void goOn(const watched_t &watched) = 0;
};

} // namespace kelvarune::process

#endif
